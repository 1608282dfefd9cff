// SPDX-License-Identifier: BSD-2-Clause
// Prediction at half, quarter and eighth size: where a vector reads in the stored lines, the bilinear filters of each
// size, and the sum with the residual.
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
};

// Sums of one source's neighbours, before any rounding: weights of total Base * Base, with Base 4, 8 and 16.
template <PictureKind k>
struct ReducedSums {
    static constexpr int32_t base = 2 * k.reduce;
    static constexpr int32_t total = base * base;
    int32_t at[ReducedShape<k>::maxRows][ReducedShape<k>::bytes];
};

// Where the rows of a prediction are read: `row` the first line, `rowStep` lines to the next row, `below` lines to the
// lower neighbour, phases in 1 / base.
struct ReducedRead {
    int64_t line;
    int32_t rowStep, below, phaseX, phaseY;
};

// How the vertical part y of a vector, in half samples of the frame or of a field, splits over stored lines. `copy` is
// a frame picture's co-located macroblock, which has no vector.
enum class LineForm : uint8_t { frame, field, copy };

template <PictureKind k>
constexpr ReducedRead splitVertical(int32_t y, LineForm form, int32_t parity) {
    if (form == LineForm::copy) return {0, 1, 0, 0, 0};
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

// Weights of the stored lines s0..s3 of a window, by the vertical phase in half coded lines; each row sums to 8. Even
// rows stay on lines of one parity. A pair's second row takes the table two rows on.
inline constexpr uint8_t kFrameLineWeights[18][4] = {
    {8, 0, 0, 0}, {4, 4, 0, 0}, {0, 8, 0, 0}, {3, 4, 1, 0}, {6, 0, 2, 0}, {3, 3, 1, 1},
    {0, 6, 0, 2}, {2, 3, 2, 1}, {4, 0, 4, 0}, {2, 2, 2, 2}, {0, 4, 0, 4}, {1, 2, 3, 2},
    {2, 0, 6, 0}, {1, 1, 3, 3}, {0, 2, 0, 6}, {0, 1, 4, 3}, {0, 0, 8, 0}, {0, 0, 4, 4},
};

// Whether quarter-size frame prediction filters through the window of four lines.
template <PictureKind k>
constexpr bool usesLineWindow(LineForm form) {
    return k.reduce == 4 && form == LineForm::frame;
}

// Holds a read of `lines` lines and `width` bytes inside the plane. Every plane has 32 lines and columns at the least,
// more than any reduced read takes, so the last place is never negative.
inline const uint8_t *clampReduced(const PlaneView &plane, int64_t offset, int64_t lines, int64_t width) {
    const int64_t last = plane.size - ((lines - 1) * plane.stride + width);
    return plane.data + std::clamp<int64_t>(offset, 0, last);
}

template <PictureKind k, int step>
inline void sumBilinear(ReducedSums<k> &sums, const PlaneView &plane, int64_t offset, ReducedRead r, int32_t rows) {
    constexpr int32_t base = ReducedSums<k>::base, bytes = ReducedShape<k>::bytes;
    const int32_t below = r.phaseY ? r.below : 0, right = r.phaseX ? step : 0;
    const uint8_t *p = clampReduced(plane, offset, (rows - 1) * r.rowStep + below + 1, bytes + right);
    const ptrdiff_t lower = static_cast<ptrdiff_t>(below) * plane.stride;
    const int32_t a = (base - r.phaseX) * (base - r.phaseY), b = r.phaseX * (base - r.phaseY);
    const int32_t c = (base - r.phaseX) * r.phaseY, d = r.phaseX * r.phaseY;
    for (int32_t row = 0; row < rows; ++row) {
        for (int32_t x = 0; x < bytes; ++x)
            sums.at[row][x] = a * p[x] + b * p[x + right] + c * p[lower + x] + d * p[lower + x + right];
        p += static_cast<ptrdiff_t>(r.rowStep) * plane.stride;
    }
}

// Lines of a pair's window that weigh anything in the pair's two rows, by phase: those behind are not read, since they
// may lie behind the plane.
constexpr int32_t windowLines(int32_t phase) {
    int32_t lines = 4;
    while (kFrameLineWeights[phase][lines - 1] == 0 && kFrameLineWeights[phase + 2][lines - 1] == 0) --lines;
    return lines;
}

template <PictureKind k, int step>
inline void sumLineWindow(ReducedSums<k> &sums, const PlaneView &plane, int64_t offset, ReducedRead r, int32_t rows) {
    constexpr int32_t base = ReducedSums<k>::base, bytes = ReducedShape<k>::bytes;
    const int32_t right = r.phaseX ? step : 0;
    const int32_t lines = rows - 2 + windowLines(r.phaseY);
    const uint8_t *p = clampReduced(plane, offset, lines, bytes + right);
    int32_t across[ReducedShape<k>::maxRows + 2][bytes] = {};
    for (int32_t line = 0; line < lines; ++line) {
        for (int32_t x = 0; x < bytes; ++x) across[line][x] = (base - r.phaseX) * p[x] + r.phaseX * p[x + right];
        p += plane.stride;
    }
    for (int32_t row = 0; row < rows; ++row) {
        const uint8_t *weight = kFrameLineWeights[r.phaseY + 2 * (row & 1)];
        const int32_t first = row & ~1;
        for (int32_t x = 0; x < bytes; ++x)
            sums.at[row][x] = weight[0] * across[first][x] + weight[1] * across[first + 1][x] +
                              weight[2] * across[first + 2][x] + weight[3] * across[first + 3][x];
    }
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

constexpr uint8_t clampSample(int32_t v) {
    return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
}

// The ways in which sums become samples.
enum class Combine : uint8_t {
    sum,       // one rounding over all sources together: (sums + half) / (sources * total) + residual
    truncate,  // two sources at half and quarter size: each rounded, (2 residual + a + b) >> 1
    twoPass    // eighth size: the first source stored, the second with twice the residual clamped, then pavg
};

// The mean of `count` sources with their sums added up, rounded to nearest.
template <PictureKind k, int count>
constexpr int32_t roundedMean(int32_t sum) {
    constexpr uint32_t total = static_cast<uint32_t>(count * ReducedSums<k>::total);
    return static_cast<int32_t>((static_cast<uint32_t>(sum) + total / 2) / total);
}

template <PictureKind k, int sources, Combine combine>
constexpr uint8_t combineSums(const int32_t (&sum)[sources], int32_t residual) {
    if constexpr (combine == Combine::sum) {
        int32_t all = 0;
        for (int32_t s : sum) all += s;
        return clampSample(roundedMean<k, sources>(all) + residual);
    } else {
        const int32_t a = roundedMean<k, 1>(sum[0]), b = roundedMean<k, 1>(sum[1]);
        if constexpr (combine == Combine::truncate)
            return clampSample((2 * residual + a + b) >> 1);
        else
            return static_cast<uint8_t>((a + clampSample(b + 2 * residual) + 1) >> 1);
    }
}

// One column of one plane, from `sources` sets of sums.
template <PictureKind k, int sources, Combine combine, class ResidualAt>
inline void storeReduced(uint8_t *out, ptrdiff_t stride, int32_t rows, const ReducedSums<k> (&sums)[sources],
                         const int16_t *residual, const ResidualAt &residualAt) {
    for (int32_t row = 0; row < rows; ++row) {
        for (int32_t x = 0; x < ReducedShape<k>::bytes; ++x) {
            int32_t sum[sources];
            for (int i = 0; i < sources; ++i) sum[i] = sums[i].at[row][x];
            out[x] = combineSums<k, sources, combine>(sum, residual ? residual[residualAt(row, x)] : 0);
        }
        out += stride;
    }
}

// A source's sums for one plane. `base` is the macroblock's first byte, `firstRow` the first stored row of its field.
template <PictureKind k, int step>
inline void sumSource(ReducedSums<k> &sums, const PlaneView &plane, int64_t base, int32_t firstRow, int32_t rows,
                      LineForm form, int32_t x, int32_t y, int32_t parity) {
    ReducedRead r = splitVertical<k>(y, form, parity);
    constexpr int32_t base4 = ReducedSums<k>::base;
    r.phaseX = x & (base4 - 1);
    const int64_t column = static_cast<int64_t>(step) * (x >> (k.reduce == 2 ? 2 : k.reduce == 4 ? 3 : 4));
    const int64_t offset = base + (r.line + static_cast<int64_t>(r.rowStep) * firstRow) * plane.stride + column;
    if (usesLineWindow<k>(form))
        sumLineWindow<k, step>(sums, plane, offset, r, rows);
    else
        sumBilinear<k, step>(sums, plane, offset, r, rows);
}

// Quarter size, 4:4:4, frame prediction: the left half of a chroma row is computed and stored twice, but not copied so.
// DEPARTURE(quarter-size 4:4:4 chroma): required as it stands.
template <PictureKind k>
constexpr bool repeatsLeftHalf(LineForm form) {
    return k.reduce == 4 && k.chroma == chroma444 && form == LineForm::frame;
}

template <PictureKind k, int count, Combine combine>
void predictReduced(SliceWorker *w, const MacroblockTarget &t, PredictedRows coded, LineForm form,
                    const PredictionSource (&sources)[count]) {
    using Shape = ReducedShape<k>;
    constexpr int32_t u = Shape::u;
    // First row and row step in the stored macroblock's own rows; the halves of a field picture move the source too.
    const int32_t step = k.field ? 1 : coded.step;
    const int32_t rows = Shape::rows(coded.count);
    const int32_t half = k.field ? Shape::rows(coded.first) : 0;
    const int32_t first = k.field ? half : coded.first;

    ReducedSums<k> sums[count];
    const int64_t lumaBase = static_cast<int64_t>(w->currentLuma.stride) * u * w->blockY + u * w->blockX;
    for (int i = 0; i < count; ++i)
        sumSource<k, 1>(sums[i], *sources[i].luma, lumaBase, half, rows, form, sources[i].x, sources[i].y,
                        sources[i].line);
    storeReduced<k, count, combine>(
        t.luma + t.lumaStride * first, t.lumaStride * step, rows, sums, w->lumaResidual ? w->residual : nullptr,
        [=](int32_t row, int32_t x) { return reducedLumaResidual<k>(first + step * row, x); });

    constexpr int32_t height = k.chroma == chroma420 ? 2 : 1;
    const int32_t chromaRows = rows / height, chromaHalf = half / height;
    const int32_t chromaFirst = k.field ? chromaHalf : coded.first;
    const int64_t chromaBase = static_cast<int64_t>(w->currentChroma.stride) * u * w->chromaY + u * w->chromaX;
    for (int32_t column = 0; column < k.chromaColumns(); ++column) {
        const bool repeat = repeatsLeftHalf<k>(form) && column == 1;
        if (!repeat) {
            for (int i = 0; i < count; ++i) {
                const PredictionSource &s = sources[i];
                const int32_t x = k.chroma == chroma444 ? s.x : halfTowardZero(s.x);
                const int32_t y = k.chroma == chroma420 ? halfTowardZero(s.y) : s.y;
                sumSource<k, 2>(sums[i], *s.chroma, chromaBase + Shape::bytes * column, chromaHalf, chromaRows, form, x,
                                y, s.line);
            }
        }
        const int32_t residualColumn = repeat ? 0 : column;
        storeReduced<k, count, combine>(
            t.chroma + t.chromaStride * chromaFirst + Shape::bytes * column, t.chromaStride * step, chromaRows, sums,
            w->chromaResidual ? w->residual : nullptr, [=](int32_t row, int32_t x) {
                return reducedChromaResidual<k>(chromaFirst + step * row, x, residualColumn);
            });
    }
}

// How the sources of one frame or field meet. At eighth size the frame pictures of 4:2:0 take two passes for two
// directions, all others one.
template <PictureKind k, int count>
constexpr Combine combineOf() {
    if (count == 1) return Combine::sum;
    if (k.reduce != 8) return Combine::truncate;
    return k.chroma == chroma420 && !k.field ? Combine::twoPass : Combine::sum;
}

}  // namespace tvk
