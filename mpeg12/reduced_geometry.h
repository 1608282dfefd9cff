// SPDX-License-Identifier: BSD-2-Clause
// The geometry of prediction at reduced sizes: the stored macroblock, where a vector reads in the stored lines, and
// where the reduced residual lies.
#pragma once

#include <algorithm>
#include <cstdint>

#include "mpeg12/prediction.h"

namespace tvk {

// The stored macroblock of a reduced kind. A column of a plane is 2 u bytes: luma has one, interleaved chroma one or,
// in 4:4:4, two.
template <PictureKind k>
struct ReducedShape {
    static constexpr int32_t u = k.unit();
    static constexpr int32_t bytes = 2 * u;
    // At eighth size a field picture's lines stand below each other, two a block, not on lines of their parity.
    static constexpr bool stacked = k.field && k.reduce == 8;
    static constexpr bool alternate = k.field && !stacked;
    // Stored rows of what has `coded` rows of its field or frame.
    static constexpr int32_t rows(int32_t coded) { return stacked ? coded / 4 : coded * u / 8; }
    static constexpr int32_t maxRows = 8;
    // Phases count 1 / base of a stored sample; four neighbours' weights add up to base * base.
    static constexpr int32_t base = 2 * k.reduce;
    // Whole stored samples of a horizontal vector part.
    static constexpr int32_t whole(int32_t x) { return x >> (k.reduce == 2 ? 2 : k.reduce == 4 ? 3 : 4); }
};

// Where the rows of a prediction are read: `row` the first line, `rowStep` lines to the next row, `below` lines to the
// lower neighbour, phases in 1 / base.
struct ReducedRead {
    int64_t line;
    int32_t rowStep, below, phaseX, phaseY;
};

// How the vertical part y of a vector, in half samples of the frame or of a field, splits over stored lines. `copy` is
// the co-located macroblock, which has no vector.
enum class LineForm : uint8_t { frame, field, copy };

template <PictureKind k>
constexpr ReducedRead splitVertical(int32_t y, LineForm form, int32_t parity) {
    if (form == LineForm::copy) return {parity, ReducedShape<k>::alternate ? 2 : 1, 0, 0, 0};
    if constexpr (k.reduce == 2) {
        // Stored lines keep their parity, so the neighbour is two lines down in either form.
        if (form == LineForm::frame) return {2 * static_cast<int64_t>(y >> 3), 1, 2, 0, (y >> 1) & 3};
        return {2 * static_cast<int64_t>(y >> 2) + parity, 2, 2, 0, y & 3};
    } else if constexpr (k.reduce == 4) {
        // The frame form's phase selects rows of kFrameLineWeights.
        if (form == LineForm::frame) return {2 * static_cast<int64_t>(y >> 4), 1, 0, 0, y & 15};
        return {2 * static_cast<int64_t>(y >> 3) + parity, 2, 2, 0, y & 7};
    } else {
        if (form == LineForm::frame) return {y >> 4, 1, 1, 0, y & 15};
        return {y >> 3, 1, 1, 0, (parity + 2 * (y & 7)) & 15};
    }
}

// Holds a read of `lines` lines and `width` bytes inside the plane. Every plane has 32 lines and columns at the least,
// more than any reduced read takes, so the last place is never negative.
inline const uint8_t *clampReduced(const PlaneView &plane, int64_t offset, int64_t lines, int64_t width) {
    const int64_t last = plane.size - ((lines - 1) * plane.stride + width);
    return plane.data + std::clamp<int64_t>(offset, 0, last);
}

// Index in the reduced residual of byte x of a macroblock row. Half and quarter size shrink the full-size places; at
// eighth size there is a value a block, in field pictures two, in block order.
template <PictureKind k>
constexpr int32_t reducedLumaResidual(int32_t row, int32_t x) {
    constexpr int32_t u = k.unit();
    if constexpr (k.reduce == 8)
        return k.field ? 2 * (2 * (row >> 1) + x) + (row & 1) : 2 * row + x;
    else
        return (k.field ? k.lumaResidual(row / u, x / u) * u * u / 64 + row % u * u
                        : k.lumaResidual(0, x / u) * u * u / 64 + row * u) +
               x % u;
}

template <PictureKind k>
constexpr int32_t reducedChromaResidual(int32_t row, int32_t x, int32_t column) {
    constexpr int32_t u = k.unit();
    const int32_t component = x & 1;
    if constexpr (k.reduce == 8) {
        const int32_t blockRow = k.field ? row >> 1 : row;
        const int32_t block = 4 + 4 * column + 2 * blockRow + component;
        return k.field ? 2 * block + (row & 1) : block;
    } else {
        return (k.field ? k.chromaResidual(component, row / u, column) * u * u / 64 + row % u * u
                        : k.chromaResidual(component, 0, column) * u * u / 64 + row * u) +
               x / 2;
    }
}

// Quarter size, 4:4:4, frame prediction: the left half of a chroma row is computed and stored twice, but not copied so.
// DEPARTURE(quarter-size 4:4:4 chroma): required as it stands.
template <PictureKind k>
constexpr bool repeatsLeftHalf(LineForm form) {
    return k.reduce == 4 && k.chroma == chroma444 && form == LineForm::frame;
}

}  // namespace tvk
