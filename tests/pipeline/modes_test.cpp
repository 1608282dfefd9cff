// SPDX-License-Identifier: BSD-2-Clause
// Work modes 1 and 2: adjustable speed and the frame list.
#include "pipeline/player.h"

namespace tvktest {
namespace {

TEST(AdjustableSpeed, dropsNothingAtFirst) {
    Player player("SGIPBBPBBE");
    ASSERT_EQ(tvkSetVideoWorkMode(player.stream, 1), 0);
    EXPECT_EQ(player.play(), "I1/1 B2/3 B3/4 P4/2 B5/6 B6/7 P7/5");
}

TEST(AdjustableSpeed, thinsOutIPicturesAndDeliversThemAtTheNextPicture) {
    Player player("SGIPIPIPIPE");
    ASSERT_EQ(tvkSetVideoWorkMode(player.stream, 1), 0);
    player.stream->settings.speedLevel = 1;
    player.stream->settings.speedIStep = 1;
    player.stream->settings.speedPLimit = player.stream->settings.speedBLimit = 0;
    EXPECT_EQ(player.step()->frameNumber, 1);
    // At the first P picture: two pictures were begun.
    EXPECT_EQ(player.stream->frames.pictureCounter, 2u);
    EXPECT_EQ(player.step()->frameNumber, 5);
    EXPECT_EQ(player.stream->frames.pictureCounter, 6u);
    EXPECT_EQ(player.step(), nullptr);
}

TEST(AdjustableSpeed, keepsTheFirstBPicturesBehindEachAnchor) {
    Player player("SGIPBBBPBBBPE");
    ASSERT_EQ(tvkSetVideoWorkMode(player.stream, 1), 0);
    player.stream->settings.speedBLimit = 1;
    // The second and third B of each group are begun and not decoded; a decision of 0 still lets a frame out that is
    // ready, of which there is none here.
    EXPECT_EQ(player.play(), "I1/1 B2/3 P5/2 B6/7 P9/6 P10/10");
}

TEST(AdjustableSpeed, aPictureNotDecodedStillLetsTheAnchorBeforeItOut) {
    Player player("SGIPPE");
    ASSERT_EQ(tvkSetVideoWorkMode(player.stream, 1), 0);
    player.stream->settings.speedPLimit = 0;
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->frameNumber, 1);
    EXPECT_EQ(player.stream->frames.pictureCounter, 2u);
    EXPECT_EQ(player.stream->frames.currentFrame->frameState, 0);
}

TEST(AdjustableSpeed, anotherDecisionKeepsTheAnchorIn) {
    Player player("SGIPPPPIPE");
    ASSERT_EQ(tvkSetVideoWorkMode(player.stream, 1), 0);
    player.stream->settings.speedPLimit = 1;
    player.stream->settings.speedLevel = 2;
    // The second P (decision 0) lets the first out; the others, below 0, are passed over.
    EXPECT_EQ(player.play(), "I1/1 P2/2 I6/6 P7/7");
}

TEST(AdjustableSpeed, runsTheClockOverPicturesLeftOut) {
    Player player("SGIPBBPE");
    ASSERT_EQ(tvkSetVideoWorkMode(player.stream, 1), 0);
    player.stream->settings.speedBLimit = 0;
    while (player.step()) {
    }
    // One frame's time for each picture and each frame drained at the end.
    EXPECT_NEAR(player.stream->frames.streamClock, 6 * 0.04, 1e-9);
}

TEST(AdjustableSpeed, leavesTheOtherStepPointers) {
    Player player("SGIPBPE");
    ASSERT_EQ(tvkSetVideoWorkMode(player.stream, 1), 0);
    EXPECT_EQ(player.play(tvkGetNextVideoFrameStreamOrder), "I1/1 P2/2 B2/3 P4/4");
}

constexpr const char *kLong = "SGIPBBPBBPBBSGIBBPBBPBBSGIBBPBBE";

struct ListPlayer : Player {
    std::vector<int32_t> list;

