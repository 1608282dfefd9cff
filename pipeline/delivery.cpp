// SPDX-License-Identifier: BSD-2-Clause
// Presentation times and the hand-over of a finished frame.
#include "pipeline/delivery.h"

#include "core/source_calls.h"

namespace tvk {

namespace {

// Seconds by the distance of temporal references from the picture that was timed last. A reference that does not
// rise, as at the start of a group, gives 0.0 and keeps the old base.
void timeFromReference(VideoStream *stream) {
    FramePipeline &frames = stream->frames;
    const uint32_t reference = stream->headers.picture.temporalReference;
    if (reference <= frames.stampTemporalReference) {
        frames.currentFrame->presentationTime = 0.0;
        return;
    }
    const uint32_t distance = reference - frames.stampTemporalReference;
    frames.lastStampTime += distance * frames.frameDuration;
    frames.stampTemporalReference = reference;
    frames.currentFrame->presentationTime = frames.lastStampTime;
}

void timeFromClock(VideoStream *stream) {
    FramePipeline &frames = stream->frames;
    frames.currentFrame->presentationTime = frames.lastStampTime = frames.streamClock;
    frames.stampTemporalReference = stream->headers.picture.temporalReference;
}

void handOver(VideoStream *stream) {
    VideoFrame *frame = stream->frames.deliveredFrame;
    frame->frameState = 1;
    double rate = 0.0;
    frame->deliveryRatePosition = ratePositionOfReader(stream, &rate) == 0 ? rate : frame->decodeRatePosition;
}

}  // namespace

void timeFromStamps(VideoStream *stream) {
    FramePipeline &frames = stream->frames;
    if (frames.streamClock == kNoTime) {
        timeFromReference(stream);
        return;
    }
    timeFromClock(stream);
    if (frames.timeStampQueued) {
        frames.streamClock = frames.queuedTimeStamp;
        frames.timeStampQueued = 0;
    } else {
        frames.streamClock = kNoTime;
        frames.timeStampPending = 0;
    }
}

// A clock without a stamp is handed on as kNoTime: delivery then counts on from the frame before.
void timeFromChangedClock(VideoStream *stream) {
    FramePipeline &frames = stream->frames;
    if (frames.streamClock != frames.lastStampTime) {
        timeFromClock(stream);
        frames.streamClock = kNoTime;
    } else if (frames.outputClock == 0.0) {
        timeFromReference(stream);
    } else {
        frames.currentFrame->presentationTime = 0.0;
    }
}

void deliverByStamp(VideoStream *stream) {
    FramePipeline &frames = stream->frames;
    VideoFrame *frame = frames.deliveredFrame;
    if (frame->presentationTime == kNoTime) {
        frames.outputClock += frames.frameDuration;
        frame->presentationTime = frames.outputClock;
    } else {
        frames.outputClock = frame->presentationTime;
    }
    handOver(stream);
}

void deliverByClock(VideoStream *stream) {
    FramePipeline &frames = stream->frames;
    frames.deliveredFrame->presentationTime = frames.streamClock - frames.frameDuration;
    handOver(stream);
    frames.streamClock += frames.frameDuration;
}

}  // namespace tvk
