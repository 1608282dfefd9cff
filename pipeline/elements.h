// SPDX-License-Identifier: BSD-2-Clause
// What all walks over a stream's elements share: kinds of start codes, waiting reads, and the effect of headers on
// the field state and the clock.
#pragma once

#include <cstdint>

#include "core/source_calls.h"
#include "core/stream.h"
#include "input/video_input.h"

namespace tvk {

inline bool isCode(int32_t code, StartCode wanted) {
    return code == static_cast<int32_t>(wanted);
}

inline bool isSlice(int32_t code) {
    return code >= static_cast<int32_t>(codeFirstSlice) && code <= static_cast<int32_t>(codeLastSlice);
}

// The codes from which decoding can start anew, and the end.
inline bool opensPicture(int32_t code) {
    return isCode(code, codePicture) || isCode(code, codeSequenceHeader) || isCode(code, codeSequenceEnd) ||
           isCode(code, codeGroup);
}

// Walks that cannot be taken up again ask a source without data until it has some or ends. The result is a start code
// (a byte count) or kInputEnded.
inline int32_t waitForCode(VideoInput *input, int32_t (*next)(VideoInput *) = NextStartCode) {
    int32_t code;
    do code = next(input);
    while (code == kInputNeedData);
    return code;
}

inline int32_t waitForUnit(VideoInput *input, int32_t (*refill)(VideoInput *) = RefillUnit) {
    return waitForCode(input, refill);
}

// The next of the codes that opensPicture names, or kInputEnded.
inline int32_t waitForPicture(VideoInput *input, int32_t (*next)(VideoInput *) = NextStartCode) {
    int32_t code;
    do code = waitForCode(input, next);
    while (code != kInputEnded && !opensPicture(code));
    return code;
}

inline int32_t waitForSequenceHeader(VideoInput *input, int32_t (*next)(VideoInput *) = NextStartCode) {
    int32_t code;
    do code = waitForCode(input, next);
    while (code != kInputEnded && !isCode(code, codeSequenceHeader));
    return code;
}

// The position of the start code read last; all zero when the source cannot tell.
inline AbsPosition positionOfStartCode(VideoStream *stream) {
    AbsPosition position = {};
    const uint32_t offset = lastCodeOffset(stream->input->reader);
    const VideoSource *source = stream->source;
    const int32_t result = source->getAbsPosition(stream->source, stream->decoderId, offset, &position);
    return result < 0 ? AbsPosition{} : position;
}

inline bool isFieldPicture(const VideoStream *stream) {
    return stream->headers.pictureCoding.pictureStructure != structureFrame;
}

// A repeated first field lasts half a frame. The clock takes it even while it holds no stamp.
inline void addHalfFrame(VideoStream *stream) {
    if (!stream->headers.halfFramePending) return;
    stream->frames.streamClock += stream->frames.frameDuration * 0.5;
    stream->headers.halfFramePending = 0;
}

// At a sequence header: a pair of fields does not reach across it.
inline void restartFields(VideoStream *stream) {
    stream->headers.scalable.scalableMarker = 0;
    stream->frames.fieldPending = 0;
    stream->frames.fieldSkip = 0;
}

}  // namespace tvk
