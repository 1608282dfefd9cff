// SPDX-License-Identifier: BSD-2-Clause
// The quarter-size transform: the 8-point passes in 32 bits, averaged to 2 x 2.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "mpeg12/p4idct/aan.h"
#include "mpeg12/p4idct/half.h"

namespace tvk {

// Only sums of four outputs of a pass are kept, and sums that wrap may be taken in any order. In the names of aan.h,
//     o0 + o1 + o2 + o3 = 4 m0 + d,   o4 + o5 + o6 + o7 = 4 m0 - d,   d = t12 - t10
//     o0 + o2 + o4 + o6 = 4 m0 + d,   o1 + o3 + o5 + o7 = 4 m0 - d,   d = 4 t7 + 2 t11 + t10 - 3 t12
// so that of the even inputs 0 alone counts. What is left of the low pass is the full pass with inputs 5 and 7 of zero,
// as products that round away from zero are odd functions. Lanes are rows in pass 1; in pass 2 the upper and the lower
// line of one block or of two.
template <class L>
struct QuarterIdct {
    using V = typename L::I16x8;
    using W = typename L::I32x4;
    using A = WideArithmetic<L>;

    static void store(const BlockSource &block, LineLayout layout, uint8_t *dst, ptrdiff_t stride) {
        W v, unused;
        values<1>(&block, layout, v, unused);
        uint8_t p[8] = {};
        toPixels(v, v, p);
        std::memcpy(dst, p, 2);
        std::memcpy(dst + stride, p + 2, 2);
    }

    static void storePair(const BlockSource &a, const BlockSource &b, LineLayout layout, uint8_t *dstA, uint8_t *dstB,
                          ptrdiff_t stride) {
        uint8_t p[8] = {};
        pairPixels(a, b, layout, p);
        std::memcpy(dstA, p, 2);
        std::memcpy(dstA + stride, p + 2, 2);
        std::memcpy(dstB, p + 4, 2);
        std::memcpy(dstB + stride, p + 6, 2);
    }

    static void storeChroma(const BlockSource &cb, const BlockSource &cr, LineLayout layout, uint8_t *dst,
                            ptrdiff_t stride) {
        uint8_t p[8] = {};
        pairPixels(cb, cr, layout, p);
        for (int i = 0; i < 4; ++i) {
            uint8_t *at = dst + (i >> 1) * stride + 2 * (i & 1);
            at[0] = p[i];
            at[1] = p[4 + i];
        }
    }

    static void residual(const BlockSource &block, LineLayout layout, int16_t *dst, ptrdiff_t dstRowValues) {
        W v, unused;
        values<1>(&block, layout, v, unused);
        storeResidual(v, dst, dstRowValues);
    }

  private:
    // The odd inputs of pass 1 before their doubling, two to a 32-bit lane.
    struct OddInputs {
        V outer, inner;  // 1, 7 and 3, 5
    };

    static W sum(W a, W b) { return L::addWrap(a, b); }
    static W times4(W a) { return L::template shlWrap<2>(a); }
    static W averageOfFour(W s) { return L::template shrArith<2>(L::addWrap(s, L::splat32(2))); }
    static W shrink(W s) { return averageOfFour(A::template round<5>(s)); }
    static V pairOf(int32_t lower, int32_t upper) {
        return L::asI16(L::splat32(static_cast<int32_t>(static_cast<uint32_t>(upper) << 16 | (lower & 0xFFFF))));
    }

    // Both forms give this for a block of nothing but value 0: the doubled value goes through both passes unchanged.
    static int32_t flat(int16_t c) {
        const int32_t s = 8 * c;
        return (((s + (s < 0 ? -1 : 0) + 16) >> 5) + 2) >> 2;
    }

    // Four pixels of a, four of b.
    static void toPixels(W va, W vb, uint8_t (&p)[8]) {
        const V v = L::packI16Sat(va, vb);
        L::storeHalf(p, L::packU8Sat(v, v));
    }
    static void pairPixels(const BlockSource &a, const BlockSource &b, LineLayout layout, uint8_t (&p)[8]) {
        W va, vb;
        pairValues(a, b, layout, va, vb);
        toPixels(va, vb, p);
    }

    static void storeResidual(W v, int16_t *dst, ptrdiff_t dstRowValues) {
        const W wrapped = L::template shrArith<16>(L::template shlWrap<16>(v));
        alignas(16) int16_t p[8];
        L::storeA(p, L::packI16Sat(wrapped, wrapped));
        std::memcpy(dst, p, 4);
        std::memcpy(dst + dstRowValues, p + 2, 4);
    }

    // Results: upper left, upper right, lower left, lower right, before any clamp.
    static void pairValues(const BlockSource &a, const BlockSource &b, LineLayout layout, W &va, W &vb) {
        if (a.form == b.form) {
            const BlockSource both[2] = {a, b};
            values<2>(both, layout, va, vb);
        } else {
            W unused;
            values<1>(&a, layout, va, unused);
            values<1>(&b, layout, vb, unused);
        }
    }

