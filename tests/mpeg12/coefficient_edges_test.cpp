// SPDX-License-Identifier: BSD-2-Clause
// Coefficient decoding at its edges: first codes, escapes, wrapped scans, invalid codes, what the eighth size keeps.
#include <algorithm>
#include <cmath>

#include "mpeg12/coefficient_fixture.h"

namespace tvktest {
namespace {

constexpr uint32_t kFirstBlock = 0x80000000;

// A DC of size 0 for each of the six blocks from `block` on, each with nothing behind it.
void putEmptyIntra(BitWriter &w, int from = 0) {
    for (int i = from; i < 6; ++i) {
        w.put(i < 4 ? 3 : 2, i < 4 ? 4 : 0);
        putEnd(w);
    }
}

TEST(CoefficientEdges, noCodedBlockReadsNothingAndClearsAll) {
    for (const Form form : {Form::fast, Form::precise}) {
        CoefficientState state(form);
        state.c.coded = 0xFC000000;
        BitWriter first;
        for (int i = 0; i < 6; ++i) {
            first.put(2, 2);
            putEscape(first, false, 40, 900);
            putEnd(first);
        }
        ASSERT_EQ(state.parse(first), 0);
        ASSERT_NE(state.worker->blocks[0], 0);
        state.c.coded = 0;
        EXPECT_EQ(state.parse(BitWriter().put(32, 0xFFFFFFFF)), 0);
        EXPECT_EQ(state.consumed(), 0);
        for (int i = 0; i < 6 * 64; ++i) ASSERT_EQ(state.worker->blocks[i], 0) << i;
    }
}

TEST(CoefficientEdges, firstCoefficientAloneIsOneValueOfALowBlock) {
    CoefficientState state(Form::fast);
    state.c.coded = kFirstBlock;
    BitWriter w;
    w.put(2, 2);
    putEnd(w);
    EXPECT_EQ(state.parse(w), 0);
    EXPECT_EQ(state.worker->blocks[0], 3 * 256 * 32 >> 12);
    EXPECT_TRUE(std::all_of(state.worker->blocks + 1, state.worker->blocks + 64, [](int16_t v) { return v == 0; }));
    EXPECT_TRUE(state.low(0));
}

// Behind a first bit of 0 an ordinary code follows, and its run counts from the block's beginning.
TEST(CoefficientEdges, ordinaryFirstCodeCountsFromTheBeginning) {
    CoefficientState state(Form::fast);
    state.c.coded = kFirstBlock;
    BitWriter w;
    w.put(5, 0b01000);  // run 0, level 2
    putEnd(w);
    EXPECT_EQ(state.parse(w), 0);
    EXPECT_EQ(state.worker->blocks[0], 5 * 256 * 32 >> 12);
    EXPECT_TRUE(state.low(0));
}

TEST(CoefficientEdges, lowFlagEndsBehindScanPositionNine) {
    for (const int position : {9, 10}) {
        CoefficientState state(Form::fast);
        state.c.coded = kFirstBlock;
        BitWriter w;
        putEscape(w, false, position, 5);
        putEnd(w);
        EXPECT_EQ(state.parse(w), 0);
        EXPECT_EQ(state.low(0), position == 9);
    }
}

TEST(CoefficientEdges, preciseLowFlagEndsBelowScanPositionTwentyOne) {
    for (const int position : {20, 21}) {
        CoefficientState state(Form::precise);
        state.c.coded = kFirstBlock;
        BitWriter w;
        putEscape(w, false, position, 5);
        putEnd(w);
        EXPECT_EQ(state.parse(w), 0);
        EXPECT_EQ(state.low(0), position == 20);
    }
}

TEST(CoefficientEdges, dcOfElevenBitsIsDoubledInTheFastFormAlone) {
    for (const Form form : {Form::fast, Form::precise}) {
        CoefficientState state(form);
        state.c.intra = true;
        state.c.dcPrecision = 3;
        state.dc = {1000, 700, -5};
        BitWriter w;
        putEmptyIntra(w);
        EXPECT_EQ(state.parse(w), 0);
        const int scale = form == Form::fast ? 2 : 1;
        EXPECT_EQ(state.worker->blocks[0], 1000 * scale);
        EXPECT_EQ(state.worker->blocks[64 * 4], 700 * scale);
        EXPECT_EQ(state.worker->blocks[64 * 5], -5 * scale);
    }
}

TEST(CoefficientEdges, preciseDcIsClamped) {
    CoefficientState state(Form::precise);
    state.c.intra = true;
    state.dc = {600, -600, 255};
    BitWriter w;
    putEmptyIntra(w);
    EXPECT_EQ(state.parse(w), 0);
    EXPECT_EQ(state.worker->blocks[0], 2047);
    EXPECT_EQ(state.worker->blocks[64 * 4], -2048);
    EXPECT_EQ(state.worker->blocks[64 * 5], 2040);
}

// The level alone: weight 1 and quantiser_scale 16 give level * 16 * 1 / 16 in an intra block of the precise form.
int intraLevel(bool mpeg1, uint32_t bits, uint32_t count) {
    CoefficientState state(Form::precise);
    state.c.intra = true;
    state.c.mpeg1 = mpeg1;
    state.scaleCode = 8;
    for (auto &matrix : state.c.weight) matrix.fill(1);
    BitWriter w;
    w.put(3, 4).put(6, 1).put(6, 0).put(count, bits);
    putEnd(w);
    putEmptyIntra(w, 1);
    EXPECT_EQ(state.parse(w), 0);
    EXPECT_EQ(state.consumed(), lengthOf(w));
    return state.worker->blocks[storagePosition(Form::precise, 1)];
}

TEST(CoefficientEdges, mpeg1EscapesHaveTwoLongForms) {
    EXPECT_EQ(intraLevel(true, 0x8001, 16), -255);
    EXPECT_EQ(intraLevel(true, 0x00FF, 16), 255);
    EXPECT_EQ(intraLevel(true, 0x7F, 8), 127);
    EXPECT_EQ(intraLevel(true, 0x81, 8), -127);
}

TEST(CoefficientEdges, mpeg2EscapesHaveTwelveBits) {
    EXPECT_EQ(intraLevel(false, 0x7FF, 12), 2047);
    EXPECT_EQ(intraLevel(false, 0x800, 12), -2048);
    EXPECT_EQ(intraLevel(false, 0, 12), 0);
}

// The standard forbids it. Doubled with its sign, -1 stands for it, where level -1 gives -3.
TEST(CoefficientEdges, escapedLevelZeroActsAsMinusOne) {
    CoefficientState fast(Form::fast), precise(Form::precise);
    BitWriter w;
    putEscape(w, false, 3, 0);
    putEnd(w);
    for (CoefficientState *state : {&fast, &precise}) {
        state->c.coded = kFirstBlock;
        for (auto &matrix : state->c.weight) matrix.fill(100);
        EXPECT_EQ(state->parse(w), 0);
    }
    EXPECT_EQ(precise.worker->blocks[precise.c.scan[3]], -(2 * 100) / 32);
    const double exact = -2.0 * 128 * 100 * 128 * reference::aanScale(fast.c.scan[3]) / 4294967296.0;
    EXPECT_EQ(fast.worker->blocks[fast.c.scan[3]], static_cast<int>(std::floor(exact)));
}

TEST(CoefficientEdges, runPastTheEndWrapsToTheScansBeginning) {
    for (const Form form : {Form::fast, Form::precise}) {
        CoefficientState state(form);
        state.c.intra = true;
        state.dc[0] = 100;
        BitWriter w;
        w.put(3, 4);
        putEscape(w, false, 61, 9);   // to position 62
        putEscape(w, false, 1, 50);   // to position 64, the DC's own
        putEscape(w, false, 2, -50);  // to position 3
        putEnd(w);
        putEmptyIntra(w, 1);
        EXPECT_EQ(state.parse(w), 0);
        reference::BitString bits{&w.bytes};
        const reference::CoefficientResult want = reference::decodeMacroblock(bits, state.c, state.dc);
        for (size_t i = 0; i < 64; ++i) ASSERT_EQ(state.worker->blocks[i], want.values[i]) << i;
        EXPECT_NE(state.worker->blocks[0], reference::dcValue(state.c, 100));
    }
}

// A code without escape that runs past the end wraps in intra blocks; in any block it writes inside the block alone.
TEST(CoefficientEdges, runPastTheEndStaysInItsBlock) {
    for (const Form form : {Form::fast, Form::precise, Form::compact})
        for (const bool fieldDct : {false, true}) {
            CoefficientState state(form);
            state.c.coded = 0x04000000;  // the last
            state.c.blocks = 6;
            state.c.fieldDct = fieldDct;
            BitWriter w;
            for (int n = 0; n < 40; ++n) put(w, codeTable(false).codes[static_cast<size_t>(100 + n % 20)]);
            for (int n = 0; n < 20; ++n) putEscape(w, false, 63, 77);
            putEnd(w);
            EXPECT_EQ(state.parse(w), 0);
            if (form == Form::compact) continue;
            for (int i = 0; i < 12 * 64; ++i)
                if (i / 64 != 5) {
                    ASSERT_EQ(state.worker->blocks[i], 0) << i;
                }
        }
}

TEST(CoefficientEdges, negativeFirstCoefficientRoundsDownInTheFastForm) {
    CoefficientState state(Form::fast);
    state.c.coded = kFirstBlock;
    for (auto &matrix : state.c.weight) matrix.fill(17);
    BitWriter w;
    w.put(2, 3);
    putEnd(w);
    EXPECT_EQ(state.parse(w), 0);
    EXPECT_EQ(state.worker->blocks[0], -7);
}

TEST(CoefficientEdges, fieldDctLeaves420ChromaInFrameOrder) {
    for (const int blocks : {6, 8}) {
        CoefficientState state(Form::fast);
        state.c.blocks = blocks;
        state.c.coded = ~(0xFFFFFFFFU >> blocks);
        state.c.fieldDct = true;
        BitWriter w;
        for (int i = 0; i < blocks; ++i) {
            w.put(2, 2);
            putEscape(w, false, 4, 700 + i);  // zig-zag position 5, row 0 of column 2: storage 16
            putEnd(w);
        }
        EXPECT_EQ(state.parse(w), 0);
        const int16_t *values = state.worker->blocks;
        const std::array<int, 8> first = {0, 128, 8, 136, 256, blocks == 6 ? 320 : 384, 264, 392};
        for (int i = 0; i < blocks; ++i) {
            const int step = i < 4 || blocks == 8 ? 16 : 8, start = first[static_cast<size_t>(i)];
            EXPECT_NE(values[start], 0) << i;
            EXPECT_NE(values[start + 2 * step], 0) << i;
        }
    }
}

TEST(CoefficientEdges, staleDctTypeOfAFieldPictureHasNoEffect) {
    CoefficientState state(Form::fast);
    state.c.fieldPicture = true;
    state.c.coded = 0x20000000;
    state.apply();
    state.macroblock().dctType = 1;
    BitWriter w;
    w.put(2, 2);
    putEscape(w, false, 4, 700);
    putEnd(w);
    state.load(w);
    EXPECT_EQ(state.parse(), 0);
    EXPECT_NE(state.worker->blocks[128], 0);
    EXPECT_NE(state.worker->blocks[128 + 16], 0);
}

TEST(CoefficientEdges, eighthSizeKeepsTheDcOfFrameDct) {
    CoefficientState state(Form::compact);
    state.c.intra = true;
    state.dc = {200, 100, 50};
    BitWriter w;
    for (int i = 0; i < 6; ++i) {
        w.put(i < 4 ? 3 : 2, i < 4 ? 4 : 0);
        for (int n = 0; n < 8; ++n) putEscape(w, false, 0, 300);
        putEnd(w);
    }
    EXPECT_EQ(state.parse(w), 0);
    EXPECT_EQ(state.consumed(), lengthOf(w));
    const std::array<int, 6> want = {1600, 1600, 1600, 1600, 800, 400};
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(state.worker->blocks[i], want[i]);
}

// Departures: luma blocks 2 and 3 already take the chroma weight; with field pictures whatever dctType is.
TEST(CoefficientEdges, eighthSizeTakesTheChromaWeightFromBlockTwoOn) {
    CoefficientState state(Form::compact);
    state.c.intra = true;
    state.c.fieldPicture = true;
    state.scaleCode = 8;
    state.c.weight[0][1] = 20;
    state.c.weight[2][1] = 70;
    BitWriter w;
    for (int i = 0; i < 6; ++i) {
        w.put(i < 4 ? 3 : 2, i < 4 ? 4 : 0);
        putEscape(w, false, 1, 3);  // zig-zag position 2: the first vertical frequency
        putEnd(w);
    }
    EXPECT_EQ(state.parse(w), 0);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(state.worker->blocks[2 * i + 1], 3 * (i < 2 ? 20 : 70)) << i;
}

TEST(CoefficientEdges, invalidCodeEndsTheMacroblockBehindSeventeenBits) {
    for (const Form form : {Form::fast, Form::precise, Form::compact})
        for (const bool intra : {false, true})
            for (const bool tableOne : {false, true}) {
                CoefficientState state(form);
                state.c.intra = intra;
                state.intraVlc = tableOne;
                state.c.coded = 0xFC000000;
                BitWriter w;
                intra ? w.put(3, 4) : w.put(2, 2);
                const int64_t head = lengthOf(w);
                w.put(17, 0).put(32, 0xFFFFFFFF);
                EXPECT_EQ(state.parse(w), -1);
                EXPECT_EQ(state.consumed(), head + 17);
            }
}

// Every pattern of 17 bits that begins no code.
TEST(CoefficientEdges, eachNonIntraBlockIsHandedOverAsItStands) {
    CoefficientState state(Form::fast);
    state.c.fieldDct = true;
    state.c.coded = 0xC8000000;  // blocks 0, 1 and 4
    BitWriter w;
    w.put(2, 2);  // a first coefficient alone
    putEnd(w);
    putEscape(w, false, 8, 1);  // scan position 8, then 10
    putEscape(w, false, 1, 1);
    putEnd(w);
    putEscape(w, false, 9, 1);  // scan position 9
    putEnd(w);
    ASSERT_EQ(state.parse(w), 0);
    ASSERT_EQ(state.handedOver.size(), 3U);
    const auto &blocks = state.handedOver;
    EXPECT_EQ(blocks[0].values, state.worker->blocks);
    EXPECT_EQ(blocks[0].form, tvk::BlockForm::single);
    EXPECT_TRUE(blocks[0].interleaved);
    EXPECT_EQ(blocks[1].values, state.worker->blocks + 4 * 32);
    EXPECT_EQ(blocks[1].form, tvk::BlockForm::full);
    EXPECT_EQ(blocks[2].values, state.worker->blocks + 4 * 64);
    EXPECT_EQ(blocks[2].form, tvk::BlockForm::low);
    EXPECT_FALSE(blocks[2].interleaved);  // 4:2:0 chroma
}

TEST(CoefficientEdges, blockOfAnInvalidCodeIsHandedOverInItsFullForm) {
    CoefficientState state(Form::fast);
    state.c.coded = 0xC0000000;
    BitWriter w;
    w.put(2, 2);
    w.put(17, 1);  // no code begins so
    ASSERT_EQ(state.parse(w), -1);
    ASSERT_EQ(state.handedOver.size(), 1U);
    EXPECT_EQ(state.handedOver[0].values, state.worker->blocks);
    EXPECT_EQ(state.handedOver[0].form, tvk::BlockForm::full);
}

TEST(CoefficientEdges, eighthSizeHandsOverTheMacroblockOnceItStands) {
    CoefficientState state(Form::compact);
    state.c.coded = 0xC0000000;
    BitWriter w;
    for (int i = 0; i < 2; ++i) {
        w.put(2, 2);
        putEnd(w);
    }
    ASSERT_EQ(state.parse(w), 0);
    EXPECT_EQ(state.handedOver.size(), 1U);
}

TEST(CoefficientEdges, reducedResidualOfTheLastMacroblockIsCleared) {
    CoefficientState state(Form::fast);
    state.c.coded = 0;
    for (int16_t &value : state.worker->reducedResidual) value = 7;
    state.worker->dirtyReduced = true;
    ASSERT_EQ(state.parse(BitWriter()), 0);
    for (int i = 0; i < 6 * 16; ++i) ASSERT_EQ(state.worker->reducedResidual[i], 0) << i;
    EXPECT_FALSE(state.worker->dirtyReduced);
}

TEST(CoefficientEdges, unassignedPatternsAreInvalidInAllForms) {
    for (const bool tableOne : {false, true}) {
        const CodeTable &table = codeTable(tableOne);
        std::vector<bool> assigned(1 << 17);
        const auto assign = [&](const CoefficientCode &c) {
            const uint32_t first = c.code << (17 - c.length);
            for (uint32_t i = 0; i < 1U << (17 - c.length); ++i) assigned[first + i] = true;
        };
        for (const CoefficientCode &c : table.codes) assign(c);
        assign(table.endOfBlock);
        assign(table.escape);
        std::array<CoefficientState, 3> states = {CoefficientState(Form::fast), CoefficientState(Form::precise),
                                                  CoefficientState(Form::compact)};
        for (CoefficientState &state : states) {
            state.c.intra = true;
            state.intraVlc = tableOne;
            state.apply();
        }
        int invalid = 0;
        for (uint32_t pattern = 0; pattern < assigned.size(); ++pattern) {
            if (assigned[pattern]) continue;
            ++invalid;
            for (CoefficientState &state : states) {
                state.load(BitWriter().put(3, 4).put(17, pattern).put(20, 0));
                ASSERT_EQ(state.parse(), -1) << pattern;
            }
        }
        EXPECT_GT(invalid, 0);
    }
}

}  // namespace
}  // namespace tvktest
