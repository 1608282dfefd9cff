// SPDX-License-Identifier: BSD-2-Clause
// Prediction at half and quarter size: bilinear filters over stored lines, with the residual's sum, in 16-bit lanes.
#pragma once

#include <cstdint>

#include "core/inline.h"
#include "core/lanes.h"
#include "mpeg12/reduced_geometry.h"

namespace tvk {

// Weights of the stored lines s0..s3 of a window, by the vertical phase in half coded lines; each row sums to 8. Even
// rows stay on lines of one parity. A pair's second row takes the table two rows on.
inline constexpr uint8_t kFrameLineWeights[18][4] = {
    {8, 0, 0, 0}, {4, 4, 0, 0}, {0, 8, 0, 0}, {3, 4, 1, 0}, {6, 0, 2, 0}, {3, 3, 1, 1},
    {0, 6, 0, 2}, {2, 3, 2, 1}, {4, 0, 4, 0}, {2, 2, 2, 2}, {0, 4, 0, 4}, {1, 2, 3, 2},
    {2, 0, 6, 0}, {1, 1, 3, 3}, {0, 2, 0, 6}, {0, 1, 4, 3}, {0, 0, 8, 0}, {0, 0, 4, 4},
};

// Lines of a pair's window that weigh anything in the pair's two rows, by phase: those behind are not read, since they
// may lie behind the plane.
constexpr int32_t windowLines(int32_t phase) {
    int32_t lines = 4;
    while (kFrameLineWeights[phase][lines - 1] == 0 && kFrameLineWeights[phase + 2][lines - 1] == 0) --lines;
    return lines;
}

// One column of a plane, a row to a register: 8 bytes at half size, 4 at quarter size. Sums of neighbours are below
// base * base * 255 = 16320, so they fit in the lanes.
template <class L, PictureKind k>
struct ReducedColumn {
    using V = typename L::I16x8;
    using Shape = ReducedShape<k>;
    static constexpr int32_t base = Shape::base;
    static constexpr bool half = k.reduce == 2;

    V row[Shape::maxRows];

    static V load(const uint8_t *p) { return L::widenLow(half ? L::loadHalf(p) : L::loadQuarter(p)); }
    static V times(V a, int32_t weight) { return L::mulLo(a, L::splat16(weight)); }

    // Lines from p on, `stride` apart, each the sum of two horizontal neighbours, scaled by base.
    TVK_INLINE static void sumAcross(V *across, const uint8_t *p, ptrdiff_t stride, int32_t lines, int32_t phase,
                                     int32_t step) {
        for (int32_t i = 0; i < lines; ++i, p += stride) {
            prefetchRead(p, kLineAhead);
            across[i] =
                phase ? L::addWrap(times(load(p), base - phase), times(load(p + step), phase)) : times(load(p), base);
        }
    }

    // Sums of four neighbours, the lower ones `below` lines behind.
    TVK_INLINE void sumDown(const V *across, int32_t rows, int32_t below, int32_t phase) {
        for (int32_t i = 0; i < rows; ++i)
            row[i] = phase ? L::addWrap(times(across[i], base - phase), times(across[i + below], phase))
                           : times(across[i], base);
    }

    // Quarter size, frame prediction: pairs of rows, each pair from a window of four lines.
    TVK_INLINE void sumWindows(const V *across, int32_t rows, int32_t phase) {
        for (int32_t i = 0; i < rows; ++i) {
            const uint8_t *weight = kFrameLineWeights[phase + 2 * (i & 1)];
            const V *window = across + (i & ~1);
            row[i] = L::addWrap(L::addWrap(times(window[0], weight[0]), times(window[1], weight[1])),
                                L::addWrap(times(window[2], weight[2]), times(window[3], weight[3])));
        }
    }

