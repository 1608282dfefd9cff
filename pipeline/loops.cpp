// SPDX-License-Identifier: BSD-2-Clause
// The frame loops: one body, six records of differences.
#include "core/calls.h"
#include "pipeline/access.h"
#include "pipeline/frame_loop.h"

namespace tvk {

namespace {

template <LoopPolicy P>
int32_t rollTo(VideoStream *stream, int32_t target) {
    const VideoFrame *delivered = stream->frames.deliveredFrame;
    if (delivered && delivered->frameNumber > target) return tvkErrFrameOutOfRange;
    return runFrameLoop<P>(stream, target);
}

}  // namespace

int32_t stepForward(VideoStream *stream) {
    return runFrameLoop<kForward>(stream);
}

int32_t stepStreamOrder(VideoStream *stream) {
    return runFrameLoop<kStreamOrder>(stream);
}

int32_t stepAdjustableSpeed(VideoStream *stream) {
    return runFrameLoop<kAdjustableSpeed>(stream);
}

int32_t stepEdit(VideoStream *stream) {
    return runFrameLoop<kEdit>(stream);
}

int32_t rollForward(VideoStream *stream, int32_t target) {
    return rollTo<kRollForward>(stream, target);
}

int32_t rollForwardEdit(VideoStream *stream, int32_t target) {
    return rollTo<kRollForwardEdit>(stream, target);
}

}  // namespace tvk
