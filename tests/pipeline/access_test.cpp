// SPDX-License-Identifier: BSD-2-Clause
// Jumps by frame number, rate, time and position.
#include <limits>

#include "pipeline/player.h"

namespace tvktest {
namespace {

// I1 P B B P B B, then two open groups; 20 frames.
constexpr const char *kGroups = "SGIPBBPBBGIBBPBBSGIBBPBBP";
constexpr int32_t kGroupFrames = 20;

// Coded-order number of the picture shown at each display position, by a walk.
std::vector<int32_t> codedOrder(const std::string &letters) {
    Player player(letters);
    std::vector<int32_t> order = {0};
    while (const VideoFrame *frame = player.step()) order.push_back(frame->streamNumber);
    return order;
}

TEST(FrameNumber, reachesEveryFrameFromEveryOther) {
    const std::vector<int32_t> order = codedOrder(kGroups);
    Player player(kGroups);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    for (int32_t from = 1; from <= kGroupFrames; ++from) {
        for (int32_t to = 1; to <= kGroupFrames; ++to) {
            ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, from), 0) << from;
            ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, to), 0) << to;
            const VideoFrame *frame = player.current();
            ASSERT_NE(frame, nullptr);
            EXPECT_EQ(frame->frameNumber, to);
            EXPECT_EQ(shadeOf(frame) + 1, order[static_cast<size_t>(to)]) << to;
        }
    }
}

TEST(FrameNumber, leavesTheStreamToGoOnBehindTheTarget) {
    Player player(kGroups);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    for (int32_t to = 1; to < kGroupFrames; ++to) {
        ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, to), 0);
        const VideoFrame *next = player.step();
        ASSERT_NE(next, nullptr) << to;
        EXPECT_EQ(next->frameNumber, to + 1);
    }
}

TEST(FrameNumber, ofAnIFrameDecodesNoBPicture) {
    Player player(kGroups);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 10), 0);
    EXPECT_EQ(Player::describe(*player.current()), "I10/8");
    EXPECT_EQ(player.stream->frames.workFrame[2]->lumaPlane.data[0], 0x10);
}

TEST(FrameNumber, ofABFrameDecodesThatOneBPicture) {
    Player player(kGroups);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 12), 0);
    EXPECT_EQ(Player::describe(*player.current()), "B12/13");
    EXPECT_EQ(shadeOf(player.current()), 12);
}

// The anchors from the entry to the one behind the target, or the target itself, and a B target: no other picture.
TEST(FrameNumber, decodesTheAnchorsAndTheTargetAlone) {
    struct Jump {
        int32_t number;
        int anchors, b;
    };
    // Shown as I1 B2 B3 P4 B5 B6 P7 B8 B9 I10 B11 B12 P13; coded I P B B P B B I B B P B B.
    Player player("SGIPBBPBBGIBBPBBE");
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    player.step();
    constexpr Jump kJumps[] = {{1, 2, 0}, {2, 2, 1}, {3, 2, 1},  {4, 3, 0},  {5, 3, 1},  {7, 4, 0},
                               {8, 4, 1}, {9, 4, 1}, {10, 2, 0}, {11, 2, 1}, {12, 2, 1}, {13, 2, 0}};
    for (const auto &[number, anchors, b] : kJumps) {
        static int decoded[2];
        static bool atHeader, isB;
        decoded[0] = decoded[1] = 0;
        atHeader = false;
        tvkSetVideoUserCallback(
            player.stream,
            [](CallbackEvent *event) {
                if (event->eventCode == 7) {
                    atHeader = true;
                    isB = event->pictureHeader->pictureCodingType == tvk::pictureB;
                }
                if (event->eventCode == 10 && atHeader) {
                    atHeader = false;
                    ++decoded[isB];
                }
                return 0;
            },
            0);
        ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, number), 0);
        EXPECT_EQ(player.current()->frameNumber, number);
        EXPECT_EQ(decoded[0], anchors) << number;
        EXPECT_EQ(decoded[1], b) << number;
    }
}

