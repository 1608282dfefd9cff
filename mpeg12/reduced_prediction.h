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
template <PictureKind k, int step, LineForm form, int32_t rows>
TVK_INLINE void readColumn(typename NativeLanes::I16x8 *row, const PlaneView &plane, int64_t at, int32_t firstRow,
                           int32_t x, int32_t y, int32_t parity) {
    using Shape = ReducedShape<k>;
    using Kernels = ReducedKernelsOf<k, step>;
    constexpr bool windowed = k.reduce == 4 && form == LineForm::frame;
    const ReducedRead r = splitVertical<k>(y, form, parity);
    const int32_t phaseX = x & (Shape::base - 1);
    const int64_t first = r.line + static_cast<int64_t>(r.rowStep) * firstRow;
    const int64_t offset = at + first * plane.stride + static_cast<int64_t>(step) * Shape::whole(x);
    const int32_t below = r.below / r.rowStep;
    const int32_t lines =
        windowed ? rows - 2 + kWindowLines[static_cast<size_t>(r.phaseY)] : rows + (r.phaseY ? below : 0);
    const uint8_t *p = clampReduced(plane, offset, static_cast<int64_t>(lines - 1) * r.rowStep + 1,
                                    Shape::bytes + (phaseX ? step : 0));
    const ReducedSource source = {p, static_cast<ptrdiff_t>(r.rowStep) * plane.stride, phaseX, r.phaseY};
    if constexpr (form == LineForm::copy)
        Kernels::template copyRows<rows>(row, source);
    else if constexpr (windowed)
        Kernels::template weighWindows<rows>(row, source);
    else
        Kernels::template weighRows<form == LineForm::frame ? 2 : 1, rows>(row, source);
}

// Stores the mean of the columns and the residual. Field pictures hold the residual by blocks of u rows, so that more
// rows go in turns.
template <PictureKind k, int step, int32_t rows, int count, class ResidualAt>
TVK_INLINE void storeColumn(uint8_t *out, ptrdiff_t stride,
                            const typename NativeLanes::I16x8 (&columns)[count][kMostReducedRows], bool residual,
                            int32_t residualStep, const ResidualAt &residualAt) {
    constexpr int32_t rowsPerTurn = k.field && rows > k.unit() ? k.unit() : rows;
    for (int32_t first = 0; first < rows; first += rowsPerTurn)
        ReducedKernelsOf<k, step>::template store<count == 2, rowsPerTurn>(
            out + stride * first, stride, columns[0] + first, columns[count - 1] + first, residual,
            {residualAt(first, 0), residualAt(first, 1), residualStep});
}

template <PictureKind k, RowSet coded, LineForm form, int count>
void predictReduced(SliceWorker *w, const MacroblockTarget &t, int32_t part, const PredictionSource (&sources)[count]) {
    using Shape = ReducedShape<k>;
    constexpr int32_t u = Shape::u;
    // First row and row step in the stored macroblock's own rows; the halves of a field picture move the source too.
    constexpr int32_t step = k.field ? 1 : coded.step;
    constexpr int32_t rows = Shape::rows(coded.count);
    const int32_t half = k.field ? Shape::rows(coded.first(part)) : 0;
    const int32_t first = k.field ? half : coded.first(part);

    typename NativeLanes::I16x8 columns[count][kMostReducedRows];
    for (int i = 0; i < count; ++i)
        readColumn<k, 1, form, rows>(columns[i], *sources[i].luma, lumaStart<k>(w), half, sources[i].x, sources[i].y,
                                     sources[i].line);
    storeColumn<k, 1, rows, count>(
        t.luma + t.lumaStride * first, t.lumaStride * step, columns, w->lumaResidual, u * step,
        [=](int32_t row, int32_t side) { return w->residual + reducedLumaResidual<k>(first + step * row, u * side); });

    constexpr int32_t height = k.chroma == chroma420 ? 2 : 1;
    constexpr int32_t chromaRows = rows / height;
    const int32_t chromaHalf = half / height;
    const int32_t chromaFirst = k.field ? chromaHalf : coded.first(part);
    for (int32_t column = 0; column < k.chromaColumns(); ++column) {
        const bool repeat = repeatsLeftHalf<k>(form) && column == 1;
        for (int i = 0; i < count && !repeat; ++i) {
            const PredictionSource &s = sources[i];
            const int32_t x = k.chroma == chroma444 ? s.x : halfTowardZero(s.x);
            const int32_t y = k.chroma == chroma420 ? halfTowardZero(s.y) : s.y;
            readColumn<k, 2, form, chromaRows>(columns[i], *s.chroma, chromaStart<k>(w) + Shape::bytes * column,
                                               chromaHalf, x, y, s.line);
        }
        const int32_t residualColumn = repeat ? 0 : column;
        storeColumn<k, 2, chromaRows, count>(
            t.chroma + t.chromaStride * chromaFirst + Shape::bytes * column, t.chromaStride * step, columns,
            w->chromaResidual, u * step, [=](int32_t row, int32_t component) {
                return w->residual + reducedChromaResidual<k>(chromaFirst + step * row, component, residualColumn);
            });
    }
}

}  // namespace tvk
