// SPDX-License-Identifier: BSD-2-Clause
// The ring of decoded frames, and stepping back with and without it.
#include "pipeline/player.h"

namespace tvktest {
namespace {

constexpr const char *kStream = "SGIPPPPPPPPPPPE";

struct RingPlayer : Player {
    RingPlayer(int32_t forward, int32_t backward, const char *letters = kStream) : Player(std::string(letters)) {
        EXPECT_EQ(tvkSetVideoFrameBufferSize(stream, forward, backward), 0);
    }

    std::pair<int32_t, int32_t> utilization() {
        int32_t forward = 99, backward = 99;
        EXPECT_EQ(tvkGetVideoFrameBufferUtilization(stream, &forward, &backward), 0);
        return {forward, backward};
    }

    // Frame number at a ring index, 0 when there is none.
    int32_t at(int32_t index) {
        VideoFrame *frame = nullptr;
        result = tvkGetBufferedVideoFrame(stream, index, &frame);
        return result == 0 ? frame->frameNumber : 0;
    }

    int32_t next() {
        const VideoFrame *frame = step();
        return frame ? frame->frameNumber : 0;
    }

    int32_t prev() {
        const VideoFrame *frame = step(tvkGetPrevVideoFrame);
        return frame ? frame->frameNumber : 0;
    }
};

TEST(Ring, isOffByDefault) {
    Player player(kStream);
    uint32_t forward = 0, backward = 0;
    EXPECT_EQ(tvkGetVideoFrameBufferSize(player.stream, &forward, &backward), tvkErrBufferDisabled);
    VideoFrame *frame = nullptr;
    for (int32_t index : {-1, 0, 1})
        EXPECT_EQ(tvkGetBufferedVideoFrame(player.stream, index, &frame), tvkErrBufferDisabled);
}

TEST(Ring, decodesAheadAndHandsOutTheFirst) {
    RingPlayer player(2, 2);
    EXPECT_EQ(player.next(), 1);
    EXPECT_EQ(player.utilization(), std::make_pair(2, 0));
    EXPECT_EQ(player.next(), 2);
    EXPECT_EQ(player.utilization(), std::make_pair(2, -1));
    player.next();
    EXPECT_EQ(player.next(), 4);
    EXPECT_EQ(player.utilization(), std::make_pair(2, -2));
    for (int32_t index = -2; index <= 2; ++index) EXPECT_EQ(player.at(index), 4 + index);
    EXPECT_EQ(player.at(3), 0);
    EXPECT_EQ(player.result, tvkErrFrameOutOfRange);
    EXPECT_EQ(player.at(-3), 0);
    EXPECT_EQ(player.result, tvkErrFrameOutOfRange);
}

TEST(Ring, holdsTheSamplesOfItsFrames) {
    RingPlayer player(3, 3);
    for (int i = 0; i < 6; ++i) player.next();
    for (int32_t index = -3; index <= 3; ++index) {
        VideoFrame *frame = nullptr;
        ASSERT_EQ(tvkGetBufferedVideoFrame(player.stream, index, &frame), 0);
        EXPECT_EQ(shadeOf(frame) + 1, frame->streamNumber);
    }
}

TEST(Ring, withoutAForwardPartIsFullAfterOneFrame) {
    RingPlayer player(0, 3);
    EXPECT_EQ(player.next(), 1);
    EXPECT_EQ(player.stream->ring.ringState, 4);
    EXPECT_EQ(player.next(), 2);
    EXPECT_EQ(player.utilization(), std::make_pair(0, -1));
}

TEST(Ring, drainsAtTheEndOfTheStream) {
    RingPlayer player(2, 0, "SGIPPPE");
    EXPECT_EQ(player.numbers(), "1 2 3 4");
    EXPECT_EQ(player.result, tvkErrEndOfStream);
    EXPECT_EQ(player.next(), 0);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

TEST(Ring, longerThanTheStreamHandsOutWhatWasFilled) {
    RingPlayer player(10, 2, "SGIPPE");
    EXPECT_EQ(player.next(), 1);
    EXPECT_EQ(player.at(2), 3);
    EXPECT_EQ(player.at(3), 0);
    EXPECT_EQ(player.next(), 2);
    EXPECT_EQ(player.next(), 3);
    EXPECT_EQ(player.next(), 0);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

TEST(Ring, overAStreamWithoutPicturesHandsOutNothing) {
    RingPlayer player(2, 2, "SGE");
    EXPECT_EQ(player.next(), 0);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
    EXPECT_EQ(player.at(0), 0);
    EXPECT_EQ(player.result, tvkErrBufferDisabled);
}

TEST(Ring, isUsableAgainAfterItDrainedAndTheStreamWasSought) {
    RingPlayer player(2, 2, "SGIPPPPE");
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(player.numbers(), "1 2 3 4 5");
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 1), 0);
    EXPECT_EQ(player.at(1), 0);
    EXPECT_EQ(player.numbers(), "2 3 4 5");
}

TEST(Ring, keepsItsFramesOverASeekThatItDoesNotFollow) {
    RingPlayer player(2, 2);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetVideoSP_Flags(player.stream, 0), 0);
    player.next();
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 9), 0);
    EXPECT_EQ(player.at(2), 3);
}

