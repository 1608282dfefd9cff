// SPDX-License-Identifier: BSD-2-Clause
// Calls that are declared and checked, and not built yet.
#include <cstring>

#include "core/calls.h"

namespace tvk {

int32_t prevFrame(VideoStream *) {
    return tvkErrFailed;
}

int32_t getPrevFrame(VideoStream *stream, VideoFrame **out) {
    if (!out) return tvkErrInvalidArgument;
    *out = nullptr;
    return prevFrame(stream);
}

int32_t stepEdit(VideoStream *) {
    return tvkErrFailed;
}

int32_t stepBinary(VideoStream *) {
    return tvkErrFailed;
}

int32_t stepAdjustableSpeed(VideoStream *) {
    return tvkErrFailed;
}

int32_t stepFrameList(VideoStream *) {
    return tvkErrFailed;
}

int32_t setFrameNumber(VideoStream *, int32_t) {
    return tvkErrFailed;
}

int32_t setFrameNumberEdit(VideoStream *, int32_t) {
    return tvkErrFailed;
}

int32_t setFrameNumberBin(VideoStream *, int32_t) {
    return tvkErrFailed;
}

int32_t getBinaryStartEnd(VideoStream *, int32_t *first, int32_t *last) {
    return first && last ? tvkErrNotIndexed : tvkErrInvalidArgument;
}

int32_t setAbsPosition(VideoStream *, const AbsPosition &) {
    return tvkErrFailed;
}

int32_t setRatePosition(VideoStream *, double rate) {
    return rate >= 0.0 && rate <= 1.0 ? tvkErrFailed : tvkErrPositionOutOfRange;
}

int32_t setRatePositionEdit(VideoStream *stream, double rate) {
    return setRatePosition(stream, rate);
}

int32_t setTimePosition(VideoStream *, double seconds) {
    return seconds >= 0.0 ? tvkErrFailed : tvkErrPositionOutOfRange;
}

int32_t getTimePosition(VideoStream *stream, double *out) {
    if (!out) return tvkErrInvalidArgument;
    *out = stream->frames.streamClock;
    return 0;
}

int32_t createIndex(VideoStream *) {
    return tvkErrFailed;
}

int32_t createIndexEdit(VideoStream *, int32_t) {
    return tvkErrFailed;
}

int32_t readIndex(VideoStream *, const char *path) {
    return path ? tvkErrFailed : tvkErrInvalidArgument;
}

int32_t writeIndex(VideoStream *, const char *path) {
    return path ? tvkErrFailed : tvkErrInvalidArgument;
}

int32_t isIndexed(VideoStream *stream) {
    return stream->index.indexed ? 0 : tvkErrNotIndexed;
}

void freeIndex(VideoIndexTable &index) {
    std::memset(&index, 0, sizeof index);
}

void destroyRing(VideoStream *stream) {
    std::memset(&stream->ring, 0, sizeof stream->ring);
}

}  // namespace tvk
