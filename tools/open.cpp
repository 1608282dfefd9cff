// SPDX-License-Identifier: BSD-2-Clause
// Opening a file, stepping through it, and words for what goes wrong.
#include "open.h"

#include <unistd.h>

#include "tool_error.h"

namespace tvk::tool {

namespace {

// A stream may hold several sequences, each with an end code, and each code that finds nothing left to deliver gives
// tvkErrEndOfStream once. Only the end of the file gives it for ever.
constexpr int kEndsInARow = 8;

const char *libraryErrorText(int32_t code) {
    switch (code) {
        case tvkErrOutOfMemory:
            return "out of memory";
        case tvkErrInvalidArgument:
            return "a setting was refused";
        case tvkErrStreamLayout:
            return "the file does not hold exactly one video stream";
        case tvkErrWrongDecoderKind:
            return "the file holds no MPEG-1 or MPEG-2 video";
        case tvkErrNoThreads:
        case tvkErrWorkerFailed:
            return "a decoding thread could not run; try --threads 1";
        case tvkErrNoSequenceHeader:
            return "the file holds no sequence header";
        default:
            return nullptr;
    }
}

}  // namespace

std::string describeError(int32_t code) {
    if (const char *text = libraryErrorText(code)) return text;
    if (code <= tvkSourceErrNotFound) return tvkSourceErrorText(code);
    return "error " + std::to_string(code);
}

bool isStandardInput(const std::string &path) {
    return path == "-";
}

SourceInfo sourceInfo(const OpenedStream &opened) {
    SourceInfo info{};
    tvkGetSourceInfo(opened.source, &info);
    return info;
}

void needSeekable(const OpenedStream &opened) {
    if (sourceInfo(opened).seekable) return;
    throw ToolError(exitUsage, opened.path + ": this needs a file to go about in; a pipe is read once from its start");
}

OpenedStream::OpenedStream(const std::string &filePath) : path(filePath) {
    int32_t result = isStandardInput(path) ? tvkOpenDescriptorSource(&source, STDIN_FILENO, 0)
                                           : tvkOpenFileSource(&source, path.c_str());
    if (result != 0) throw ToolError(exitNoVideo, path + ": " + describeError(result));
    result = tvkCreateVideoStream(&stream, source);
    if (result == 0) return;
    tvkCloseSource(source);
    throw ToolError(exitNoVideo, path + ": " + describeError(result));
}

OpenedStream::~OpenedStream() {
    tvkDestroyVideoStream(stream);
    tvkCloseSource(source);
}

VideoFrame *nextFrame(OpenedStream &opened) {
    VideoFrame *frame = nullptr;
    for (int attempt = 0; attempt < kEndsInARow; ++attempt) {
        const int32_t result = tvkGetNextVideoFrame(opened.stream, &frame);
        if (result == 0) return frame;
        if (result != tvkErrEndOfStream) throw ToolError(exitFailed, opened.path + ": " + describeError(result));
    }
    return nullptr;
}

}  // namespace tvk::tool
