// SPDX-License-Identifier: BSD-2-Clause
// Coded bytes without decoding: whole pictures, or the sequence header, in the first working frame's luma block.
#include "core/calls.h"
#include "core/handles.h"
#include "core/memory.h"
#include "core/source_calls.h"
#include "pipeline/elements.h"
#include "pipeline/frame.h"
#include "syntax/headers.h"

namespace tvk {

namespace {

// Gathers elements behind each other. The block grows as needed and stays usable for pictures.
struct Gatherer {
    VideoStream *stream;
    VideoFrame *frame;
    uint32_t written;
    int32_t failure;  // 0, kInputEnded or tvkErrOutOfMemory
};

using CopyFunction = int32_t (*)(VideoInput *, uint8_t *, uint32_t);

constexpr uint32_t kLargestPicture = 0x7FFFFFFF;  // what the plane's size can tell
constexpr uint32_t kPictureCodeBytes = 4;

Gatherer openGatherer(VideoStream *stream) {
    return {stream, stream->frames.workFrame[0], 0, 0};
}

uint32_t room(const Gatherer &gatherer) {
    const size_t size = alignedSize(gatherer.frame->lumaPlane.data);
    const uint32_t usable = size < kLargestPicture ? static_cast<uint32_t>(size) : kLargestPicture;
    return usable > gatherer.written ? usable - gatherer.written : 0;
}

bool makeRoom(Gatherer &gatherer, uint32_t bytes) {
    if (bytes <= room(gatherer)) return true;
    if (bytes <= kLargestPicture - gatherer.written && growLumaBlock(gatherer.frame, gatherer.written + bytes))
        return true;
    gatherer.failure = tvkErrOutOfMemory;
    return false;
}

uint8_t *end(const Gatherer &gatherer) {
    return gatherer.frame->lumaPlane.data + gatherer.written;
}

// The bytes copied; 0 with `failure` set when it cannot go on.
uint32_t append(Gatherer &gatherer, CopyFunction copy) {
    for (;;) {
        const uint32_t offered = room(gatherer);
        const int32_t bytes = copy(gatherer.stream->input, end(gatherer), offered);
        if (bytes == kInputNeedData) continue;
        if (bytes < 0) {
            gatherer.failure = kInputEnded;
            return 0;
        }
        const uint32_t length = static_cast<uint32_t>(bytes);
        if (length <= offered) {
            gatherer.written += length;
            return length;
        }
        if (!makeRoom(gatherer, length)) return 0;
    }
}

int32_t deliverBytes(const Gatherer &gatherer) {
    gatherer.frame->lumaPlane.size = static_cast<int32_t>(gatherer.written);
    gatherer.stream->frames.deliveredFrame = gatherer.frame;
    return 0;
}

int32_t endOfBytes(const Gatherer &gatherer) {
    if (gatherer.failure == tvkErrOutOfMemory) return tvkErrOutOfMemory;
    setStatus(gatherer.stream, statusEndOfStream);
    return tvkErrEndOfStream;
}

enum class Taken { element, picture, slice, nothing };

// From the unit's start to the header behind the picture, or this element alone.
Taken takePicture(Gatherer &gatherer, Taken otherwise) {
    if (append(gatherer, CopyHeadOfUnit) != 0) return Taken::picture;
    if (gatherer.failure == 0) append(gatherer, CopyElement);
    return gatherer.failure == 0 ? otherwise : Taken::nothing;
}

// A unit begins right behind its picture's start code, which stood at the end of the one before.
Taken takeUnit(Gatherer &gatherer) {
    VideoStream *stream = gatherer.stream;
    if (stream->frames.fieldPending == 0) ratePositionOfPicture(stream);
    if (!makeRoom(gatherer, kPictureCodeBytes)) return Taken::nothing;
    gatherer.written += static_cast<uint32_t>(WritePictureCode(end(gatherer)));
    if (waitForUnit(stream->input, RefillUnitRaw) == kInputEnded) {
        gatherer.failure = kInputEnded;
        return Taken::nothing;
    }
    computeFrameDuration(stream);
    return takePicture(gatherer, Taken::element);
}

Taken takeElement(Gatherer &gatherer) {
    append(gatherer, CopyElement);
    return gatherer.failure == 0 ? Taken::element : Taken::nothing;
}

Taken takeCode(Gatherer &gatherer, int32_t code) {
    VideoStream *stream = gatherer.stream;
    if (isCode(code, codePicture)) return takeUnit(gatherer);
    if (isSlice(code)) return takePicture(gatherer, Taken::slice);
    if (isCode(code, codeUserData) || isCode(code, codeGroup)) return takeElement(gatherer);
    if (isCode(code, codeSequenceHeader)) {
        const Taken taken = takeElement(gatherer);
        restartFields(stream);
        return taken;
    }
    if (isCode(code, codeExtension)) {
        const Taken taken = takeElement(gatherer);
        addHalfFrame(stream);
        return taken;
    }
    return Taken::element;
}

}  // namespace

int32_t stepBinary(VideoStream *stream) {
    if (!stream->frames.workFrame[0]) return tvkErrNoFrameYet;
    VideoInput *input = stream->input;
    Gatherer gatherer = openGatherer(stream);
    int32_t code = stream->counters.sequenceHeadersSeen == 0 ? waitForSequenceHeader(input, NextStartCodeRaw)
                                                             : waitForPicture(input, NextStartCodeRaw);
    // Only an end code that stands where a picture could begin makes the frame that carries bytes the delivered one.
    if (isCode(code, codeSequenceEnd)) stream->frames.deliveredFrame = gatherer.frame;
    for (;;) {
        if (code == kInputEnded || isCode(code, codeSequenceEnd)) return endOfBytes(gatherer);
        const Taken taken = takeCode(gatherer, code);
        if (taken == Taken::nothing) return endOfBytes(gatherer);
        if (taken == Taken::picture) return deliverBytes(gatherer);
        code = taken == Taken::slice ? waitForPicture(input, NextStartCodeRaw) : waitForCode(input, NextStartCodeRaw);
        if (taken == Taken::slice && isCode(code, codeSequenceEnd)) stream->frames.deliveredFrame = gatherer.frame;
    }
}

int32_t getSequenceHeader(VideoStream *stream, VideoFrame **out) {
    if (!out) return tvkErrInvalidArgument;
    *out = nullptr;
    if (!stream->frames.workFrame[0]) return tvkErrNoFrameYet;
    VideoInput *input = stream->input;
    Gatherer gatherer = openGatherer(stream);
    int32_t code;
    do code = waitForCode(input, NextStartCodeRaw);
    while (code != kInputEnded && !isCode(code, codeSequenceEnd) && !isCode(code, codeSequenceHeader));
    if (isCode(code, codeSequenceHeader)) {
        do append(gatherer, CopyElement);
        while (gatherer.failure == 0 && isCode(code = waitForCode(input, NextStartCodeRaw), codeExtension));
        restartFields(stream);
    } else {
        gatherer.failure = kInputEnded;
    }
    if (gatherer.failure == tvkErrOutOfMemory) return tvkErrOutOfMemory;
    // An end ahead of the header, or within it, leaves no byte behind.
    if (gatherer.failure == kInputEnded || code == kInputEnded) {
        setStatus(stream, statusEndOfStream);
        gatherer.written = 0;
    }
    deliverBytes(gatherer);
    *out = gatherer.frame;
    stream->frames.workFramesShown = 1;
    return 0;
}

int32_t swapBuffer(VideoStream *stream) {
    swapLoadedUnit(stream->input);
    return 0;
}

}  // namespace tvk
