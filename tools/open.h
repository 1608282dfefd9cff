// SPDX-License-Identifier: BSD-2-Clause
// A video file opened for decoding: source and stream together, closed in the right order.
#pragma once

#include <cstdint>
#include <string>

#include "tvk.h"
#include "tvk_source.h"

namespace tvk::tool {

struct OpenedStream {
    explicit OpenedStream(const std::string &path);  // - is standard input. Throws ToolError
    ~OpenedStream();
    OpenedStream(const OpenedStream &) = delete;
    OpenedStream &operator=(const OpenedStream &) = delete;

    std::string path;
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
};

bool isStandardInput(const std::string &path);

// What the source tells of the file.
SourceInfo sourceInfo(const OpenedStream &opened);
// Throws ToolError when the file is a pipe: what the command does needs one that it can go about in.
void needSeekable(const OpenedStream &opened);

// A sentence for a code of the library or of the file source.
std::string describeError(int32_t code);

// The next frame in display order, or null at the end of the file. Throws ToolError when decoding fails.
VideoFrame *nextFrame(OpenedStream &opened);

}  // namespace tvk::tool
