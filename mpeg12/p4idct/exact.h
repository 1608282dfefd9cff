// SPDX-License-Identifier: BSD-2-Clause
// The exact full-size transform: 32-bit rows with the column scale in their factors, 16-bit columns.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/lanes.h"
#include "mpeg12/p4idct/form.h"
#include "mpeg12/p4idct/pixel_rows.h"

namespace tvk {

// Factors of the row pass, +-round(16384 * k(row) * k(n)) with k(0) = 1, k(n) = sqrt(2) * cos(n * pi / 16), so that
// each row arrives at the column pass scaled by k(row). Line by rows 0 and 4, 1 and 7, 2 and 6, 3 and 5; then by input
// pairs, memory columns 0 1, 4 5, 2 3, 6 7; eight values are four outputs' pairs.
alignas(16) inline constexpr int16_t kExactRowTable[4][4][8] = {
    {{16384, 21407, 16384, 8867, 16384, -8867, 16384, -21407},
     {16384, 8867, -16384, -21407, -16384, 21407, 16384, -8867},
     {22725, 19266, 19266, -4520, 12873, -22725, 4520, -12873},
     {12873, 4520, -22725, -12873, 4520, 19266, 19266, -22725}},
    {{22725, 29692, 22725, 12299, 22725, -12299, 22725, -29692},
     {22725, 12299, -22725, -29692, -22725, 29692, 22725, -12299},
     {31521, 26722, 26722, -6270, 17855, -31521, 6270, -17855},
     {17855, 6270, -31521, -17855, 6270, 26722, 26722, -31521}},
    {{21407, 27969, 21407, 11585, 21407, -11585, 21407, -27969},
     {21407, 11585, -21407, -27969, -21407, 27969, 21407, -11585},
     {29692, 25172, 25172, -5906, 16819, -29692, 5906, -16819},
     {16819, 5906, -29692, -16819, 5906, 25172, 25172, -29692}},
    {{19266, 25172, 19266, 10426, 19266, -10426, 19266, -25172},
     {19266, 10426, -19266, -25172, -19266, 25172, 19266, -10426},
     {26722, 22654, 22654, -5315, 15137, -26722, 5315, -15137},
     {15137, 5315, -26722, -15137, 5315, 22654, 22654, -26722}},
};
inline constexpr int kExactRowLine[8] = {0, 1, 2, 3, 0, 3, 2, 1};

// Coefficients are plain F(u, v) in row v; columns hold u = 0, 2, 1, 3, 4, 6, 5, 7, which brings the pairs together.
template <class L>
struct ExactIdct {
    using V = typename L::I16x8;
    using W = typename L::I32x4;
    using B = typename L::U8x16;

    // A row of zeros gives zeros ((0 + 2048) >> 12), so the lower half, mostly empty, is tested and left out.
    // `At` is a pointer or, in paired lanes, two.
    template <class At>
    static void rowPass(At block, ptrdiff_t rowValues, V (&m)[8]) {
        for (int i = 0; i < 8; ++i) m[i] = L::loadA(block + i * rowValues);
        const bool lower = !L::allZero(L::bitOr(L::bitOr(m[4], m[5]), L::bitOr(m[6], m[7])));
        for (int i = 0; i < 4; ++i) m[i] = rowTransform(m[i], kExactRowTable[kExactRowLine[i]]);
        if (!lower) return;
        for (int i = 4; i < 8; ++i) m[i] = rowTransform(m[i], kExactRowTable[kExactRowLine[i]]);
    }

    // The biases 1, 16 and 15 and the lowest bit set in c and e are the transform's rounding.
    static void columnPass(V (&r)[8]) {
        const V tan1 = L::splat16(13036);   // tan(pi / 16) * 2^16
        const V tan2 = L::splat16(27146);   // tan(2 pi / 16) * 2^16
        const V tan3 = L::splat16(-21746);  // (tan(3 pi / 16) - 1) * 2^16
        const V one = L::splat16(1), down = L::splat16(15), up = L::splat16(16);

        const V p = L::addSat(r[3], L::addSat(r[5], L::mulHi(r[5], tan3)));
        const V q = L::subSat(r[5], L::addSat(r[3], L::mulHi(r[3], tan3)));
        const V s = L::addSat(r[1], L::mulHi(r[7], tan1));
        const V d = L::subSat(L::mulHi(r[1], tan1), r[7]);
        const V tp = L::addSat(L::addSat(s, p), one);
        const V a = L::subSat(s, p);
        const V b = L::addSat(L::subSat(d, q), one);
        const V t3 = L::addSat(d, q);
        const V c = byCos4(L::addSat(a, b));
        const V e = byCos4(L::subSat(a, b));

        const V g = L::addSat(r[2], L::mulHi(r[6], tan2));
        const V h = L::subSat(L::mulHi(r[2], tan2), r[6]);
        const V sum = L::addSat(r[0], r[4]), difference = L::subSat(r[0], r[4]);
        const V e0 = L::addSat(L::addSat(sum, g), up);
        const V e3 = L::addSat(L::subSat(sum, g), down);
        const V e1 = L::addSat(L::addSat(difference, h), up);
        const V e2 = L::addSat(L::subSat(difference, h), down);

        r[0] = L::addSat(tp, e0);
        r[7] = L::subSat(e0, tp);
        r[1] = L::addSat(e1, c);
        r[6] = L::subSat(e1, c);
        r[2] = L::addSat(e2, e);
        r[5] = L::subSat(e2, e);
        r[3] = L::addSat(t3, e3);
        r[4] = L::subSat(e3, t3);
        for (V &row : r) row = L::template shrArith<5>(row);
    }

