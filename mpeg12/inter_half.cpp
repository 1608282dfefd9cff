// SPDX-License-Identifier: BSD-2-Clause
// The inter decoders of half size.
#include "mpeg12/inter.h"
#include "mpeg12/inter_table.h"

namespace tvk {

constinit const InterRow kInterHalf = makeInterRow<Inter, 2>();

}  // namespace tvk