TEST(FrameNumber, ofLeadingBPicturesGoesToTheStart) {
    Player player("SGBBIPBBE");
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(player.stream->index.displayNumbers[0], 3);
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 1), 0);
    EXPECT_EQ(player.current()->frameNumber, 1);
    EXPECT_EQ(player.source.last(Slot::seekRatePosition)->value, 0.0);
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 5), 0);
    EXPECT_EQ(player.current()->frameNumber, 5);
}

TEST(FrameNumber, ofTheLastFrameComesFromTheDrain) {
    Player player(kGroups);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, kGroupFrames), 0);
    EXPECT_EQ(player.current()->frameNumber, kGroupFrames);
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

TEST(FrameNumber, needsAnIndexAndARange) {
    Player player(kGroups);
    EXPECT_EQ(tvkSetVideoFrameNumber(player.stream, 1), tvkErrNotIndexed);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(tvkSetVideoFrameNumber(player.stream, 0), tvkErrFrameOutOfRange);
    EXPECT_EQ(tvkSetVideoFrameNumber(player.stream, -3), tvkErrFrameOutOfRange);
    EXPECT_EQ(tvkSetVideoFrameNumber(player.stream, kGroupFrames + 1), tvkErrFrameOutOfRange);
}

TEST(FrameNumber, parsesTheHeadersThatTheEntryDependsOn) {
    Player player("SXGIPSXMGIPE");
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 1), 0);
    EXPECT_EQ(player.stream->headers.quantMatrix.loadIntra, 0);
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 3), 0);
    EXPECT_EQ(player.stream->streamType, 2u);
    EXPECT_EQ(player.stream->headers.quantMatrix.loadIntra, 1);
    EXPECT_EQ(player.current()->frameNumber, 3);
}

TEST(FrameNumber, passesOnASeekThatTheSourceRefuses) {
    Player player(kGroups);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    player.step();
    player.source.failures[Slot::seekAbsPosition] = -88;
    EXPECT_EQ(tvkSetVideoFrameNumber(player.stream, 12), -88);
    EXPECT_EQ(player.current(), nullptr);
    EXPECT_EQ(player.stream->status, tvk::statusReady);
}

TEST(FrameNumber, leavesNoBusyStreamWhenTheFirstRollFails) {
    Player player("SG");
    EXPECT_EQ(tvkSetRateVideoPosition(player.stream, 0.5), tvkErrEndOfStream);
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

TEST(FrameNumber, thatRunsOutOfDataIsGoneOnWithByAStep) {
    Player player(kGroups);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    player.step();
    player.source.readPlan.assign(player.source.reads + 4, ReadPlan::ordinary);
    player.source.readPlan.push_back(ReadPlan::needData);
    EXPECT_EQ(tvkSetVideoFrameNumber(player.stream, 12), tvkErrNeedData);
    const VideoFrame *next = player.step();
    ASSERT_NE(next, nullptr);
    // The B picture whose unit had not come.
    EXPECT_EQ(Player::describe(*next), "B9/10");
}

TEST(FrameNumberEdit, reachesEveryFrame) {
    const std::vector<int32_t> order = codedOrder(kGroups);
    Player player(kGroups);
    ASSERT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 1000), 0);
    // Without a sequence end the last anchor has no display position.
    for (int32_t to : {19, 1, 10, 9, 11, 2, 12, 16, 17, 18, 3}) {
        ASSERT_EQ(tvkSetVideoFrameNumberEdit(player.stream, to), 0) << to;
        EXPECT_EQ(player.current()->frameNumber, to);
        EXPECT_EQ(shadeOf(player.current()) + 1, order[static_cast<size_t>(to)]);
    }
    EXPECT_EQ(tvkSetVideoFrameNumberEdit(player.stream, 20), tvkErrNotIndexed);
    EXPECT_EQ(tvkSetVideoFrameNumberEdit(player.stream, 0), tvkErrFrameOutOfRange);
}

