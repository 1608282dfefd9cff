// SPDX-License-Identifier: BSD-2-Clause
// YUV4MPEG2, the plain picture stream that ffmpeg, mpv and x264 read from a pipe.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "facts.h"
#include "tvk.h"

namespace tvk::tool {

// The shape that all frames of one Y4M stream share.
struct Y4mShape {
    int32_t width, height, chromaFormat;
    bool operator==(const Y4mShape &) const = default;
};

Y4mShape shapeOf(const VideoFrame &frame);
std::string y4mHeader(const Y4mShape &shape, const StreamFacts &facts);
// Replaces `out` by the frame's three planes, Cb and Cr taken apart.
void makeY4mPlanes(const VideoFrame &frame, std::vector<uint8_t> &out);
// Replaces `out` by the frame's marker and its three planes.
void makeY4mFrame(const VideoFrame &frame, std::vector<uint8_t> &out);

}  // namespace tvk::tool
