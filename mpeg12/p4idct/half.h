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

template <class L>
struct HalfIdct {
    using V = typename L::I16x8;
    using B = typename L::U8x16;
    using A = FastArithmetic<L>;

    // Rows of 4 values in the lower lanes.
    static void rows(const int16_t *block, BlockForm form, LineLayout layout, ptrdiff_t rowValues, V (&out)[4]) {
        if (form == BlockForm::single) {
            out[0] = out[1] = out[2] = out[3] = L::splat16(flat(block[0]));
            return;
        }
        V m[8];
        if (form == BlockForm::low) {
            for (int i = 0; i < 4; ++i) m[i] = L::loadHalf(block + i * rowValues);
            aanLowPass<A>(m);
            averageAndTranspose(m);
            aanLowPass<A>(m);
        } else {
            for (int i = 0; i < 8; ++i) m[i] = L::loadA(block + i * rowValues);
            aanPass<A>(m);
            averageAndTranspose(m);
            aanPass<A>(m);
        }
        const int step = layout == LineLayout::frame ? 2 : 1;
        const int second = layout == LineLayout::frame ? 1 : 2;  // first line of the second row
        out[0] = average(m[0], m[step]);
        out[1] = average(m[second], m[second + step]);
        out[2] = average(m[4], m[4 + step]);
        out[3] = average(m[4 + second], m[4 + second + step]);
    }

    // Both forms give this for a block of nothing but value 0.
    static int32_t flat(int16_t c) {
        const int32_t y = clamp16(clamp16(2 * c) + 1) >> 1;
        return clamp16(clamp16(2 * y) + 16) >> 5;
    }

    static void store(const int16_t *block, BlockForm form, LineLayout layout, uint8_t *dst, ptrdiff_t stride) {
        alignas(16) uint8_t p[16];
        L::storeA(p, pixels(block, form, layout));
        for (int i = 0; i < 4; ++i) L::storeQuarter(dst + i * stride, L::loadQuarter(p + 4 * i));
    }

    static void storePair(const int16_t *cb, BlockForm cbForm, const int16_t *cr, BlockForm crForm, LineLayout layout,
                          uint8_t *dst, ptrdiff_t stride) {
        const B p = pixels(cb, cbForm, layout), q = pixels(cr, crForm, layout);
        const B upper = L::interleaveLow8(p, q), lower = L::interleaveHigh8(p, q);
        L::storeHalf(dst, upper);
        L::storeHighHalf(dst + stride, upper);
        L::storeHalf(dst + 2 * stride, lower);
        L::storeHighHalf(dst + 3 * stride, lower);
    }

    static void residual(const int16_t *block, BlockForm form, LineLayout layout, ptrdiff_t rowValues, int16_t *dst,
                         ptrdiff_t dstRowValues) {
        V m[4];
        rows(block, form, layout, rowValues, m);
        for (int i = 0; i < 4; ++i) L::storeHalf(dst + i * dstRowValues, m[i]);
    }

  private:
    static int32_t clamp16(int32_t x) { return x < -32768 ? -32768 : x > 32767 ? 32767 : x; }

    // Four rows of four pixels.
    static B pixels(const int16_t *block, BlockForm form, LineLayout layout) {
        V m[4];
        rows(block, form, layout, 8, m);
        return L::packU8Sat(L::interleaveLow64(m[0], m[1]), L::interleaveLow64(m[2], m[3]));
    }

    static V average(V a, V b) { return L::template shrArith<5>(L::addSat(L::addSat(a, b), L::splat16(16))); }
    // Horizontal pairs (o + o' + 1) >> 1 make four registers, which become eight of four lanes.
    static void averageAndTranspose(V (&m)[8]) {
        const V one = L::splat16(1);
        V y[4];
        for (int i = 0; i < 4; ++i) y[i] = L::template shrArith<1>(L::addSat(L::addSat(m[2 * i], m[2 * i + 1]), one));
        const V a0 = L::interleaveLow16(y[0], y[1]), a1 = L::interleaveHigh16(y[0], y[1]);
        const V a2 = L::interleaveLow16(y[2], y[3]), a3 = L::interleaveHigh16(y[2], y[3]);
        m[0] = L::interleaveLow32(a0, a2);
        m[2] = L::interleaveHigh32(a0, a2);
        m[4] = L::interleaveLow32(a1, a3);
        m[6] = L::interleaveHigh32(a1, a3);
        for (int i = 0; i < 8; i += 2) m[i + 1] = L::interleaveHigh64(m[i], m[i]);
    }
};

}  // namespace tvk