TEST(FrameNumberEdit, worksAsFarAsThePartialScanHasGot) {
    Player player(kGroups);
    EXPECT_EQ(tvkSetVideoFrameNumberEdit(player.stream, 1), tvkErrNotIndexed);
    ASSERT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 12), 0);
    const int32_t last = static_cast<int32_t>(player.stream->index.displayCount);
    EXPECT_EQ(last, 12);
    for (int32_t to : {12, 4, 10, 1}) {
        ASSERT_EQ(tvkSetVideoFrameNumberEdit(player.stream, to), 0) << to;
        EXPECT_EQ(player.current()->frameNumber, to);
    }
    EXPECT_EQ(tvkSetVideoFrameNumberEdit(player.stream, last + 1), tvkErrNotIndexed);
}

std::vector<uint8_t> codedBytes(const VideoFrame *frame) {
    return {frame->lumaPlane.data, frame->lumaPlane.data + frame->lumaPlane.size};
}

TEST(FrameNumberBin, beginsWithTheGroupOfTheNextIPicture) {
    TinyStream tiny("SGIPBBGIBBPGIBBPE");
    Player player(tiny);
    player.step();
    ASSERT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 1000), 0);
    ASSERT_EQ(tvkSetVideoFrameNumberBin(player.stream, 3), 0);
    const std::vector<uint8_t> bytes = codedBytes(player.current());
    const size_t group = player.stream->index.groupPositions[1].words[2];
    EXPECT_EQ(bytes, std::vector<uint8_t>(tiny.bytes.begin() + static_cast<ptrdiff_t>(group),
                                          tiny.bytes.begin() + static_cast<ptrdiff_t>(tiny.pictureCodes[5])));
    EXPECT_EQ(bytes[3], 0xB8);
}

TEST(FrameNumberBin, ofTheFirstPictureBeginsWithTheSequenceHeader) {
    TinyStream tiny("SGIPBBGIBBPE");
    Player player(tiny);
    player.step();
    ASSERT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 1000), 0);
    ASSERT_EQ(tvkSetVideoFrameNumberBin(player.stream, 1), 0);
    EXPECT_EQ(
        codedBytes(player.current()),
        std::vector<uint8_t>(tiny.bytes.begin(), tiny.bytes.begin() + static_cast<ptrdiff_t>(tiny.pictureCodes[1])));
}

TEST(FrameNumberBin, behindTheLastIPictureStaysWhereTheStreamStands) {
    Player player("SGIPBBGIBBPE");
    player.step();
    ASSERT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 1000), 0);
    // The scan has gone to the end of the stream.
    EXPECT_EQ(tvkSetVideoFrameNumberBin(player.stream, 7), tvkErrEndOfStream);
    EXPECT_EQ(tvkSetVideoFrameNumberBin(player.stream, 9), tvkErrNotIndexed);
    EXPECT_EQ(tvkSetVideoFrameNumberBin(player.stream, 0), tvkErrFrameOutOfRange);
}

TEST(BinaryStartEnd, turnsARangeIntoWholeGroups) {
    Player player(kGroups);
    int32_t first = 1, last = 1;
    EXPECT_EQ(tvkGetBinaryStartEnd(player.stream, &first, &last), tvkErrNotIndexed);
    ASSERT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 1000), 0);
    const auto range = [&player](int32_t from, int32_t to) {
        EXPECT_EQ(tvkGetBinaryStartEnd(player.stream, &from, &to), 0);
        return std::make_pair(from, to);
    };
    // I pictures at 1, 8 and 14. A start at one moves on to the next, an end at one stays.
    EXPECT_EQ(range(1, 14), std::make_pair(8, 14));
    EXPECT_EQ(range(3, 13), std::make_pair(8, 8));
    EXPECT_EQ(range(8, 20), std::make_pair(14, 14));
    EXPECT_EQ(range(14, 0), std::make_pair(0, 1));
    EXPECT_EQ(tvkGetBinaryStartEnd(player.stream, nullptr, &last), tvkErrInvalidArgument);
    EXPECT_EQ(tvkGetBinaryStartEnd(player.stream, &first, nullptr), tvkErrInvalidArgument);
}

