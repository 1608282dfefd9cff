// SPDX-License-Identifier: BSD-2-Clause
// Each transform kernel against the scalar reference, on both lanes.
#include <array>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "idct_blocks.h"
#include "mpeg12/p4idct/exact.h"
#include "mpeg12/p4idct/fast.h"
#include "mpeg12/p4idct/float.h"
#include "mpeg12/p4idct/half.h"
#include "mpeg12/p4idct/quarter.h"
#include "reference/idct_reference.h"

namespace tvk {
namespace {

using idct_test::AlignedBlock;
using idct_test::GuardedBlock;
using idct_test::GuardedPixels;
using reference::Block;
using reference::Picture;

constexpr int kStride = GuardedPixels::kStride;
constexpr BlockForm kForms[] = {BlockForm::full, BlockForm::low};
constexpr LineLayout kLayouts[] = {LineLayout::frame, LineLayout::field};

Block singleBlock(int c) {
    Block b{};
    b[0] = static_cast<int16_t>(c);
    return b;
}

template <class L>
struct Idct : testing::Test {};
using Both = testing::Types<PortableLanes, NativeLanes>;
TYPED_TEST_SUITE(Idct, Both);

size_t at(int row, int column, int width = 8) {
    return static_cast<size_t>(width * row + column);
}

TYPED_TEST(Idct, fastStoreMatchesReference) {
    for (const Block &b : idct_test::blocks())
        for (BlockForm form : kForms) {
            const Picture want = reference::fast(b, form == BlockForm::low);
            GuardedPixels dst(8, 8);
            FastIdct<TypeParam>::store(AlignedBlock(b).values, form, dst.at(), kStride);
            dst.expect([&](int r, int c) { return reference::pixel(want[at(r, c)]); });
            if (this->HasFatalFailure()) return;
        }
}

TYPED_TEST(Idct, fastPairInterleavesCbAndCrEachInItsForm) {
    const auto blocks = idct_test::blocks();
    for (size_t i = 0; i + 1 < blocks.size(); i += 3)
        for (BlockForm cbForm : kForms)
            for (BlockForm crForm : kForms) {
                const Picture cb = reference::fast(blocks[i], cbForm == BlockForm::low);
                const Picture cr = reference::fast(blocks[i + 1], crForm == BlockForm::low);
                GuardedPixels dst(16, 8);
                FastIdct<TypeParam>::storePair(AlignedBlock(blocks[i]).values, cbForm,
                                               AlignedBlock(blocks[i + 1]).values, crForm, dst.at(), kStride);
                dst.expect([&](int r, int c) { return reference::pixel((c % 2 == 0 ? cb : cr)[at(r, c / 2)]); });
                if (this->HasFatalFailure()) return;
            }
}

TYPED_TEST(Idct, fastBlocksSideBySideAreEachInTheirForm) {
    auto blocks = idct_test::blocks();
    for (size_t i = 0; i < blocks.size(); i += 5) blocks[i] = singleBlock(blocks[i][0]);
    const auto formsOf = [](size_t i) {
        return i % 5 == 0 ? std::vector{BlockForm::single, BlockForm::low, BlockForm::full}
                          : std::vector{BlockForm::low, BlockForm::full};
    };
    for (size_t i = 0; i + 1 < blocks.size(); i += 3)
        for (BlockForm leftForm : formsOf(i))
            for (BlockForm rightForm : formsOf(i + 1)) {
                const Picture left = reference::fast(blocks[i], leftForm == BlockForm::low);
                const Picture right = reference::fast(blocks[i + 1], rightForm == BlockForm::low);
                GuardedPixels dst(16, 8);
                FastIdct<TypeParam>::storeTwo(AlignedBlock(blocks[i]).values, leftForm,
                                              AlignedBlock(blocks[i + 1]).values, rightForm, dst.at(), kStride);
                dst.expect([&](int r, int c) { return reference::pixel((c < 8 ? left : right)[at(r, c % 8)]); });
                if (this->HasFatalFailure()) return;
            }
}

TYPED_TEST(Idct, fastResidualMatchesReferenceInPlace) {
    for (const Block &b : idct_test::blocks())
        for (BlockForm form : kForms)
            for (int distance : {8, 16}) {
                GuardedBlock block(b, distance);
                FastIdct<TypeParam>::residual(block.at(), form, distance);
                block.expect(reference::fast(b, form == BlockForm::low));
                if (this->HasFatalFailure()) return;
            }
}

TYPED_TEST(Idct, fastLowFormReadsTheCornerAlone) {
    for (const Block &b : idct_test::blocks()) {
        Block other = b;
        for (int r = 0; r < 8; ++r)
            for (int c = 0; c < 8; ++c)
                if (r >= 4 || c >= 4) other[at(r, c)] = static_cast<int16_t>(~other[at(r, c)]);
        GuardedPixels dst(8, 8);
        FastIdct<TypeParam>::store(AlignedBlock(other).values, BlockForm::low, dst.at(), kStride);
        const Picture want = reference::fast(b, true);
        dst.expect([&](int r, int c) { return reference::pixel(want[at(r, c)]); });
        if (this->HasFatalFailure()) return;
    }
}

TYPED_TEST(Idct, allZeroBlockGivesZero) {
    for (const Picture &want : {reference::fast(Block{}, false), reference::exact(Block{})})
        for (int v : want) EXPECT_EQ(v, 0);
    GuardedPixels fast(8, 8), exact(8, 8), single(8, 8);
    AlignedBlock zero(Block{});
    FastIdct<TypeParam>::store(zero.values, BlockForm::full, fast.at(), kStride);
    ExactIdct<TypeParam>::store(zero.values, BlockForm::full, exact.at(), kStride);
    FloatIdct<TypeParam>::store(zero.values, single.at(), kStride);
    for (const GuardedPixels *dst : {&fast, &exact, &single}) dst->expect([](int, int) { return 0; });
}

TYPED_TEST(Idct, fastSingleValueIsFlatInEveryForm) {
    for (int c = -32768; c <= 32767; ++c) {
        const AlignedBlock block(singleBlock(c));
        const int flat = std::min(c + 8, 32767) >> 4;
        for (BlockForm form : {BlockForm::full, BlockForm::low, BlockForm::single}) {
            GuardedBlock residual(singleBlock(c), 8);
            FastIdct<TypeParam>::residual(residual.at(), form, 8);
            for (int i = 0; i < 64; ++i) ASSERT_EQ(residual.at()[i], flat) << c;
        }
        alignas(16) uint8_t pixels[64];
        FastIdct<TypeParam>::store(block.values, BlockForm::single, pixels, 8);
        for (uint8_t p : pixels) ASSERT_EQ(p, reference::pixel(flat)) << c;
    }
}

TYPED_TEST(Idct, fastPairTakesSingleBlocksInAnyMix) {
    const Block dense = idct_test::blocks()[1];
    for (int c : {-500, 0, 7, 8, 1000, 5000})
        for (int mix = 0; mix < 3; ++mix) {
            const Block cb = mix == 1 ? dense : singleBlock(c), cr = mix == 2 ? dense : singleBlock(-c);
            GuardedPixels got(16, 8), want(16, 8);
            FastIdct<TypeParam>::storePair(AlignedBlock(cb).values, mix == 1 ? BlockForm::full : BlockForm::single,
                                           AlignedBlock(cr).values, mix == 2 ? BlockForm::full : BlockForm::single,
                                           got.at(), kStride);
            FastIdct<TypeParam>::storePair(AlignedBlock(cb).values, BlockForm::full, AlignedBlock(cr).values,
                                           BlockForm::full, want.at(), kStride);
            EXPECT_EQ(std::memcmp(got.bytes, want.bytes, sizeof got.bytes), 0);
        }
}

TYPED_TEST(Idct, saturationShowsInThePixel) {
    Block b{};
    b[0] = 32767;            // u = 0: the first sum of pass 1 saturates...
    b[32] = 32767;           // u = 4
    b[16] = b[48] = -16000;  // u = 2, 6: ...and what is taken away again meets the limit, not the true sum
    GuardedPixels dst(8, 8);
    FastIdct<TypeParam>::store(AlignedBlock(b).values, BlockForm::full, dst.at(), kStride);
    const int unsaturated = reference::pixel((32767 + 32767 - 32000 + 8) >> 4);
    const Picture want = reference::fast(b, false);
    EXPECT_EQ(dst.at()[0], reference::pixel(want[0]));
    EXPECT_NE(dst.at()[0], unsaturated);
}

TYPED_TEST(Idct, exactRowTableIsItsFormula) {
    constexpr int pairs[4][2] = {{0, 2}, {4, 6}, {1, 3}, {5, 7}};
    for (int row = 0; row < 8; ++row)
        for (int pair = 0; pair < 4; ++pair)
            for (int j = 0; j < 8; ++j)
                EXPECT_EQ(kExactRowTable[kExactRowLine[row]][pair][j],
                          reference::exactFactor(row, j / 2, pairs[pair][j % 2]))
                    << row << ' ' << pair << ' ' << j;
}

TYPED_TEST(Idct, exactStoreMatchesReferenceAndLeavesItsRows) {
    for (const Block &b : idct_test::blocks()) {
        const Picture want = reference::exact(b);
        const Block rows = reference::exactRows(b);
        AlignedBlock block(b);
        GuardedPixels dst(8, 8);
        ExactIdct<TypeParam>::store(block.values, BlockForm::full, dst.at(), kStride);
        dst.expect([&](int r, int c) { return reference::pixel(want[at(r, c)]); });
        ASSERT_EQ(std::memcmp(block.values, rows.data(), sizeof block.values), 0);
        if (this->HasFatalFailure()) return;
    }
}

TYPED_TEST(Idct, exactBlocksSideBySideLeaveTheirRows) {
    auto blocks = idct_test::blocks();
    for (size_t i = 0; i < blocks.size(); i += 3) blocks[i] = singleBlock(blocks[i][0]);
    const auto formsOf = [](size_t i) {
        return i % 3 == 0 ? std::vector{BlockForm::single, BlockForm::full} : std::vector{BlockForm::full};
    };
    for (size_t i = 0; i + 1 < blocks.size(); ++i)
        for (BlockForm leftForm : formsOf(i))
            for (BlockForm rightForm : formsOf(i + 1)) {
                const Picture left = reference::exact(blocks[i]), right = reference::exact(blocks[i + 1]);
                AlignedBlock a(blocks[i]), b(blocks[i + 1]);
                GuardedPixels dst(16, 8);
                ExactIdct<TypeParam>::storeTwo(a.values, leftForm, b.values, rightForm, dst.at(), kStride);
                dst.expect([&](int r, int c) { return reference::pixel((c < 8 ? left : right)[at(r, c % 8)]); });
                // A single block keeps but its first row's pass, that of the others being zeros.
                ASSERT_EQ(std::memcmp(a.values, reference::exactRows(blocks[i]).data(), sizeof a.values), 0);
                ASSERT_EQ(std::memcmp(b.values, reference::exactRows(blocks[i + 1]).data(), sizeof b.values), 0);
                if (this->HasFatalFailure()) return;
            }
}

TYPED_TEST(Idct, exactPairInterleavesCbAndCr) {
    const auto blocks = idct_test::blocks();
    for (size_t i = 0; i + 1 < blocks.size(); ++i) {
        const Picture cb = reference::exact(blocks[i]), cr = reference::exact(blocks[i + 1]);
        GuardedPixels dst(16, 8);
        ExactIdct<TypeParam>::storePair(AlignedBlock(blocks[i]).values, BlockForm::full,
                                        AlignedBlock(blocks[i + 1]).values, BlockForm::full, dst.at(), kStride);
        dst.expect([&](int r, int c) { return reference::pixel((c % 2 == 0 ? cb : cr)[at(r, c / 2)]); });
        if (this->HasFatalFailure()) return;
    }
}

TYPED_TEST(Idct, exactResidualMatchesReferenceInPlace) {
    for (const Block &b : idct_test::blocks())
        for (int distance : {8, 16}) {
            GuardedBlock block(b, distance);
            ExactIdct<TypeParam>::residual(block.at(), BlockForm::full, distance);
            block.expect(reference::exact(b));
            if (this->HasFatalFailure()) return;
        }
}

TYPED_TEST(Idct, exactSingleValueEqualsTheFullForm) {
    for (int c = -32768; c <= 32767; ++c) {
        AlignedBlock full(singleBlock(c)), single(singleBlock(c));
        alignas(16) uint8_t want[64], got[64];
        ExactIdct<TypeParam>::store(full.values, BlockForm::full, want, 8);
        ExactIdct<TypeParam>::store(single.values, BlockForm::single, got, 8);
        ASSERT_EQ(std::memcmp(got, want, 64), 0) << c;
        ASSERT_EQ(std::memcmp(full.values, single.values, 128), 0) << c;

        AlignedBlock fullResidual(singleBlock(c)), singleResidual(singleBlock(c));
        ExactIdct<TypeParam>::residual(fullResidual.values, BlockForm::full, 8);
        ExactIdct<TypeParam>::residual(singleResidual.values, BlockForm::single, 8);
        ASSERT_EQ(std::memcmp(fullResidual.values, singleResidual.values, 128), 0) << c;
    }
}

// The plain transform of ISO/IEC 13818-2: the exact form stays within one step of it for ordinary coefficients.
TYPED_TEST(Idct, exactIsCloseToTheRealTransform) {
    constexpr int frequencyAt[8] = {0, 2, 1, 3, 4, 6, 5, 7};
    for (const Block &b : idct_test::blocks()) {
        bool ordinary = true;
        for (int16_t x : b) ordinary = ordinary && x >= -300 && x <= 300;
        if (!ordinary) continue;
        const Picture got = reference::exact(b);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) {
                double sum = 0;
                for (int v = 0; v < 8; ++v)
                    for (int i = 0; i < 8; ++i) {
                        const int u = frequencyAt[i];
                        sum += b[at(v, i)] * (u == 0 ? std::sqrt(0.5) : 1) * (v == 0 ? std::sqrt(0.5) : 1) / 4 *
                               std::cos((2 * x + 1) * u * M_PI / 16) * std::cos((2 * y + 1) * v * M_PI / 16);
                    }
                ASSERT_NEAR(got[at(y, x)], sum, 1.0);
            }
    }
}

TYPED_TEST(Idct, floatStoreMatchesReference) {
    for (const Block &b : idct_test::blocks()) {
        const Picture want = reference::single(b);
        GuardedPixels dst(8, 8);
        FloatIdct<TypeParam>::store(AlignedBlock(b).values, dst.at(), kStride);
        dst.expect([&](int r, int c) { return reference::pixel(want[at(r, c)]); });
        if (this->HasFatalFailure()) return;
    }
}

TYPED_TEST(Idct, floatPairInterleavesCbAndCr) {
    const auto blocks = idct_test::blocks();
    for (size_t i = 0; i + 1 < blocks.size(); i += 2) {
        const Picture cb = reference::single(blocks[i]), cr = reference::single(blocks[i + 1]);
        GuardedPixels dst(16, 8);
        FloatIdct<TypeParam>::storePair(AlignedBlock(blocks[i]).values, AlignedBlock(blocks[i + 1]).values, dst.at(),
                                        kStride);
        dst.expect([&](int r, int c) { return reference::pixel((c % 2 == 0 ? cb : cr)[at(r, c / 2)]); });
        if (this->HasFatalFailure()) return;
    }
}

TYPED_TEST(Idct, floatScaleIsItsFormula) {
    for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 8; ++c)
            EXPECT_EQ(kFloatScale.value[8 * r + c], static_cast<float>(reference::k(r) * reference::k(c) / 8));
}

