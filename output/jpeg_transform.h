// SPDX-License-Identifier: BSD-2-Clause
// The forward transform and quantiser of the JPEG writer, over 16-bit lanes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/lanes.h"

namespace tvk {

// Multipliers of the transform of Arai, Agui and Nakajima, times 16384.
inline constexpr int32_t kForwardHalfRoot = 11585;  // cos(pi/4)
inline constexpr int32_t kForwardRotate5 = 6270;    // cos(3 pi/8)
inline constexpr int32_t kForwardRotate2 = 8867;    // cos(pi/8) - cos(3 pi/8)
inline constexpr int32_t kForwardRotate4 = 21407;   // cos(pi/8) + cos(3 pi/8)

// First pass: floor(x * c / 16384), coarse but in one operation. |x| up to 2048.
template <class L>
struct CoarseMultiply {
    static typename L::I16x8 apply(typename L::I16x8 x, int32_t c) {
        return L::mulHi(L::template shlWrap<2>(x), L::splat16(c));
    }
};

// Second pass: (x * c + 8192) >> 14, from the halves of the 32-bit product. |x| up to 20600, for the largest c up to
// 10300, so results fit. Not more than 7 is averaged with 0, so bytes are wide enough for that.
template <class L>
struct RoundedMultiply {
    static typename L::I16x8 apply(typename L::I16x8 x, int32_t c) {
        const typename L::I16x8 factor = L::splat16(c);
        const typename L::U8x16 below = L::asU8(L::template shrLogical<13>(L::mulLo(x, factor)));
        return L::addWrap(L::template shlWrap<2>(L::mulHi(x, factor)), L::asI16(L::avgUp(below, L::zero8())));
    }
};

// One-dimensional transform down the registers, each lane for itself.
template <class L, class Multiply>
void forwardPass(typename L::I16x8 (&x)[8]) {
    using V = typename L::I16x8;
    const V tmp0 = L::addSat(x[0], x[7]), tmp7 = L::subSat(x[0], x[7]);
    const V tmp1 = L::addSat(x[1], x[6]), tmp6 = L::subSat(x[1], x[6]);
    const V tmp2 = L::addSat(x[2], x[5]), tmp5 = L::subSat(x[2], x[5]);
    const V tmp3 = L::addSat(x[3], x[4]), tmp4 = L::subSat(x[3], x[4]);

    const V e10 = L::addSat(tmp0, tmp3), e13 = L::subSat(tmp0, tmp3);
    const V e11 = L::addSat(tmp1, tmp2), e12 = L::subSat(tmp1, tmp2);
    const V z1 = Multiply::apply(L::addSat(e12, e13), kForwardHalfRoot);
    x[0] = L::addSat(e10, e11);
    x[4] = L::subSat(e10, e11);
    x[2] = L::addSat(e13, z1);
    x[6] = L::subSat(e13, z1);

    const V o10 = L::addSat(tmp4, tmp5), o11 = L::addSat(tmp5, tmp6), o12 = L::addSat(tmp6, tmp7);
    const V z5 = Multiply::apply(L::subSat(o10, o12), kForwardRotate5);
    const V z2 = L::addSat(Multiply::apply(o10, kForwardRotate2), z5);
    const V z4 = L::addSat(Multiply::apply(o12, kForwardRotate4), z5);
    const V z3 = Multiply::apply(o11, kForwardHalfRoot);
    const V z11 = L::addSat(tmp7, z3), z13 = L::subSat(tmp7, z3);
    x[5] = L::addSat(z13, z2);
    x[3] = L::subSat(z13, z2);
    x[1] = L::addSat(z11, z4);
    x[7] = L::subSat(z11, z4);
}

// The block's eight columns of bytes, two a register, from eight rows of them.
template <class L>
void transposeBytes(const typename L::U8x16 (&rows)[8], typename L::U8x16 (&columns)[4]) {
    using V = typename L::I16x8;
    V pairs[4];
    for (int i = 0; i < 4; ++i) pairs[i] = L::asI16(L::interleaveLow8(rows[2 * i], rows[2 * i + 1]));
    const V upperLeft = L::interleaveLow16(pairs[0], pairs[1]), upperRight = L::interleaveHigh16(pairs[0], pairs[1]);
    const V lowerLeft = L::interleaveLow16(pairs[2], pairs[3]), lowerRight = L::interleaveHigh16(pairs[2], pairs[3]);
    columns[0] = L::asU8(L::interleaveLow32(upperLeft, lowerLeft));
    columns[1] = L::asU8(L::interleaveHigh32(upperLeft, lowerLeft));
    columns[2] = L::asU8(L::interleaveLow32(upperRight, lowerRight));
    columns[3] = L::asU8(L::interleaveHigh32(upperRight, lowerRight));
}

// Eight samples of a row: bytes 0..7 for step 1, every second byte from `first` on for step 2.
template <class L, int step>
typename L::U8x16 loadSamples(const uint8_t *row, int first) {
    if constexpr (step == 1) return L::loadHalf(row);
    const typename L::U8x16 pairs = L::loadU(row);
    return first == 0 ? L::evenBytes(pairs, pairs) : L::oddBytes(pairs, pairs);
}

// Samples `offset` bytes into their rows to quantised coefficients, row by row. Returns a bit for each that is not 0,
// the first in bit 0.
template <class L, int step>
uint64_t forwardBlock(const uint8_t *const *rows, ptrdiff_t offset, int first, const int16_t *reciprocals,
                      int16_t *block) {
    typename L::U8x16 samples[8], columns[4];
    typename L::I16x8 x[8];
    for (int i = 0; i < 8; ++i) samples[i] = loadSamples<L, step>(rows[i] + offset, first);
    transposeBytes<L>(samples, columns);
    for (int i = 0; i < 4; ++i) {
        x[2 * i] = L::template shlWrap<1>(L::widenLow(columns[i]));
        x[2 * i + 1] = L::template shlWrap<1>(L::widenHigh(columns[i]));
    }
    forwardPass<L, CoarseMultiply<L>>(x);  // along each row
    // Samples count from 128, which only the sum of all eight, each doubled, knows of.
    x[0] = L::subWrap(x[0], L::splat16(8 * 2 * 128));
    transpose8x8<L>(x);
    forwardPass<L, RoundedMultiply<L>>(x);
    uint64_t nonZero = 0;
    for (int i = 0; i < 8; ++i) {
        const typename L::I16x8 doubled = L::mulHi(x[i], L::loadA(reciprocals + 8 * i));
        x[i] = L::template shrArith<1>(L::addSat(doubled, L::splat16(1)));
        L::storeA(block + 8 * i, x[i]);
    }
    for (int i = 0; i < 4; ++i) nonZero |= uint64_t{L::nonZeroBits(x[2 * i], x[2 * i + 1])} << (16 * i);
    return nonZero;
}

}  // namespace tvk
