// SPDX-License-Identifier: BSD-2-Clause
// Handle checks, and the codes of the wrappers.
#include <thread>
#include <vector>

#include "stream_fixture.h"

namespace {

using tvktest::FakeSource;
using Handles = tvktest::StreamTest;

TEST_F(Handles, nullIsAnInvalidArgument) {
    uint32_t value = 0;
    EXPECT_EQ(tvkErrInvalidArgument, tvkConnectVideoStream(nullptr));
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetVideoWorkMode(nullptr, &value));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetMemoryAvailable(nullptr, 0));
    EXPECT_EQ(tvkErrInvalidArgument, tvkDestroyVideoStream(nullptr));
}

TEST_F(Handles, readableMemoryWithAnotherFirstWordIsRefused) {
    uint64_t memory[64] = {};
    EXPECT_EQ(tvkErrBadHandle, tvkConnectVideoStream(reinterpret_cast<VideoStream *>(memory)));
    stream->magic ^= 1;
    EXPECT_EQ(tvkErrBadHandle, tvkConnectVideoStream(stream));
    stream->magic ^= 1;
    EXPECT_EQ(0, tvkConnectVideoStream(stream));
}

TEST_F(Handles, memoryThatOnlyLooksLikeAStreamIsRefusedUntouched) {
    std::vector<uint32_t> fake(sizeof(VideoStream) / 4, 0);
    fake[0] = tvk::kStreamMagic;
    const std::vector<uint32_t> before = fake;
    EXPECT_EQ(tvkErrBadHandle, tvkDestroyVideoStream(reinterpret_cast<VideoStream *>(fake.data())));
    EXPECT_EQ(tvkErrBadHandle, tvkSetMemoryAvailable(reinterpret_cast<VideoStream *>(fake.data()), 0));
    EXPECT_EQ(before, fake);
}

TEST_F(Handles, wildPointersAreRefused) {
    uint32_t value = 0;
    for (const uintptr_t address : {uintptr_t{1}, uintptr_t{8}, uintptr_t{0xDEADBEEF}, ~uintptr_t{0}, ~uintptr_t{7}}) {
        VideoStream *wild = reinterpret_cast<VideoStream *>(address);
        EXPECT_EQ(tvkErrBadHandle, tvkNextVideoFrame(wild));
        EXPECT_EQ(tvkErrBadHandle, tvkGetVideoSP_Threads(wild, &value));
        EXPECT_EQ(tvkErrBadHandle, tvkSetMemoryAvailable(wild, 0));
        EXPECT_EQ(tvkErrBadHandle, tvkDestroyVideoStream(wild));
    }
}

TEST_F(Handles, destroyedHandleIsRefused) {
    VideoStream *stale = stream;
    ASSERT_EQ(0, tvkDestroyVideoStream(stream));
    stream = nullptr;
    EXPECT_EQ(tvkErrBadHandle, tvkDestroyVideoStream(stale));
}

TEST_F(Handles, busyStatusRefusesCallsOfCheckAAlone) {
    uint32_t value = 0;
    tvk::setStatus(stream, tvk::statusBusy);
    EXPECT_EQ(tvkErrBusy, tvkSetVideoWorkMode(stream, 0));
    EXPECT_EQ(tvkErrBusy, tvkNextVideoFrame(stream));
    EXPECT_EQ(tvkErrBusy, tvkDestroyVideoStream(stream));
    EXPECT_EQ(tvkErrBusy, tvkGetNextFAPPlain(stream, nullptr));
    EXPECT_EQ(0, tvkGetVideoWorkMode(stream, &value));
    EXPECT_EQ(0, tvkSetVideoSP_Threads(stream, 1));
    EXPECT_EQ(tvkErrBusy, tvkSetVideoSP_Threads(stream, 2));
}

