// SPDX-License-Identifier: BSD-2-Clause
// What a reader of a frame may touch: its two planes with the rows that their blocks hold.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tvk.h"

namespace tvk {

struct SamplePlane {
    const uint8_t *data;
    ptrdiff_t stride;
    int32_t width, height;  // bytes and rows of picture
    int32_t storedRows;     // at least 1; the block goes on behind the picture, up to whole macroblocks

    // Rows behind the stored ones repeat the last.
    const uint8_t *row(int32_t y) const { return data + stride * std::min(y, storedRows - 1); }
};

struct FrameView {
    int32_t chromaFormat;
    SamplePlane luma, chroma;
};

// `size` can't be trusted to cover the picture: in a frame that has carried coded bytes it counts those.
inline bool viewPlane(const VideoPlane &plane, int64_t leastStride, SamplePlane &view) {
    if (plane.data == nullptr || plane.width < 1 || plane.height < 0 || plane.stride < leastStride) return false;
    const int32_t storedRows = std::max(plane.height, plane.size / plane.stride);
    if (storedRows < 1) return false;
    view = {plane.data, plane.stride, plane.width, plane.height, storedRows};
    return true;
}

// False for a record that is no picture. Applications may hand in any.
inline bool viewFrame(const VideoFrame &frame, FrameView &view) {
    if (frame.chromaFormat < 1 || frame.chromaFormat > 3 || frame.lumaPlane.height < 1) return false;
    const int64_t lumaWidth = frame.lumaPlane.width;
    const int64_t chromaWidth = frame.chromaFormat == 3 ? 2 * lumaWidth : lumaWidth;
    view.chromaFormat = frame.chromaFormat;
    return viewPlane(frame.lumaPlane, std::max<int64_t>(lumaWidth, 1), view.luma) &&
           viewPlane(frame.chromaPlane, std::max<int64_t>(chromaWidth, frame.chromaPlane.width), view.chroma);
}

}  // namespace tvk
