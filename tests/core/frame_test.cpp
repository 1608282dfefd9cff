// SPDX-License-Identifier: BSD-2-Clause
// Frame records: geometry, copies, duplicates.
#include "pipeline/frame.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "stream_fixture.h"

namespace {

using tvktest::FailingAllocation;

struct FrameOwner {
    VideoFrame *frame = nullptr;

    FrameOwner() = default;
    FrameOwner(int32_t width, int32_t height, int32_t chromaFormat) {
        EXPECT_EQ(0, tvkCreateVideoFrameWHC(&frame, width, height, chromaFormat));
    }
    FrameOwner(const FrameOwner &) = delete;
    FrameOwner &operator=(const FrameOwner &) = delete;
    ~FrameOwner() { tvk::destroyFrame(frame); }
    VideoFrame *operator->() const { return frame; }
};

void expectPlane(const VideoPlane &plane, int32_t width, int32_t height, int32_t stride, int32_t rows, uint8_t fill) {
    EXPECT_EQ(width, plane.width);
    EXPECT_EQ(height, plane.height);
    EXPECT_EQ(stride, plane.stride);
    EXPECT_EQ(stride * rows, plane.size);
    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(plane.data) % 32);
    EXPECT_TRUE(std::all_of(plane.data, plane.data + plane.size, [=](uint8_t byte) { return byte == fill; }));
}

TEST(FrameCreation, smallestFrame) {
    const FrameOwner frame(1, 1, 1);
    expectPlane(frame->lumaPlane, 1, 1, 32, 32, 0x10);
    expectPlane(frame->chromaPlane, 1, 0, 32, 32, 0x80);
    EXPECT_EQ(1, frame->chromaFormat);
    EXPECT_EQ(1, frame->reduceCoefficient);
    EXPECT_EQ(0, frame->pictureCodingType);
    EXPECT_EQ(0, frame->frameState);
    EXPECT_EQ(0, frame->userDataSize);
}

TEST(FrameCreation, geometryFollowsTheChromaFormat) {
    const FrameOwner f420(720, 576, 1), f422(721, 577, 2), f444(100, 50, 3), odd(33, 97, 1);
    expectPlane(f420->lumaPlane, 720, 576, 736, 576, 0x10);
    expectPlane(f420->chromaPlane, 720, 288, 736, 288, 0x80);
    expectPlane(f422->lumaPlane, 721, 577, 736, 608, 0x10);
    expectPlane(f422->chromaPlane, 721, 577, 736, 608, 0x80);
    expectPlane(f444->lumaPlane, 100, 50, 128, 64, 0x10);
    expectPlane(f444->chromaPlane, 200, 50, 256, 64, 0x80);
    expectPlane(odd->lumaPlane, 33, 97, 64, 128, 0x10);
    expectPlane(odd->chromaPlane, 33, 48, 64, 64, 0x80);
}

TEST(FrameCreation, refusesBadArguments) {
    VideoFrame *frame = nullptr;
    EXPECT_EQ(tvkErrInvalidArgument, tvkCreateVideoFrameWHC(nullptr, 16, 16, 1));
    EXPECT_EQ(tvkErrInvalidArgument, tvkCreateVideoFrameWHC(&frame, 0, 16, 1));
    EXPECT_EQ(tvkErrInvalidArgument, tvkCreateVideoFrameWHC(&frame, 16, 0, 1));
    EXPECT_EQ(tvkErrInvalidArgument, tvkCreateVideoFrameWHC(&frame, -16, 16, 1));
    EXPECT_EQ(tvkErrInvalidArgument, tvkCreateVideoFrameWHC(&frame, 16, 16, 0));
    EXPECT_EQ(tvkErrInvalidArgument, tvkCreateVideoFrameWHC(&frame, 16, 16, 4));
}

TEST(FrameCreation, planesBeyond31BitsAreOutOfMemory) {
    VideoFrame unrelated;
    const int32_t sizes[][3] = {
        {INT32_MAX, INT32_MAX, 1}, {INT32_MAX, 1, 1}, {1, INT32_MAX, 3}, {65536, 32768, 1}, {32768, 40000, 3}};
    tvk::allocationHook = [](size_t size) { return size < 100000; };  // so that no block is really made
    for (const auto &size : sizes) {
        VideoFrame *frame = &unrelated;
        EXPECT_EQ(tvkErrOutOfMemory, tvkCreateVideoFrameWHC(&frame, size[0], size[1], size[2]));
        EXPECT_EQ(nullptr, frame);
    }
    tvk::allocationHook = nullptr;
}

