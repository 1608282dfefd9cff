// SPDX-License-Identifier: BSD-2-Clause
// BMP export.
#pragma once

#include <cstdint>

#include "tvk.h"

namespace tvk {

// 24 bits, bottom-up, sizes rounded up to even.
int32_t saveFrameBmp(const VideoFrame *frame, const char *name);

}  // namespace tvk
