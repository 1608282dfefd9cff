// SPDX-License-Identifier: BSD-2-Clause
// The small facts that a call hands out as they stand.
#include "core/calls.h"

namespace tvk {

namespace {

constexpr VersionRecord kVersion = {1, 75, "Jun 12 2006", "W7"};

}  // namespace

int32_t getDecoderId(VideoStream *stream, uint32_t *out) {
    if (!out) return tvkErrInvalidArgument;
    *out = stream->decoderId;
    return 0;
}

int32_t getStreamType(VideoStream *stream, uint32_t *out) {
    if (!out) return tvkErrInvalidArgument;
    *out = stream->streamType;
    return 0;
}

int32_t getDeliveredFrame(VideoStream *stream, VideoFrame **out) {
    if (!out) return tvkErrInvalidArgument;
    *out = stream->frames.deliveredFrame;
    stream->frames.workFramesShown = 1;
    if (*out) return 0;
    return stream->frames.pictureCounter > 0 ? tvkErrEndOfStream : tvkErrNoFrameYet;
}

int32_t getLibraryVersion(const VersionRecord **out) {
    if (!out) return tvkErrInvalidArgument;
    *out = &kVersion;
    return 0;
}

}  // namespace tvk