TEST(FrameCreation, failedAllocationLeavesNothing) {
    for (int64_t n = 0; n < 3; ++n) {
        VideoFrame unrelated;
        VideoFrame *frame = &unrelated;
        const FailingAllocation failing(n);
        EXPECT_EQ(tvkErrOutOfMemory, tvkCreateVideoFrameWHC(&frame, 64, 64, 1));
        EXPECT_EQ(nullptr, frame);
    }
}

using FrameForStream = tvktest::StreamTest;

TEST_F(FrameForStream, needsASequenceHeader) {
    VideoFrame unrelated;
    VideoFrame *frame = &unrelated;
    EXPECT_EQ(tvkErrNoSequenceHeader, tvkCreateVideoFrame(stream, &frame));
    EXPECT_EQ(nullptr, frame);
    EXPECT_EQ(tvkErrInvalidArgument, tvkCreateVideoFrame(stream, nullptr));
    stream->headers.sequence.horizontalSize = 64;
    stream->headers.sequence.verticalSize = 64;
    stream->headers.sequenceExtension.chromaFormat = 0;
    EXPECT_EQ(tvkErrNoSequenceHeader, tvkCreateVideoFrame(stream, &frame));
}

TEST_F(FrameForStream, isReducedRoundingUp) {
    stream->headers.sequence.horizontalSize = 101;
    stream->headers.sequence.verticalSize = 50;
    stream->headers.sequenceExtension.chromaFormat = 2;
    const int32_t expected[][3] = {{1, 101, 50}, {2, 51, 25}, {4, 26, 13}, {8, 13, 7}};
    for (const auto &row : expected) {
        stream->settings.reduceCoefficient = static_cast<uint32_t>(row[0]);
        FrameOwner owner;
        tvk::setStatus(stream, tvk::statusBusy);  // legal during a step
        ASSERT_EQ(0, tvkCreateVideoFrame(stream, &owner.frame));
        EXPECT_EQ(row[0], owner->reduceCoefficient);
        EXPECT_EQ(row[1], owner->lumaPlane.width);
        EXPECT_EQ(row[2], owner->lumaPlane.height);
        EXPECT_EQ(2, owner->chromaFormat);
    }
}

TEST_F(FrameForStream, sizesThatGrewWithoutEndAreOutOfMemory) {
    VideoFrame *frame = nullptr;
    stream->headers.sequence.horizontalSize = 0xFFFFFFFF;
    stream->headers.sequence.verticalSize = 16;
    stream->headers.sequenceExtension.chromaFormat = 1;
    EXPECT_EQ(tvkErrOutOfMemory, tvkCreateVideoFrame(stream, &frame));
    EXPECT_EQ(nullptr, frame);
}

TEST_F(FrameForStream, failedAllocationIsReported) {
    VideoFrame *frame = nullptr;
    stream->headers.sequence.horizontalSize = stream->headers.sequence.verticalSize = 64;
    const FailingAllocation failing(1);
    EXPECT_EQ(tvkErrOutOfMemory, tvkCreateVideoFrame(stream, &frame));
    EXPECT_EQ(nullptr, frame);
}

// A record in which every field differs from a new one's.
void fillRecord(VideoFrame *frame) {
    frame->pictureCodingType = 3;
    frame->reduceCoefficient = 2;
    frame->frameNumber = 11;
    frame->streamNumber = 12;
    frame->frameState = 2;
    frame->decodeRatePosition = 0.25;
    frame->deliveryRatePosition = 0.5;
    frame->presentationTime = 1.5;
    frame->bufferSlot = 7;
    frame->externalBuffer = frame;
    frame->progressiveFrame = frame->topFieldFirst = frame->repeatFirstField = 1;
    frame->userDataLevel = 3;
    frame->userDataSize = 5;
    std::memcpy(frame->userData, "abcdefgh", 8);
    for (int32_t i = 0; i < frame->lumaPlane.size; ++i) frame->lumaPlane.data[i] = static_cast<uint8_t>(i * 7);
    for (int32_t i = 0; i < frame->chromaPlane.size; ++i) frame->chromaPlane.data[i] = static_cast<uint8_t>(i * 5);
}

