// SPDX-License-Identifier: BSD-2-Clause
// The inter decoders of quarter size.
#include "mpeg12/inter.h"
#include "mpeg12/inter_table.h"

namespace tvk {

constinit const InterRow kInterQuarter = makeInterRow<Inter, 4>();

}  // namespace tvk