// Every call of check K, in the order of the exports, on a stream of a foreign kind.
TEST_F(Handles, foreignKindIsRefused) {
    stream->decoderKind = 3;
    VideoStream *s = stream;
    StreamDescription description;
    VideoStreamInfo info;
    VideoFrame *frame = nullptr;
    uint32_t u = 0;
    int32_t i = 0;
    double d = 0;
    int32_t *list = nullptr;
    void *pointer = nullptr;
    AbsPosition position = {};
    const int32_t results[] = {
        tvkConnectVideoStream(s),
        tvkDisconnectVideoStream(s),
        tvkDestroyVideoStream(s),
        tvkTestVideoStream(s, &description),
        tvkGetVideoStreamInfo(s, &info),
        tvkGetVideoStreamType(s, &u),
        tvkGetSequenceHeader(s, &frame),
        tvkSetActiveVideoLayer(s, 480),
        tvkGetActiveVideoLayer(s, &i),
        tvkNextVideoFrame(s),
        tvkNextVideoFrameStreamOrder(s),
        tvkPrevVideoFrame(s),
        tvkGetNextVideoFrame(s, &frame),
        tvkGetNextVideoFrameStreamOrder(s, &frame),
        tvkGetNextVideoFrameEdit(s, &frame),
        tvkGetNextVideoFrameBin(s, &frame),
        tvkGetPrevVideoFrame(s, &frame),
        tvkGetVideoFrame(s, &frame),
        tvkGetVideoFrameBin(s, &frame),
        tvkCountVideoFrames(s, &u),
        tvkSetVideoFrameNumber(s, 1),
        tvkSetVideoFrameNumberEdit(s, 1),
        tvkSetVideoFrameNumberBin(s, 1),
        tvkGetBinaryStartEnd(s, &i, &i),
        tvkGetLastFrameNumber(s, &u),
        tvkSetAbsVideoPosition(s, position),
        tvkGetAbsVideoPosition(s, &position),
        tvkSetRateVideoPosition(s, 0),
        tvkSetRateVideoPositionEdit(s, 0),
        tvkGetRateVideoPosition(s, &d),
        tvkSetTimeVideoPosition(s, 0),
        tvkGetTimeVideoPosition(s, &d),
        tvkCreateVideoIndexTable(s),
        tvkCreateVideoIndexTableEdit(s, 0),
        tvkReadVideoIndexTable(s, ""),
        tvkWriteVideoIndexTable(s, ""),
        tvkIsVideoStreamIndexed(s),
        tvkSetVideoFrameBufferSize(s, 0, 0),
        tvkSwapBuffer(s),
        tvkSetVideoSP_Flags(s, 0),
        tvkGetVideoSP_Flags(s, &u),
        tvkSetVideoSP_ReduceCoefficient(s, 1),
        tvkGetVideoSP_ReduceCoefficient(s, &u),
        tvkSetVideoSP_FrameTypesToProcess(s, 3),
        tvkGetVideoSP_FrameTypesToProcess(s, &u),
        tvkSetVideoSP_FrameList(s, &i, 1),
        tvkGetVideoSP_FrameList(s, &list, &i),
        tvkSetVideoSP_Prescan(s, 0),
        tvkSetVideoSP_PrescanEdit(s, 0),
        tvkGetVideoSP_Prescan(s, &u),
        tvkSetVideoSP_Precision(s, 2),
        tvkGetVideoSP_Precision(s, &u),
        tvkSetVideoWorkMode(s, 0),
        tvkGetVideoWorkMode(s, &u),
        tvkSetVideoAdjustableSpeed(s, 1),
        tvkSetVideoConversionType(s, 0),
        tvkGetVideoConversionType(s, &u),
        tvkSetVideoUserCallback(s, nullptr, 0),
        tvkSetMemoryManager(s, nullptr, 4),
        tvkGetMemoryManager(s, &pointer, &u),
        tvkSetMemoryAvailable(s, 0),
        tvkSetVideoSP_VOPTypesToProcess(s, 0),
        tvkGetVideoSP_VOPTypesToProcess(s, &u),
        tvkGetNextFAPPlain(s, nullptr),
        tvkGetNextFAPSegment(s, nullptr),
        tvkCreateVideoFrame(s, &frame),
    };
    for (size_t n = 0; n < std::size(results); ++n) EXPECT_EQ(tvkErrWrongDecoderKind, results[n]) << "call " << n;
    EXPECT_EQ(tvkErrNoThreads, tvkSetVideoSP_Threads(s, 2));
    EXPECT_EQ(tvkErrNoThreads, tvkGetVideoSP_Threads(s, &u));
    // The calls without the check.
    EXPECT_EQ(0, tvkGetVideoDecoderID(s, &u));
    EXPECT_EQ(tvkErrBufferDisabled, tvkGetVideoFrameBufferSize(s, &u, &u));
    EXPECT_EQ(tvkErrBufferDisabled, tvkGetBufferedVideoFrame(s, 0, &frame));
}

TEST_F(Handles, kindTwoIsAccepted) {
    uint32_t value = 0;
    stream->decoderKind = 2;
    EXPECT_EQ(0, tvkGetVideoWorkMode(stream, &value));
}

