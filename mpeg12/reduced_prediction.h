// SPDX-License-Identifier: BSD-2-Clause
// From vectors to kernels at half and quarter size: where a column is read, what it adds and where it is stored.
#pragma once

#include <cstdint>

#include "mpeg12/reduced_geometry.h"
#include "mpeg12/reduced_kernels.h"

namespace tvk {

template <PictureKind k, int step>
using ReducedKernelsOf = ReducedKernels<NativeLanes, k.reduce == 2, step>;

// Interpolates the rows of one column of a source. `at` is the macroblock's first byte in the plane, `firstRow` the
// first stored row of its field.
template <PictureKind k, int step>
inline void readColumn(typename NativeLanes::I16x8 *row, const PlaneView &plane, int64_t at, int32_t firstRow,
                       int32_t rows, LineForm form, int32_t x, int32_t y, int32_t parity) {
    using Shape = ReducedShape<k>;
    using Kernels = ReducedKernelsOf<k, step>;
    const ReducedRead r = splitVertical<k>(y, form, parity);
    const int32_t phaseX = x & (Shape::base - 1);
    const int64_t first = r.line + static_cast<int64_t>(r.rowStep) * firstRow;
    const int64_t offset = at + first * plane.stride + static_cast<int64_t>(step) * Shape::whole(x);
    const bool windowed = k.reduce == 4 && form == LineForm::frame;
    const int32_t below = r.below / r.rowStep;
    const int32_t lines =
        windowed ? rows - 2 + kWindowLines[static_cast<size_t>(r.phaseY)] : rows + (r.phaseY ? below : 0);
    const uint8_t *p = clampReduced(plane, offset, static_cast<int64_t>(lines - 1) * r.rowStep + 1,
                                    Shape::bytes + (phaseX ? step : 0));
    const ReducedSource source = {p, static_cast<ptrdiff_t>(r.rowStep) * plane.stride, phaseX, r.phaseY};
    if (form == LineForm::copy) return Kernels::copyRows(row, source, rows);
    if (form == LineForm::frame) {
        if constexpr (k.reduce == 2)
            return Kernels::template weighRows<2>(row, source, rows);
        else
            return Kernels::weighWindows(row, source, rows);
    }
    Kernels::template weighRows<1>(row, source, rows);
}

// Stores the mean of the columns and the residual. Field pictures hold the residual by blocks of u rows, so that more
// rows go in turns.
template <PictureKind k, int step, int count, class ResidualAt>
inline void storeColumn(uint8_t *out, ptrdiff_t stride, int32_t rows,
                        const typename NativeLanes::I16x8 (&columns)[count][kMostReducedRows], bool residual,
                        int32_t residualStep, const ResidualAt &residualAt) {
    const int32_t rowsPerTurn = k.field && residual && rows > k.unit() ? k.unit() : rows;
    for (int32_t first = 0; first < rows; first += rowsPerTurn)
        ReducedKernelsOf<k, step>::template store<count == 2>(
            out + stride * first, stride, rowsPerTurn, columns[0] + first, columns[count - 1] + first, residual,
            {residualAt(first, 0), residualAt(first, 1), residualStep});
}

template <PictureKind k, int count>
void predictReduced(SliceWorker *w, const MacroblockTarget &t, PredictedRows coded, LineForm form,
                    const PredictionSource (&sources)[count]) {
    using Shape = ReducedShape<k>;
    constexpr int32_t u = Shape::u;
    // First row and row step in the stored macroblock's own rows; the halves of a field picture move the source too.
    const int32_t step = k.field ? 1 : coded.step;
    const int32_t rows = Shape::rows(coded.count);
    const int32_t half = k.field ? Shape::rows(coded.first) : 0;
    const int32_t first = k.field ? half : coded.first;

    typename NativeLanes::I16x8 columns[count][kMostReducedRows];
    const int64_t lumaAt = static_cast<int64_t>(w->currentLuma.stride) * u * w->blockY + u * w->blockX;
    for (int i = 0; i < count; ++i)
        readColumn<k, 1>(columns[i], *sources[i].luma, lumaAt, half, rows, form, sources[i].x, sources[i].y,
                         sources[i].line);
    storeColumn<k, 1, count>(
        t.luma + t.lumaStride * first, t.lumaStride * step, rows, columns, w->lumaResidual, u * step,
        [=](int32_t row, int32_t side) { return w->residual + reducedLumaResidual<k>(first + step * row, u * side); });

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
            readColumn<k, 2>(columns[i], *s.chroma, chromaAt + Shape::bytes * column, chromaHalf, chromaRows, form, x,
                             y, s.line);
        }
        const int32_t residualColumn = repeat ? 0 : column;
        storeColumn<k, 2, count>(t.chroma + t.chromaStride * chromaFirst + Shape::bytes * column, t.chromaStride * step,
                                 chromaRows, columns, w->chromaResidual, u * step, [=](int32_t row, int32_t component) {
                                     return w->residual + reducedChromaResidual<k>(chromaFirst + step * row, component,
                                                                                   residualColumn);
                                 });
    }
}

}  // namespace tvk
