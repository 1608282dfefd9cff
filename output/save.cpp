// SPDX-License-Identifier: BSD-2-Clause
// Chooses the picture file writer.
#include "output/save.h"

#include "output/bmp.h"
#include "output/jpeg.h"
#include "output/raw.h"

namespace tvk {

int32_t saveFrame(const VideoFrame *frame, const char *name, uint32_t format) {
    if (frame == nullptr || name == nullptr || name[0] == 0 || format > saveJpeg) return tvkErrInvalidArgument;
    switch (format) {
        case saveBmp:
            return saveFrameBmp(frame, name);
        case saveRaw:
            return saveFrameRaw(frame, name);
        case saveJpeg:
            return SaveFrameJpeg(frame, name);
        default:
            return 0;
    }
}

}  // namespace tvk
