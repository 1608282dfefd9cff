// SPDX-License-Identifier: BSD-2-Clause
// What a macroblock header says about motion: types, vector codes, differentials, concealment.
#include <algorithm>

#include "mpeg12/macroblock_header.h"
#include "mpeg12/slice_fixture.h"
#include "stream_writer/codes.h"

namespace tvktest {
namespace {

struct MotionSyntax : SliceTest {
    BitWriter w;

    MotionSyntax() { setType(tvk::pictureP); }
    // f_code less 1: 0 has no residual bits.
    void setSizes(uint32_t size) {
        for (uint32_t &code : coding().fCode) code = size;
    }
    void begin(uint32_t type) {
        putIncrement(w, 1);
        putMacroblockType(w, headers().picture.pictureCodingType, type);
    }
    void putCode(int32_t code, uint32_t residualBits = 0, uint32_t residual = 0) {
        for (const tvk::VlcCode &c : tvk::codes::kMotionCode)
            if (c.value == code) w.put(c.bits.length, c.bits.code);
        w.put(residualBits, residual);
    }
    void read() {
        const int64_t length = lengthOf(w);
        w.put(32, 0xFFFFFFFF);
        load(w);
        ASSERT_TRUE(tvk::headerReaderFor(stream.get())(worker.get()));
        EXPECT_EQ(consumed(), length);
    }
    void expectForm(int type, int vectors, int format, int dualPrime) {
        EXPECT_EQ(macroblock().predictionType, type);
        EXPECT_EQ(macroblock().motionVectorCount, vectors);
        EXPECT_EQ(macroblock().mvFormat, format);
        EXPECT_EQ(macroblock().dualPrime, dualPrime);
    }
};

TEST_F(MotionSyntax, framePredictionAloneReadsNoType) {
    coding().framePredFrameDct = 1;
    begin(tvk::typeForward);
    putCode(5);
    putCode(-16);
    read();
    EXPECT_EQ(macroblock().frameMotionType, 2);
    expectForm(2, 1, 1, 0);
    EXPECT_EQ(macroblock().motionCode[0][0][0], 5);
    EXPECT_EQ(macroblock().motionCode[0][0][1], -16);
}

TEST_F(MotionSyntax, residualFollowsANonZeroCode) {
    coding().framePredFrameDct = 1;
    coding().fCode[0] = 3;
    coding().fCode[1] = 6;
    macroblock().motionResidual[0][0][1] = 99;
    macroblock().motionResidual[1][0][0] = 99;
    begin(tvk::typeForward);
    putCode(-2, 3, 5);
    putCode(0);
    read();
    EXPECT_EQ(macroblock().motionResidual[0][0][0], 5);
    EXPECT_EQ(macroblock().motionResidual[0][0][1], 0);
    EXPECT_EQ(macroblock().motionResidual[1][0][0], 0);
}

TEST_F(MotionSyntax, directionsHaveSizesOfTheirOwn) {
    setType(tvk::pictureB);
    coding().framePredFrameDct = 1;
    coding().fCode[0] = 1;
    coding().fCode[1] = 2;
    coding().fCode[2] = 3;
    coding().fCode[3] = 4;
    begin(tvk::typeForward | tvk::typeBackward);
    putCode(1, 1, 1);
    putCode(2, 2, 2);
    putCode(3, 3, 3);
    putCode(4, 4, 4);
    read();
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(macroblock().motionCode[0][i / 2][i % 2], i + 1);
        EXPECT_EQ(macroblock().motionResidual[0][i / 2][i % 2], i + 1);
    }
}

TEST_F(MotionSyntax, fieldPredictionOfAFrameHasTwoSelectedVectors) {
    begin(tvk::typeForward);
    w.put(2, 1).put(1, 1);
    putCode(1);
    putCode(2);
    w.put(1, 0);
    putCode(3);
    putCode(4);
    read();
    expectForm(1, 2, 0, 0);
    EXPECT_EQ(macroblock().motionVerticalFieldSelect[0][0], 1);
    EXPECT_EQ(macroblock().motionVerticalFieldSelect[1][0], 0);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(macroblock().motionCode[i / 2][0][i % 2], i + 1);
}

TEST_F(MotionSyntax, dualPrimeHasADifferentialBehindEachComponent) {
    begin(tvk::typeForward);
    w.put(2, 3);
    putCode(7);
    w.put(2, 3);
    putCode(-7);
    w.put(2, 2);
    read();
    expectForm(3, 1, 0, 1);
    EXPECT_EQ(macroblock().dmVector[0], -1);
    EXPECT_EQ(macroblock().dmVector[1], 1);
    EXPECT_EQ(macroblock().motionCode[0][0][1], -7);
}

TEST_F(MotionSyntax, zeroDifferentialHasOneBit) {
    begin(tvk::typeForward);
    macroblock().dmVector[0] = macroblock().dmVector[1] = 1;
    w.put(2, 3);
    putCode(7);
    w.put(1, 0);
    putCode(-7);
    w.put(1, 0);
    read();
    EXPECT_EQ(macroblock().dmVector[0], 0);
    EXPECT_EQ(macroblock().dmVector[1], 0);
}

TEST_F(MotionSyntax, fieldPictureKnowsFieldSixteenByEightAndDualPrime) {
    setFormat(tvk::chroma420, tvk::structureTopField);
    begin(tvk::typeForward);
    w.put(2, 1).put(1, 1);
    putCode(1);
    putCode(1);
    read();
    expectForm(1, 1, 0, 0);
    EXPECT_EQ(macroblock().motionVerticalFieldSelect[0][0], 1);

    w = {};
    begin(tvk::typeForward);
    w.put(2, 2).put(1, 0);
    putCode(1);
    putCode(1);
    w.put(1, 1);
    putCode(1);
    putCode(1);
    read();
    expectForm(2, 2, 0, 0);
    EXPECT_EQ(macroblock().motionVerticalFieldSelect[0][0], 0);
    EXPECT_EQ(macroblock().motionVerticalFieldSelect[1][0], 1);

    w = {};
    begin(tvk::typeForward);
    w.put(2, 3);
    putCode(1);
    w.put(1, 0);
    putCode(1);
    w.put(1, 0);
    read();
    expectForm(3, 1, 0, 1);
}

TEST_F(MotionSyntax, fieldMacroblockWithoutMotionHasOneVectorInForm) {
    setFormat(tvk::chroma420, tvk::structureTopField);
    macroblock().motionVectorCount = 2;
    macroblock().dualPrime = 1;
    macroblock().mvFormat = 1;
    begin(tvk::typePattern);
    putCodedBlockPattern(w, 1);
    read();
    EXPECT_EQ(macroblock().fieldMotionType, 1);
    EXPECT_EQ(macroblock().motionVectorCount, 1);
    EXPECT_EQ(macroblock().dualPrime, 0);
    EXPECT_EQ(macroblock().mvFormat, 0);
}

TEST_F(MotionSyntax, motionTypeZeroLeavesTheLastForm) {
    macroblock().predictionType = 2;
    macroblock().motionVectorCount = 1;
    macroblock().mvFormat = 1;
    begin(tvk::typeForward);
    w.put(2, 0);
    putCode(1);
    putCode(1);
    read();
    expectForm(2, 1, 1, 0);
    EXPECT_EQ(macroblock().frameMotionType, 0);
}

TEST_F(MotionSyntax, weightClassesNarrowTheMotionTypes) {
    headers().scalable.scalableMode = 1;
    headers().spatialScalable.spatialTemporalWeightTableIndex = 1;  // without a weight flag: code 0, class 1
    begin(tvk::typeForward);
    w.put(2, 3);  // dual prime, which class 1 excludes: no vectors in form, and two in syntax
    for (int r = 0; r < 2; ++r) {
        w.put(1, 1);
        putCode(1);
        putCode(1);
    }
    read();
    expectForm(0, 0, 0, 0);
    EXPECT_EQ(macroblock().spatialTemporalRow[0], 1);
    EXPECT_EQ(macroblock().spatialTemporalRow[1], 3);
    EXPECT_EQ(macroblock().spatialTemporalRow[2], 1);
    EXPECT_EQ(macroblock().spatialTemporalRow[3], 0);
}

TEST_F(MotionSyntax, classTwoHasOneFieldVectorInAFrame) {
    headers().scalable.scalableMode = 1;
    headers().spatialScalable.spatialTemporalWeightTableIndex = 0;  // class 2
    begin(tvk::typeForward);
    w.put(2, 1).put(1, 1);
    putCode(1);
    putCode(1);
    read();
    expectForm(1, 1, 0, 0);
}

// Intra macroblocks with concealment vectors: one vector, a marker bit, and the DC predictors stay.
TEST_F(MotionSyntax, concealmentVectorOfAFramePicture) {
    coding().concealmentMotionVectors = 1;
    std::fill_n(worker->dcPredictor, 3, 77);
    begin(tvk::typeIntra);
    w.put(1, 1);  // dct_type
    putCode(3);
    putCode(-4);
    w.put(1, 1);
    read();
    EXPECT_EQ(macroblock().motionVectorCount, 1);
    EXPECT_EQ(macroblock().mvFormat, 1);
    EXPECT_EQ(macroblock().dualPrime, 0);
    EXPECT_EQ(macroblock().motionCode[0][0][0], 3);
    EXPECT_EQ(macroblock().motionCode[0][0][1], -4);
    EXPECT_EQ(macroblock().dctType, 1);
    EXPECT_EQ(worker->dcPredictor[0], 77);
}

TEST_F(MotionSyntax, concealmentVectorOfAFieldPictureSelectsItsField) {
    setFormat(tvk::chroma420, tvk::structureBottomField);
    coding().concealmentMotionVectors = 1;
    begin(tvk::typeIntra);
    w.put(1, 1);
    putCode(3);
    putCode(-4);
    w.put(1, 1);
    read();
    EXPECT_EQ(macroblock().motionVerticalFieldSelect[0][0], 1);
    EXPECT_EQ(macroblock().motionCode[0][0][1], -4);
}

TEST_F(MotionSyntax, invalidMotionCodeEndsTheSlice) {
    coding().framePredFrameDct = 1;
    begin(tvk::typeForward);
    w.put(10, 0).put(32, 0xFFFFFFFF);
    load(w);
    EXPECT_FALSE(tvk::headerReaderFor(stream.get())(worker.get()));
}

}  // namespace
}  // namespace tvktest