TEST(BinaryStartEnd, findsNothingBehindTheLastEntryOfATightTable) {
    Player player(kGroups);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    const std::string path = testing::TempDir() + "tvk_tight.vidx";
    ASSERT_EQ(tvkWriteVideoIndexTable(player.stream, path.c_str()), 0);
    ASSERT_EQ(tvkReadVideoIndexTable(player.stream, path.c_str()), 0);
    std::remove(path.c_str());
    int32_t first = 18, last = 18;
    EXPECT_EQ(tvkGetBinaryStartEnd(player.stream, &first, &last), 0);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(last, 14);
}

TEST(RatePosition, deliversAnIFrameWhateverIsNearest) {
    Player player(kGroups);
    player.step();
    ASSERT_EQ(tvkSetRateVideoPosition(player.stream, 0.5), 0);
    EXPECT_EQ(player.current()->pictureCodingType, 1);
    EXPECT_EQ(player.stream->settings.frameTypesToProcess, 3u);
    EXPECT_EQ(player.stream->frames.resyncOnce, 0u);
    EXPECT_EQ(shadeOf(player.current()), 13);
    const VideoFrame *next = player.step();
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(next->pictureCodingType, 3);
}

TEST(RatePosition, worksOnAStreamThatHasNotBeenSteppedYet) {
    Player player(kGroups);
    ASSERT_EQ(tvkSetRateVideoPosition(player.stream, 0.0), 0);
    EXPECT_EQ(player.current()->pictureCodingType, 1);
    EXPECT_EQ(shadeOf(player.current()), 0);
}

TEST(RatePosition, withIPicturesOnlyRunsOnce) {
    Player player(kGroups);
    ASSERT_EQ(tvkSetVideoSP_FrameTypesToProcess(player.stream, 1), 0);
    ASSERT_EQ(tvkSetRateVideoPosition(player.stream, 0.2), 0);
    EXPECT_EQ(player.current()->pictureCodingType, 1);
}

TEST(RatePosition, estimatesTheFrameNumber) {
    TinyStream tiny(kGroups);
    Player player(tiny);
    player.step();
    player.source.totalSize = 1000000;
    ASSERT_EQ(tvkSetRateVideoPosition(player.stream, 0.5), 0);
    // 1,000,000 bytes at 1,000,000 bits per second and 25 frames make 200 frames. The jump lands on the picture before
    // two B pictures and the third group.
    const double rate = static_cast<double>(tiny.pictureCodes[10]) / static_cast<double>(tiny.bytes.size());
    EXPECT_EQ(player.current()->streamNumber, static_cast<int32_t>(200 * rate) + 4);
}

TEST(RatePosition, atTheVeryEndFindsNothing) {
    Player player(kGroups);
    player.step();
    EXPECT_NE(tvkSetRateVideoPosition(player.stream, 1.0), 0);
    EXPECT_EQ(player.current(), nullptr);
}

TEST(RatePosition, isCheckedAgainstItsRange) {
    Player player(kGroups);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (double rate : {-0.1, 1.1, nan}) {
        EXPECT_EQ(tvkSetRateVideoPosition(player.stream, rate), tvkErrPositionOutOfRange);
        EXPECT_EQ(tvkSetRateVideoPositionEdit(player.stream, rate), tvkErrPositionOutOfRange);
    }
    EXPECT_EQ(tvkSetTimeVideoPosition(player.stream, -0.1), tvkErrPositionOutOfRange);
    EXPECT_EQ(tvkSetTimeVideoPosition(player.stream, nan), tvkErrPositionOutOfRange);
    EXPECT_EQ(player.source.count(Slot::readUnit), 0u);
}

TEST(RatePosition, withAnIndexIsAFrameNumber) {
    Player player(kGroups);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetRateVideoPosition(player.stream, 0.5), 0);
    EXPECT_EQ(player.current()->frameNumber, 11);
    ASSERT_EQ(tvkSetRateVideoPositionEdit(player.stream, 0.0), 0);
    EXPECT_EQ(player.current()->frameNumber, 1);
    EXPECT_EQ(tvkSetRateVideoPosition(player.stream, 1.0), tvkErrFrameOutOfRange);
}

