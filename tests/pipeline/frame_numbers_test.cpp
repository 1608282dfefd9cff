// SPDX-License-Identifier: BSD-2-Clause
// What a frame number counts, by steps and by an index table.
#include "pipeline/player.h"

namespace tvktest {
namespace {

// Frames by the index table of a whole scan.
uint32_t indexedFrames(Player &player) {
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    VideoStreamInfo info;
    EXPECT_EQ(tvkGetVideoStreamInfo(player.stream, &info), 0);
    return info.frameCount;
}

uint32_t indexedFrames(const TinyStream &tiny) {
    Player player(tiny);
    return indexedFrames(player);
}

TEST(FrameNumbers, repeatedFieldsCountNothing) {
    const TinyStream tiny("SXGRRIRE");
    EXPECT_EQ(Player(tiny).numbers(), "1 2 3 4");
    EXPECT_EQ(indexedFrames(tiny), 4u);
}

TEST(FrameNumbers, leadingBPicturesOfTheFirstGroupCount) {
    const TinyStream tiny("SGIBBPBBE");
    EXPECT_EQ(Player(tiny).play(), "B1/2 B2/3 I3/1 B4/5 B5/6 P6/4");
    Player player(tiny);
    EXPECT_EQ(indexedFrames(player), 6u);
    for (int32_t number = 1; number <= 6; ++number) {
        ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, number), 0) << number;
        EXPECT_EQ(player.current()->frameNumber, number);
    }
}

TEST(FrameNumbers, leadingBPicturesOfTheFirstGroupAreDecodedFromItsIPicture) {
    Player player("SGIBBPBBE");
    EXPECT_EQ(shadeOf(player.step()), 1);
    EXPECT_EQ(shadeOf(player.step()), 2);
    EXPECT_EQ(shadeOf(player.step()), 0);
}

TEST(FrameNumbers, theGroupsFlagsMakeNoDifference) {
    EXPECT_EQ(Player("SCIBBPBBE").play(), Player("SGIBBPBBE").play());
    EXPECT_EQ(indexedFrames(TinyStream("SCIBBPBBE")), 6u);
}

TEST(FrameNumbers, endWithoutAnEndCodeHoldsTheSameFrames) {
    EXPECT_EQ(Player("SGIPBBP").numbers(), Player("SGIPBBPE").numbers());
    EXPECT_EQ(indexedFrames(TinyStream("SGIPBBP")), 5u);
    EXPECT_EQ(indexedFrames(TinyStream("SGIPBBPE")), 5u);
    Player player("SGIPBBP");
    ASSERT_EQ(indexedFrames(player), 5u);
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 5), 0);
    EXPECT_EQ(Player::describe(*player.current()), "P5/5");
}

TEST(FrameNumbers, indexEndsAtTheFirstEndCodeAndStepsGoOn) {
    Player player("SGIPESGIPBE");
    EXPECT_EQ(indexedFrames(player), 2u);
    EXPECT_EQ(tvkSetVideoFrameNumber(player.stream, 3), tvkErrFrameOutOfRange);
    ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, 2), 0);
    EXPECT_EQ(player.numbers(), "3 4 5");
}

TEST(FrameNumbers, picturesAheadOfTheFirstSequenceHeaderDoNotCount) {
    const TinyStream tiny("GIPSGIPPE");
    EXPECT_EQ(Player(tiny).numbers(), "1 2 3");
    EXPECT_EQ(indexedFrames(tiny), 3u);
}

TEST(FrameNumbers, pictureWithoutASliceCountsInAnIndexAlone) {
    TinyStream tiny("SGIP");
    tiny.addPictureHeader().add("PPE");
    EXPECT_EQ(Player(tiny).numbers(), "1 2 3 4");
    EXPECT_EQ(indexedFrames(tiny), 5u);
}

TEST(FrameNumbers, pictureThatLostItsStartCodeDoesNotCount) {
    TinyStream tiny("SGIPPPE");
    tiny.bytes[tiny.pictureCodes[2] + 2] = 0xFF;
    EXPECT_EQ(Player(tiny).numbers(), "1 2 3");
    EXPECT_EQ(indexedFrames(tiny), 3u);
}

TEST(FrameNumbers, pictureWithABrokenSliceCounts) {
    TinyStream tiny("SGIPPPE");
    for (size_t i = tiny.pictureCodes[2] + 14; i < tiny.pictureCodes[2] + 18; ++i) tiny.bytes[i] = 0xFF;
    EXPECT_EQ(Player(tiny).numbers(), "1 2 3 4");
    EXPECT_EQ(indexedFrames(tiny), 4u);
}

TEST(FrameNumbers, aFrameDroppedByASizeChangeKeepsItsNumber) {
    TinyStream tiny("SGIPP");
    tiny.width = 32;
    tiny.add("SGIPE");
    EXPECT_EQ(Player(tiny).numbers(), "1 2 4 5");
    Player player(tiny);
    EXPECT_EQ(indexedFrames(player), 5u);
    for (int32_t number : {1, 2, 4, 5}) {
        ASSERT_EQ(tvkSetVideoFrameNumber(player.stream, number), 0) << number;
        EXPECT_EQ(player.current()->frameNumber, number);
        EXPECT_EQ(player.current()->lumaPlane.width, number < 4 ? 16 : 32);
    }
}

TEST(FrameNumbers, dPicturesCountInAnIndexToo) {
    EXPECT_EQ(indexedFrames(TinyStream("SGIDDPE")), 4u);
}

}  // namespace
}  // namespace tvktest
