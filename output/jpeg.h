// SPDX-License-Identifier: BSD-2-Clause
// JPEG export.
#pragma once

#include <cstdint>

#include "tvk.h"

namespace tvk {

// Baseline JFIF with the frame's own chroma subsampling. Failing writes are not reported.
int32_t SaveFrameJpeg(const VideoFrame *frame, const char *name);

}  // namespace tvk
