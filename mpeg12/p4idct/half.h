// SPDX-License-Identifier: BSD-2-Clause
// The half-size transform: the fast 8-point passes, averaged to 4 x 4.
#pragma once

#include <cstddef>
#include <cstdint>

#include "mpeg12/p4idct/aan.h"
#include "mpeg12/p4idct/form.h"

namespace tvk {

// Which lines of a block are averaged. Blocks whose lines are a frame's pair lines of one parity, so that the smaller
// picture stays interlaced; blocks whose lines are a field's pair neighbours.
enum class LineLayout { frame, field };

// Pass 2 has only four columns a block: two blocks of one form share its eight lanes, and low blocks those of pass 1.
template <class L>
struct HalfIdct {
    using V = typename L::I16x8;
    using B = typename L::U8x16;
    using A = FastArithmetic<L>;

    static void store(const BlockSource &block, LineLayout layout, uint8_t *dst, ptrdiff_t stride) {
        V m[4];
        rows(block, layout, m);
        for (int i = 0; i < 4; ++i) L::storeQuarter(dst + i * stride, L::packU8Sat(m[i], m[i]));
    }

    static void storePair(const BlockSource &a, const BlockSource &b, LineLayout layout, uint8_t *dstA, uint8_t *dstB,
                          ptrdiff_t stride) {
        V m[4];
        pairRows(a, b, layout, m);
        for (int i = 0; i < 4; i += 2) {
            const V p = L::asI16(L::packU8Sat(m[i], m[i + 1]));  // a row of a, one of b, the next of a, the next of b
            L::storeQuarter(dstA + i * stride, L::asU8(p));
            L::storeQuarter(dstB + i * stride, L::asU8(L::template splatUnit32<1>(p)));
            L::storeQuarter(dstA + (i + 1) * stride, L::asU8(L::template splatUnit32<2>(p)));
            L::storeQuarter(dstB + (i + 1) * stride, L::asU8(L::template splatUnit32<3>(p)));
        }
    }

    static void storeChroma(const BlockSource &cb, const BlockSource &cr, LineLayout layout, uint8_t *dst,
                            ptrdiff_t stride) {
        V m[4];
        pairRows(cb, cr, layout, m);
        // Four rows of Cb, four rows of Cr.
        const B p = L::packU8Sat(L::interleaveLow64(m[0], m[1]), L::interleaveLow64(m[2], m[3]));
        const B q = L::packU8Sat(L::interleaveHigh64(m[0], m[1]), L::interleaveHigh64(m[2], m[3]));
        storeRows(L::interleaveLow8(p, q), L::interleaveHigh8(p, q), dst, stride);
    }

    static void residual(const BlockSource &block, LineLayout layout, int16_t *dst, ptrdiff_t dstRowValues) {
        V m[4];
        rows(block, layout, m);
        for (int i = 0; i < 4; ++i) L::storeHalf(dst + i * dstRowValues, m[i]);
    }

  private:
    static int32_t clamp16(int32_t x) { return x < -32768 ? -32768 : x > 32767 ? 32767 : x; }

    // Both forms give this for a block of nothing but value 0.
    static int32_t flat(int16_t c) {
        const int32_t y = clamp16(clamp16(2 * c) + 1) >> 1;
        return clamp16(clamp16(2 * y) + 16) >> 5;
    }

    static void storeRows(B upper, B lower, uint8_t *dst, ptrdiff_t stride) {
        L::storeHalf(dst, upper);
        L::storeHighHalf(dst + stride, upper);
        L::storeHalf(dst + 2 * stride, lower);
        L::storeHighHalf(dst + 3 * stride, lower);
    }

    // Rows of 4 values in the lower lanes.
    static void rows(const BlockSource &block, LineLayout layout, V (&out)[4]) {
        V m[8], y[4];
        if (block.form == BlockForm::single) {
            out[0] = out[1] = out[2] = out[3] = L::splat16(flat(block.values[0]));
            return;
        }
        if (block.form == BlockForm::low) {
            for (int i = 0; i < 4; ++i) m[i] = L::loadHalf(block.row(i));
            aanLowPass<A>(m);
            averageColumns(m, y);
            toLines(y, m);
            aanLowPass<A>(m);
        } else {
            fullColumns(block, y);
            toLines(y, m);
            aanPass<A>(m);
        }
        averageLines(m, layout, out);
    }

    // Rows of 4 values, a's in the lower lanes and b's in the upper.
    static void pairRows(const BlockSource &a, const BlockSource &b, LineLayout layout, V (&out)[4]) {
        V m[8], y[4];
        if (a.form != b.form || a.form == BlockForm::single) {
            rows(a, layout, out);
            rows(b, layout, y);
            for (int i = 0; i < 4; ++i) out[i] = L::interleaveLow64(out[i], y[i]);
            return;
        }
        if (a.form == BlockForm::low) {
            for (int i = 0; i < 4; ++i) m[i] = L::interleaveLow64(L::loadHalf(a.row(i)), L::loadHalf(b.row(i)));
            aanLowPass<A>(m);
            averageColumns(m, y);
            toLines(y, m);
            for (int i = 0; i < 4; ++i) m[i] = L::interleaveLow64(m[i], m[i + 4]);
            aanLowPass<A>(m);
        } else {
            V z[4];
            fullColumns(a, y);
            fullColumns(b, z);
            for (int i = 0; i < 4; ++i) {
                m[i] = y[i];
                m[i + 4] = z[i];
            }
            transpose8x8<L>(m);
            aanPass<A>(m);
        }
        averageLines(m, layout, out);
    }

    // Pass 1 of a full block, a lane for each vertical frequency.
    static void fullColumns(const BlockSource &block, V (&y)[4]) {
        V m[8];
        for (int i = 0; i < 8; ++i) m[i] = L::loadA(block.row(i));
        aanPass<A>(m);
        averageColumns(m, y);
    }

    // (o + o' + 1) >> 1
    static void averageColumns(const V (&m)[8], V (&y)[4]) {
        const V one = L::splat16(1);
        for (int i = 0; i < 4; ++i) y[i] = L::template shrArith<1>(L::addSat(L::addSat(m[2 * i], m[2 * i + 1]), one));
    }

    // y lane c becomes m[c] lane 0..3.
    static void toLines(const V (&y)[4], V (&m)[8]) {
        const V a0 = L::interleaveLow16(y[0], y[1]), a1 = L::interleaveHigh16(y[0], y[1]);
        const V a2 = L::interleaveLow16(y[2], y[3]), a3 = L::interleaveHigh16(y[2], y[3]);
        m[0] = L::interleaveLow32(a0, a2);
        m[2] = L::interleaveHigh32(a0, a2);
        m[4] = L::interleaveLow32(a1, a3);
        m[6] = L::interleaveHigh32(a1, a3);
        for (int i = 0; i < 8; i += 2) m[i + 1] = L::interleaveHigh64(m[i], m[i]);
    }

    static void averageLines(const V (&m)[8], LineLayout layout, V (&out)[4]) {
        if (layout == LineLayout::frame) {
            for (int i = 0; i < 4; ++i) {
                const int first = (i & 1) + 2 * (i & 2);
                out[i] = average(m[first], m[first + 2]);
            }
        } else {
            for (int i = 0; i < 4; ++i) out[i] = average(m[2 * i], m[2 * i + 1]);
        }
    }
    static V average(V a, V b) { return L::template shrArith<5>(L::addSat(L::addSat(a, b), L::splat16(16))); }
};

}  // namespace tvk
