// SPDX-License-Identifier: BSD-2-Clause
// The macroblock header: addresses, types, DCT type, quantiser, predictors and patterns.
#include <algorithm>

#include "core/callbacks.h"
#include "mpeg12/code_lists.h"
#include "mpeg12/macroblock_header.h"
#include "mpeg12/slice_fixture.h"
#include "stream_writer/codes.h"

namespace tvktest {
namespace {

struct MacroblockHeader : SliceTest {
    // Reads one header; the bits behind it are ones.
    bool read(BitWriter w) {
        const int64_t length = lengthOf(w);
        w.put(32, 0xFFFFFFFF);
        load(w);
        const bool valid = tvk::headerReaderFor(stream.get())(worker.get());
        if (valid) {
            EXPECT_EQ(consumed(), length);
        }
        return valid;
    }
    void setDct(bool both) { coding().framePredFrameDct = !both; }
};

TEST_F(MacroblockHeader, escapesAddThirtyThreeEach) {
    setDct(false);
    for (const uint32_t increment : {1U, 33U, 34U, 67U, 100U, 4000U}) {
        macroblock().previousAddress = 10;
        BitWriter w;
        putIncrement(w, increment);
        putMacroblockType(w, tvk::pictureI, tvk::typeIntra);
        ASSERT_TRUE(read(w));
        EXPECT_EQ(macroblock().macroblockIncrement, increment);
        EXPECT_EQ(macroblock().macroblockAddress, 10 + increment);
    }
}

TEST_F(MacroblockHeader, mpeg1StuffingHasNoLimit) {
    stream->streamType = 1;
    setDct(false);
    for (const int stuffing : {1, 2, 5000}) {
        BitWriter w;
        for (int n = 0; n < stuffing; ++n) putStuffing(w);
        putIncrement(w, 7);
        putMacroblockType(w, tvk::pictureI, tvk::typeIntra);
        ASSERT_TRUE(read(w));
        EXPECT_EQ(macroblock().macroblockIncrement, 7U);
    }
}

TEST_F(MacroblockHeader, mpeg2HasNoStuffing) {
    BitWriter w;
    putStuffing(w);
    putIncrement(w, 7);
    EXPECT_FALSE(read(w));
}

TEST_F(MacroblockHeader, everyTypeCodeSetsItsFlags) {
    setDct(false);
    for (int32_t table = tvk::vlcMacroblockTypeI; table <= tvk::vlcMacroblockTypeSnr; ++table)
        for (const tvk::test::FlatCode &code : tvk::test::codeList(table)) {
            const int32_t index = table - tvk::vlcMacroblockTypeI;
            headers().macroblockTypeSet = static_cast<uint32_t>(index / 3);
            setType(static_cast<tvk::PictureType>(1 + index % 3));
            BitWriter w;
            putIncrement(w, 1);
            w.put(static_cast<uint32_t>(code.length), code.code);
            w.put(32, 0xFFFFFFFF).put(32, 0xFFFFFFFF);  // motion codes and patterns are valid in ones
            load(w);
            tvk::headerReaderFor(stream.get())(worker.get());
            const MacroblockRecord &m = macroblock();
            const int value = m.spatialTemporalClasses | m.spatialTemporalWeightFlag << 2 | m.macroblockIntra << 3 |
                              m.macroblockPattern << 4 | m.macroblockMotionBackward << 5 |
                              m.macroblockMotionForward << 6 | m.macroblockQuant << 7;
            EXPECT_EQ(value, code.value) << "table " << table;
        }
}

TEST_F(MacroblockHeader, invalidTypeCodeEndsTheSlice) {
    setType(tvk::pictureB);
    BitWriter w;
    putIncrement(w, 1);
    EXPECT_FALSE(read(w.put(6, 0)));
}

TEST_F(MacroblockHeader, intraMacroblockHasAllBlocksCoded) {
    setDct(false);
    BitWriter w;
    putIncrement(w, 1);
    putMacroblockType(w, tvk::pictureI, tvk::typeIntra);
    ASSERT_TRUE(read(w));
    EXPECT_EQ(macroblock().codedBlockMask, 0xFFF00000U);
}

// A vector's macroblock without a pattern reads no DCT type, and the last one's does not stay.
TEST_F(MacroblockHeader, dctTypeIsReadWhereThereAreBlocks) {
    setDct(true);
    BitWriter intra;
    putIncrement(intra, 1);
    putMacroblockType(intra, tvk::pictureI, tvk::typeIntra);
    ASSERT_TRUE(read(intra.put(1, 1)));
    EXPECT_EQ(macroblock().dctType, 1);

    setType(tvk::pictureP);
    BitWriter forward;
    putIncrement(forward, 1);
    putMacroblockType(forward, tvk::pictureP, tvk::typeForward);
    forward.put(2, 2).put(2, 3);  // frame motion, both codes 0
    ASSERT_TRUE(read(forward));
    EXPECT_EQ(macroblock().dctType, 0);

    BitWriter pattern;
    putIncrement(pattern, 1);
    putMacroblockType(pattern, tvk::pictureP, tvk::typePattern);
    pattern.put(1, 1);
    putCodedBlockPattern(pattern, 60);
    ASSERT_TRUE(read(pattern));
    EXPECT_EQ(macroblock().dctType, 1);
    EXPECT_EQ(macroblock().codedBlockMask, 0xF0000000U);
}

TEST_F(MacroblockHeader, fieldPictureReadsNoDctType) {
    setDct(true);
    setFormat(tvk::chroma420, tvk::structureTopField);
    BitWriter w;
    putIncrement(w, 1);
    putMacroblockType(w, tvk::pictureI, tvk::typeIntra);
    ASSERT_TRUE(read(w));
    EXPECT_EQ(macroblock().dctType, 0);
}

TEST_F(MacroblockHeader, quantiserStaysUntilAMacroblockChangesIt) {
    setDct(false);
    macroblock().quantiserScaleCode = 11;
    BitWriter plain;
    putIncrement(plain, 1);
    putMacroblockType(plain, tvk::pictureI, tvk::typeIntra);
    ASSERT_TRUE(read(plain));
    EXPECT_EQ(macroblock().quantiserScaleCode, 11);
    BitWriter changing;
    putIncrement(changing, 1);
    putMacroblockType(changing, tvk::pictureI, tvk::typeIntra | tvk::typeQuant);
    ASSERT_TRUE(read(changing.put(5, 29)));
    EXPECT_EQ(macroblock().quantiserScaleCode, 29);
}

TEST_F(MacroblockHeader, skipsAndNonIntraMacroblocksResetTheDcPredictors) {
    setDct(false);
    coding().intraDcPrecision = 2;
    const auto predictorBehind = [&](tvk::PictureType type, uint32_t increment, uint32_t flags) {
        setType(type);
        std::fill_n(worker->dcPredictor, 3, 77);
        BitWriter w;
        putIncrement(w, increment);
        putMacroblockType(w, type, flags);
        if (flags & tvk::typePattern) putCodedBlockPattern(w, 5);
        EXPECT_TRUE(read(w));
        EXPECT_EQ(worker->dcPredictor[0], worker->dcPredictor[1]);
        EXPECT_EQ(worker->dcPredictor[0], worker->dcPredictor[2]);
        return worker->dcPredictor[0];
    };
    EXPECT_EQ(predictorBehind(tvk::pictureI, 1, tvk::typeIntra), 77);
    EXPECT_EQ(predictorBehind(tvk::pictureI, 2, tvk::typeIntra), 512);
    EXPECT_EQ(predictorBehind(tvk::pictureP, 1, tvk::typeIntra), 77);
    EXPECT_EQ(predictorBehind(tvk::pictureP, 1, tvk::typePattern), 512);
}

TEST_F(MacroblockHeader, patternsOfAllChromaFormatsAreLeftJustified) {
    setType(tvk::pictureP);
    setDct(false);
    const auto maskOf = [&](tvk::ChromaFormat chroma, uint32_t pattern, uint32_t extraBits, uint32_t extra) {
        setFormat(chroma, tvk::structureFrame);
        BitWriter w;
        putIncrement(w, 1);
        putMacroblockType(w, tvk::pictureP, tvk::typePattern);
        putCodedBlockPattern(w, pattern);
        w.put(extraBits, extra);
        EXPECT_TRUE(read(w));
        return macroblock().codedBlockMask;
    };
    EXPECT_EQ(maskOf(tvk::chroma420, 63, 0, 0), 0xFC000000U);
    EXPECT_EQ(maskOf(tvk::chroma420, 1, 0, 0), 0x04000000U);
    EXPECT_EQ(maskOf(tvk::chroma422, 63, 2, 3), 0xFF000000U);
    EXPECT_EQ(maskOf(tvk::chroma422, 32, 2, 1), 0x81000000U);
    EXPECT_EQ(maskOf(tvk::chroma444, 63, 6, 63), 0xFFF00000U);
    EXPECT_EQ(maskOf(tvk::chroma444, 2, 6, 0x21), 0x0A100000U);
}

TEST_F(MacroblockHeader, invalidPatternEndsTheSlice) {
    setType(tvk::pictureP);
    setDct(false);
    BitWriter w;
    putIncrement(w, 1);
    putMacroblockType(w, tvk::pictureP, tvk::typePattern);
    w.put(24, 0);
    load(w);
    EXPECT_FALSE(tvk::headerReaderFor(stream.get())(worker.get()));
}

// Zero bits behind the data let a header fail at once wherever it was cut.
TEST_F(MacroblockHeader, cutHeaderEndsInsideThePadding) {
    setType(tvk::pictureB);
    setDct(true);
    for (const size_t bytes : {1U, 2U, 3U, 4U}) {
        BitWriter w;
        putIncrement(w, 1);
        putMacroblockType(w, tvk::pictureB, tvk::typeForward | tvk::typeBackward | tvk::typePattern);
        w.put(2, 1).put(1, 1);
        for (int n = 0; n < 8; ++n) w.put(1, 1);
        w.bytes.resize(std::min(bytes, w.bytes.size()));
        load(w);
        EXPECT_FALSE(tvk::headerReaderFor(stream.get())(worker.get()));
    }
}

}  // namespace
}  // namespace tvktest
