// SPDX-License-Identifier: BSD-2-Clause
// The end of a video stream.
#include "file_tail.h"

#include <memory>

namespace tvk::tool {

namespace {

bool isSlice(uint32_t code) {
    return code >= 0x101 && code <= 0x1AF;
}

// The next unit, lent by the source. False at the end.
bool readUnit(VideoSource *source, PictureUnit &unit, uint32_t &length) {
    length = 0;
    return source->readUnit(source, 0, &unit, &length) == 0 && length > 0;
}

}  // namespace

Bytes lastSliceOf(OpenedStream &opened) {
    constexpr double kLastPicture = 1.0;
    VideoSource *source = opened.source;
    if (source->seekRatePosition(source, 0, &kLastPicture) != 0) return {};
    const auto unit = std::make_unique<PictureUnit>();
    Bytes tail;
    for (uint32_t length; readUnit(source, *unit, length);) {
        tail.clear();
        if (unit->entryCount == 0) continue;
        const int32_t last = unit->entryCount - 1;
        const uint8_t *slice = unit->buffer + unit->startOffsets[last];
        if (isSlice(unit->startCodes[last])) tail.assign(slice, static_cast<const uint8_t *>(unit->buffer) + length);
    }
    return tail;
}

}  // namespace tvk::tool
