// SPDX-License-Identifier: BSD-2-Clause
// The quarter-size transform: the 8-point passes in 32 bits, averaged to 2 x 2.
#pragma once

#include <cstddef>
#include <cstdint>

#include "mpeg12/p4idct/aan.h"
#include "mpeg12/p4idct/half.h"

namespace tvk {

template <class L>
struct QuarterIdct {
    using V = typename L::I16x8;
    using W = typename L::I32x4;
    using A = WideArithmetic<L>;

    // out: upper left, upper right, lower left, lower right, before any clamp.
    static void values(const int16_t *block, BlockForm form, LineLayout layout, ptrdiff_t rowValues,
                       int32_t (&out)[4]) {
        if (form == BlockForm::single) {
            out[0] = out[1] = out[2] = out[3] = flat(block[0]);
            return;
        }
        W m[8];
        if (form == BlockForm::low) {
            lowColumns(block, rowValues, layout, m);
            aanLowPass<A>(m);
        } else {
            columns(block, rowValues, layout, m);
            aanPass<A>(m);
        }
        alignas(16) int32_t left[4], right[4];  // lanes 0 and 1: upper and lower row
        L::storeA(left, shrink(sum(m[0], m[1], m[2], m[3])));
        L::storeA(right, shrink(sum(m[4], m[5], m[6], m[7])));
        out[0] = left[0];
        out[1] = right[0];
        out[2] = left[1];
        out[3] = right[1];
    }

    // Both forms give this for a block of nothing but value 0: the doubled value goes through both passes unchanged.
    static int32_t flat(int16_t c) {
        const int32_t s = 8 * c;
        return (((s + (s < 0 ? -1 : 0) + 16) >> 5) + 2) >> 2;
    }

    // `step` is 1 for luma, 2 for a component of interleaved chroma.
    static void store(const int16_t *block, BlockForm form, LineLayout layout, uint8_t *dst, ptrdiff_t stride,
                      ptrdiff_t step) {
        int32_t v[4];
        values(block, form, layout, 8, v);
        dst[0] = clampPixel(v[0]);
        dst[step] = clampPixel(v[1]);
        dst[stride] = clampPixel(v[2]);
        dst[stride + step] = clampPixel(v[3]);
    }

    static void residual(const int16_t *block, BlockForm form, LineLayout layout, ptrdiff_t rowValues, int16_t *dst,
                         ptrdiff_t dstRowValues) {
        int32_t v[4];
        values(block, form, layout, rowValues, v);
        dst[0] = static_cast<int16_t>(v[0]);
        dst[1] = static_cast<int16_t>(v[1]);
        dst[dstRowValues] = static_cast<int16_t>(v[2]);
        dst[dstRowValues + 1] = static_cast<int16_t>(v[3]);
    }

  private:
    static uint8_t clampPixel(int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

    static W sum(W a, W b, W c, W d) { return L::addWrap(L::addWrap(a, b), L::addWrap(c, d)); }
    static W twice(W a) { return L::template shlWrap<1>(a); }
    static W averageOfFour(W s) { return L::template shrArith<2>(L::addWrap(s, L::splat32(2))); }
    static W shrink(W s) { return averageOfFour(A::template round<5>(s)); }

    // Of the eight lines in m keeps two, the upper and the lower, in m[0] and m[1].
    static void keepTwoLines(LineLayout layout, W (&m)[8]) {
        const bool frame = layout == LineLayout::frame;
        const W upper = frame ? sum(m[0], m[2], m[4], m[6]) : sum(m[0], m[1], m[2], m[3]);
        const W lower = frame ? sum(m[1], m[3], m[5], m[7]) : sum(m[4], m[5], m[6], m[7]);
        m[0] = averageOfFour(upper);
        m[1] = averageOfFour(lower);
    }

    // Lanes 0, 1 of four registers from four lanes of two.
    static void toColumns(W upper, W lower, W *m) {
        W t[4] = {upper, lower, upper, lower};
        transpose4x4<L>(t);
        for (int i = 0; i < 4; ++i) m[i] = t[i];
    }

    // Pass 1 runs along the memory rows, over the vertical frequencies; four rows are four lanes.
    static void columns(const int16_t *block, ptrdiff_t rowValues, LineLayout layout, W (&m)[8]) {
        V r[8];
        for (int i = 0; i < 8; ++i) r[i] = L::loadA(block + i * rowValues);
        transpose8x8<L>(r);
        W low[8], high[8];
        for (int i = 0; i < 8; ++i) {
            low[i] = twice(L::widenLow(r[i]));
            high[i] = twice(L::widenHigh(r[i]));
        }
        aanPass<A>(low);
        aanPass<A>(high);
        keepTwoLines(layout, low);
        keepTwoLines(layout, high);
        toColumns(low[0], low[1], m);
        toColumns(high[0], high[1], m + 4);
    }

    static void lowColumns(const int16_t *block, ptrdiff_t rowValues, LineLayout layout, W (&m)[8]) {
        W t[4];
        for (int i = 0; i < 4; ++i) t[i] = twice(L::widenLow(L::loadHalf(block + i * rowValues)));
        transpose4x4<L>(t);
        for (int i = 0; i < 4; ++i) m[i] = t[i];
        aanLowPass<A>(m);
        keepTwoLines(layout, m);
        toColumns(m[0], m[1], m);
    }
};

}  // namespace tvk