TEST(RatePosition, passesOnASeekThatTheSourceRefuses) {
    Player player(kGroups);
    player.step();
    player.source.failures[Slot::seekRatePosition] = -88;
    EXPECT_EQ(tvkSetRateVideoPosition(player.stream, 0.5), -88);
    EXPECT_EQ(player.current(), nullptr);
}

TEST(RatePosition, resynchronisesOnAWholePairOfFields) {
    // The jump lands on a second field; its neighbour is the next frame's first one.
    TinyStream tiny("SXGiippSXGiippiippE");
    Player player(tiny);
    player.step();
    AbsPosition position = {};
    position.words[0] = 1;
    position.words[2] = static_cast<uint32_t>(tiny.pictureCodes[5]);
    ASSERT_EQ(tvkSetAbsVideoPosition(player.stream, position), 0);
    const VideoFrame *frame = player.current();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->pictureCodingType, 1);
    EXPECT_EQ(frame->lumaPlane.data[0] + 1, frame->lumaPlane.data[frame->lumaPlane.stride]);
}

TEST(RatePositionEdit, atTheStartRunsTheLoopOnce) {
    Player player(kGroups);
    player.step();
    ASSERT_EQ(tvkSetRateVideoPositionEdit(player.stream, 0.0), 0);
    EXPECT_EQ(shadeOf(player.current()), 0);
    EXPECT_EQ(Player::describe(*player.step(tvkGetNextVideoFrameEdit)).front(), 'B');
}

TEST(RatePositionEdit, deliversAnIFrame) {
    Player player(kGroups);
    player.step();
    ASSERT_EQ(tvkSetRateVideoPositionEdit(player.stream, 0.5), 0);
    EXPECT_EQ(shadeOf(player.current()), 13);
}

TEST(TimePosition, asksTheSourceAndTellsTheBitRate) {
    Player player(kGroups);
    player.step();
    const size_t told = player.source.count(Slot::setParameter, 12);
    ASSERT_EQ(tvkSetTimeVideoPosition(player.stream, 0.3), 0);
    EXPECT_EQ(player.source.count(Slot::setParameter, 12), told + 2);
    EXPECT_DOUBLE_EQ(player.source.last(Slot::seekTimePosition)->value, 0.3);
    EXPECT_EQ(player.current()->pictureCodingType, 1);
}

TEST(TimePosition, withAnIndexIsAFrameNumber) {
    Player player(kGroups);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetTimeVideoPosition(player.stream, 0.42), 0);
    EXPECT_EQ(player.current()->frameNumber, 11);
    EXPECT_EQ(tvkSetTimeVideoPosition(player.stream, 1e300), tvkErrFrameOutOfRange);
    EXPECT_EQ(tvkSetTimeVideoPosition(player.stream, std::numeric_limits<double>::infinity()), tvkErrFrameOutOfRange);
}

TEST(AbsPosition, roundTripsThroughTheSource) {
    TinyStream tiny(kGroups);
    Player player(tiny);
    player.step();
    AbsPosition position = {};
    position.words[0] = 1;
    position.words[2] = static_cast<uint32_t>(tiny.headerCodes[1]);
    ASSERT_EQ(tvkSetAbsVideoPosition(player.stream, position), 0);
    EXPECT_EQ(shadeOf(player.current()), 13);
}

TEST(AbsPosition, isNotTurnedIntoAFrameNumberByAnIndex) {
    TinyStream tiny(kGroups);
    Player player(tiny);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    const AbsPosition position = player.stream->index.sequencePositions[2];
    ASSERT_EQ(tvkSetAbsVideoPosition(player.stream, position), 0);
    EXPECT_EQ(shadeOf(player.current()), 13);
}

}  // namespace
}  // namespace tvktest