TEST(Ring, takesNewSizesAtTheNextPicture) {
    RingPlayer player(2, 2);
    player.next();
    EXPECT_EQ(tvkSetVideoFrameBufferSize(player.stream, 1, 1), 0);
    EXPECT_EQ(player.current(), nullptr);
    EXPECT_EQ(player.next(), 4);
    EXPECT_EQ(player.utilization(), std::make_pair(1, 0));
    EXPECT_EQ(tvkSetVideoFrameBufferSize(player.stream, 0, 0), 0);
    EXPECT_EQ(player.next(), 6);
    EXPECT_EQ(tvkSetVideoFrameBufferSize(player.stream, -1, 0), tvkErrInvalidArgument);
}

TEST(Ring, doesNotFollowSeeksOnceOneWasDestroyed) {
    RingPlayer player(2, 2);
    player.next();
    EXPECT_EQ(tvkSetVideoFrameBufferSize(player.stream, 2, 2), 0);
    uint32_t flags = 9;
    EXPECT_EQ(tvkGetVideoSP_Flags(player.stream, &flags), 0);
    EXPECT_EQ(flags, 0u);
}

TEST(Ring, goesAwayWithAChangeOfTheReduceCoefficient) {
    RingPlayer player(2, 2);
    player.next();
    ASSERT_EQ(tvkSetVideoSP_ReduceCoefficient(player.stream, 2), 0);
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->lumaPlane.width, 8);
    uint32_t forward = 0, backward = 0;
    EXPECT_EQ(tvkGetVideoFrameBufferSize(player.stream, &forward, &backward), tvkErrBufferDisabled);
}

TEST(Ring, stopsChangingWhenThePictureSizeChanges) {
    TinyStream tiny("SGIPPP");
    tiny.width = 64;
    tiny.add("SGIPPPE");
    Player player(tiny);
    ASSERT_EQ(tvkSetVideoFrameBufferSize(player.stream, 1, 1), 0);
    int frames = 0;
    while (const VideoFrame *frame = player.step()) {
        EXPECT_EQ(frame->lumaPlane.width, 16);
        if (++frames > 20) break;
    }
    EXPECT_LE(frames, 20);
}

TEST(Ring, refusesCodedBytesAndStaysSafe) {
    RingPlayer player(1, 1);
    player.next();
    for (int i = 0; i < 12; ++i) player.step(tvkGetNextVideoFrameBin);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

TEST(Ring, handsADrySourcesCodeOnWhileNothingIsFilled) {
    RingPlayer player(2, 2);
    player.source.readPlan = {ReadPlan::needData, ReadPlan::ordinary, ReadPlan::needData};
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrNeedData);
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrNeedData);
    EXPECT_EQ(player.next(), 1);
}

TEST(Ring, survivesAFrameThatCannotBeMade) {
    RingPlayer player(3, 1);
    player.next();
    player.stream->ring.ringCentre[1] = nullptr;
    EXPECT_EQ(player.next(), 0);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
    EXPECT_EQ(player.next(), 3);
}

TEST(StepBack, withoutARingIsAJump) {
    RingPlayer player(0, 0);
    for (int i = 0; i < 5; ++i) player.next();
    EXPECT_EQ(player.prev(), 0);
    EXPECT_EQ(player.result, tvkErrNotIndexed);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(tvkSetVideoFrameNumber(player.stream, 4), 0);
    EXPECT_EQ(player.prev(), 3);
    EXPECT_EQ(player.prev(), 2);
    EXPECT_EQ(player.prev(), 1);
    EXPECT_EQ(player.prev(), 0);
    EXPECT_EQ(player.result, tvkErrNoPreviousFrame);
    EXPECT_EQ(player.next(), 2);
}

TEST(StepBack, aheadOfTheFirstStepFindsNothing) {
    RingPlayer player(0, 0);
    EXPECT_EQ(player.prev(), 0);
    EXPECT_EQ(player.result, tvkErrNoPreviousFrame);
    EXPECT_EQ(tvkGetPrevVideoFrame(player.stream, nullptr), tvkErrInvalidArgument);
    EXPECT_EQ(tvkPrevVideoFrame(player.stream), tvkErrNoPreviousFrame);
}

TEST(StepBack, takesFramesOutOfAFullRing) {
    RingPlayer player(2, 2);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    for (int i = 0; i < 7; ++i) player.next();
    EXPECT_EQ(player.prev(), 6);
    for (int32_t index = -2; index <= 2; ++index) EXPECT_EQ(player.at(index), 6 + index);
    EXPECT_EQ(player.prev(), 5);
    EXPECT_EQ(player.at(2), 7);
    EXPECT_EQ(player.at(-2), 3);
}

