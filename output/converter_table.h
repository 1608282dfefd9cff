// SPDX-License-Identifier: BSD-2-Clause
// The table of row converters.
#pragma once

#include "output/conversion_job.h"
#include "output/row_kind.h"

namespace tvk {

RowConverter rowConverterAt(int32_t index);
// For instance "Yuy2From420Interlaced"; one name for entries that share a function but for the swap of red and blue.
const char *rowConverterName(int32_t index);

}  // namespace tvk