    // `count` blocks of one form.
    template <int count>
    static void values(const BlockSource *blocks, LineLayout layout, W &va, W &vb) {
        constexpr int b = count - 1;
        if (blocks[0].form == BlockForm::single) {
            va = L::splat32(flat(blocks[0].values[0]));
            vb = L::splat32(flat(blocks[b].values[0]));
            return;
        }
        W m[4], zero;  // rows 1, 3, 5, 7; row 0
        if (blocks[0].form == BlockForm::low) {
            lowLines(blocks[0], layout, m[0], m[1]);
            if constexpr (count == 2) lowLines(blocks[b], layout, m[2], m[3]);
            pairLanes<count>(m);
            zero = m[2];
            m[2] = m[3] = L::zero32();
        } else {
            oddLines(blocks[0], layout, m[0], m[1]);
            if constexpr (count == 2) oddLines(blocks[b], layout, m[2], m[3]);
            pairLanes<count>(m);
            zero = zeroLines(blocks[0], blocks[b], layout);
        }
        const W d = neighbourSum(m[0], m[1], m[2], m[3]);
        const W left = shrink(sum(times4(zero), d)), right = shrink(L::subWrap(times4(zero), d));
        va = L::interleaveLow32(left, right);
        vb = L::interleaveHigh32(left, right);
    }

    // From a register for each line to a register for each row.
    template <int count>
    static void pairLanes(W (&m)[4]) {
        if constexpr (count == 1) {
            m[2] = m[0];
            m[3] = m[1];
        }
        transpose4x4<L>(m);
    }

    // o0 + o1 + o2 + o3 - 4 m0
    static W neighbourSum(W m1, W m3, W m5, W m7) {
        const W z10 = L::subWrap(m5, m3), z12 = L::subWrap(m1, m7);
        const W z5 = A::byTop(sum(z10, z12));
        return L::subWrap(sum(z5, z5), sum(A::byOuter(z10), A::byInner(z12)));
    }

    // A line above and a line below of 4 rows. Inputs are of 16 bits, and so products fit 32 whole when both the
    // doubling and the factors of two of the even constants stay in the shift: 2^17 * 15137 < 2^31.
    static void lines(const OddInputs &in, W zero, LineLayout layout, W &upper, W &lower) {
        const auto by = [](V pairs, int32_t a, int32_t b) { return L::maddPairs(pairs, pairOf(a, b)); };
        const W z5 = A::template round<12>(sum(by(in.outer, 15137, -15137), by(in.inner, -15137, 15137)));
        const W t12 = sum(A::template round<12>(by(in.inner, 21407, -21407)), z5);
        const W t10 = L::subWrap(A::template round<13>(by(in.outer, 17734, -17734)), z5);
        W d = L::subWrap(t12, t10);
        if (layout == LineLayout::frame) {
            const W t11 = A::template round<12>(sum(by(in.outer, 11585, 11585), by(in.inner, -11585, -11585)));
            const W t7 = sum(by(in.outer, 2, 2), by(in.inner, 2, 2));
            d = L::subWrap(sum(times4(t7), sum(t11, t11)), sum(d, sum(t12, t12)));
        }
        upper = averageOfFour(sum(times4(zero), d));
        lower = averageOfFour(L::subWrap(times4(zero), d));
    }

    // c[n]: values 2 n, 2 n + 1 of four rows.
    static void rowLines(const W (&c)[4], LineLayout layout, W &upper, W &lower) {
        const V high = pairOf(0, -1);
        const auto odd = [&](W first, W second) {
            return L::bitOr(L::asI16(L::template shrLogical<16>(first)), L::bitAnd(L::asI16(second), high));
        };
        lines({odd(c[0], c[3]), odd(c[1], c[2])}, twiceFirst(c[0]), layout, upper, lower);
    }
    static W twiceFirst(W c) { return L::template shrArith<15>(L::template shlWrap<16>(c)); }

    // Of rows 1, 3, 5, 7.
    static void oddLines(const BlockSource &block, LineLayout layout, W &upper, W &lower) {
        W c[4];
        for (int i = 0; i < 4; ++i) c[i] = L::asI32(L::loadA(block.row(2 * i + 1)));
        transpose4x4<L>(c);
        rowLines(c, layout, upper, lower);
    }

    // Of row 0 of two blocks: upper and lower of a, upper and lower of b.
    static W zeroLines(const BlockSource &a, const BlockSource &b, LineLayout layout) {
        const W p = L::asI32(L::loadA(a.row(0))), q = L::asI32(L::loadA(b.row(0)));
        const W c0 = L::interleaveLow32(p, q), c2 = L::interleaveHigh32(p, q);
        W upper, lower;
        rowLines({c0, L::interleaveHigh64(c0, c0), c2, L::interleaveHigh64(c2, c2)}, layout, upper, lower);
        return L::interleaveLow32(upper, lower);
    }

    // Of rows 1, 3, 0 and, for want of a fourth, 0 again.
    static void lowLines(const BlockSource &block, LineLayout layout, W &upper, W &lower) {
        const W r0 = L::asI32(L::loadHalf(block.row(0)));
        const W odd = L::interleaveLow32(L::asI32(L::loadHalf(block.row(1))), L::asI32(L::loadHalf(block.row(3))));
        const W even = L::interleaveLow32(r0, r0);
        const W c0 = L::interleaveLow64(odd, even), c1 = L::interleaveHigh64(odd, even);
        lines({L::asI16(L::template shrLogical<16>(c0)), L::asI16(L::template shrLogical<16>(c1))}, twiceFirst(c0),
              layout, upper, lower);
    }
};

}  // namespace tvk
