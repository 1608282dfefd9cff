// SPDX-License-Identifier: BSD-2-Clause
// The forward and the stream-order loop: order, numbers, ends, types, fields, changes of size.
#include <algorithm>
#include <cstring>

#include "pipeline/player.h"

namespace tvktest {
namespace {

TEST(ForwardLoop, deliversInDisplayOrderWithOneAnchorOfDelay) {
    Player player("SGIPBBPBBE");
    EXPECT_EQ(player.play(), "I1/1 B2/3 B3/4 P4/2 B5/6 B6/7 P7/5");
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

TEST(ForwardLoop, decodesEachPictureIntoTheFrameThatTellsItsPlace) {
    Player player("SGIPBBPBBE");
    while (const VideoFrame *frame = player.step()) EXPECT_EQ(shadeOf(frame), frame->streamNumber - 1);
}

TEST(ForwardLoop, deliversASinglePictureAtTheSequenceEnd) {
    Player player("SGIE");
    EXPECT_EQ(player.play(), "I1/1");
    EXPECT_EQ(player.result, tvkErrEndOfStream);
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

TEST(ForwardLoop, drainsWithoutASequenceEnd) {
    Player player("SGIPBBP");
    EXPECT_EQ(player.play(), "I1/1 B2/3 B3/4 P4/2 P5/5");
}

TEST(ForwardLoop, goesOnBehindASequenceEndInTheMiddle) {
    Player player("SGIPESGIPBE");
    EXPECT_EQ(player.play(), "I1/1 P2/2 I3/3 B4/5 P5/4");
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

TEST(ForwardLoop, leavesTheStatusReadyAfterTheEnd) {
    Player player("SGIE");
    player.play();
    EXPECT_EQ(player.stream->status, tvk::statusReady);
    uint32_t threads = 0;
    EXPECT_EQ(tvkGetVideoSP_Threads(player.stream, &threads), 0);
}

TEST(ForwardLoop, findsNothingWithoutASequenceHeader) {
    Player player("GIPBB");
    EXPECT_EQ(player.play(), "");
    EXPECT_EQ(player.result, tvkErrEndOfStream);
    player.current();
    EXPECT_EQ(player.result, tvkErrNoFrameYet);
}

TEST(ForwardLoop, tellsTheDeliveredFrameAgain) {
    Player player("SGIPE");
    EXPECT_EQ(player.current(), nullptr);
    EXPECT_EQ(player.result, tvkErrNoFrameYet);
    const VideoFrame *first = player.step();
    EXPECT_EQ(player.current(), first);
    const VideoFrame *last = player.step();
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.current(), last);
    player.stream->frames.deliveredFrame = nullptr;
    EXPECT_EQ(player.current(), nullptr);
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

TEST(ForwardLoop, refusesANullOutPointerWithoutStepping) {
    Player player("SGIPE");
    EXPECT_EQ(tvkGetNextVideoFrame(player.stream, nullptr), tvkErrInvalidArgument);
    EXPECT_EQ(player.source.count(Slot::readUnit), 0u);
}

TEST(ForwardLoop, keepsTheNumbersWhenOnlyIPicturesAreProcessed) {
    Player player("SGIPPIE");
    ASSERT_EQ(tvkSetVideoSP_FrameTypesToProcess(player.stream, 1), 0);
    EXPECT_EQ(player.play(), "I1/1 I4/4");
}

TEST(ForwardLoop, keepsTheNumbersWhenBPicturesAreLeftOut) {
    Player player("SGIPBBPBBE");
    ASSERT_EQ(tvkSetVideoSP_FrameTypesToProcess(player.stream, 2), 0);
    EXPECT_EQ(player.play(), "I1/1 P4/2 P7/5");
}

TEST(ForwardLoop, deliversLeadingBPicturesUndecoded) {
    Player player("SGBBIPE");
    const VideoFrame *first = player.step();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(Player::describe(*first), "B1/1");
    EXPECT_EQ(shadeOf(first), -1);
    EXPECT_EQ(first->lumaPlane.data[0], 0x10);
    EXPECT_EQ(player.play(), "B2/2 I3/3 P4/4");
}

TEST(ForwardLoop, decodesAPPictureThatBeginsTheStream) {
    Player player("SGPPE");
    const VideoFrame *first = player.step();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(Player::describe(*first), "P1/1");
    EXPECT_EQ(shadeOf(first), 0);
}

TEST(ForwardLoop, neverDeliversDPictures) {
    Player player("SGIDDPE");
    EXPECT_EQ(player.play(), "I3/1 P4/4");
    EXPECT_EQ(player.stream->frames.countD, 2u);
    EXPECT_EQ(player.stream->frames.pictureCounter, 4u);
}

TEST(ForwardLoop, passesOverSlicesWithoutAPicture) {
    TinyStream tiny("S");
    tiny.addSlices(2).add("GIPE");
    Player player(tiny);
    EXPECT_EQ(player.play(), "I1/1 P2/2");
}

TEST(ForwardLoop, passesOverSlicesThatASequenceHeaderOfAnotherSizeTookTheFramesFrom) {
    TinyStream tiny("SGI");
    tiny.addPictureHeader();
    tiny.width = 64;
    tiny.height = 64;
    tiny.add("S").addSlices(4).add("IPE");
    Player player(tiny);
    EXPECT_EQ(player.play(), "I2/2 P3/3");
    EXPECT_EQ(player.stream->frames.builtWidth, 64u);
}

TEST(FieldPairs, makeOneFrame) {
    Player player("SXGiippbbE");
    EXPECT_EQ(player.play(), "I1/1 B2/3 P3/2");
    EXPECT_EQ(player.stream->frames.pictureCounter, 3u);
    uint32_t count = 0;
    EXPECT_EQ(tvkCountVideoFrames(player.stream, &count), 0);
    EXPECT_EQ(count, 6u);
}

TEST(FieldPairs, bringTheSecondFieldIntoTheSameFrame) {
    Player player("SXGiiE");
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->lumaPlane.data[0], 160);
    EXPECT_EQ(frame->lumaPlane.data[frame->lumaPlane.stride], 161);
}

TEST(FieldPairs, skipTheSecondFieldWithTheFirst) {
    Player player("SXGiippiippE");
    ASSERT_EQ(tvkSetVideoSP_FrameTypesToProcess(player.stream, 1), 0);
    EXPECT_EQ(player.play(), "I1/1 I3/3");
    EXPECT_EQ(player.stream->frames.pictureCounter, 4u);
}

TEST(FieldPairs, joinAnIFieldAndAPField) {
    Player player("SXGipPE");
    EXPECT_EQ(player.play(), "I1/1 P2/2");
}

TEST(FieldPairs, areCutByASequenceHeader) {
    Player player("SXGiSXGIPE");
    EXPECT_EQ(player.stream->frames.fieldPending, 0u);
    EXPECT_EQ(player.play(), "I1/1 I2/2 P3/3");
}

TEST(SizeChange, dropsTheReferencesAndKeepsFramesReadable) {
    TinyStream tiny("SGIPP");
    tiny.width = 32;
    tiny.add("SGIPE");
    Player player(tiny);
    const VideoFrame *first = player.step();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(player.step()->frameNumber, 2);
    // The third anchor of the old size goes with the references.
    EXPECT_EQ(player.play(), "I4/4 P5/5");
    EXPECT_EQ(first->lumaPlane.width, 16);
    EXPECT_GE(first->lumaPlane.data[0], 160);
    EXPECT_EQ(player.current()->lumaPlane.width, 32);
}

TEST(SizeChange, ofTheReduceCoefficientReplacesTheFrames) {
    Player player("SGIPPPE");
    EXPECT_EQ(player.step()->lumaPlane.width, 16);
    ASSERT_EQ(tvkSetVideoSP_ReduceCoefficient(player.stream, 2), 0);
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->lumaPlane.width, 8);
    EXPECT_EQ(frame->reduceCoefficient, 2);
}

TEST(SizeChange, ofTheChromaFormatReplacesTheFrames) {
    TinyStream tiny("SXGIP");
    tiny.chromaFormat = 2;
    tiny.add("SXGIPE");
    Player player(tiny);
    EXPECT_EQ(player.step()->chromaFormat, 1);
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->chromaFormat, 2);
    EXPECT_EQ(frame->frameNumber, 3);
}

TEST(SizeChange, ofTheScanAloneChangesTheGeometryAndNoFrame) {
    TinyStream tiny;
    tiny.height = 16;
    tiny.add("SXGIP");
    tiny.progressive = true;
    tiny.add("SXGIPE");
    Player player(tiny);
    const VideoFrame *frame = player.step();
    EXPECT_EQ(player.stream->geometry.blockHeight8, 4);
    const VideoFrame *workFrame = player.stream->frames.workFrame[0];
    player.play();
    EXPECT_EQ(player.stream->geometry.blockHeight8, 2);
    EXPECT_EQ(player.stream->geometry.macroblockCount, 1);
    EXPECT_EQ(player.stream->frames.workFrame[0], workFrame);
    EXPECT_NE(frame, nullptr);
}

TEST(SizeChange, toNothingPassesPicturesOver) {
    TinyStream tiny("SGIP");
    tiny.width = 0;
    tiny.add("SGIP");
    tiny.width = 16;
    tiny.add("SGIPE");
    Player player(tiny);
    EXPECT_EQ(player.play(), "I1/1 P2/2 I3/3 P4/4");
}

std::vector<int32_t> managerCommands;

int32_t recordCommand(int32_t command, void *) {
    managerCommands.push_back(command);
    return 0;
}

TEST(SizeChange, isToldToTheMemoryManager) {
    managerCommands.clear();
    TinyStream tiny("SGI");
    tiny.width = 32;
    tiny.add("SGIE");
    Player player(tiny);
    ASSERT_EQ(tvkSetMemoryManager(player.stream, recordCommand, 4), 0);
    player.play();
    EXPECT_EQ(std::count(managerCommands.begin(), managerCommands.end(), 0), 2);
    ASSERT_EQ(tvkSetMemoryManager(player.stream, nullptr, 4), 0);
}

TEST(FrameRecord, carriesTheFlagsOfThePictureCodingExtension) {
    Player player("SXGRIE");
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->progressiveFrame, 1);
    EXPECT_EQ(frame->topFieldFirst, 1);
    EXPECT_EQ(frame->repeatFirstField, 1);
    EXPECT_EQ(player.step()->repeatFirstField, 0);
}

TEST(FrameRecord, hasFixedFlagsInMpeg1) {
    Player player("SGIE");
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->progressiveFrame, 1);
    EXPECT_EQ(frame->topFieldFirst, 0);
    EXPECT_EQ(frame->repeatFirstField, 0);
}

