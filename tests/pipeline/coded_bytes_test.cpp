// SPDX-License-Identifier: BSD-2-Clause
// Coded bytes: sequence headers, binary stepping, the byte order of a loaded unit; counts over the whole stream.
#include "core/memory.h"
#include "input/video_input.h"
#include "pipeline/player.h"

namespace tvktest {
namespace {

std::vector<uint8_t> codedBytes(const VideoFrame *frame) {
    if (!frame) return {};
    return {frame->lumaPlane.data, frame->lumaPlane.data + frame->lumaPlane.size};
}

std::vector<uint8_t> part(const TinyStream &tiny, size_t from, size_t to) {
    return {tiny.bytes.begin() + static_cast<ptrdiff_t>(from), tiny.bytes.begin() + static_cast<ptrdiff_t>(to)};
}

TEST(SequenceHeaderBytes, needAWorkingFrame) {
    Player player("SGIE");
    VideoFrame *frame = nullptr;
    EXPECT_EQ(tvkGetSequenceHeader(player.stream, &frame), tvkErrNoFrameYet);
    EXPECT_EQ(frame, nullptr);
    EXPECT_EQ(tvkGetSequenceHeader(player.stream, nullptr), tvkErrInvalidArgument);
}

TEST(SequenceHeaderBytes, areTheHeaderWithItsExtensions) {
    TinyStream tiny("SXGIP");
    const size_t from = tiny.bytes.size();
    tiny.add("SX");
    const size_t to = tiny.bytes.size();
    tiny.add("GIPE");
    Player player(tiny);
    player.step();
    VideoFrame *frame = nullptr;
    ASSERT_EQ(tvkGetSequenceHeader(player.stream, &frame), 0);
    EXPECT_EQ(frame, player.stream->frames.workFrame[0]);
    EXPECT_EQ(codedBytes(frame), part(tiny, from, to));
    EXPECT_EQ(player.current(), frame);
}

TEST(SequenceHeaderBytes, growTheBlockThatTheyOutgrow) {
    TinyStream tiny("SXGIP");
    const size_t from = tiny.bytes.size();
    tiny.add("SXMMMMMMMMMMMMMMMMMMMMMMMM");
    const size_t to = tiny.bytes.size();
    tiny.add("GIPE");
    Player player(tiny);
    player.step();
    const size_t block = tvk::alignedSize(player.stream->frames.workFrame[0]->lumaPlane.data);
    ASSERT_GT(to - from, block);
    VideoFrame *frame = nullptr;
    ASSERT_EQ(tvkGetSequenceHeader(player.stream, &frame), 0);
    EXPECT_EQ(codedBytes(frame), part(tiny, from, to));
    // The record stays good for pictures.
    player.step();
    const VideoFrame *next = player.step();
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(player.stream->frames.workFrame[0]->lumaPlane.size, 32 * 32);
}

TEST(SequenceHeaderBytes, areNoneWhenTheEndComesFirst) {
    Player player("SGIPE");
    player.step();
    VideoFrame *frame = nullptr;
    ASSERT_EQ(tvkGetSequenceHeader(player.stream, &frame), 0);
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->lumaPlane.size, 0);
    EXPECT_EQ(frame, player.stream->frames.workFrame[0]);
}

TEST(SequenceHeaderBytes, leaveTheFollowingPicturesToTheDecoder) {
    Player player("SGIPSGIPE");
    player.step();
    VideoFrame *frame = nullptr;
    ASSERT_EQ(tvkGetSequenceHeader(player.stream, &frame), 0);
    const VideoFrame *next = player.step();
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(next->frameNumber, 2);
}

TEST(BinaryLoop, needsAWorkingFrame) {
    Player player("SGIPE");
    EXPECT_EQ(player.step(tvkGetNextVideoFrameBin), nullptr);
    EXPECT_EQ(player.result, tvkErrNoFrameYet);
}

// Makes the frames and goes back to the first byte.
void rewind(Player &player) {
    ASSERT_NE(player.step(), nullptr);
    player.source.position = player.source.unitStart = 0;
    player.stream->input->unit->entryCount = 0;
    tvk::resetVideoInput(player.stream->input);
}

TEST(BinaryLoop, bringsTheHeadersWithTheFirstPicture) {
    TinyStream tiny("SXGIPBE");
    Player player(tiny);
    rewind(player);
    const VideoFrame *frame = player.step(tvkGetNextVideoFrameBin);
    EXPECT_EQ(codedBytes(frame), part(tiny, 0, tiny.pictureCodes[1]));
    EXPECT_EQ(codedBytes(player.step(tvkGetNextVideoFrameBin)), part(tiny, tiny.pictureCodes[1], tiny.pictureCodes[2]));
}

TEST(BinaryLoop, bringsAllBytesOfTheStreamButTheEndCode) {
    TinyStream tiny("SXUGUIPBUSXGIPE");
    Player player(tiny);
    rewind(player);
    std::vector<uint8_t> all;
    int frames = 0;
    while (const VideoFrame *frame = player.step(tvkGetNextVideoFrameBin)) {
        const std::vector<uint8_t> bytes = codedBytes(frame);
        all.insert(all.end(), bytes.begin(), bytes.end());
        ++frames;
    }
    EXPECT_EQ(player.result, tvkErrEndOfStream);
    EXPECT_EQ(frames, 5);
    EXPECT_EQ(all, part(tiny, 0, tiny.bytes.size() - 4));
}

TEST(BinaryLoop, countsNothing) {
    TinyStream tiny("SGIPBPPE");
    Player player(tiny);
    rewind(player);
    const uint32_t pictures = player.stream->frames.pictureCounter;
    while (player.step(tvkGetNextVideoFrameBin)) {
    }
    EXPECT_EQ(player.stream->frames.pictureCounter, pictures);
}

TEST(BinaryLoop, growsTheBlockForALargePicture) {
    TinyStream tiny;
    tiny.userDataBytes = 5000;
    tiny.add("SGIUPPE");
    Player player(tiny);
    rewind(player);
    size_t total = 0;
    while (const VideoFrame *frame = player.step(tvkGetNextVideoFrameBin))
        total += static_cast<size_t>(frame->lumaPlane.size);
    EXPECT_EQ(total, tiny.bytes.size() - 4);
}

TEST(BinaryLoop, takesOverAUnitThatWasLoadedForDecodingAndBack) {
    TinyStream tiny("SGIPPPPPE");
    Player player(tiny);
    ASSERT_EQ(Player::describe(*player.step()), "I1/1");
    // The decoder has taken two pictures; the third comes as bytes, whatever form its unit was loaded in.
    EXPECT_EQ(codedBytes(player.step(tvkGetNextVideoFrameBin)), part(tiny, tiny.pictureCodes[2], tiny.pictureCodes[3]));
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(Player::describe(*frame), "P2/2");
}

TEST(BinaryLoop, givesTheSameBytesWithTheApplicationsSwap) {
    TinyStream tiny("SGIPPUGPPE");
    Player with(tiny), without(tiny);
    with.step();
    without.step();
    EXPECT_EQ(tvkSwapBuffer(with.stream), 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(codedBytes(with.step(tvkGetNextVideoFrameBin)), codedBytes(without.step(tvkGetNextVideoFrameBin)));
}

TEST(BinaryLoop, waitsForASourceWithoutData) {
    TinyStream tiny("SGIPPE");
    Player player(tiny);
    rewind(player);
    player.source.reads = 0;
    for (int i = 0; i < 20; ++i) {
        player.source.readPlan.push_back(ReadPlan::needData);
        player.source.readPlan.push_back(ReadPlan::ordinary);
    }
    EXPECT_EQ(codedBytes(player.step(tvkGetNextVideoFrameBin)), part(tiny, 0, tiny.pictureCodes[1]));
    EXPECT_EQ(codedBytes(player.step(tvkGetNextVideoFrameBin)), part(tiny, tiny.pictureCodes[1], tiny.pictureCodes[2]));
}

TEST(CountFrames, countsPictureStartCodesUpToTheSequenceEnd) {
    Player player("SXGiippPBE");
    uint32_t count = 9;
    EXPECT_EQ(tvkCountVideoFrames(player.stream, &count), 0);
    EXPECT_EQ(count, 6u);
    EXPECT_EQ(player.stream->counters.pictureHeadersSeen, 0u);
    EXPECT_EQ(player.source.last(Slot::seekRatePosition)->value, 0.0);
    EXPECT_EQ(tvkCountVideoFrames(player.stream, nullptr), tvkErrInvalidArgument);
}

TEST(CountFrames, isZeroWithoutASequenceEnd) {
    Player player("SGIPB");
    uint32_t count = 9;
    EXPECT_EQ(tvkCountVideoFrames(player.stream, &count), 0);
    EXPECT_EQ(count, 0u);
}

TEST(CountFrames, leavesTheStreamAtItsEnd) {
    Player player("SGIPBE");
    uint32_t count = 0;
    tvkCountVideoFrames(player.stream, &count);
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

TEST(LastFrameNumber, comesFromTheLastGroupsTimeCode) {
    TinyStream tiny("S");
    tiny.addGroup(0, 0).add("IPP").addGroup(3, 7).add("IPPPE");
    Player player(tiny);
    player.step();
    uint32_t number = 0;
    // 3 seconds at 25 frames and 7 pictures come before the group, whose highest reference is 3.
    EXPECT_EQ(tvkGetLastFrameNumber(player.stream, &number), 0);
    EXPECT_EQ(number, 3u * 25 + 7 + 3 + 1);
}

TEST(LastFrameNumber, endsWithTheInput) {
    TinyStream tiny("S");
    tiny.add("GIPP").addGroup(1, 0).add("IP");
    Player player(tiny);
    player.step();
    uint32_t number = 0;
    EXPECT_EQ(tvkGetLastFrameNumber(player.stream, &number), 0);
    EXPECT_EQ(number, 27u);
}

TEST(LastFrameNumber, isNotKnownWithoutAGroup) {
    Player player("SIPPE");
    uint32_t number = 0;
    EXPECT_EQ(tvkGetLastFrameNumber(player.stream, &number), tvkErrNoTimeCode);
    EXPECT_EQ(tvkGetLastFrameNumber(player.stream, nullptr), tvkErrInvalidArgument);
}

TEST(LastFrameNumber, leavesPicturesAheadOfTheFirstGroupOut) {
    TinyStream tiny("SIPPPPPPP");
    tiny.addGroup(0, 0).add("IE");
    Player player(tiny);
    uint32_t number = 0;
    EXPECT_EQ(tvkGetLastFrameNumber(player.stream, &number), 0);
    EXPECT_EQ(number, 1u);
}

}  // namespace
}  // namespace tvktest
