// SPDX-License-Identifier: BSD-2-Clause
// The three coefficient decoders against the obvious form, on random macroblocks of valid codes.
#include <string>

#include "mpeg12/coefficient_fixture.h"

namespace tvktest {
namespace {

// Codes of the table and escapes, at scan positions below 64.
void putRandomBlock(BitWriter &w, Random &random, const CoefficientCase &c) {
    int last = -1;
    if (c.intra) {
        last = 0;
    } else if (random.coin()) {
        w.put(2, random.coin() ? 2 : 3);
        last = 0;
    }
    const uint32_t longest = random.chance(20) ? 64 : 6;
    for (uint32_t n = random.below(longest); n > 0; --n) {
        if (random.chance(15)) {
            const int run = random.range(0, 63);
            if (last + run + 1 > 63) break;
            const int limit = random.coin() ? 40 : c.mpeg1 ? 255 : 2047;
            putEscape(w, c.mpeg1, run, random.chance(5) ? 0 : random.range(-limit, limit));
            last += run + 1;
        } else {
            // A code that is the first one's in disguise cannot begin a non-intra block.
            const auto &codes = c.table->codes;
            const CoefficientCode &code = codes[random.below(static_cast<uint32_t>(codes.size()))];
            if (last + code.run + 1 > 63) continue;
            if (last < 0 && code.code >> (code.length - 1) == 1) continue;
            put(w, code);
            last += code.run + 1;
        }
    }
    if (last < 0) return putEscape(w, c.mpeg1, 1, 3), putEnd(w, c.tableOne);  // "10" would be a first coefficient
    putEnd(w, c.tableOne);
}

void putRandomDc(BitWriter &w, Random &random, const CoefficientCase &c, int block) {
    const auto &list = *c.dcSize[block < 4 ? 0 : 1];
    const reference::SizeCode &size = list[random.below(static_cast<uint32_t>(list.size()))];
    w.put(static_cast<uint32_t>(size.length), size.code);
    w.put(static_cast<uint32_t>(size.size), static_cast<uint32_t>(random.next()));
}

void randomise(CoefficientState &state, Random &random) {
    constexpr std::array<int, 3> kBlocks = {6, 8, 12};
    CoefficientCase &c = state.c;
    c.mpeg1 = random.chance(25);
    c.intra = random.coin();
    c.fieldPicture = !c.mpeg1 && random.chance(30);
    c.fieldDct = !c.mpeg1 && !c.fieldPicture && random.coin();
    c.alternate = !c.mpeg1 && random.coin();
    c.blocks = c.mpeg1 ? 6 : kBlocks[random.below(3)];
    c.dcPrecision = c.mpeg1 ? 0 : random.range(0, 3);
    c.coded = c.intra ? 0xFFF00000 : static_cast<uint32_t>(random.next()) & ~(0xFFFFFFFFU >> c.blocks);
    state.intraVlc = !c.mpeg1 && random.coin();
    state.nonLinear = !c.mpeg1 && random.coin();
    state.scaleCode = random.range(1, 31);
    const bool extreme = random.chance(20);
    for (auto &matrix : c.weight)
        for (int &weight : matrix) weight = extreme ? 255 : random.range(1, 255);
    for (int &predictor : state.dc) predictor = random.range(-3000, 3000);
}

std::string describe(const CoefficientState &s) {
    std::string text;
    for (int v : {s.c.mpeg1 ? 1 : 2, int{s.c.intra}, int{s.c.fieldPicture}, int{s.c.fieldDct}, int{s.c.alternate},
                  s.c.blocks, s.c.dcPrecision, s.scaleCode})
        text += std::to_string(v) + ' ';
    return text;
}

void expectSame(const CoefficientState &state, const reference::CoefficientResult &want) {
    const CoefficientCase &c = state.c;
    const int values = c.form != Form::compact ? 64 * c.blocks : (c.fieldDct || c.fieldPicture ? 2 : 1) * c.blocks;
    for (int i = 0; i < values; ++i)
        ASSERT_EQ(state.worker->blocks[i], want.values[static_cast<size_t>(i)]) << "value " << i;
    const uint32_t coded = c.coded & ~(0xFFFFFFFFU >> c.blocks);
    if (c.form != Form::compact) {
        ASSERT_EQ(state.worker->lowBlockMask & coded, want.low & coded);
    }
    if (!c.intra) return;
    for (size_t i = 0; i < 3; ++i) ASSERT_EQ(state.worker->dcPredictor[i], want.dc[i]) << "predictor " << i;
}

// One worker for all macroblocks: what the last one left must not show in the next.
void runRandom(Form form, uint64_t seed) {
    Random random(seed);
    CoefficientState state(form);
    for (int n = 0; n < 1500; ++n) {
        randomise(state, random);
        state.apply();
        BitWriter w;
        w.put(random.below(32), 0xFFFFFFFF);
        const int64_t start = lengthOf(w);
        for (int i = 0; i < state.c.blocks; ++i) {
            if (!(state.c.coded << i & 0x80000000U)) continue;
            if (state.c.intra) putRandomDc(w, random, state.c, i);
            putRandomBlock(w, random, state.c);
        }
        const int64_t length = lengthOf(w);
        w.put(32, 0xFFFFFFFF);
        state.load(w);
        state.worker->reader.bitPosition = 31 - static_cast<int32_t>(start);
        tvk::openWindow(state.worker->bits, state.worker->reader);
        reference::BitString bits{&w.bytes, start};
        const reference::CoefficientResult want = reference::decodeMacroblock(bits, state.c, state.dc);
        SCOPED_TRACE(describe(state));
        ASSERT_EQ(bits.at, length);
        ASSERT_EQ(state.parse(), 0);
        ASSERT_EQ(state.consumed(), length);
        expectSame(state, want);
        if (testing::Test::HasFatalFailure()) return;
    }
}

TEST(Coefficients, fastAgreesWithTheObviousForm) {
    runRandom(Form::fast, 1);
}
TEST(Coefficients, preciseAgreesWithTheObviousForm) {
    runRandom(Form::precise, 2);
}
TEST(Coefficients, compactAgreesWithTheObviousForm) {
    runRandom(Form::compact, 3);
}

// Every code of both tables, alone behind a first value.
TEST(Coefficients, everyCodeOfBothTablesIsDecoded) {
    for (const Form form : {Form::fast, Form::precise, Form::compact})
        for (int variant = 0; variant < 3; ++variant) {
            CoefficientState state(form);
            state.c.intra = variant > 0;
            state.intraVlc = variant == 2;
            state.c.coded = state.c.intra ? 0xFFF00000 : 0x80000000;
            state.c.fieldPicture = true;
            state.c.alternate = true;
            for (const CoefficientCode &code : codeTable(state.intraVlc).codes) {
                state.apply();
                BitWriter w;
                for (int i = 0; i < (state.c.intra ? 6 : 1); ++i) {
                    if (state.c.intra)
                        w.put(i < 4 ? 3 : 2, i < 4 ? 4 : 0);  // size 0
                    else
                        w.put(2, 2);
                    put(w, code);
                    putEnd(w, state.intraVlc);
                }
                reference::BitString bits{&w.bytes};
                const reference::CoefficientResult want = reference::decodeMacroblock(bits, state.c, state.dc);
                ASSERT_EQ(state.parse(w), 0);
                ASSERT_EQ(state.consumed(), lengthOf(w));
                SCOPED_TRACE("run " + std::to_string(code.run) + " level " + std::to_string(code.level));
                expectSame(state, want);
                if (HasFatalFailure()) return;
            }
        }
}

// The window's word boundaries: the same macroblock from each of 32 bit positions.
TEST(Coefficients, anyBitPositionGivesTheSameValues) {
    CoefficientState state(Form::fast);
    state.c.coded = 0x80000000;
    state.apply();
    for (uint32_t shift = 0; shift < 32; ++shift) {
        BitWriter w;
        w.put(shift, 0);
        w.put(2, 2);
        for (int n = 0; n < 5; ++n) putEscape(w, false, n, 100 + n);
        putEnd(w);
        state.load(w);
        state.worker->reader.bitPosition = 31 - static_cast<int32_t>(shift);
        tvk::openWindow(state.worker->bits, state.worker->reader);
        reference::BitString bits{&w.bytes, shift};
        const reference::CoefficientResult want = reference::decodeMacroblock(bits, state.c, state.dc);
        ASSERT_EQ(state.parse(), 0);
        expectSame(state, want);
    }
}

}  // namespace
}  // namespace tvktest