TEST(FrameRecord, tellsWhereThePictureAndTheInputStood) {
    TinyStream tiny("SGIPE");
    Player player(tiny);
    const VideoFrame *frame = player.step();
    const double size = static_cast<double>(tiny.bytes.size());
    EXPECT_DOUBLE_EQ(frame->decodeRatePosition, static_cast<double>(tiny.pictureCodes[0]) / size);
    EXPECT_GT(frame->deliveryRatePosition, frame->decodeRatePosition);
}

TEST(FrameRecord, repeatsTheDecodePositionWhenTheSourceCannotTell) {
    Player player("SGIPE");
    player.source.failures[Slot::getRatePosition] = -5;
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->decodeRatePosition, -1.0);
    EXPECT_EQ(frame->deliveryRatePosition, -1.0);
}

TEST(FrameRecord, takesTheUserDataOfItsPicture) {
    // The letters put user data ahead of a picture; what follows its header is written by hand.
    TinyStream head("SG");
    BitWriter w;
    w.append(head.bytes).startCode(tvk::codePicture).put(10, 0).put(3, 1).put(16, 0).put(1, 0).align();
    w.startCode(tvk::codeUserData).byte('a').byte('b').startCode(tvk::codeUserData).byte('c');
    TinyStream slices;
    slices.addSlices(2);
    w.append(slices.bytes).append(TinyStream("P").bytes).startCode(tvk::codeSequenceEnd);
    Player player(w.bytes);
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    const uint8_t expected[] = {'a', 'b', 0, 0, 1, 0xB2, 'c'};
    ASSERT_EQ(frame->userDataSize, 7);
    EXPECT_EQ(frame->userDataLevel, 3);
    EXPECT_EQ(std::memcmp(frame->userData, expected, sizeof expected), 0);
    const VideoFrame *next = player.step();
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(next->userDataSize, 0);
    EXPECT_EQ(next->userDataLevel, 0);
}

