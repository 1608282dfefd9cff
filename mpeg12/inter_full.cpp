// SPDX-License-Identifier: BSD-2-Clause
// The inter decoders of coded size.
#include "mpeg12/inter.h"
#include "mpeg12/inter_table.h"

namespace tvk {

constinit const InterRow kInterFull = makeInterRow<Inter, 1>();

}  // namespace tvk