TEST_F(Handles, ringSizesAreStoredBeforeTheKindIsChecked) {
    uint32_t forward = 0, backward = 0;
    stream->decoderKind = 0;
    EXPECT_EQ(tvkErrWrongDecoderKind, tvkSetVideoFrameBufferSize(stream, 3, 2));
    EXPECT_EQ(0, tvkGetVideoFrameBufferSize(stream, &forward, &backward));
    EXPECT_EQ(3u, forward);
    EXPECT_EQ(2u, backward);
}

TEST_F(Handles, negativeRingSizeLeavesTheRing) {
    uint32_t forward = 0, backward = 0;
    ASSERT_EQ(0, tvkSetVideoFrameBufferSize(stream, 1, 2));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoFrameBufferSize(stream, -1, 2));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoFrameBufferSize(stream, 1, -2));
    EXPECT_EQ(0, tvkGetVideoFrameBufferSize(stream, &forward, &backward));
    EXPECT_EQ(1u, forward);
    EXPECT_EQ(2u, backward);
}

TEST_F(Handles, callsOfOtherFamiliesAreRefused) {
    uint32_t value = 7;
    EXPECT_EQ(tvkErrNoVOP, tvkSetVideoSP_VOPTypesToProcess(stream, 1));
    EXPECT_EQ(tvkErrNoVOP, tvkGetVideoSP_VOPTypesToProcess(stream, &value));
    EXPECT_EQ(7u, value);
    EXPECT_EQ(tvkErrWrongDecoderKind, tvkGetNextFAPPlain(stream, nullptr));
    EXPECT_EQ(tvkErrWrongDecoderKind, tvkGetNextFAPSegment(stream, nullptr));
}

TEST_F(Handles, deliveredFrameIsMissingInTwoWays) {
    VideoFrame unrelated;
    VideoFrame *frame = &unrelated;
    EXPECT_EQ(tvkErrNoFrameYet, tvkGetVideoFrame(stream, &frame));
    EXPECT_EQ(nullptr, frame);
    stream->frames.pictureCounter = 1;
    frame = &unrelated;
    EXPECT_EQ(tvkErrEndOfStream, tvkGetVideoFrameBin(stream, &frame));
    EXPECT_EQ(nullptr, frame);
    stream->frames.deliveredFrame = &unrelated;
    EXPECT_EQ(0, tvkGetVideoFrame(stream, &frame));
    EXPECT_EQ(&unrelated, frame);
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetVideoFrame(stream, nullptr));
    stream->frames.deliveredFrame = nullptr;
}

TEST_F(Handles, steppingWithANullOutTakesNoStep) {
    source.log.clear();
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetNextVideoFrame(stream, nullptr));
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetNextVideoFrameStreamOrder(stream, nullptr));
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetNextVideoFrameEdit(stream, nullptr));
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetNextVideoFrameBin(stream, nullptr));
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetPrevVideoFrame(stream, nullptr));
    EXPECT_TRUE(source.log.empty());
}

TEST_F(Handles, factsAreHandedOut) {
    uint32_t value = 9;
    EXPECT_EQ(0, tvkGetVideoStreamType(stream, &value));
    EXPECT_EQ(0u, value);
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetVideoStreamType(stream, nullptr));
    EXPECT_EQ(0, tvkGetVideoDecoderID(stream, &value));
    EXPECT_EQ(0u, value);
}

TEST(Library, versionIsAConstantRecord) {
    const VersionRecord *version = nullptr;
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetVideoLibraryVersion(nullptr));
    ASSERT_EQ(0, tvkGetVideoLibraryVersion(&version));
    EXPECT_EQ(1u, version->versionMajor);
    EXPECT_EQ(75u, version->versionMinor);
    EXPECT_STREQ("Jun 12 2006", version->versionDate);
    EXPECT_STREQ("W7", version->versionTag);
}

TEST(HandleRegistry, holdsManyHandlesOfManyThreads) {
    constexpr int kThreads = 4, kStreams = 40;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([] {
            FakeSource source;
            std::vector<VideoStream *> streams(kStreams);
            uint32_t value = 0;
            for (VideoStream *&stream : streams) ASSERT_EQ(0, tvkCreateVideoStream(&stream, source.source()));
            for (VideoStream *stream : streams) EXPECT_EQ(0, tvkGetVideoWorkMode(stream, &value));
            for (VideoStream *stream : streams) EXPECT_EQ(0, tvkDestroyVideoStream(stream));
        });
    for (std::thread &thread : threads) thread.join();
}

}  // namespace
