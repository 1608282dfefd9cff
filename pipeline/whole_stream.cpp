// SPDX-License-Identifier: BSD-2-Clause
// Facts that take a walk to the end of the stream: the number of pictures, the number of the last frame.
#include "core/calls.h"
#include "core/handles.h"
#include "pipeline/elements.h"
#include "syntax/headers.h"

namespace tvk {

namespace {

// Frames before the group, by its time code. A broken time code stays within 32 bits; an index file may have set any
// frame rate, none at all included.
int32_t framesBeforeGroup(const VideoStream *stream) {
    const GopRecord &group = stream->headers.group;
    const int32_t seconds = group.hours * 3600 + group.minutes * 60 + group.seconds;
    const double frames = seconds * static_cast<double>(stream->frames.framesPerSecond) + group.pictures + 0.5;
    return frames >= 0.0 && frames < INT32_MAX ? static_cast<int32_t>(frames) : INT32_MAX;
}

struct LastFrame {
    int32_t groupFrames = -1;
    uint32_t maxReference = 0xFFFFFFFF;  // above every temporal reference: pictures ahead of a group do not count
};

// False at the end of the input.
bool followElement(VideoStream *stream, int32_t code, LastFrame &last) {
    if (isCode(code, codePicture)) {
        if (waitForUnit(stream->input) == kInputEnded) return false;
        computeFrameDuration(stream);
        parsePictureHeader(stream);
        const uint32_t reference = stream->headers.picture.temporalReference;
        if (last.maxReference < reference) last.maxReference = reference;
    }
    if (isCode(code, codeGroup)) {
        parseGroupHeader(stream);
        last.groupFrames = framesBeforeGroup(stream);
        last.maxReference = 0;
    }
    return true;
}

LastFrame followToEnd(VideoStream *stream) {
    LastFrame last;
    if (waitForUnit(stream->input) == kInputEnded) return last;
    for (;;) {
        const int32_t code = waitForCode(stream->input);
        if (code == kInputEnded || isCode(code, codeSequenceEnd)) return last;
        if (!followElement(stream, code, last)) return last;
    }
}

// Picture start codes up to a sequence end code. A stream that ends without one counts as 0.
uint32_t countPictures(VideoInput *input) {
    uint32_t count = 0;
    for (;;) {
        const int32_t code = waitForCode(input);
        if (code == kInputEnded) return 0;
        if (isCode(code, codeSequenceEnd)) return count;
        if (isCode(code, codePicture)) ++count;
    }
}

}  // namespace

int32_t countFrames(VideoStream *stream, uint32_t *out) {
    if (!out) return tvkErrInvalidArgument;
    const bool waiting = stream->status == statusWaitingForData;
    if (!waiting) setStatus(stream, statusBusy);
    const int32_t result = seekRate(stream, 0.0);
    *out = result == 0 ? countPictures(stream->input) : 0;
    if (!waiting) setStatus(stream, statusReady);
    return result;
}

int32_t getLastFrameNumber(VideoStream *stream, uint32_t *out) {
    if (!out) return tvkErrInvalidArgument;
    const LastFrame last = followToEnd(stream);
    *out = last.maxReference + static_cast<uint32_t>(last.groupFrames) + 1;
    return last.groupFrames < 0 ? tvkErrNoTimeCode : 0;
}

}  // namespace tvk
