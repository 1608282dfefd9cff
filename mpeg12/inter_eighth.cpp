// SPDX-License-Identifier: BSD-2-Clause
// The inter decoders of eighth size.
#include "mpeg12/inter.h"
#include "mpeg12/inter_table.h"

namespace tvk {

constinit const InterRow kInterEighth = makeInterRow<Inter, 8>();

}  // namespace tvk
