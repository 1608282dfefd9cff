// SPDX-License-Identifier: BSD-2-Clause
// The body that all frame loops share: walks start codes, decodes pictures, hands frames out, one frame a run.
#pragma once

#include <cstdint>

#include "core/handles.h"
#include "core/source_calls.h"
#include "core/stream.h"
#include "input/video_input.h"
#include "mpeg12/worker.h"
#include "pipeline/delivery.h"
#include "pipeline/elements.h"
#include "pipeline/loop_policy.h"
#include "pipeline/prescan.h"
#include "pipeline/working_set.h"
#include "syntax/headers.h"

namespace tvk {

// Where a run goes on.
enum class Next {
    findSequence,  // nothing is decoded ahead of the first sequence header
    scan,          // for a picture, a header above it, or the end
    check,         // an element was handled: end, or whatever code comes next
    dispatch,      // handle `code`
    fetch,         // the unit of the picture whose start code was met
    drain,         // the input has ended: what the references still hold
    leave          // with `result`
};

struct LoopRun {
    VideoStream *stream;
    uint32_t highestType;
    int32_t target;    // frame number that a roll forward goes to
    int32_t decision;  // of the adjustable speed: decode from 1, let the frame before out from 0
    int32_t code;
    int32_t result;

    Next leaveWith(int32_t value) {
        result = value;
        return Next::leave;
    }
};

inline bool isReady(const VideoFrame *frame) {
    return frame && frame->frameState == 2;
}

inline Next endInput(LoopRun &run) {
    setStatus(run.stream, statusEndOfStream);
    return Next::check;
}

inline Next suspend(LoopRun &run, bool fetchPending) {
    run.stream->frames.fetchPending = fetchPending;
    setStatus(run.stream, statusWaitingForData);
    return run.leaveWith(tvkErrNeedData);
}

template <LoopPolicy P>
bool feedsIndex(const LoopRun &run) {
    return P.indexFeed != IndexFeed::none && prescanActive(run.stream);
}

template <LoopPolicy P>
uint32_t typeLimit(const VideoStream *stream) {
    if (P.typeLimit == TypeLimit::frameTypes) return stream->settings.frameTypesToProcess;
    if (P.typeLimit == TypeLimit::speedLevel) return static_cast<uint32_t>(stream->settings.speedLevel);
    return pictureB;
}

template <LoopPolicy P>
void deliver(VideoStream *stream) {
    if (P.delivery == Delivery::byStamp) {
        deliverByStamp(stream);
    } else {
        deliverByClock(stream);
    }
}

template <LoopPolicy P>
Next enterLoop(LoopRun &run) {
    VideoStream *stream = run.stream;
    const bool resumes = stream->status == statusWaitingForData;
    const bool fetches = resumes && stream->frames.fetchPending;
    if (!fetches) stream->frames.pictureRate = -1.0;
    if (P.indexFeed != IndexFeed::none) openPrescan(stream, P.indexFeed == IndexFeed::edit);
    if (stream->counters.sequenceHeadersSeen == 0) return Next::findSequence;
    if (resumes) setStatus(stream, statusBusy);
    if (fetches) return Next::fetch;
    return stream->status == statusEndOfStream ? Next::check : Next::scan;
}

inline Next findSequence(LoopRun &run) {
    do {
        run.code = NextStartCode(run.stream->input);
        if (run.code == kInputNeedData) return run.leaveWith(tvkErrNeedData);
        if (run.code == kInputEnded) return endInput(run);
    } while (!isCode(run.code, codeSequenceHeader));
    setStatus(run.stream, statusBusy);
    return Next::dispatch;
}

template <LoopPolicy P>
Next scanForPicture(LoopRun &run) {
    do {
        run.code = NextStartCode(run.stream->input);
        if (run.code == kInputNeedData && P.scanReturnsNeedData) return suspend(run, false);
        if (run.code == kInputEnded) return endInput(run);
    } while (!opensPicture(run.code));
    return Next::dispatch;
}

template <LoopPolicy P>
Next endSequence(LoopRun &run) {
    if (P.indexFeed == IndexFeed::edit && feedsIndex<P>(run)) closePrescanAtSequenceEnd(run.stream);
    setStatus(run.stream, statusEndOfStream);
    return Next::check;
}

// A source that has no data at this point is asked again.
template <LoopPolicy P>
Next checkElement(LoopRun &run) {
    if (run.stream->status == statusEndOfStream) return Next::drain;
    do {
        run.code = NextStartCode(run.stream->input);
        if (run.code == kInputEnded) return endInput(run);
        if (isCode(run.code, codeSequenceEnd)) return endSequence<P>(run);
    } while (run.code < 0);
    return Next::dispatch;
}

template <LoopPolicy P>
Next meetPicture(LoopRun &run) {
    VideoStream *stream = run.stream;
    if (stream->frames.fieldPending == 0) {
        stream->frames.pictureRate = ratePositionOfPicture(stream);
        if (feedsIndex<P>(run)) stream->frames.pictureStart = positionOfStartCode(stream);
    }
    return Next::fetch;
}

template <LoopPolicy P>
Next fetchPicture(LoopRun &run) {
    VideoStream *stream = run.stream;
    const int32_t bytes = RefillUnit(stream->input);
    if (bytes == kInputNeedData) return suspend(run, true);
    if (bytes == kInputEnded) return endInput(run);
    computeFrameDuration(stream);
    if (checkWorkingSet(stream) == tvkErrOutOfMemory) return run.leaveWith(tvkErrOutOfMemory);
    parsePictureHeader(stream);
    const bool startsFrame = stream->frames.fieldPending == 0 && stream->frames.fieldSkip == 0;
    if (startsFrame && feedsIndex<P>(run)) prescanNewFrame(stream);
    return Next::check;
}

// References and frames stay: a new sequence header flushes nothing.
template <LoopPolicy P>
Next meetSequenceHeader(LoopRun &run) {
    if (feedsIndex<P>(run)) prescanSequenceHeader(run.stream);
    parseSequenceHeader(run.stream);
    restartFields(run.stream);
    return Next::check;
}

template <LoopPolicy P>
Next meetGroup(LoopRun &run) {
    if (feedsIndex<P>(run)) prescanGroup(run.stream);
    parseGroupHeader(run.stream);
    return Next::check;
}

// One decision per frame by how far the application has fallen behind. Counters move whatever is decided.
inline int32_t decideBySpeed(Settings &settings, uint32_t type, int32_t before) {
    if (type == pictureI) {
        const bool due = settings.speedICount % (static_cast<int64_t>(settings.speedIStep) + 1) == 0;
        settings.speedICount = settings.speedICount == INT32_MAX ? 0 : settings.speedICount + 1;
        settings.speedPCount = settings.speedBCount = 0;
        return due ? 1 : -1;
    }
    if (type == pictureP) {
        settings.speedBCount = 0;
        return settings.speedPLimit - settings.speedPCount++;
    }
    if (type == pictureB) return settings.speedBLimit - settings.speedBCount++;
    return before;
}

template <LoopPolicy P>
bool choosesFrame(LoopRun &run) {
    const FramePipeline &frames = run.stream->frames;
    const uint32_t type = run.stream->headers.picture.pictureCodingType;
    if (P.choice == FrameChoice::byType) return type <= run.highestType;
    if (P.choice == FrameChoice::bySpeed) return run.decision >= 1 && type <= run.highestType;
    if (type == pictureI || type == pictureP) return true;
    return type == pictureB && frames.deliveredFrame && frames.deliveredFrame->frameNumber == run.target;
}

// The first picture of a frame. Tells whether it is to be decoded.
template <LoopPolicy P>
bool beginFrame(LoopRun &run) {
    VideoStream *stream = run.stream;
    FramePipeline &frames = stream->frames;
    const Settings &settings = stream->settings;
    rotateFrames(stream, P.typeLimit == TypeLimit::speedLevel ? static_cast<uint32_t>(settings.speedLevel)
                                                              : settings.frameTypesToProcess);
    if (P.codedOrder) frames.deliveredFrame = frames.currentFrame;
    if (P.choice == FrameChoice::bySpeed)
        run.decision = decideBySpeed(stream->settings, stream->headers.picture.pictureCodingType, run.decision);
    if (P.frameTime == FrameTime::fromStamps) timeFromStamps(stream);
    if (P.frameTime == FrameTime::fromChangedClock) timeFromChangedClock(stream);
    frames.currentFrame->decodeRatePosition = frames.pictureRate;
    return choosesFrame<P>(run);
}

// After a jump a second field may stand first, and take the next frame's first field for its partner. A pair shares
// its temporal reference.
inline bool isFalsePair(const VideoStream *stream) {
    const Headers &headers = stream->headers;
    return stream->frames.fieldPending && headers.lastTemporalReference != headers.previousTemporalReference;
}

inline void forgetFrames(FramePipeline &frames) {
    frames.forwardRef = frames.backwardRef = frames.currentFrame = frames.deliveredFrame = nullptr;
    frames.fieldPending = frames.fieldSkip = 0;
}

// False when a worker has failed.
inline bool decodeIntoFrame(VideoStream *stream) {
    FramePipeline &frames = stream->frames;
    decodePicture(stream);
    if (stream->threadCount > 1 && workerFailed(stream)) return false;
    frames.fieldPending = isFieldPicture(stream) ? frames.fieldPending ^ 1 : 0;
    if (frames.currentFrame) frames.currentFrame->frameState = 2;
    return true;
}

template <LoopPolicy P>
Next handOut(LoopRun &run, bool decoded) {
    VideoStream *stream = run.stream;
    FramePipeline &frames = stream->frames;
    if (frames.fieldPending) return Next::scan;
    if (isReady(frames.deliveredFrame) && (P.choice != FrameChoice::bySpeed || run.decision >= 0)) {
        deliver<P>(stream);
        const bool arrived = P.choice != FrameChoice::forTarget || frames.deliveredFrame->frameNumber >= run.target;
        return arrived ? run.leaveWith(0) : Next::scan;
    }
    const bool runs = P.clock == ClockWithoutDelivery::runs ||
                      (P.clock == ClockWithoutDelivery::runsBehindDecodedPictures && decoded);
    if (runs) frames.streamClock += frames.frameDuration;
    return Next::scan;
}

// The first slice of a picture: all its slices are decoded at once, or passed over by the scan that follows.
template <LoopPolicy P>
Next meetSlice(LoopRun &run) {
    VideoStream *stream = run.stream;
    FramePipeline &frames = stream->frames;
    selectBlockPlacement(stream);
    if (stream->counters.pictureHeadersSeen == 0 || !workingSetFits(stream)) return Next::scan;
    if (frames.fieldSkip > 0) {
        --frames.fieldSkip;
        return Next::scan;
    }
    SelectInterDecoder(stream);
    bool decode = frames.fieldPending ? true : beginFrame<P>(run);
    if (P.resynchronises && frames.resyncOnce && decode && isFalsePair(stream)) {
        decode = false;
        forgetFrames(frames);
    }
    if (decode) {
        if (!decodeIntoFrame(stream)) return run.leaveWith(tvkErrWorkerFailed);
        if (P.resynchronises && frames.resyncOnce && !frames.fieldPending) {
            frames.streamClock += frames.frameDuration;
            return run.leaveWith(0);
        }
    } else if (isFieldPicture(stream)) {
        frames.fieldSkip = 1;
    }
    return handOut<P>(run, decode);
}

template <LoopPolicy P>
Next dispatchElement(LoopRun &run) {
    VideoStream *stream = run.stream;
    if (isSlice(run.code)) return meetSlice<P>(run);
    switch (run.code) {
        case codePicture:
            return meetPicture<P>(run);
        case codeSequenceHeader:
            return meetSequenceHeader<P>(run);
        case codeGroup:
            return meetGroup<P>(run);
        case codeSequenceEnd:
            return endSequence<P>(run);
        case codeUserData:
            gatherUserData(stream);
            break;
        case codeExtension:
            parseExtension(stream);
            addHalfFrame(stream);
            break;
        default:
            break;
    }
    return Next::check;
}

// A frame that a roll forward has no use for becomes deliveredFrame as well, and the next candidate is tried.
template <LoopPolicy P>
bool drainFrame(LoopRun &run, VideoFrame *frame) {
    run.stream->frames.deliveredFrame = frame;
    if (P.choice == FrameChoice::forTarget && frame->frameNumber < run.target) return false;
    deliver<P>(run.stream);
    return true;
}

// One frame a call: delivery takes frameState away from 2, so the next call finds the next candidate.
template <LoopPolicy P>
Next drainFrames(LoopRun &run) {
    FramePipeline &frames = run.stream->frames;
    if (feedsIndex<P>(run)) finishPrescan(run.stream);
    const auto waits = [&run](const VideoFrame *frame) {
        return isReady(frame) && static_cast<uint32_t>(frame->pictureCodingType) <= run.highestType;
    };
    if (frames.currentFrame != frames.backwardRef && waits(frames.currentFrame) &&
        drainFrame<P>(run, frames.currentFrame))
        return run.leaveWith(0);
    if (frames.currentFrame == frames.backwardRef && waits(frames.forwardRef) && drainFrame<P>(run, frames.forwardRef))
        return run.leaveWith(0);
    if (waits(frames.backwardRef)) {
        frames.backwardRef->frameNumber = static_cast<int32_t>(frames.pictureCounter);
        if (drainFrame<P>(run, frames.backwardRef)) return run.leaveWith(0);
    }
    return run.leaveWith(tvkErrEndOfStream);
}

template <LoopPolicy P>
int32_t runFrameLoop(VideoStream *stream, int32_t target = 0) {
    LoopRun run = {stream, typeLimit<P>(stream), target, 0, 0, 0};
    Next next = enterLoop<P>(run);
    while (next != Next::leave) {
        switch (next) {
            case Next::findSequence:
                next = findSequence(run);
                break;
            case Next::scan:
                next = scanForPicture<P>(run);
                break;
            case Next::check:
                next = checkElement<P>(run);
                break;
            case Next::dispatch:
                next = dispatchElement<P>(run);
                break;
            case Next::fetch:
                next = fetchPicture<P>(run);
                break;
            case Next::drain:
                next = drainFrames<P>(run);
                break;
            case Next::leave:
                break;
        }
    }
    return run.result;
}

}  // namespace tvk
