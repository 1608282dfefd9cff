// SPDX-License-Identifier: BSD-2-Clause
// What the library frame promises while pictures are being decoded: tripwires, failed workers, memory.
#include <vector>

#include "stream_fixture.h"
#include "support/bit_writer.h"

namespace {

using tvktest::BitWriter;
using tvktest::FailingAllocation;
using tvktest::FakeSource;

constexpr uint32_t kSize = 48;

// An MPEG-1 stream of I pictures whose slices end in an invalid code behind their first macroblock.
std::vector<uint8_t> tinyStream(uint32_t pictures) {
    BitWriter w;
    w.startCode(0xB3).put(12, kSize).put(12, kSize).put(4, 1).put(4, 3).put(18, 100).put(1, 1).put(10, 20).put(3, 0);
    for (uint32_t picture = 0; picture < pictures; ++picture) {
        w.startCode(0x00).put(10, picture).put(3, 1).put(16, 0xFFFF).put(1, 0);
        for (uint32_t row = 1; row <= kSize / 16; ++row) w.startCode(row).put(5, 8).put(1, 0).put(2, 3).put(16, 0);
    }
    w.startCode(0xB7);
    return w.bytes;
}

struct Stepping : testing::Test {
    FakeSource source{tinyStream(12)};
    VideoStream *stream = nullptr;

    void SetUp() override { ASSERT_EQ(0, tvkCreateVideoStream(&stream, source.source())); }
    void TearDown() override {
        tvk::threadStartHook = nullptr;
        EXPECT_EQ(0, tvkDestroyVideoStream(stream));
    }
};

TEST_F(Stepping, deliversEveryPictureAndThenTheEnd) {
    VideoFrame *frame = nullptr;
    for (int32_t number = 1; number <= 12; ++number) {
        ASSERT_EQ(0, tvkGetNextVideoFrame(stream, &frame));
        EXPECT_EQ(number, frame->frameNumber);
    }
    EXPECT_EQ(tvkErrEndOfStream, tvkGetNextVideoFrame(stream, &frame));
    EXPECT_EQ(nullptr, frame);
}

TEST_F(Stepping, failedWorkerFailsEveryStepUntilThereAreNewOnes) {
    VideoFrame unrelated;
    VideoFrame *frame = &unrelated;
    tvk::threadStartHook = [] { return false; };
    ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 2));
    EXPECT_EQ(tvkErrWorkerFailed, tvkGetNextVideoFrame(stream, &frame));
    EXPECT_EQ(nullptr, frame);
    EXPECT_EQ(tvkErrWorkerFailed, tvkGetNextVideoFrame(stream, &frame));
    tvk::threadStartHook = nullptr;
    ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 3));
    EXPECT_EQ(0, tvkGetNextVideoFrame(stream, &frame));
}

VideoStream *callingStream;
std::vector<int32_t> resultsWithin;

int32_t callBack(CallbackEvent *event) {
    if (event->eventCode != 7) return 0;
    uint32_t value = 0;
    VideoFrame *frame = nullptr;
    resultsWithin = {tvkNextVideoFrame(callingStream),           tvkSetVideoWorkMode(callingStream, 1),
                     tvkDestroyVideoStream(callingStream),       tvkSetVideoSP_Threads(callingStream, 2),
                     tvkGetVideoWorkMode(callingStream, &value), tvkCreateVideoFrame(callingStream, &frame)};
    tvkDestroyVideoFrame(frame);
    return 0;
}

TEST_F(Stepping, callsFromACallbackAreRefusedButThoseThatOnlyRead) {
    callingStream = stream;
    resultsWithin.clear();
    ASSERT_EQ(0, tvkSetVideoUserCallback(stream, callBack, 0));
    ASSERT_EQ(0, tvkNextVideoFrame(stream));
    EXPECT_EQ((std::vector<int32_t>{tvkErrBusy, tvkErrBusy, tvkErrBusy, tvkErrBusy, 0, 0}), resultsWithin);
}

TEST_F(Stepping, allocatesNothingOnceTheFramesExist) {
    ASSERT_EQ(0, tvkNextVideoFrame(stream));
    const uint64_t before = tvk::allocationCount;
    for (int step = 0; step < 8; ++step) ASSERT_EQ(0, tvkNextVideoFrame(stream));
    EXPECT_EQ(before, tvk::allocationCount);
}

// Calls of every owner of memory; results are free, the process is not.
void runScenario(FakeSource &source) {
    VideoStream *stream = nullptr;
    if (tvkCreateVideoStream(&stream, source.source()) != 0) return;
    VideoFrame *frame = nullptr, *copy = nullptr;
    tvkSetVideoSP_Threads(stream, 2);
    tvkGetNextVideoFrame(stream, &frame);
    if (frame && tvkDuplicateVideoFrame(frame, &copy) == 0) tvkDestroyVideoFrame(copy);
    tvkSetVideoFrameBufferSize(stream, 1, 2);
    for (int step = 0; step < 3; ++step) tvkGetNextVideoFrame(stream, &frame);
    tvkCreateVideoIndexTable(stream);
    tvkSetVideoFrameNumber(stream, 3);
    tvkSetVideoSP_ReduceCoefficient(stream, 4);
    tvkGetNextVideoFrame(stream, &frame);
    EXPECT_EQ(0, tvkDestroyVideoStream(stream));
}

TEST(FailingAllocations, neverHurtWhicheverItIs) {
    bool reached = true;
    for (int64_t n = 0; reached; ++n) {
        FakeSource source{tinyStream(12)};
        const FailingAllocation failing(n);
        runScenario(source);
        reached = failing.reached();
        ASSERT_LT(n, 2000);
    }
}

}  // namespace
