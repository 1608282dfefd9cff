// SPDX-License-Identifier: BSD-2-Clause
// A video file opened for decoding: source and stream together, closed in the right order.
#pragma once

#include <cstdint>
#include <string>

#include "tvk.h"

namespace tvk::tool {

struct OpenedStream {
    explicit OpenedStream(const std::string &path);  // throws ToolError
    ~OpenedStream();
    OpenedStream(const OpenedStream &) = delete;
    OpenedStream &operator=(const OpenedStream &) = delete;

    std::string path;
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
};

// A sentence for a code of the library or of the file source.
std::string describeError(int32_t code);

// The next frame in display order, or null at the end of the file. Throws ToolError when decoding fails.
VideoFrame *nextFrame(OpenedStream &opened);

}  // namespace tvk::tool
