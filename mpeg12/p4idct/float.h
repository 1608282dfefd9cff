// SPDX-License-Identifier: BSD-2-Clause
// The single-precision transform of intra macroblocks that go to an application's buffer at the exact precision.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "mpeg12/p4idct/aan.h"
#include "mpeg12/p4idct/pixel_rows.h"

namespace tvk {

struct FloatScale {
    alignas(16) float value[64];
};

// k(row) * k(column) / 8, with k(0) = 1, k(n) = sqrt(2) * cos(n * pi / 16)
constexpr FloatScale makeFloatScale() {
    constexpr double k[8] = {1.0, 1.3870398453221475,  1.3065629648763766,  1.1758756024193588,
                             1.0, 0.78569495838710219, 0.54119610014619699, 0.27589937928294305};
    FloatScale scale{};
    for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 8; ++c) scale.value[8 * r + c] = static_cast<float>(k[r] * k[c] / 8);
    return scale;
}

inline constexpr FloatScale kFloatScale = makeFloatScale();

// DEPARTURE(float transform reads permuted columns): the coefficients stand in the exact transform's column order, and
// are scaled and transformed by the places they stand in. Nothing reorders them.
template <class L>
struct FloatIdct {
    using V = typename L::I16x8;
    using F = typename L::F32x4;
    using B = typename L::U8x16;
    using A = FloatArithmetic<L>;

    // p[i] holds rows 2i and 2i + 1 of 8 pixels.
    static void pixels(const int16_t *block, B (&p)[4]) {
        F left[8], right[8];  // columns 0..3, 4..7
        for (int i = 0; i < 8; ++i) {
            const V row = L::loadA(block + 8 * i);
            left[i] = L::mul(L::toFloat(L::widenLow(row)), L::loadA(kFloatScale.value + 8 * i));
            right[i] = L::mul(L::toFloat(L::widenHigh(row)), L::loadA(kFloatScale.value + 8 * i + 4));
        }
        aanPass<A>(left);
        aanPass<A>(right);
        transpose(left, right);
        aanPass<A>(left);
        aanPass<A>(right);
        for (int i = 0; i < 4; ++i)
            p[i] = L::packU8Sat(toRow(left[2 * i], right[2 * i]), toRow(left[2 * i + 1], right[2 * i + 1]));
    }

    static void store(const int16_t *block, uint8_t *dst, ptrdiff_t stride) {
        B p[4];
        pixels(block, p);
        PixelRows<L>::store(p, dst, stride);
    }

    static void storePair(const int16_t *cb, const int16_t *cr, uint8_t *dst, ptrdiff_t stride) {
        B p[4], q[4];
        pixels(cb, p);
        pixels(cr, q);
        PixelRows<L>::storeInTurns(p, q, dst, stride);
    }

  private:
    static V toRow(F low, F high) { return L::packI16Sat(L::roundToInt(low), L::roundToInt(high)); }

    static void transpose(F (&left)[8], F (&right)[8]) {
        F a[4], b[4], c[4], d[4];
        for (int i = 0; i < 4; ++i) {
            a[i] = left[i];
            b[i] = right[i];
            c[i] = left[4 + i];
            d[i] = right[4 + i];
        }
        transpose4x4<L>(a);
        transpose4x4<L>(b);
        transpose4x4<L>(c);
        transpose4x4<L>(d);
        for (int i = 0; i < 4; ++i) {
            left[i] = a[i];
            left[4 + i] = b[i];
            right[i] = c[i];
            right[4 + i] = d[i];
        }
    }
};

}  // namespace tvk
