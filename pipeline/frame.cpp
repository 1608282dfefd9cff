// SPDX-License-Identifier: BSD-2-Clause
// Frame records: geometry, allocation, copies.
#include "pipeline/frame.h"

#include <algorithm>
#include <cstring>

#include "core/memory.h"
#include "core/stream.h"

namespace tvk {

namespace {

constexpr size_t kFrameAlignment = 32;
constexpr int kBlackLuma = 0x10;
constexpr int kBlackChroma = 0x80;

int64_t roundUp32(int64_t value) {
    return (value + 31) & ~int64_t{31};
}

// A plane of a picture of W x H samples: what is seen, and the storage around it up to whole multiples of 32.
struct PlaneGeometry {
    int64_t width, height, stride, rows;

    int64_t size() const { return stride * rows; }
};

PlaneGeometry lumaGeometry(int64_t width, int64_t height) {
    return {width, height, roundUp32(width), roundUp32(height)};
}

// Byte pairs Cb, Cr: a sample of 4:4:4 takes two bytes, of the other formats one byte for each luma column.
PlaneGeometry chromaGeometry(int64_t width, int64_t height, int32_t chromaFormat) {
    const PlaneGeometry luma = lumaGeometry(width, height);
    if (chromaFormat == chroma420) return {width, height / 2, luma.stride, roundUp32(luma.rows / 2)};
    if (chromaFormat == chroma422) return {width, height, luma.stride, luma.rows};
    return {2 * width, height, 2 * luma.stride, luma.rows};
}

bool makePlane(VideoPlane &plane, const PlaneGeometry &geometry, int fill) {
    if (geometry.size() > INT32_MAX) return false;
    const size_t size = static_cast<size_t>(geometry.size());
    plane.data = static_cast<uint8_t *>(allocateAligned(size, kFrameAlignment));
    if (!plane.data) return false;
    std::memset(plane.data, fill, size);
    plane.width = static_cast<int32_t>(geometry.width);
    plane.height = static_cast<int32_t>(geometry.height);
    plane.stride = static_cast<int32_t>(geometry.stride);
    plane.size = static_cast<int32_t>(size);
    return true;
}

VideoFrame *makeRecord() {
    return static_cast<VideoFrame *>(allocateAligned(sizeof(VideoFrame), kFrameAlignment));
}

int32_t makeFrame(VideoFrame **out, int64_t width, int64_t height, int32_t chromaFormat) {
    VideoFrame *frame = makeRecord();
    if (!frame) return tvkErrOutOfMemory;
    std::memset(frame, 0, sizeof *frame);
    if (!makePlane(frame->lumaPlane, lumaGeometry(width, height), kBlackLuma) ||
        !makePlane(frame->chromaPlane, chromaGeometry(width, height, chromaFormat), kBlackChroma)) {
        destroyFrame(frame);
        return tvkErrOutOfMemory;
    }
    frame->chromaFormat = chromaFormat;
    frame->reduceCoefficient = 1;
    *out = frame;
    return 0;
}

// The bytes that the record's picture needs at its planes. A plane that carried coded bytes tells their number as its
// size, while its picture still has all its rows.
struct PictureBytes {
    int64_t luma, chroma;
};

PictureBytes pictureBytes(const VideoFrame &frame) {
    const int64_t width = std::max(frame.lumaPlane.width, 0);
    const int64_t height = std::max(frame.lumaPlane.height, 0);
    const int64_t lumaStride = std::max(frame.lumaPlane.stride, 0);
    const int64_t chromaStride = std::max(frame.chromaPlane.stride, 0);
    return {lumaStride * lumaGeometry(width, height).rows,
            chromaStride * chromaGeometry(width, height, frame.chromaFormat).rows};
}

bool duplicatePlane(const VideoPlane &source, VideoPlane &target, int64_t pictureSize, int fill) {
    if (source.size < 1 || !source.data) return false;
    const size_t copied = static_cast<size_t>(source.size);
    const size_t size = std::max(copied, static_cast<size_t>(pictureSize));
    target.data = static_cast<uint8_t *>(allocateAligned(size, kFrameAlignment));
    if (!target.data) return false;
    std::memcpy(target.data, source.data, copied);
    std::memset(target.data + copied, fill, size - copied);
    return true;
}

void copyPlane(const VideoPlane &source, VideoPlane &target) {
    uint8_t *data = target.data;
    target = source;
    target.data = data;
    if (source.size > 0 && source.data != data) std::memcpy(data, source.data, static_cast<size_t>(source.size));
}

// Equal sizes are the rule; the rest keeps a record whose size counts coded bytes from lending its rows to a smaller
// block.
bool copyable(const VideoFrame &source, const VideoFrame &target) {
    if (source.chromaFormat != target.chromaFormat || source.lumaPlane.size != target.lumaPlane.size ||
        source.chromaPlane.size != target.chromaPlane.size)
        return false;
    if (!source.lumaPlane.data || !target.lumaPlane.data || !source.chromaPlane.data || !target.chromaPlane.data)
        return false;
    const PictureBytes needed = pictureBytes(source), present = pictureBytes(target);
    return needed.luma <= std::max<int64_t>(present.luma, target.lumaPlane.size) &&
           needed.chroma <= std::max<int64_t>(present.chroma, target.chromaPlane.size);
}

int32_t shiftOf(uint32_t reduceCoefficient) {
    return reduceCoefficient == 2 ? 1 : reduceCoefficient == 4 ? 2 : reduceCoefficient == 8 ? 3 : 0;
}

}  // namespace

int32_t createFrame(VideoFrame **frame, int32_t width, int32_t height, int32_t chromaFormat) {
    if (!frame || width < 1 || height < 1) return tvkErrInvalidArgument;
    if (chromaFormat < 1 || chromaFormat > 3) return tvkErrInvalidArgument;
    *frame = nullptr;
    return makeFrame(frame, width, height, chromaFormat);
}

int32_t createFrameForStream(const VideoStream *stream, VideoFrame **frame) {
    if (!frame) return tvkErrInvalidArgument;
    *frame = nullptr;
    const SequenceHeaderRecord &sequence = stream->headers.sequence;
    const uint8_t chromaFormat = stream->headers.sequenceExtension.chromaFormat;
    // Two bits of a header, but any byte of an index file.
    const bool hasFormat = chromaFormat >= chroma420 && chromaFormat <= chroma444;
    if (sequence.horizontalSize == 0 || sequence.verticalSize == 0 || !hasFormat) return tvkErrNoSequenceHeader;

    const uint32_t reduce = stream->settings.reduceCoefficient;
    const int64_t width = (static_cast<int64_t>(sequence.horizontalSize) + reduce - 1) >> shiftOf(reduce);
    const int64_t height = (static_cast<int64_t>(sequence.verticalSize) + reduce - 1) >> shiftOf(reduce);
    if (width > INT32_MAX || height > INT32_MAX) return tvkErrOutOfMemory;
    const int32_t result = makeFrame(frame, width, height, chromaFormat);
    if (result == 0) (*frame)->reduceCoefficient = static_cast<int32_t>(reduce);
    return result;
}

int32_t copyFrame(const VideoFrame *source, VideoFrame *target) {
    if (!source || !target || !copyable(*source, *target)) return tvkErrInvalidArgument;
    target->chromaFormat = source->chromaFormat;
    target->pictureCodingType = source->pictureCodingType;
    target->reduceCoefficient = source->reduceCoefficient;
    target->frameNumber = source->frameNumber;
    target->streamNumber = source->streamNumber;
    target->frameState = source->frameState;
    // decodeRatePosition stays the target's: it tells where the record's own picture was read.
    target->deliveryRatePosition = source->deliveryRatePosition;
    target->presentationTime = source->presentationTime;
    copyPlane(source->lumaPlane, target->lumaPlane);
    copyPlane(source->chromaPlane, target->chromaPlane);
    target->bufferSlot = 0;
    target->externalBuffer = nullptr;
    target->progressiveFrame = source->progressiveFrame;
    target->topFieldFirst = source->topFieldFirst;
    target->repeatFirstField = source->repeatFirstField;
    target->userDataLevel = source->userDataLevel;
    target->userDataSize = source->userDataSize;
    const int32_t userBytes = std::clamp<int32_t>(source->userDataSize, 0, sizeof source->userData);
    std::memmove(target->userData, source->userData, static_cast<size_t>(userBytes));
    return 0;
}

int32_t duplicateFrame(const VideoFrame *source, VideoFrame **target) {
    if (!source || !target) return tvkErrInvalidArgument;
    *target = nullptr;
    VideoFrame *frame = makeRecord();
    if (!frame) return tvkErrOutOfMemory;
    *frame = *source;
    frame->bufferSlot = 0;
    frame->externalBuffer = nullptr;
    frame->lumaPlane.data = frame->chromaPlane.data = nullptr;
    const PictureBytes bytes = pictureBytes(*source);
    if (!duplicatePlane(source->lumaPlane, frame->lumaPlane, bytes.luma, kBlackLuma) ||
        !duplicatePlane(source->chromaPlane, frame->chromaPlane, bytes.chroma, kBlackChroma)) {
        destroyFrame(frame);
        return tvkErrOutOfMemory;
    }
    *target = frame;
    return 0;
}

void destroyFrame(VideoFrame *frame) {
    if (!frame) return;
    releaseAligned(frame->lumaPlane.data);
    releaseAligned(frame->chromaPlane.data);
    releaseAligned(frame);
}

bool growLumaBlock(VideoFrame *frame, uint32_t bytes) {
    const size_t present = alignedSize(frame->lumaPlane.data);
    if (bytes <= present) return true;
    // Units differ in size by little: some room ahead spares most of the later growth.
    const size_t size = static_cast<size_t>(bytes) + bytes / 4;
    uint8_t *grown = static_cast<uint8_t *>(allocateAligned(size, kFrameAlignment));
    if (!grown) return false;
    if (present) std::memcpy(grown, frame->lumaPlane.data, present);
    std::memset(grown + present, kBlackLuma, size - present);
    releaseAligned(frame->lumaPlane.data);
    frame->lumaPlane.data = grown;
    return true;
}

}  // namespace tvk