void expectSamePlanes(const VideoFrame *a, const VideoFrame *b) {
    for (const auto plane : {&VideoFrame::lumaPlane, &VideoFrame::chromaPlane}) {
        EXPECT_EQ((a->*plane).width, (b->*plane).width);
        EXPECT_EQ((a->*plane).height, (b->*plane).height);
        EXPECT_EQ((a->*plane).stride, (b->*plane).stride);
        ASSERT_EQ((a->*plane).size, (b->*plane).size);
        EXPECT_NE((a->*plane).data, (b->*plane).data);
        EXPECT_EQ(0, std::memcmp((a->*plane).data, (b->*plane).data, static_cast<size_t>((a->*plane).size)));
    }
}

TEST(FrameCopy, carriesEverythingButTheDecodePositionAndTheBuffer) {
    const FrameOwner source(64, 48, 1), target(64, 48, 1);
    fillRecord(source.frame);
    target->decodeRatePosition = 0.75;
    target->bufferSlot = 3;
    target->externalBuffer = target.frame;
    std::memcpy(target->userData, "zzzzzzzz", 8);
    ASSERT_EQ(0, tvkCopyVideoFrame(source.frame, target.frame));
    expectSamePlanes(source.frame, target.frame);
    EXPECT_EQ(3, target->pictureCodingType);
    EXPECT_EQ(2, target->reduceCoefficient);
    EXPECT_EQ(11, target->frameNumber);
    EXPECT_EQ(12, target->streamNumber);
    EXPECT_EQ(2, target->frameState);
    EXPECT_EQ(0.5, target->deliveryRatePosition);
    EXPECT_EQ(1.5, target->presentationTime);
    EXPECT_EQ(0, target->bufferSlot);
    EXPECT_EQ(nullptr, target->externalBuffer);
    EXPECT_EQ(1, target->progressiveFrame);
    EXPECT_EQ(1, target->topFieldFirst);
    EXPECT_EQ(1, target->repeatFirstField);
    EXPECT_EQ(3, target->userDataLevel);
    EXPECT_EQ(5, target->userDataSize);
    EXPECT_EQ(0, std::memcmp("abcdezzz", target->userData, 8));
}

TEST(FrameCopy, keepsTargetDecodeRatePosition) {
    const FrameOwner source(32, 32, 1), target(32, 32, 1);
    source->decodeRatePosition = 0.25;
    target->decodeRatePosition = 0.75;
    ASSERT_EQ(0, tvkCopyVideoFrameMT(nullptr, source.frame, target.frame));
    EXPECT_EQ(0.75, target->decodeRatePosition);
}

TEST(FrameCopy, equalSizesTakeTheGeometryOfTheSource) {
    const FrameOwner source(50, 40, 2), target(64, 33, 2);
    ASSERT_EQ(0, tvkCopyVideoFrame(source.frame, target.frame));
    EXPECT_EQ(50, target->lumaPlane.width);
    EXPECT_EQ(40, target->lumaPlane.height);
}

TEST(FrameCopy, refusesOtherSizesAndFormatsUntouched) {
    const FrameOwner source(64, 64, 1), wider(96, 64, 1), otherFormat(64, 64, 2);
    fillRecord(source.frame);
    EXPECT_EQ(tvkErrInvalidArgument, tvkCopyVideoFrame(source.frame, wider.frame));
    EXPECT_EQ(tvkErrInvalidArgument, tvkCopyVideoFrame(source.frame, otherFormat.frame));
    EXPECT_EQ(tvkErrInvalidArgument, tvkCopyVideoFrame(nullptr, wider.frame));
    EXPECT_EQ(tvkErrInvalidArgument, tvkCopyVideoFrame(source.frame, nullptr));
    EXPECT_EQ(0, wider->frameNumber);
    EXPECT_EQ(0x10, wider->lumaPlane.data[1]);
}

TEST(FrameCopy, refusesARecordThatCarriesCodedBytes) {
    const FrameOwner carrier(64, 64, 1), target(64, 64, 1);
    carrier->lumaPlane.size = 150;
    EXPECT_EQ(tvkErrInvalidArgument, tvkCopyVideoFrame(carrier.frame, target.frame));
}

