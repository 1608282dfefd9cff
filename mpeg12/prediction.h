// SPDX-License-Identifier: BSD-2-Clause
// From vectors to kernels at coded size: where a prediction of some rows reads, what it adds and where it stores.
#pragma once

#include <cstdint>

#include "mpeg12/picture_kind.h"
#include "mpeg12/prediction_kernels.h"
#include "mpeg12/worker.h"

namespace tvk {

// Rows of a macroblock that one vector (or a pair) predicts, in the macroblock's own luma rows: all 16, the 8 of one
// field of a frame picture, or the 8 of one half in a field picture.
struct PredictedRows {
    int32_t first, step, count;
};

inline constexpr PredictedRows kAllRows = {0, 1, 16};
constexpr PredictedRows fieldRows(int32_t parity) {
    return {parity, 2, 8};
}
constexpr PredictedRows halfRows(int32_t half) {
    return {8 * half, 1, 8};
}

// One source of a prediction: planes, vector in half samples, first line read (the parity of a field).
struct PredictionSource {
    const PlaneView *luma, *chroma;
    int32_t x, y;
    int32_t line;
};

// Where a macroblock is stored: its first row and the distance of its rows, in both planes.
struct MacroblockTarget {
    uint8_t *luma, *chroma;
    ptrdiff_t lumaStride, chromaStride;
};

// Division by two toward zero, as chroma vectors are made.
constexpr int32_t halfTowardZero(int32_t v) {
    return (v + (v < 0 ? 1 : 0)) >> 1;
}

constexpr int32_t fractionOf(int32_t x, int32_t y) {
    return (x & 1) | (y & 1) << 1;
}

// A reading place held inside its plane: `offset` moves to where the whole read fits. In a plane too small for the
// read the fractions are dropped, whose rows and columns are what does not fit.
struct ReadPlace {
    const uint8_t *data;
    int32_t fraction;
};

template <int step>
inline ReadPlace clampRead(const PlaneView &plane, int64_t offset, int32_t fraction, int64_t stride, int32_t rows) {
    const int64_t extent = (rows - 1 + (fraction >> 1)) * stride + 16 + step * (fraction & 1);
    const int64_t last = plane.size - extent;
    if (offset >= 0 && offset <= last) [[likely]]
        return {plane.data + offset, fraction};
    if (last >= 0) return {plane.data + (offset < 0 ? 0 : last), fraction};
    return {plane.data, 0};
}

template <PictureKind k, int step>
using KernelsOf = PredictionKernels<NativeLanes, step, k.exactDiagonal() ? Diagonal::exact : Diagonal::twoStage>;

// Runs the kernels of one plane. `base` is the macroblock's first byte less any parity line, `row` the first row of
// the source behind it in steps of `stride`.
template <PictureKind k, int step, int count>
inline void predictPlane(const PredictionTarget &target, bool residual, const PlaneView *const (&planes)[count],
                         const int64_t (&offsets)[count], const int32_t (&fractions)[count], int64_t stride) {
    using Kernels = KernelsOf<k, step>;
    const ReadPlace a = clampRead<step>(*planes[0], offsets[0], fractions[0], stride, target.rows);
    if constexpr (count == 1) {
        Kernels::one[residual][static_cast<size_t>(a.fraction)](target, a.data, stride);
    } else {
        const ReadPlace b = clampRead<step>(*planes[1], offsets[1], fractions[1], stride, target.rows);
        Kernels::two[residual][static_cast<size_t>(a.fraction)][static_cast<size_t>(b.fraction)](target, a.data, b.data,
                                                                                                 stride);
    }
}

// Field pictures hold the residual by blocks of 8 rows, so that 16 rows with a residual go in two turns.
template <PictureKind k>
constexpr bool splitsRows(bool residual, int32_t rows) {
    return k.field && residual && rows == 16;
}

template <PictureKind k, int count>
void predictLuma(SliceWorker *w, const MacroblockTarget &t, PredictedRows rows,
                 const PredictionSource (&sources)[count], int64_t lineStep) {
    const int64_t stride = w->currentLuma.stride;
    const int64_t readStride = stride * lineStep;
    const int64_t base = stride * 8 * w->blockY + 8 * w->blockX;
    const int32_t turns = splitsRows<k>(w->lumaResidual, rows.count) ? 2 : 1;
    const int32_t rowsPerTurn = rows.count / turns;

    const PlaneView *planes[count];
    int32_t fractions[count];
    int64_t offsets[count];
    for (int i = 0; i < count; ++i) {
        const PredictionSource &s = sources[i];
        planes[i] = s.luma;
        fractions[i] = fractionOf(s.x, s.y);
        offsets[i] = base + stride * s.line + readStride * ((s.y >> 1) + (k.field ? rows.first : 0)) + (s.x >> 1);
    }
    for (int32_t turn = 0; turn < turns; ++turn) {
        const int32_t first = rows.first + rowsPerTurn * turn;
        const int32_t half = k.field ? first >> 3 : 0;
        const int32_t row = k.field ? first & 7 : first;
        const PredictionTarget target = {t.luma + t.lumaStride * first,
                                         t.lumaStride * rows.step,
                                         rowsPerTurn,
                                         {w->residual + k.lumaResidual(half, 0) + 8 * row,
                                          w->residual + k.lumaResidual(half, 1) + 8 * row, 8 * rows.step}};
        predictPlane<k, 1>(target, w->lumaResidual, planes, offsets, fractions, readStride);
        for (int i = 0; i < count; ++i) offsets[i] += readStride * rowsPerTurn;
    }
}

template <PictureKind k, int count>
void predictChroma(SliceWorker *w, const MacroblockTarget &t, PredictedRows rows,
                   const PredictionSource (&sources)[count], int64_t lineStep) {
    constexpr bool halfHeight = k.chroma == chroma420;
    const int64_t stride = w->currentChroma.stride;
    const int64_t readStride = stride * lineStep;
    const int64_t base = stride * 8 * w->chromaY + 8 * w->chromaX;
    // The halves of a field picture have half the rows each; the fields of a frame picture keep their parity line.
    const int32_t firstRow = halfHeight && k.field ? rows.first / 2 : rows.first;
    const int32_t rowCount = halfHeight ? rows.count / 2 : rows.count;
    const int32_t turns = splitsRows<k>(w->chromaResidual, rowCount) ? 2 : 1;
    const int32_t rowsPerTurn = rowCount / turns;

    const PlaneView *planes[count];
    int32_t fractions[count];
    int64_t offsets[count];
    for (int i = 0; i < count; ++i) {
        const PredictionSource &s = sources[i];
        const int32_t x = k.chroma == chroma444 ? s.x : halfTowardZero(s.x);
        const int32_t y = halfHeight ? halfTowardZero(s.y) : s.y;
        planes[i] = s.chroma;
        fractions[i] = fractionOf(x, y);
        offsets[i] = base + stride * s.line + readStride * ((y >> 1) + (k.field ? firstRow : 0)) + 2 * (x >> 1);
    }
    for (int32_t turn = 0; turn < turns; ++turn) {
        const int32_t first = firstRow + rowsPerTurn * turn;
        const int32_t half = k.field ? first >> 3 : 0;
        const int32_t row = k.field ? first & 7 : first;
        for (int32_t column = 0; column < k.chromaColumns(); ++column) {
            const PredictionTarget target = {
                t.chroma + t.chromaStride * first + 16 * column,
                t.chromaStride * rows.step,
                rowsPerTurn,
                {w->residual + k.chromaResidual(0, half, column) + 8 * row,
                 w->residual + k.chromaResidual(1, half, column) + 8 * row, 8 * rows.step}};
            predictPlane<k, 2>(target, w->chromaResidual, planes, offsets, fractions, readStride);
            for (int i = 0; i < count; ++i) offsets[i] += 16;
        }
        for (int i = 0; i < count; ++i) offsets[i] += readStride * rowsPerTurn - 16 * k.chromaColumns();
    }
}

// Predicts the rows from one source, or from the average of two.
template <PictureKind k, int count>
inline void predictRows(SliceWorker *w, const MacroblockTarget &t, PredictedRows rows,
                        const PredictionSource (&sources)[count]) {
    const int64_t lineStep = k.field || rows.step == 2 ? 2 : 1;
    predictLuma<k, count>(w, t, rows, sources, lineStep);
    predictChroma<k, count>(w, t, rows, sources, lineStep);
}

}  // namespace tvk
