// SPDX-License-Identifier: BSD-2-Clause
// The three working frames: when they are replaced, and how they take turns.
#include "pipeline/working_set.h"

#include <cstring>

#include "core/calls.h"
#include "core/memory.h"
#include "core/slots.h"
#include "pipeline/frame.h"
#include "pipeline/ring.h"

namespace tvk {

namespace {

constexpr int32_t kMemoryManagerReplaced = 0;

int32_t roundUp(int32_t value, int32_t multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

// 15 bits: twelve of the header and two of the extension, which a repeated extension may add to again.
uint32_t sequenceWidth(const VideoStream *stream) {
    return stream->headers.sequence.horizontalSize;
}

uint32_t sequenceHeight(const VideoStream *stream) {
    return stream->headers.sequence.verticalSize;
}

bool makeThree(const VideoStream *stream, VideoFrame *made[3], int32_t &result) {
    for (int32_t i = 0; i < 3; ++i) {
        result = createFrameForStream(stream, &made[i]);
        if (result == 0) continue;
        while (i > 0) destroyFrame(made[--i]);
        return false;
    }
    return true;
}

void destroyNodes(RetiredFrames *node) {
    while (node) {
        RetiredFrames *next = node->next;
        for (VideoFrame *frame : node->frame) destroyFrame(frame);
        release(node);
        node = next;
    }
}

// The newest set stays whatever its size is; of the others those that kMostRetiredBytes has room for, newest first.
void dropOldest(RetiredFrames *newest) {
    size_t bytes = retiredBytes(newest);
    for (RetiredFrames *node = newest; node->next; node = node->next) {
        bytes += retiredBytes(node->next);
        if (bytes <= kMostRetiredBytes) continue;
        destroyNodes(node->next);
        node->next = nullptr;
        return;
    }
}

// Applications may hold pointers to the old frames, so these live as long as the stream. Frames that no application
// has seen go at once: a stream may change its size with every picture.
bool retireFrames(FramePipeline &frames) {
    if (!frames.workFrame[0]) return true;
    if (!frames.workFramesShown) {
        for (VideoFrame *frame : frames.workFrame) destroyFrame(frame);
        return true;
    }
    auto *node = static_cast<RetiredFrames *>(allocate(sizeof(RetiredFrames)));
    if (!node) return false;
    node->next = frames.retired;
    std::memcpy(node->frame, frames.workFrame, sizeof node->frame);
    frames.retired = node;
    dropOldest(node);
    return true;
}

int32_t replaceWorkingFrames(VideoStream *stream) {
    FramePipeline &frames = stream->frames;
    VideoFrame *made[3] = {};
    int32_t result = 0;
    if (!makeThree(stream, made, result)) return result;
    if (!retireFrames(frames)) {
        for (VideoFrame *frame : made) destroyFrame(frame);
        return tvkErrOutOfMemory;
    }
    std::memcpy(frames.workFrame, made, sizeof made);
    frames.builtWidth = sequenceWidth(stream);
    frames.builtHeight = sequenceHeight(stream);
    frames.builtChromaFormat = stream->headers.sequenceExtension.chromaFormat;
    frames.forwardRef = frames.backwardRef = frames.currentFrame = frames.deliveredFrame = nullptr;
    frames.workFramesShown = stream->callbacks.memoryManager != nullptr;
    if (stream->callbacks.memoryManager) stream->callbacks.memoryManager(kMemoryManagerReplaced, frames.workFrame[0]);
    resetSlots(stream->callbacks);
    return 0;
}

// Two fields of an interlaced sequence need whole macroblock rows each, hence 32 lines.
void setGeometry(VideoStream *stream) {
    const int32_t rows = stream->headers.sequenceExtension.progressiveSequence ? 16 : 32;
    Geometry &geometry = stream->geometry;
    geometry.blockWidth8 = roundUp(static_cast<int32_t>(stream->frames.builtWidth), 16) / 8;
    geometry.blockHeight8 = roundUp(static_cast<int32_t>(stream->frames.builtHeight), rows) / 8;
    geometry.macroblockCount = geometry.blockWidth8 * geometry.blockHeight8 / 4;
}

void countType(FramePipeline &frames, uint32_t type) {
    if (type == pictureI) ++frames.countI;
    if (type == pictureP) ++frames.countP;
    if (type == pictureB) ++frames.countB;
    if (type == pictureD) ++frames.countD;
}

// Everything but I and P goes to the third record, as nothing is predicted from it.
void takeTurn(FramePipeline &frames, uint32_t type) {
    if (type == pictureI || type == pictureP) {
        frames.forwardRef = frames.deliveredFrame = frames.backwardRef;
        frames.anchorToggle ^= 1;
        frames.backwardRef = frames.currentFrame = frames.workFrame[frames.anchorToggle];
    } else {
        frames.currentFrame = frames.deliveredFrame = frames.workFrame[2];
    }
    if (!frames.forwardRef && type != pictureB) frames.forwardRef = frames.currentFrame;
}

void takeUserData(Headers &headers, VideoFrame *frame) {
    frame->userDataLevel = headers.userDataLength ? static_cast<int32_t>(headers.userDataLevel) : 0;
    frame->userDataSize = static_cast<int32_t>(headers.userDataLength);
    std::memcpy(frame->userData, headers.userDataBuffer, headers.userDataLength);
    headers.userDataLength = 0;
    headers.userDataLevel = 0;
}

void openRecord(VideoStream *stream) {
    FramePipeline &frames = stream->frames;
    VideoFrame *frame = frames.currentFrame;
    const bool mpeg2 = stream->streamType == 2;
    const PictureCodingRecord &coding = stream->headers.pictureCoding;
    frame->pictureCodingType = stream->headers.picture.pictureCodingType;
    frame->frameNumber = frame->streamNumber = static_cast<int32_t>(frames.pictureCounter);
    frame->frameState = 0;
    frame->progressiveFrame = mpeg2 ? coding.progressiveFrame : 1;
    frame->topFieldFirst = mpeg2 ? coding.topFieldFirst : 0;
    frame->repeatFirstField = mpeg2 ? coding.repeatFirstField : 0;
    frame->lumaPlane.size = pictureSize(frame->lumaPlane);
    takeUserData(stream->headers, frame);
}

}  // namespace

size_t retiredBytes(const RetiredFrames *set) {
    size_t bytes = sizeof *set;
    for (const VideoFrame *frame : set->frame)
        bytes += sizeof *frame + alignedSize(frame->lumaPlane.data) + alignedSize(frame->chromaPlane.data);
    return bytes;
}

int32_t pictureSize(const VideoPlane &luma) {
    return luma.stride * roundUp(luma.height, 32);
}

int32_t checkWorkingSet(VideoStream *stream) {
    FramePipeline &frames = stream->frames;
    const bool reduceChanged = frames.builtReduce != stream->settings.reduceCoefficient;
    const bool formatChanged = frames.builtChromaFormat != stream->headers.sequenceExtension.chromaFormat;
    const bool sizeChanged = frames.builtWidth != sequenceWidth(stream) || frames.builtHeight != sequenceHeight(stream);
    if (sizeChanged || reduceChanged || formatChanged) {
        const int32_t result = replaceWorkingFrames(stream);
        if (result != 0) return result;
    }
    setGeometry(stream);
    const FrameRing &ring = stream->ring;
    const bool resized = ring.forwardSize != ring.builtForwardSize || ring.backwardSize != ring.builtBackwardSize;
    if (resized || reduceChanged || formatChanged) buildRing(stream);
    followSlotCount(stream->callbacks);
    frames.builtReduce = stream->settings.reduceCoefficient;
    return 0;
}

bool workingSetFits(const VideoStream *stream) {
    const FramePipeline &frames = stream->frames;
    return frames.workFrame[0] && frames.builtWidth == sequenceWidth(stream) &&
           frames.builtHeight == sequenceHeight(stream) &&
           frames.builtChromaFormat == stream->headers.sequenceExtension.chromaFormat &&
           frames.builtReduce == stream->settings.reduceCoefficient;
}

void rotateFrames(VideoStream *stream, uint32_t highestDelivered) {
    FramePipeline &frames = stream->frames;
    const uint32_t type = stream->headers.picture.pictureCodingType;
    ++frames.pictureCounter;
    countType(frames, type);
    takeTurn(frames, type);
    openRecord(stream);
    VideoFrame *delivered = frames.deliveredFrame;
    if (!delivered) return;
    // Coded order to display order: an anchor waits for one more, a B picture comes out ahead of the anchor before it.
    const bool anchors = frames.countI != 0 || frames.countP != 0;
    delivered->frameNumber = static_cast<int32_t>(frames.pictureCounter - (anchors ? 1 : 0));
    if (static_cast<uint32_t>(delivered->pictureCodingType) > highestDelivered) frames.deliveredFrame = nullptr;
}

void destroyRetiredFrames(VideoStream *stream) {
    destroyNodes(stream->frames.retired);
    stream->frames.retired = nullptr;
}

}  // namespace tvk