    // A block of nothing but value 0: every column holds 4 c, and row i becomes (4 c + kBias[i]) >> 5.
    static int32_t singleRowPass(int16_t c) { return clamp16(4 * c); }
    static int32_t singleRow(int32_t rowPassed, int i) {
        constexpr int32_t kBias[8] = {17, 17, 14, 15, 15, 16, 15, 15};
        return clamp16(rowPassed + kBias[i]) >> 5;
    }
    static void singleRows(int16_t c, V (&m)[8]) {
        const int32_t passed = singleRowPass(c);
        for (int i = 0; i < 8; ++i) m[i] = L::splat16(singleRow(passed, i));
    }

    // Leaves the row pass in the block, which user callbacks can see.
    static void store(int16_t *block, BlockForm form, uint8_t *dst, ptrdiff_t stride) {
        B p[4];
        pixels<true>(block, form, p);
        PixelRows<L>::store(p, dst, stride);
    }

    // Two luma blocks side by side, each as `store` has it.
    static void storeTwo(int16_t *left, BlockForm leftForm, int16_t *right, BlockForm rightForm, uint8_t *dst,
                         ptrdiff_t stride) {
        if constexpr (kPairs<L>) {
            B p[4], q[4];
            pixelsOfTwo<true>(left, leftForm, right, rightForm, p, q);
            PixelRows<L>::storeSideBySide(p, q, dst, stride);
        } else {
            store(left, leftForm, dst, stride);
            store(right, rightForm, dst + 8, stride);
        }
    }

    // Both chroma components at once; the blocks stay as they are.
    static void storePair(const int16_t *cb, BlockForm cbForm, const int16_t *cr, BlockForm crForm, uint8_t *dst,
                          ptrdiff_t stride) {
        B p[4], q[4];
        pixelsOfTwo<false>(cb, cbForm, cr, crForm, p, q);
        PixelRows<L>::storeInTurns(p, q, dst, stride);
    }

    // In place; rowValues is the distance of the block's rows in values.
    static void residual(int16_t *block, BlockForm form, ptrdiff_t rowValues) {
        V m[8];
        transform<false>(block, form, rowValues, m);
        for (int i = 0; i < 8; ++i) L::storeA(block + i * rowValues, m[i]);
    }

    // Both passes of a full block; `keep` leaves the first one's rows in it.
    template <bool keep, class At>
    static void bothPasses(At block, ptrdiff_t rowValues, V (&m)[8]) {
        rowPass(block, rowValues, m);
        if constexpr (keep)
            for (int i = 0; i < 8; ++i) L::storeA(block + i * rowValues, m[i]);
        columnPass(m);
    }

  private:
    static int32_t clamp16(int32_t x) { return x < -32768 ? -32768 : x > 32767 ? 32767 : x; }

    template <bool keep, class Value>
    static void transform(Value *block, BlockForm form, ptrdiff_t rowValues, V (&m)[8]) {
        if (form != BlockForm::single) return bothPasses<keep>(block, rowValues, m);
        const int16_t c = block[0];
        if constexpr (keep) L::storeA(block, L::splat16(singleRowPass(c)));
        singleRows(c, m);
    }
    template <bool keep, class Value>
    static void pixels(Value *block, BlockForm form, B (&p)[4]) {
        V m[8];
        transform<keep>(block, form, 8, m);
        for (int i = 0; i < 4; ++i) p[i] = L::packU8Sat(m[2 * i], m[2 * i + 1]);
    }

    // Two full blocks go together where lanes come in pairs.
    template <bool keep, class Value>
    static void pixelsOfTwo(Value *a, BlockForm aForm, Value *b, BlockForm bForm, B (&p)[4], B (&q)[4]) {
        if constexpr (kPairs<L>) {
            if (aForm != BlockForm::single && bForm != BlockForm::single) return pairedPixels<keep>(a, b, p, q);
        }
        pixels<keep>(a, aForm, p);
        pixels<keep>(b, bForm, q);
    }
    template <bool keep, class Value>
    static void pairedPixels(Value *a, Value *b, B (&p)[4], B (&q)[4]) {
        using P = typename PairsOf<L>::Lanes;
        typename P::I16x8 m[8];
        ExactIdct<P>::template bothPasses<keep>(typename P::template Places<Value>{a, b}, 8, m);
        for (int i = 0; i < 4; ++i) P::split(P::packU8Sat(m[2 * i], m[2 * i + 1]), p[i], q[i]);
    }

    // Outputs 0..3 are even + odd, 7..4 even - odd, in 32 bits that may wrap.
    static V rowTransform(V x, const int16_t (&table)[4][8]) {
        const W even = L::addWrap(L::addWrap(L::maddPairs(L::template splatUnit32<0>(x), L::loadA(table[0])),
                                             L::maddPairs(L::template splatUnit32<2>(x), L::loadA(table[1]))),
                                  L::splat32(2048));
        const W odd = L::addWrap(L::maddPairs(L::template splatUnit32<1>(x), L::loadA(table[2])),
                                 L::maddPairs(L::template splatUnit32<3>(x), L::loadA(table[3])));
        return L::packI16Sat(L::template shrArith<12>(L::addWrap(even, odd)),
                             L::reverse32(L::template shrArith<12>(L::subWrap(even, odd))));
    }
    // cos(pi / 4), whose factor in 16 bits stands for cos(pi / 4) - 1
    static V byCos4(V x) { return L::bitOr(L::addSat(x, L::mulHi(x, L::splat16(-19195))), L::splat16(1)); }
};

}  // namespace tvk
