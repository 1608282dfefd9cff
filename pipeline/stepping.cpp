// SPDX-License-Identifier: BSD-2-Clause
// The stepping calls: the status around a step, the ring between the decoder and the application.
#include "core/calls.h"
#include "core/handles.h"
#include "pipeline/ring.h"

namespace tvk {

namespace {

// A stream that waits for data keeps that status, which is what makes the next step resume.
int32_t runStep(VideoStream *stream, StepFunction step) {
    if (stream->status != statusWaitingForData) setStatus(stream, statusBusy);
    const int32_t result = ringWanted(stream->ring) ? stepThroughRing(stream, step) : step(stream);
    if (stream->status != statusWaitingForData) setStatus(stream, statusReady);
    return result;
}

int32_t runStepAndGet(VideoStream *stream, StepFunction step, VideoFrame **out) {
    if (!out) return tvkErrInvalidArgument;
    const int32_t result = runStep(stream, step);
    *out = result == 0 ? stream->frames.deliveredFrame : nullptr;
    if (*out) stream->frames.workFramesShown = 1;
    return result;
}

}  // namespace

int32_t nextFrame(VideoStream *stream) {
    return runStep(stream, stream->chosen.mainStep);
}

int32_t nextFrameStreamOrder(VideoStream *stream) {
    return runStep(stream, stream->chosen.streamOrderStep);
}

int32_t getNextFrame(VideoStream *stream, VideoFrame **out) {
    return runStepAndGet(stream, stream->chosen.mainStep, out);
}

int32_t getNextFrameStreamOrder(VideoStream *stream, VideoFrame **out) {
    return runStepAndGet(stream, stream->chosen.streamOrderStep, out);
}

int32_t getNextFrameEdit(VideoStream *stream, VideoFrame **out) {
    return runStepAndGet(stream, stream->chosen.editStep, out);
}

int32_t getNextFrameBin(VideoStream *stream, VideoFrame **out) {
    return runStepAndGet(stream, stream->chosen.binaryStep, out);
}

}  // namespace tvk