    // The rounded prediction of row i.
    V prediction(int32_t i) const {
        return L::template shrLogical < half ? 4 : 6 > (L::addWrap(row[i], L::splat16(base * base / 2)));
    }
};

// A source's column. `at` is the macroblock's first byte in the plane, `firstRow` the first stored row of its field.
template <class L, PictureKind k, int step>
TVK_INLINE void readColumn(ReducedColumn<L, k> &column, const PlaneView &plane, int64_t at, int32_t firstRow,
                           int32_t rows, LineForm form, int32_t x, int32_t y, int32_t parity) {
    using Shape = ReducedShape<k>;
    const ReducedRead r = splitVertical<k>(y, form, parity);
    const int32_t phaseX = x & (Shape::base - 1);
    const int64_t first = r.line + static_cast<int64_t>(r.rowStep) * firstRow;
    const int64_t offset = at + first * plane.stride + static_cast<int64_t>(step) * Shape::whole(x);
    const bool windowed = k.reduce == 4 && form == LineForm::frame;
    const int32_t below = r.below / r.rowStep;
    const int32_t lines = windowed ? rows - 2 + windowLines(r.phaseY) : rows + (r.phaseY ? below : 0);
    const uint8_t *p = clampReduced(plane, offset, static_cast<int64_t>(lines - 1) * r.rowStep + 1,
                                    Shape::bytes + (phaseX ? step : 0));
    typename L::I16x8 across[Shape::maxRows + 2];
    // What a window's weight of 0 is multiplied with.
    if (windowed)
        for (int32_t i = lines; i < rows + 2; ++i) across[i] = L::zero16();
    ReducedColumn<L, k>::sumAcross(across, p, static_cast<ptrdiff_t>(r.rowStep) * plane.stride, lines, phaseX, step);
    if (windowed)
        column.sumWindows(across, rows, r.phaseY);
    else
        column.sumDown(across, rows, below, r.phaseY);
}

// A row's residual: u values of the left and of the right block, or u of Cb and of Cr in turn.
template <class L, PictureKind k, Residual form>
inline typename L::I16x8 reducedResidualRow(const int16_t *first, const int16_t *second) {
    using V = typename L::I16x8;
    const auto load = [](const int16_t *p) -> V {
        if constexpr (k.reduce == 2)
            return L::loadHalf(p);
        else
            return L::asI16(L::loadQuarter(reinterpret_cast<const uint8_t *>(p)));
    };
    const V a = load(first), b = load(second);
    if constexpr (form == Residual::interleaved) return L::interleaveLow16(a, b);
    return k.reduce == 2 ? L::interleaveLow64(a, b) : L::interleaveLow32(a, b);
}

// Two sources meet without rounding up: (2 residual + a + b) >> 1, clamped.
// DEPARTURE(reduced-size bidirectional): the standards round the mean of two predictions up.
template <class L, PictureKind k, int count, Residual form, class ResidualAt>
inline void storeColumn(uint8_t *out, ptrdiff_t stride, int32_t rows, const ReducedColumn<L, k> (&columns)[count],
                        const int16_t *residual, const ResidualAt &residualAt) {
    for (int32_t i = 0; i < rows; ++i, out += stride) {
        auto value = columns[0].prediction(i);
        if constexpr (count == 2) value = L::template shrLogical<1>(L::addWrap(value, columns[1].prediction(i)));
        if (residual)
            value = L::addSat(value,
                              reducedResidualRow<L, k, form>(residual + residualAt(i, 0), residual + residualAt(i, 1)));
        const auto samples = L::packU8Sat(value, value);
        k.reduce == 2 ? L::storeHalf(out, samples) : L::storeQuarter(out, samples);
    }
}

template <PictureKind k, int count>
void predictReduced(SliceWorker *w, const MacroblockTarget &t, PredictedRows coded, LineForm form,
                    const PredictionSource (&sources)[count]) {
    using L = NativeLanes;
    using Shape = ReducedShape<k>;
    constexpr int32_t u = Shape::u;
    // First row and row step in the stored macroblock's own rows; the halves of a field picture move the source too.
    const int32_t step = k.field ? 1 : coded.step;
    const int32_t rows = Shape::rows(coded.count);
    const int32_t half = k.field ? Shape::rows(coded.first) : 0;
    const int32_t first = k.field ? half : coded.first;

    ReducedColumn<L, k> columns[count];
    const int64_t lumaAt = static_cast<int64_t>(w->currentLuma.stride) * u * w->blockY + u * w->blockX;
    for (int i = 0; i < count; ++i)
        readColumn<L, k, 1>(columns[i], *sources[i].luma, lumaAt, half, rows, form, sources[i].x, sources[i].y,
                            sources[i].line);
    storeColumn<L, k, count, Residual::side>(
        t.luma + t.lumaStride * first, t.lumaStride * step, rows, columns, w->lumaResidual ? w->residual : nullptr,
        [=](int32_t row, int32_t side) { return reducedLumaResidual<k>(first + step * row, u * side); });

    constexpr int32_t height = k.chroma == chroma420 ? 2 : 1;
    const int32_t chromaRows = rows / height, chromaHalf = half / height;
    const int32_t chromaFirst = k.field ? chromaHalf : coded.first;
    const int64_t chromaAt = static_cast<int64_t>(w->currentChroma.stride) * u * w->chromaY + u * w->chromaX;
    for (int32_t column = 0; column < k.chromaColumns(); ++column) {
        const bool repeat = repeatsLeftHalf<k>(form) && column == 1;
        for (int i = 0; i < count && !repeat; ++i) {
            const PredictionSource &s = sources[i];
            const int32_t x = k.chroma == chroma444 ? s.x : halfTowardZero(s.x);
            const int32_t y = k.chroma == chroma420 ? halfTowardZero(s.y) : s.y;
            readColumn<L, k, 2>(columns[i], *s.chroma, chromaAt + Shape::bytes * column, chromaHalf, chromaRows, form,
                                x, y, s.line);
        }
        const int32_t residualColumn = repeat ? 0 : column;
        storeColumn<L, k, count, Residual::interleaved>(
            t.chroma + t.chromaStride * chromaFirst + Shape::bytes * column, t.chromaStride * step, chromaRows, columns,
            w->chromaResidual ? w->residual : nullptr, [=](int32_t row, int32_t component) {
                return reducedChromaResidual<k>(chromaFirst + step * row, component, residualColumn);
            });
    }
}

}  // namespace tvk