// The carrier's rows do not fit the target's block, whatever the sizes claim.
TEST(FrameCopy, refusesACarrierWhoseByteCountHappensToMatchASmallerFrame) {
    const FrameOwner carrier(32, 64, 1), target(32, 32, 1);
    carrier->lumaPlane.size = target->lumaPlane.size;
    ASSERT_EQ(carrier->chromaPlane.size, target->chromaPlane.size);
    EXPECT_EQ(tvkErrInvalidArgument, tvkCopyVideoFrame(carrier.frame, target.frame));
}

TEST(FrameCopy, ontoItselfOnlyDropsTheBuffer) {
    const FrameOwner frame(32, 32, 1);
    fillRecord(frame.frame);
    EXPECT_EQ(0, tvkCopyVideoFrame(frame.frame, frame.frame));
    EXPECT_EQ(0, frame->bufferSlot);
    EXPECT_EQ(11, frame->frameNumber);
    EXPECT_EQ(7, frame->lumaPlane.data[1]);
}

TEST(FrameDuplicate, equalsItsSource) {
    const FrameOwner source(64, 48, 3);
    FrameOwner copy;
    fillRecord(source.frame);
    ASSERT_EQ(0, tvkDuplicateVideoFrameMT(nullptr, source.frame, &copy.frame));
    expectSamePlanes(source.frame, copy.frame);
    EXPECT_EQ(0.25, copy->decodeRatePosition);
    EXPECT_EQ(11, copy->frameNumber);
    EXPECT_EQ(0, copy->bufferSlot);
    EXPECT_EQ(nullptr, copy->externalBuffer);
    EXPECT_EQ(0, std::memcmp(source->userData, copy->userData, sizeof copy->userData));
    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(copy->lumaPlane.data) % 32);
}

TEST(FrameDuplicate, ofACarrierStillHoldsAWholePicture) {
    const FrameOwner carrier(64, 64, 1);
    FrameOwner copy;
    carrier->lumaPlane.size = 10;
    ASSERT_EQ(0, tvkDuplicateVideoFrame(carrier.frame, &copy.frame));
    EXPECT_EQ(10, copy->lumaPlane.size);
    EXPECT_GE(tvk::alignedSize(copy->lumaPlane.data), 64u * 64u);
}

TEST(FrameDuplicate, refusesNullAndReportsFailedAllocations) {
    const FrameOwner source(32, 32, 1);
    VideoFrame *copy = nullptr;
    EXPECT_EQ(tvkErrInvalidArgument, tvkDuplicateVideoFrame(nullptr, &copy));
    EXPECT_EQ(tvkErrInvalidArgument, tvkDuplicateVideoFrame(source.frame, nullptr));
    for (int64_t n = 0; n < 3; ++n) {
        copy = source.frame;
        const FailingAllocation failing(n);
        EXPECT_EQ(tvkErrOutOfMemory, tvkDuplicateVideoFrame(source.frame, &copy));
        EXPECT_EQ(nullptr, copy);
    }
}

TEST(FrameDestruction, exportRefusesNullAndTheInternalFormIgnoresIt) {
    EXPECT_EQ(tvkErrInvalidArgument, tvkDestroyVideoFrame(nullptr));
    tvk::destroyFrame(nullptr);
    VideoFrame *frame = nullptr;
    ASSERT_EQ(0, tvkCreateVideoFrameWHC(&frame, 16, 16, 1));
    EXPECT_EQ(0, tvkDestroyVideoFrame(frame));
}

TEST(FrameGrowth, keepsTheBytesAndTheRecord) {
    const FrameOwner frame(32, 32, 1);
    fillRecord(frame.frame);
    EXPECT_TRUE(tvk::growLumaBlock(frame.frame, 1024));
    EXPECT_EQ(1024u, tvk::alignedSize(frame->lumaPlane.data));
    EXPECT_TRUE(tvk::growLumaBlock(frame.frame, 100000));
    EXPECT_GE(tvk::alignedSize(frame->lumaPlane.data), 100000u);
    EXPECT_EQ(1024, frame->lumaPlane.size);
    for (int32_t i = 0; i < 1024; ++i) ASSERT_EQ(static_cast<uint8_t>(i * 7), frame->lumaPlane.data[i]);
    const FailingAllocation failing(0);
    EXPECT_FALSE(tvk::growLumaBlock(frame.frame, 1000000));
    EXPECT_EQ(7, frame->lumaPlane.data[1]);
}

}  // namespace
