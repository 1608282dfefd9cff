// SPDX-License-Identifier: BSD-2-Clause
// The fast full-size transform: 16-bit saturating, on transposed blocks of scaled coefficients.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/inline.h"
#include "mpeg12/p4idct/aan.h"
#include "mpeg12/p4idct/form.h"
#include "mpeg12/p4idct/pixel_rows.h"

namespace tvk {

// Coefficients hold 2 * F(u, v) * k(u) * k(v) at 8 * u + v, u the horizontal frequency. So pass 1 runs over u, its
// result is transposed, and pass 2 runs over v; four fractional bits are left at the end.
template <class L>
struct FastIdct {
    using V = typename L::I16x8;
    using B = typename L::U8x16;
    using A = FastArithmetic<L>;

    // Rows of (o + 8) >> 4; rowValues is the distance of the block's rows in values. `At` is a pointer or, in paired
    // lanes, two.
    template <class At>
    static void rows(At block, ptrdiff_t rowValues, V (&m)[8]) {
        for (int i = 0; i < 8; ++i) m[i] = L::loadA(block + i * rowValues);
        aanPass<A>(m);
        transpose8x8<L>(m);
        aanPass<A>(m);
        roundRows(m);
    }

    // The same from the 4 x 4 corner.
    template <class At>
    static void lowRows(At block, ptrdiff_t rowValues, V (&m)[8]) {
        for (int i = 0; i < 4; ++i) m[i] = L::loadHalf(block + i * rowValues);
        aanLowPass<A>(m);
        transpose4Columns(m);
        aanLowPass<A>(m);
        roundRows(m);
    }

    // (c + 8) >> 4 in all 64 places: with one input that is not zero both passes hand it on unchanged.
    static int32_t flat(int16_t c) {
        const int32_t sum = c + 8;
        return (sum > 32767 ? 32767 : sum) >> 4;
    }
    static int32_t flatPixel(int16_t c) {
        const int32_t v = flat(c);
        return v < 0 ? 0 : v > 255 ? 255 : v;
    }

    // p[i] holds rows 2i and 2i + 1 of 8 pixels.
    TVK_INLINE static void pixels(const int16_t *block, BlockForm form, B (&p)[4]) {
        if (form == BlockForm::single) {
            p[0] = p[1] = p[2] = p[3] = L::splat8(flatPixel(block[0]));
            return;
        }
        V m[8];
        if (form == BlockForm::low)
            lowRows(block, 8, m);
        else
            rows(block, 8, m);
        for (int i = 0; i < 4; ++i) p[i] = L::packU8Sat(m[2 * i], m[2 * i + 1]);
    }

    static void store(const int16_t *block, BlockForm form, uint8_t *dst, ptrdiff_t stride) {
        B p[4];
        pixels(block, form, p);
        PixelRows<L>::store(p, dst, stride);
    }

    // Two luma blocks side by side.
    static void storeTwo(const int16_t *left, BlockForm leftForm, const int16_t *right, BlockForm rightForm,
                         uint8_t *dst, ptrdiff_t stride) {
        if constexpr (kPairs<L>) {
            B p[4], q[4];
            pixelsOfTwo(left, leftForm, right, rightForm, p, q);
            PixelRows<L>::storeSideBySide(p, q, dst, stride);
        } else {
            store(left, leftForm, dst, stride);
            store(right, rightForm, dst + 8, stride);
        }
    }

    // Both chroma components at once.
    static void storePair(const int16_t *cb, BlockForm cbForm, const int16_t *cr, BlockForm crForm, uint8_t *dst,
                          ptrdiff_t stride) {
        B p[4], q[4];
        pixelsOfTwo(cb, cbForm, cr, crForm, p, q);
        PixelRows<L>::storeInTurns(p, q, dst, stride);
    }

    // In place.
    static void residual(int16_t *block, BlockForm form, ptrdiff_t rowValues) {
        V m[8];
        if (form == BlockForm::single) {
            const V v = L::splat16(flat(block[0]));
            for (V &row : m) row = v;
        } else if (form == BlockForm::low) {
            lowRows(block, rowValues, m);
        } else {
            rows(block, rowValues, m);
        }
        for (int i = 0; i < 8; ++i) L::storeA(block + i * rowValues, m[i]);
    }

  private:
    // Two blocks of one form go together where lanes come in pairs.
    TVK_INLINE static void pixelsOfTwo(const int16_t *a, BlockForm aForm, const int16_t *b, BlockForm bForm, B (&p)[4],
                                       B (&q)[4]) {
        if constexpr (kPairs<L>) {
            if (aForm == bForm && aForm != BlockForm::single) return pairedPixels(a, b, aForm, p, q);
        }
        pixels(a, aForm, p);
        pixels(b, bForm, q);
    }
    TVK_INLINE static void pairedPixels(const int16_t *a, const int16_t *b, BlockForm form, B (&p)[4], B (&q)[4]) {
        using P = typename PairsOf<L>::Lanes;
        const typename P::template Places<const int16_t> both = {a, b};
        typename P::I16x8 m[8];
        if (form == BlockForm::low)
            FastIdct<P>::lowRows(both, 8, m);
        else
            FastIdct<P>::rows(both, 8, m);
        for (int i = 0; i < 4; ++i) P::split(P::packU8Sat(m[2 * i], m[2 * i + 1]), p[i], q[i]);
    }

    static void roundRows(V (&m)[8]) {
        for (V &row : m) row = L::template shrArith<4>(L::addSat(row, L::splat16(8)));
    }
    // Lanes 0..3 of eight registers become four registers of eight.
    static void transpose4Columns(V (&m)[8]) {
        const V a0 = L::interleaveLow16(m[0], m[1]), a1 = L::interleaveLow16(m[2], m[3]);
        const V a2 = L::interleaveLow16(m[4], m[5]), a3 = L::interleaveLow16(m[6], m[7]);
        const V b0 = L::interleaveLow32(a0, a1), b1 = L::interleaveHigh32(a0, a1);
        const V b2 = L::interleaveLow32(a2, a3), b3 = L::interleaveHigh32(a2, a3);
        m[0] = L::interleaveLow64(b0, b2);
        m[1] = L::interleaveHigh64(b0, b2);
        m[2] = L::interleaveLow64(b1, b3);
        m[3] = L::interleaveHigh64(b1, b3);
    }
};

}  // namespace tvk