    explicit ListPlayer(std::vector<int32_t> numbers, bool indexed, const char *letters = kLong)
        : Player(std::string(letters)), list(std::move(numbers)) {
        if (indexed) {
            EXPECT_EQ(tvkCreateVideoIndexTable(stream), 0);
        }
        EXPECT_EQ(tvkSetVideoWorkMode(stream, 2), 0);
        EXPECT_EQ(tvkSetVideoSP_FrameList(stream, list.data(), static_cast<int32_t>(list.size())), 0);
    }
};

TEST(FrameList, servesItsFramesWithoutAnIndex) {
    ListPlayer player({1, 3, 4, 11, 20}, false);
    EXPECT_EQ(player.numbers(), "1 3 4 11 20");
    EXPECT_EQ(player.result, tvkErrFrameListEnd);
}

TEST(FrameList, servesItsFramesWithAnIndex) {
    ListPlayer player({1, 3, 4, 11, 12, 13, 20, 25}, true);
    while (const VideoFrame *frame = player.step()) {
        EXPECT_EQ(frame->frameNumber, player.list[static_cast<size_t>(player.stream->settings.frameListCursor) - 1]);
        EXPECT_EQ(shadeOf(frame), frame->streamNumber - 1);
    }
    EXPECT_EQ(player.result, tvkErrFrameListEnd);
    EXPECT_EQ(player.stream->settings.frameListCursor, 8);
}

TEST(FrameList, ofOneFrameEndsAtTheSecondStep) {
    ListPlayer player({2}, false);
    EXPECT_EQ(player.step()->frameNumber, 2);
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrFrameListEnd);
}

TEST(FrameList, movesOnBehindAnEntryPastTheEnd) {
    ListPlayer player({2, 500}, false);
    player.step();
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrFrameListEnd);
}

TEST(FrameList, cannotGoBackWithoutAnIndex) {
    ListPlayer player({8}, false);
    player.step();
    int32_t earlier[] = {2};
    ASSERT_EQ(tvkSetVideoSP_FrameList(player.stream, earlier, 1), 0);
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrFrameOutOfRange);
}

TEST(FrameList, goesBackWithAnIndex) {
    ListPlayer player({20}, true);
    EXPECT_EQ(player.step()->frameNumber, 20);
    int32_t earlier[] = {2};
    ASSERT_EQ(tvkSetVideoSP_FrameList(player.stream, earlier, 1), 0);
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->frameNumber, 2);
    EXPECT_EQ(shadeOf(frame), frame->streamNumber - 1);
}

TEST(FrameList, servesTheSameIFrameWhileEntriesLieBehindIt) {
    ListPlayer player({5, 6, 7}, true);
    ASSERT_EQ(tvkSetVideoSP_Flags(player.stream, 3), 0);
    for (int i = 0; i < 3; ++i) {
        const VideoFrame *frame = player.step();
        ASSERT_NE(frame, nullptr);
        EXPECT_EQ(frame->frameNumber, 1);
        EXPECT_EQ(player.stream->settings.frameListCursor, 0);
    }
}

TEST(FrameList, stopsTheSearchForServedEntriesAtItsEnd) {
    ListPlayer player({1}, true);
    ASSERT_EQ(tvkSetVideoSP_Flags(player.stream, 3), 0);
    EXPECT_EQ(player.step()->frameNumber, 1);
    EXPECT_EQ(player.stream->settings.frameListCursor, 1);
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrFrameListEnd);
}

TEST(FrameList, servesIFramesOneAfterAnotherWithoutAnIndex) {
    ListPlayer player({1, 5, 30}, false);
    ASSERT_EQ(tvkSetVideoSP_Flags(player.stream, 3), 0);
    const VideoFrame *first = player.step();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(Player::describe(*first), "I1/1");
    EXPECT_EQ(player.stream->settings.frameListCursor, 1);
    const VideoFrame *second = player.step();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->pictureCodingType, 1);
    EXPECT_EQ(player.stream->settings.frameTypesToProcess, 1u);
    EXPECT_EQ(player.stream->settings.frameListCursor, 2);
}

TEST(FrameList, takesUpAFrameThatHadNoDataYet) {
    ListPlayer player({3, 6}, false);
    player.source.readPlan = {ReadPlan::ordinary, ReadPlan::ordinary, ReadPlan::needData, ReadPlan::ordinary,
                              ReadPlan::needData};
    std::string text;
    for (int i = 0; i < 10; ++i)
        if (const VideoFrame *frame = player.step()) text += std::to_string(frame->frameNumber) + " ";
    EXPECT_EQ(text, "3 6 ");
}

}  // namespace
}  // namespace tvktest
