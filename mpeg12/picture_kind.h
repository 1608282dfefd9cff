// SPDX-License-Identifier: BSD-2-Clause
// The kinds of predicted pictures that have a decoder of their own, as a template argument, and their table order.
#pragma once

#include <array>
#include <cstdint>

#include "core/stream.h"

namespace tvk {

struct PictureKind {
    bool mpeg1;
    uint8_t chroma;  // ChromaFormat
    bool field;      // a field picture
    bool b;          // B, else P
    uint8_t reduce;  // 1, 2, 4 or 8

    bool operator==(const PictureKind &) const = default;

    // Steps of the position, in units of 8 coded samples; rows count frame lines.
    constexpr int32_t lumaRowStep() const { return field ? 4 : 2; }
    constexpr int32_t chromaRowStep() const { return chroma == chroma420 ? lumaRowStep() / 2 : lumaRowStep(); }
    constexpr int32_t chromaColumnStep() const { return chroma == chroma444 ? 4 : 2; }

    constexpr int32_t blocksPerMacroblock() const { return chroma == chroma420 ? 6 : chroma == chroma422 ? 8 : 12; }
    // Columns of 16 interleaved bytes (8 Cb, 8 Cr samples) that a macroblock's chroma takes at coded size.
    constexpr int32_t chromaColumns() const { return chroma == chroma444 ? 2 : 1; }
    constexpr int32_t unit() const { return 8 / reduce; }  // stored samples in 8 coded ones

    // B pictures of these kinds go to macroblockPixels while an application's buffer is being filled.
    constexpr bool decodesToSamples() const { return b && reduce == 1 && chroma != chroma444; }
    // Half-sample positions of both directions: P pictures take the exact average of four when there is one source.
    constexpr bool exactDiagonal() const { return !b; }

    // First residual value of an 8 x 8 quarter, in `blocks`: luma by halves of rows and columns...
    constexpr int32_t lumaResidual(int32_t rowHalf, int32_t columnHalf) const {
        return field ? 128 * rowHalf + 64 * columnHalf : 64 * rowHalf + 128 * columnHalf;
    }
    // ...and chroma by component (0 Cb, 1 Cr), half of the rows, and column of 16 bytes. Frame pictures hold each
    // component as strips of rows, field pictures hold the blocks in bitstream order.
    constexpr int32_t chromaResidual(int32_t component, int32_t rowHalf, int32_t column) const {
        if (chroma == chroma420) return 256 + 64 * component;
        if (field) return 256 + 256 * column + 128 * rowHalf + 64 * component;
        const int32_t componentSize = chroma == chroma422 ? 128 : 256;
        return 256 + componentSize * component + 128 * column + 64 * rowHalf;
    }
};

// interDecoders holds four rows, one a reduce coefficient, of 14 kinds:
//     index = 14 * log2(reduce) + kind
// with kind 0, 1 for MPEG-1 P and B, and 2 + 4 * (chroma - 1) + 2 * b + field for MPEG-2.
inline constexpr int32_t kKindsPerReduce = 14;
inline constexpr int32_t kPictureKinds = 4 * kKindsPerReduce;

constexpr int32_t reduceRow(uint32_t reduce) {
    return reduce == 2 ? 1 : reduce == 4 ? 2 : reduce == 8 ? 3 : 0;
}

constexpr int32_t indexOf(PictureKind k) {
    const int32_t kind = k.mpeg1 ? k.b : 2 + 4 * (k.chroma - 1) + 2 * k.b + k.field;
    return kKindsPerReduce * reduceRow(k.reduce) + kind;
}

constexpr PictureKind kindAt(int32_t index) {
    const auto reduce = static_cast<uint8_t>(1 << (index / kKindsPerReduce));
    const int32_t kind = index % kKindsPerReduce;
    if (kind < 2) return {true, chroma420, false, kind == 1, reduce};
    const int32_t k = kind - 2;
    return {false, static_cast<uint8_t>(1 + k / 4), k % 2 == 1, k / 2 % 2 == 1, reduce};
}

static_assert(
    [] {
        for (int32_t i = 0; i < kPictureKinds; ++i)
            if (indexOf(kindAt(i)) != i) return false;
        return true;
    }(),
    "the index formula and its inverse agree over the whole table");

}  // namespace tvk