TYPED_TEST(Idct, halfResidualMatchesReference) {
    for (const Block &b : idct_test::blocks())
        for (BlockForm form : kForms)
            for (LineLayout layout : kLayouts)
                for (int distance : {8, 16}) {
                    const auto want = reference::half(b, form == BlockForm::low, layout == LineLayout::field);
                    GuardedBlock source(b, distance);
                    int16_t residual[40] = {};
                    HalfIdct<TypeParam>::residual({source.at(), form, distance}, layout, residual, distance / 2);
                    for (int i = 0; i < 40; ++i) {
                        const int row = i / (distance / 2), column = i % (distance / 2);
                        ASSERT_EQ(residual[i], row < 4 && column < 4 ? want[at(row, column, 4)] : 0);
                    }
                }
}

// Both blocks of a pair, in each combination of forms and layouts.
template <class Check>
void forEachPair(Check check) {
    const auto blocks = idct_test::blocks();
    for (size_t i = 0; i + 1 < blocks.size(); ++i)
        for (BlockForm a : kForms)
            for (BlockForm b : kForms)
                for (LineLayout layout : kLayouts) {
                    check(blocks[i], a, blocks[i + 1], b, layout);
                    if (testing::Test::HasFatalFailure()) return;
                }
}

TYPED_TEST(Idct, halfPairsLieSideBySideOrInterleave) {
    forEachPair([](const Block &a, BlockForm aForm, const Block &b, BlockForm bForm, LineLayout layout) {
        const bool field = layout == LineLayout::field;
        const auto left = reference::half(a, aForm == BlockForm::low, field);
        const auto right = reference::half(b, bForm == BlockForm::low, field);
        const AlignedBlock p(a), q(b);
        const BlockSource first{p.values, aForm, 8}, second{q.values, bForm, 8};
        GuardedPixels luma(8, 4), chroma(8, 4);
        HalfIdct<TypeParam>::storePair(first, second, layout, luma.at(), luma.at() + 4, kStride);
        luma.expect([&](int r, int c) { return reference::pixel((c < 4 ? left : right)[at(r, c & 3, 4)]); });
        GuardedPixels alone(4, 4);
        HalfIdct<TypeParam>::store(first, layout, alone.at(), kStride);
        alone.expect([&](int r, int c) { return reference::pixel(left[at(r, c, 4)]); });
        HalfIdct<TypeParam>::storeChroma(first, second, layout, chroma.at(), kStride);
        chroma.expect([&](int r, int c) { return reference::pixel((c % 2 == 0 ? left : right)[at(r, c / 2, 4)]); });
    });
}

