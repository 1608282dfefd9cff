// SPDX-License-Identifier: BSD-2-Clause
// Raw export.
#pragma once

#include <cstdint>

#include "tvk.h"

namespace tvk {

// name.i tells format and size in text, name.y, name.u and name.v hold the planes' visible samples.
int32_t saveFrameRaw(const VideoFrame *frame, const char *name);

}  // namespace tvk