TEST(StepBack, drainsTheRingAtTheStart) {
    RingPlayer player(1, 2);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    for (int i = 0; i < 3; ++i) player.next();
    EXPECT_EQ(player.prev(), 2);
    EXPECT_EQ(player.prev(), 1);
    EXPECT_EQ(player.prev(), 0);
    EXPECT_EQ(player.result, tvkErrNoPreviousFrame);
}

TEST(StepBack, withoutAnIndexDrainsWhatIsBehind) {
    RingPlayer player(1, 2);
    for (int i = 0; i < 5; ++i) player.next();
    EXPECT_EQ(player.prev(), 4);
    EXPECT_EQ(player.stream->ring.ringState, 5);
    EXPECT_EQ(player.prev(), 3);
    EXPECT_EQ(player.prev(), 0);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

// The step back that finds nothing ahead of the first frame leaves a ring that only drains, forwards too, until a seek.
TEST(StepBack, toTheFirstFrameLeavesARingThatDrainsForwards) {
    RingPlayer player(2, 3);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    for (int32_t number = 1; number <= 6; ++number) EXPECT_EQ(player.next(), number);
    for (int32_t number = 5; number >= 1; --number) EXPECT_EQ(player.prev(), number);
    EXPECT_EQ(player.stream->ring.ringState, 5);
    EXPECT_EQ(player.prev(), 0);
    EXPECT_EQ(player.result, tvkErrNoPreviousFrame);
    EXPECT_EQ(player.next(), 2);
    EXPECT_EQ(player.next(), 3);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(player.next(), 0);
        EXPECT_EQ(player.result, tvkErrEndOfStream);
    }
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 1), 0);
    EXPECT_EQ(player.next(), 2);
    EXPECT_EQ(player.at(2), 4);
}

// Back over what the ring holds, without an index to fetch more: no slice is read.
TEST(StepBack, overTheRingDecodesNothing) {
    RingPlayer player(1, 6, "SGIPBBPBBPBBE");
    for (int32_t number = 1; number <= 8; ++number) EXPECT_EQ(player.next(), number);
    const uint32_t slices = player.stream->counters.slices;
    for (int32_t number = 7; number >= 2; --number) EXPECT_EQ(player.prev(), number);
    EXPECT_EQ(player.stream->counters.slices, slices);
    EXPECT_GT(slices, 0u);
}

TEST(Ring, isLookedIntoWithoutDecoding) {
    RingPlayer player(3, 3);
    for (int i = 0; i < 6; ++i) player.next();
    const uint32_t slices = player.stream->counters.slices;
    for (int32_t index = 3; index >= -3; --index) EXPECT_EQ(player.at(index), 6 + index);
    EXPECT_EQ(player.stream->counters.slices, slices);
}

TEST(StepBack, fillsAnEmptyRingBackward) {
    RingPlayer player(2, 3);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 8), 0);
    EXPECT_EQ(player.prev(), 7);
    EXPECT_EQ(player.stream->ring.ringState, 4);
    EXPECT_EQ(player.utilization(), std::make_pair(0, -3));
    for (int32_t index = -3; index <= 0; ++index) EXPECT_EQ(player.at(index), 7 + index);
}

TEST(StepBack, fillsAsFarAsTheStartAllows) {
    RingPlayer player(2, 5);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 3), 0);
    EXPECT_EQ(player.prev(), 2);
    EXPECT_EQ(player.stream->ring.ringState, 5);
    EXPECT_EQ(player.at(-1), 1);
    EXPECT_EQ(player.at(-2), 0);
}

TEST(StepBack, doesNothingWhileTheRingFillsForward) {
    RingPlayer player(2, 2);
    player.next();
    player.stream->ring.ringState = 2;
    player.stream->frames.deliveredFrame->frameNumber = 5;
    EXPECT_EQ(player.prev(), 5);
    player.stream->ring.ringState = 3;
    EXPECT_EQ(player.next(), 5);
}

TEST(StepBack, byTheFrameList) {
    RingPlayer player(0, 0, "SGIPPPPPPPPPE");
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetVideoWorkMode(player.stream, 2), 0);
    int32_t list[] = {2, 5, 8};
    ASSERT_EQ(tvkSetVideoSP_FrameList(player.stream, list, 3), 0);
    EXPECT_EQ(player.numbers(), "2 5 8");
    EXPECT_EQ(player.prev(), 5);
    EXPECT_EQ(player.prev(), 2);
    EXPECT_EQ(player.prev(), 0);
    EXPECT_EQ(player.result, tvkErrFrameListEnd);
}

}  // namespace
}  // namespace tvktest