TEST(FrameRecord, leavesOutUserDataAheadOfThePicture) {
    Player player("SUGUIE");
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->userDataSize, 0);
    EXPECT_EQ(frame->userDataLevel, 0);
}

TEST(StreamOrderLoop, deliversEachPictureAsItIsDecoded) {
    Player player("SGIPBBPE");
    EXPECT_EQ(player.play(tvkGetNextVideoFrameStreamOrder), "I1/1 P2/2 B2/3 B3/4 P5/5");
    EXPECT_EQ(player.result, tvkErrEndOfStream);
}

TEST(StreamOrderLoop, deliversNothingForAPictureLeftOut) {
    Player player("SGIPBBPE");
    ASSERT_EQ(tvkSetVideoSP_FrameTypesToProcess(player.stream, 2), 0);
    EXPECT_EQ(player.play(tvkGetNextVideoFrameStreamOrder), "I1/1 P2/2 P5/5");
}

TEST(StreamOrderLoop, waitsForTheSecondField) {
    Player player("SXGiippE");
    EXPECT_EQ(player.play(tvkGetNextVideoFrameStreamOrder), "I1/1 P2/2");
}

TEST(StreamOrderLoop, countsTheClockOn) {
    Player player("SGIPPE");
    const std::vector<double> times = player.times(tvkGetNextVideoFrameStreamOrder);
    ASSERT_EQ(times.size(), 3u);
    EXPECT_DOUBLE_EQ(times[0], -0.04);
    EXPECT_DOUBLE_EQ(times[1], 0.0);
    EXPECT_DOUBLE_EQ(times[2], 0.04);
}

}  // namespace
}  // namespace tvktest
