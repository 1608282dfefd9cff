// SPDX-License-Identifier: BSD-2-Clause
// Slices: their header, where they begin and end, and the order of stages and events.
#include <algorithm>

#include "core/callbacks.h"
#include "mpeg12/slice_fixture.h"
#include "stream_writer/codes.h"

namespace tvktest {
namespace {

using Slice = SliceTest;
using Order = std::vector<uint32_t>;

void putIntra(BitWriter &w, uint32_t pictureType = tvk::pictureI, uint32_t increment = 1) {
    putIncrement(w, increment);
    putMacroblockType(w, pictureType, tvk::typeIntra);
}

TEST_F(Slice, tallPictureCarriesThreeBitsOfItsRow) {
    coding().framePredFrameDct = 1;
    for (const uint32_t height : {2800U, 2801U}) {
        SCOPED_TRACE(height);
        seen.clear();
        setPictureSize(64, height);
        BitWriter w;
        w.startCode(3);
        if (height > 2800) w.put(3, 1);
        w.put(5, 21).put(1, 0);
        putIntra(w);
        decode(w);
        ASSERT_EQ(seen.size(), 1U);
        EXPECT_EQ(worker->sliceHeader.sliceVerticalPositionExtension, height > 2800 ? 1 : 0);
        EXPECT_EQ(seen[0].macroblock.quantiserScaleCode, 21);
        EXPECT_EQ(seen[0].macroblock.macroblockAddress, 4U * (height > 2800 ? 130 : 2));
    }
}

TEST_F(Slice, mpeg1HasNoExtensionOfTheRow) {
    stream->streamType = 1;
    coding().framePredFrameDct = 1;
    setPictureSize(64, 2801);
    BitWriter w = sliceOfRow(2, 13);
    putIntra(w);
    decode(w);
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_EQ(seen[0].macroblock.quantiserScaleCode, 13);
    EXPECT_EQ(seen[0].macroblock.macroblockAddress, 8U);
}

TEST_F(Slice, dataPartitionsCarryAPriorityBreakpoint) {
    headers().scalable.scalableMarker = 1;
    headers().scalable.scalableMode = 0;
    coding().framePredFrameDct = 1;
    BitWriter w;
    w.startCode(1);
    w.put(7, 99).put(5, 3).put(1, 0);
    putIntra(w);
    decode(w);
    EXPECT_EQ(worker->sliceHeader.priorityBreakpoint, 99);
    EXPECT_EQ(seen.at(0).macroblock.quantiserScaleCode, 3);
}

TEST_F(Slice, headerRecordHoldsTheIntraSliceByte) {
    coding().framePredFrameDct = 1;
    BitWriter w;
    w.startCode(2);
    w.put(5, 9).put(1, 1).put(8, 0xAB).put(1, 0);
    putIntra(w);
    decode(w);
    EXPECT_EQ(worker->sliceHeader.sliceStartCode, 0x102U);
    EXPECT_EQ(worker->sliceHeader.intraSliceFlag, 1);
    EXPECT_EQ(worker->sliceHeader.intraSlice, 1);
    EXPECT_EQ(worker->sliceHeader.reservedBits, 0x2B);
    EXPECT_EQ(seen.size(), 1U);

    BitWriter plain = sliceOfRow(0);
    putIntra(plain);
    decode(plain);
    EXPECT_EQ(worker->sliceHeader.intraSliceFlag, 0);
    EXPECT_EQ(worker->sliceHeader.intraSlice, 0);
}

TEST_F(Slice, extraInformationBeyondItsRoomIsDropped) {
    coding().framePredFrameDct = 1;
    for (const uint32_t bytes : {1U, 1024U, 1500U}) {
        seen.clear();
        BitWriter w;
        w.startCode(1);
        w.put(5, 9).put(1, 1).put(8, 0);
        for (uint32_t i = 0; i < bytes; ++i) w.put(1, 1).put(8, i * 7 & 0xFF);
        w.put(1, 0);
        putIntra(w);
        decode(w);
        EXPECT_EQ(seen.size(), 1U);
        for (uint32_t i = 0; i < std::min(bytes, 1024U); ++i)
            ASSERT_EQ(worker->extraInformationSlice[i], i * 7 & 0xFF) << i;
    }
}

TEST_F(Slice, dcPredictorsBeginInTheMiddleOfTheirRange) {
    coding().framePredFrameDct = 1;
    for (uint8_t precision = 0; precision < 4; ++precision) {
        coding().intraDcPrecision = precision;
        std::fill_n(worker->dcPredictor, 3, 5);
        BitWriter w = sliceOfRow(0);
        putIntra(w);
        decode(w);
        for (const int32_t predictor : seen.back().dcPredictor) EXPECT_EQ(predictor, 128 << precision);
    }
}

TEST_F(Slice, endsAtTwentyThreeZeroBitsWithoutAnEvent) {
    coding().framePredFrameDct = 1;
    BitWriter w = sliceOfRow(1);
    for (int n = 0; n < 3; ++n) putIntra(w);
    w.put(23, 0).put(9, 0x1FF);
    decode(w);
    EXPECT_EQ(seen.size(), 3U);
    EXPECT_EQ(count(tvk::eventBadCode), 0);
    EXPECT_EQ(seen[2].macroblock.macroblockAddress, 6U);
    EXPECT_EQ(seen[2].macroblock.previousAddress, 5U);
}

TEST_F(Slice, endsAtTheNextStartCodesPrefix) {
    coding().framePredFrameDct = 1;
    BitWriter w = sliceOfRow(0);
    putIntra(w);
    w.startCode(2).put(32, 0xFFFFFFFF);
    decode(w);
    EXPECT_EQ(seen.size(), 1U);
    EXPECT_EQ(count(tvk::eventBadCode), 0);
}

// The last slice of a file without an end code.
TEST_F(Slice, endsWithTheCodedBytes) {
    coding().framePredFrameDct = 1;
    for (uint32_t length = 1; length < 20; ++length) {
        seen.clear();
        BitWriter w = sliceOfRow(0);
        for (uint32_t n = 0; n < length; ++n) putIntra(w);
        decode(w);
        EXPECT_EQ(seen.size(), length);
        EXPECT_EQ(count(tvk::eventBadCode), 0);
    }
}

TEST_F(Slice, intraPictureMovesReconstructsTellsAndWrites) {
    uint8_t output = 0;
    worker->outputY = &output;
    coding().framePredFrameDct = 1;
    BitWriter w = sliceOfRow(0);
    putIntra(w);
    putIntra(w);
    decode(w);
    const Order macroblock = {tvk::eventMacroblock, kParsed, kIntra, tvk::eventMacroblockDone, kWritten};
    Order want = {tvk::eventSlice};
    for (int n = 0; n < 2; ++n) want.insert(want.end(), macroblock.begin(), macroblock.end());
    EXPECT_EQ(order, want);
    EXPECT_EQ(eventRecords[0], &worker->event);
    EXPECT_EQ(events[0].slice, &worker->sliceHeader);
    EXPECT_EQ(events[1].macroblock, &worker->macroblock);
    EXPECT_EQ(events[1].blockData, worker->blocks);
}

// A worker that has no output pointers writes nothing.
TEST_F(Slice, withoutOutputNothingIsWritten) {
    coding().framePredFrameDct = 1;
    BitWriter w = sliceOfRow(0);
    putIntra(w);
    decode(w);
    EXPECT_EQ(count(kWritten), 0);
}

TEST_F(Slice, predictedPictureMakesResidualsOfNonIntraMacroblocks) {
    setType(tvk::pictureP);
    coding().framePredFrameDct = 1;
    BitWriter w = sliceOfRow(0);
    putIntra(w, tvk::pictureP);
    putIncrement(w, 3);
    putMacroblockType(w, tvk::pictureP, tvk::typePattern);
    putCodedBlockPattern(w, 63);
    decode(w);
    const Order want = {tvk::eventSlice, tvk::eventMacroblock, kParsed, kInter, tvk::eventMacroblock, kParsed, kInter};
    EXPECT_EQ(order, want);
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_EQ(seen[0].index, 0);
    EXPECT_EQ(seen[1].index, 1);
    EXPECT_EQ(seen[1].macroblock.macroblockIncrement, 3U);
}

TEST_F(Slice, pictureWithoutADecoderChangesNothing) {
    coding().framePredFrameDct = 1;
    stream->chosen.interDecoder = nullptr;
    setType(tvk::pictureP);
    BitWriter w = sliceOfRow(0);
    putIntra(w, tvk::pictureP);
    decode(w);
    EXPECT_EQ(count(kParsed), 1);
    EXPECT_TRUE(seen.empty());
}

// A D picture has neither a type code nor a decoder of its own.
TEST_F(Slice, dcPictureChangesNothing) {
    coding().framePredFrameDct = 1;
    setType(tvk::pictureD);
    BitWriter w = sliceOfRow(0);
    putIncrement(w, 1);
    putIncrement(w, 1);
    decode(w);
    EXPECT_EQ(count(kParsed), 2);
    EXPECT_EQ(count(kIntra) + count(kInter), 0);
}

TEST_F(Slice, badCodeEndsTheSliceAndNoOther) {
    coding().framePredFrameDct = 1;
    BitWriter bad = sliceOfRow(0);
    putIntra(bad);
    bad.put(11, 1);  // no increment begins so
    for (int n = 0; n < 5; ++n) putIntra(bad);
    decode(bad);
    EXPECT_EQ(seen.size(), 1U);
    EXPECT_EQ(order.back(), tvk::eventBadCode);
    BitWriter good = sliceOfRow(1);
    putIntra(good);
    decode(good);
    EXPECT_EQ(seen.size(), 2U);
    EXPECT_EQ(count(tvk::eventBadCode), 1);
}

TEST_F(Slice, badCodeOfAnyWorkerIsToldInTheFirstOnesRecord) {
    auto first = std::make_unique<tvk::SliceWorker>();
    first->stream = stream.get();
    tvk::initWorkerEvents(first.get());
    workers[0] = first.get();
    decode(sliceOfRow(0).put(11, 1).put(32, 0xFFFFFFFF));
    ASSERT_FALSE(eventRecords.empty());
    EXPECT_EQ(eventRecords.front(), &worker->event);
    EXPECT_EQ(events.back().eventCode, tvk::eventBadCode);
    EXPECT_EQ(events.back().blockData, first->blocks);
}

TEST_F(Slice, withoutACallbackABadCodeIsSilent) {
    stream->callbacks.userCallback = nullptr;
    decode(sliceOfRow(0).put(11, 1).put(32, 0xFFFFFFFF));
    EXPECT_TRUE(order.empty());
}

// The coefficient parser's result is not looked at: the macroblock goes on with what was stored.
TEST_F(Slice, badCoefficientsDoNotEndTheSlice) {
    coding().framePredFrameDct = 1;
    stream->chosen.coefficientParser = [](tvk::SliceWorker *) { return -1; };
    BitWriter w = sliceOfRow(0);
    putIntra(w);
    putIntra(w);
    decode(w);
    EXPECT_EQ(seen.size(), 2U);
    EXPECT_EQ(count(tvk::eventBadCode), 0);
}

TEST_F(Slice, whatIsCountedIsWhatWasRead) {
    setType(tvk::pictureP);
    coding().framePredFrameDct = 1;
    BitWriter w = sliceOfRow(0);
    putIntra(w, tvk::pictureP);
    putIncrement(w, 1);
    putMacroblockType(w, tvk::pictureP, tvk::typePattern);
    putCodedBlockPattern(w, 1);
    decode(w);
    EXPECT_EQ(worker->counters.slices, 1U);
    EXPECT_EQ(worker->counters.macroblocks, 2U);
    EXPECT_EQ(worker->counters.codedBlockPatterns, 1U);
    EXPECT_EQ(worker->counters.coefficientCalls, 2U);
}

}  // namespace
}  // namespace tvktest
