// SPDX-License-Identifier: BSD-2-Clause
// The ring of decoded frames around the current one: its life, and stepping through it both ways.
#include "pipeline/ring.h"

#include <algorithm>

#include "core/calls.h"
#include "core/handles.h"
#include "core/memory.h"
#include "pipeline/access.h"
#include "pipeline/frame.h"

namespace tvk {

namespace {

size_t frameCount(const FrameRing &ring) {
    return static_cast<size_t>(int64_t{ring.forwardSize} + ring.backwardSize + 1);
}

// Back to creation order with nothing filled.
void restorePlaces(FrameRing &ring) {
    for (size_t i = 0; i < frameCount(ring); ++i) {
        ring.ringCentre[static_cast<ptrdiff_t>(i) - ring.backwardSize] = ring.ringFrames[i];
        if (ring.ringFrames[i]) ring.ringFrames[i]->frameState = 0;
    }
}

void rotateForward(FrameRing &ring) {
    std::rotate(ring.ringCentre - ring.backwardSize, ring.ringCentre - ring.backwardSize + 1,
                ring.ringCentre + ring.forwardSize + 1);
    ring.backwardFill = std::max(ring.backwardFill - 1, -ring.backwardSize);
}

void rotateBackward(FrameRing &ring) {
    std::rotate(ring.ringCentre - ring.backwardSize, ring.ringCentre + ring.forwardSize,
                ring.ringCentre + ring.forwardSize + 1);
    ring.forwardFill = std::min(ring.forwardFill + 1, ring.forwardSize);
}

// A frame of another size is refused, and the place keeps what it held.
void copyInto(VideoFrame *place, const VideoFrame *frame) {
    if (!place || !frame) return;
    if (copyFrame(frame, place) == 0) place->frameState = 1;
}

void pushForward(FrameRing &ring, const VideoFrame *frame) {
    const int32_t place = ring.forwardFill;
    if (ring.ringState == ringEmpty || ring.ringState == ringFillingForward) {
        ++ring.forwardFill;
    } else {
        rotateForward(ring);
    }
    copyInto(ring.ringCentre[place], frame);
    if (ring.forwardFill > ring.forwardSize) {
        ring.ringState = ringFull;
        ring.forwardFill = ring.forwardSize;
    }
}

void pushBackward(FrameRing &ring, const VideoFrame *frame) {
    const int32_t place = ring.backwardFill;
    if (ring.ringState == ringEmpty || ring.ringState == ringFillingBackward) {
        --ring.backwardFill;
    } else {
        rotateBackward(ring);
    }
    copyInto(ring.ringCentre[place], frame);
    if (ring.backwardFill < -ring.backwardSize) {
        ring.ringState = ringFull;
        ring.backwardFill = -ring.backwardSize;
    }
}

int32_t handOutCurrent(VideoStream *stream) {
    VideoFrame *current = stream->ring.ringCentre[0];
    stream->frames.deliveredFrame = isFilled(current) ? current : nullptr;
    return stream->frames.deliveredFrame ? 0 : tvkErrEndOfStream;
}

int32_t drainForward(VideoStream *stream) {
    FrameRing &ring = stream->ring;
    rotateForward(ring);
    ring.ringCentre[ring.forwardSize] = nullptr;
    ring.forwardFill = std::max(ring.forwardFill - 1, 0);
    return handOutCurrent(stream);
}

int32_t drainBackward(VideoStream *stream) {
    FrameRing &ring = stream->ring;
    rotateBackward(ring);
    ring.ringCentre[-ring.backwardSize] = nullptr;
    ring.backwardFill = std::min(ring.backwardFill + 1, 0);
    return handOutCurrent(stream);
}

// The ring is made by the first picture that a step meets, and a change of the reduce coefficient unmakes it in the
// middle of one: then the step's own result stands.
int32_t fillForward(VideoStream *stream, StepFunction step) {
    FrameRing &ring = stream->ring;
    ring.ringState = ringFillingForward;
    ring.forwardFill = 0;
    for (;;) {
        const int32_t result = step(stream);
        if (!ring.ringCentre) {
            ring.ringState = ringEmpty;
            return result;
        }
        if (result != 0) {
            const bool nothingYet = result == tvkErrNeedData && ring.forwardFill == 0;
            ring.ringState = nothingYet ? ringEmpty : ringDraining;
            return nothingYet ? result : handOutCurrent(stream);
        }
        pushForward(ring, stream->frames.deliveredFrame);
        if (ring.ringState == ringFull) return handOutCurrent(stream);
    }
}

int32_t advance(VideoStream *stream, StepFunction step) {
    FrameRing &ring = stream->ring;
    const int32_t result = step(stream);
    if (!ring.ringCentre) return result;
    if (result != 0) {
        ring.ringState = ringDraining;
        return drainForward(stream);
    }
    pushForward(ring, stream->frames.deliveredFrame);
    return handOutCurrent(stream);
}

// The frame number that a step back goes to: the one before the oldest frame at hand.
int32_t targetBehind(VideoStream *stream, const VideoFrame *oldest, int32_t *target) {
    Settings &settings = stream->settings;
    if (settings.workMode != 2) {
        if (!oldest) return tvkErrNoPreviousFrame;
        // Numbers count on from what an index file says, so they may be the lowest there is.
        *target = std::max(oldest->frameNumber, INT32_MIN + 1) - 1;
        return 0;
    }
    const int32_t entry = settings.frameListCursor - 2;
    if (entry < 0) {
        settings.frameListCursor = 0;
        return tvkErrFrameListEnd;
    }
    *target = settings.frameList[entry];
    --settings.frameListCursor;
    return 0;
}

int32_t repositionBehind(VideoStream *stream, const VideoFrame *oldest) {
    int32_t target = 0;
    const int32_t result = targetBehind(stream, oldest, &target);
    return result != 0 ? result : reposition(stream, target);
}

int32_t fillBackward(VideoStream *stream) {
    FrameRing &ring = stream->ring;
    ring.ringState = ringFillingBackward;
    ring.backwardFill = 0;
    for (;;) {
        const int32_t result = repositionBehind(stream, stream->frames.deliveredFrame);
        if (!ring.ringCentre) {
            ring.ringState = ringEmpty;
            return result;
        }
        if (result != 0) {
            ring.ringState = ringDraining;
            return handOutCurrent(stream);
        }
        pushBackward(ring, stream->frames.deliveredFrame);
        if (ring.ringState == ringFull) return handOutCurrent(stream);
    }
}

int32_t retreat(VideoStream *stream) {
    FrameRing &ring = stream->ring;
    const VideoFrame *oldest = ring.ringCentre[ring.backwardFill];
    const int32_t result = repositionBehind(stream, isFilled(oldest) ? oldest : nullptr);
    if (!ring.ringCentre) return result;
    if (result != 0) {
        ring.ringState = ringDraining;
        return drainBackward(stream);
    }
    pushBackward(ring, stream->frames.deliveredFrame);
    return handOutCurrent(stream);
}

int32_t stepBackThroughRing(VideoStream *stream) {
    switch (stream->ring.ringState) {
        case ringEmpty:
        case ringFillingBackward:
            return fillBackward(stream);
        case ringFull:
            return retreat(stream);
        case ringDraining:
            return drainBackward(stream);
        default:
            return 0;
    }
}

int32_t stepBackBySeek(VideoStream *stream) {
    int32_t target = 0;
    const int32_t result = targetBehind(stream, stream->frames.deliveredFrame, &target);
    return result != 0 ? result : setFrameNumber(stream, target);
}

// A ring that could not be filled without all the machine's memory is not begun. Its count of frames stays far below
// 31 bits, as the fills need, which stand one beyond the sizes.
bool machineHolds(const VideoStream *stream, size_t count) {
    const VideoFrame *frame = stream->frames.workFrame[0];
    if (!frame) return false;
    const uint64_t bytes = sizeof *frame + alignedSize(frame->lumaPlane.data) + alignedSize(frame->chromaPlane.data);
    return count <= std::min<uint64_t>(machineMemory() / 2 / bytes, INT32_MAX / 2);
}

bool isKept(uint32_t status) {
    return status == statusEndOfStream || status == statusWaitingForData;
}

}  // namespace

int32_t stepThroughRing(VideoStream *stream, StepFunction step) {
    switch (stream->ring.ringState) {
        case ringFillingBackward:
            return 0;
        case ringFull:
            return advance(stream, step);
        case ringDraining:
            return drainForward(stream);
        default:
            return fillForward(stream, step);
    }
}

int32_t prevFrame(VideoStream *stream) {
    const VideoFrame *delivered = stream->frames.deliveredFrame;
    if (!delivered || delivered->frameNumber < 2) return tvkErrNoPreviousFrame;
    if (!isKept(stream->status)) setStatus(stream, statusBusy);
    const int32_t result = ringWanted(stream->ring) ? stepBackThroughRing(stream) : stepBackBySeek(stream);
    if (!isKept(stream->status)) setStatus(stream, statusReady);
    return result;
}

int32_t getPrevFrame(VideoStream *stream, VideoFrame **out) {
    if (!out) return tvkErrInvalidArgument;
    const int32_t result = prevFrame(stream);
    *out = result == 0 ? stream->frames.deliveredFrame : nullptr;
    if (*out) stream->frames.workFramesShown = 1;
    return result;
}

void destroyRing(VideoStream *stream) {
    FrameRing &ring = stream->ring;
    if (!ringWanted(ring) || !ring.ringFrames) return;
    for (size_t i = 0; i < frameCount(ring); ++i) {
        if (stream->frames.deliveredFrame == ring.ringFrames[i]) stream->frames.deliveredFrame = nullptr;
        destroyFrame(ring.ringFrames[i]);
    }
    release(ring.ringCentre - ring.backwardSize);
    release(ring.ringFrames);
    ring = {};
}

void buildRing(VideoStream *stream) {
    FrameRing &ring = stream->ring;
    destroyRing(stream);
    if (!ringWanted(ring)) return;
    const size_t count = frameCount(ring);
    if (!machineHolds(stream, count)) return;
    VideoFrame **places = allocateArray<VideoFrame *>(count);
    VideoFrame **frames = allocateArray<VideoFrame *>(count);
    if (!places || !frames) {
        release(places);
        release(frames);
        return;
    }
    for (size_t i = 0; i < count && createFrameForStream(stream, &frames[i]) == 0;) ++i;
    ring.ringFrames = frames;
    ring.ringCentre = places + ring.backwardSize;
    ring.builtForwardSize = ring.forwardSize;
    ring.builtBackwardSize = ring.backwardSize;
    ring.ringState = ringEmpty;
    ring.forwardFill = ring.backwardFill = 0;
    restorePlaces(ring);
}

void emptyRing(FrameRing &ring) {
    if (!ring.ringFollowsSeek) return;
    ring.ringState = ringEmpty;
    ring.forwardFill = ring.backwardFill = 0;
    if (ring.ringCentre) restorePlaces(ring);
}

}  // namespace tvk
