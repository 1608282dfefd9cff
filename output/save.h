// SPDX-License-Identifier: BSD-2-Clause
// Export of one frame to picture files.
#pragma once

#include <cstdint>

#include "tvk.h"

namespace tvk {

enum PictureFileFormat : uint32_t { saveNothing = 0, saveBmp = 1, saveRaw = 2, saveJpeg = 3 };

// `name` is the files' common stem; each form adds its suffixes. A file that was made stays on disk after a failure.
int32_t saveFrame(const VideoFrame *frame, const char *name, uint32_t format);

}  // namespace tvk
