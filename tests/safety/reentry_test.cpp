// SPDX-License-Identifier: BSD-2-Clause
// Callbacks that call what would pull the stream away under the call that they come from.
#include <gtest/gtest.h>

#include "clips.h"
#include "fuzz/application.h"
#include "tvk_source.h"

namespace tvktest {
namespace {

using tvkfuzz::Application;

VideoStream *watchedStream = nullptr;
uint32_t refused = 0, taken = 0;

int32_t callBack(CallbackEvent *event) {
    if (event->eventCode > 10) return 0;
    VideoFrame *frame = nullptr;
    uint32_t count = 0;
    const int32_t results[] = {
        tvkDestroyVideoStream(watchedStream),        tvkGetNextVideoFrame(watchedStream, &frame),
        tvkSetRateVideoPosition(watchedStream, 0.0), tvkCreateVideoIndexTable(watchedStream),
        tvkCountVideoFrames(watchedStream, &count),  tvkSetVideoSP_ReduceCoefficient(watchedStream, 2),
        tvkSetVideoSP_Threads(watchedStream, 5),     tvkSetVideoFrameBufferSize(watchedStream, 2, 2)};
    for (const int32_t result : results) ++(result == tvkErrBusy ? refused : taken);
    return 0;
}

struct Reentry : testing::Test {
    Bytes clip = readClip("open_gop.m2v");
    Application application;

    void SetUp() override {
        ASSERT_TRUE(application.open(clip.data(), clip.size(), tvkSourceAnyContent));
        watchedStream = application.stream;
        refused = taken = 0;
        ASSERT_EQ(tvkSetVideoUserCallback(application.stream, callBack, 0), 0);
    }

    void TearDown() override {
        EXPECT_GT(refused, 0u);
        EXPECT_EQ(taken, 0u);
        tvkSetVideoUserCallback(application.stream, nullptr, 0);
        EXPECT_NE(application.step(tvkfuzz::Loop::main), nullptr) << "the stream goes on";
    }
};

TEST_F(Reentry, isRefusedDuringSteps) {
    EXPECT_NE(application.step(tvkfuzz::Loop::main), nullptr);
}

TEST_F(Reentry, isRefusedDuringJumpsWithoutAnIndex) {
    EXPECT_EQ(tvkSetRateVideoPosition(application.stream, 0.3), 0);
    EXPECT_EQ(tvkSetRateVideoPositionEdit(application.stream, 0.3), 0);
}

TEST_F(Reentry, isRefusedDuringScansAndJumpsByNumber) {
    EXPECT_EQ(tvkCreateVideoIndexTable(application.stream), 0);
    const uint32_t byScan = refused;
    EXPECT_GT(byScan, 0u);
    EXPECT_EQ(tvkSetVideoFrameNumber(application.stream, 9), 0);
    EXPECT_GT(refused, byScan);
}

TEST_F(Reentry, isRefusedDuringStepsBack) {
    EXPECT_EQ(tvkCreateVideoIndexTable(application.stream), 0);
    EXPECT_EQ(tvkSetVideoFrameNumber(application.stream, 9), 0);
    refused = 0;
    EXPECT_EQ(tvkPrevVideoFrame(application.stream), 0);
}

}  // namespace
}  // namespace tvktest