TYPED_TEST(Idct, quarterResidualMatchesReference) {
    for (const Block &b : idct_test::blocks())
        for (BlockForm form : kForms)
            for (LineLayout layout : kLayouts) {
                const auto want = reference::quarter(b, form == BlockForm::low, layout == LineLayout::field);
                GuardedBlock source(b, 16);
                int16_t residual[8] = {};
                QuarterIdct<TypeParam>::residual({source.at(), form, 16}, layout, residual, 4);
                for (int i = 0; i < 8; ++i)
                    ASSERT_EQ(residual[i], i % 4 < 2 ? static_cast<int16_t>(want[at(i / 4, i % 4, 2)]) : 0);
            }
}

TYPED_TEST(Idct, quarterPairsLieSideBySideOrInterleave) {
    forEachPair([](const Block &a, BlockForm aForm, const Block &b, BlockForm bForm, LineLayout layout) {
        const bool field = layout == LineLayout::field;
        const auto left = reference::quarter(a, aForm == BlockForm::low, field);
        const auto right = reference::quarter(b, bForm == BlockForm::low, field);
        const AlignedBlock p(a), q(b);
        const BlockSource first{p.values, aForm, 8}, second{q.values, bForm, 8};
        GuardedPixels luma(4, 2), chroma(4, 2);
        QuarterIdct<TypeParam>::storePair(first, second, layout, luma.at(), luma.at() + 2, kStride);
        luma.expect([&](int r, int c) { return reference::pixel((c < 2 ? left : right)[at(r, c & 1, 2)]); });
        GuardedPixels alone(2, 2);
        QuarterIdct<TypeParam>::store(first, layout, alone.at(), kStride);
        alone.expect([&](int r, int c) { return reference::pixel(left[at(r, c, 2)]); });
        QuarterIdct<TypeParam>::storeChroma(first, second, layout, chroma.at(), kStride);
        chroma.expect([&](int r, int c) { return reference::pixel((c % 2 == 0 ? left : right)[at(r, c / 2, 2)]); });
    });
}

TYPED_TEST(Idct, reducedSingleValueEqualsTheOtherForms) {
    for (int c = -32768; c <= 32767; ++c)
        for (LineLayout layout : kLayouts) {
            int16_t half[3][16], quarter[3][4];
            int i = 0;
            for (BlockForm form : {BlockForm::full, BlockForm::low, BlockForm::single}) {
                const AlignedBlock block(singleBlock(c));
                HalfIdct<TypeParam>::residual({block.values, form, 8}, layout, half[i], 4);
                QuarterIdct<TypeParam>::residual({block.values, form, 8}, layout, quarter[i], 2);
                ++i;
            }
            for (int other : {0, 1}) {
                ASSERT_EQ(std::memcmp(half[other], half[2], sizeof half[2]), 0) << c;
                ASSERT_EQ(std::memcmp(quarter[other], quarter[2], sizeof quarter[2]), 0) << c;
            }
        }
}

}  // namespace
}  // namespace tvk
