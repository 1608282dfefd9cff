// SPDX-License-Identifier: BSD-2-Clause
// From vectors to kernels at coded size: where a prediction of some rows reads, what it adds and where it stores.
#pragma once

#include <cstdint>

#include "core/inline.h"
#include "mpeg12/picture_kind.h"
#include "mpeg12/prediction_kernels.h"
#include "mpeg12/worker.h"

namespace tvk {

// Rows of a macroblock that one vector (or a pair) predicts, in the macroblock's own luma rows: all 16, the 8 of one
// field of a frame picture, or the 8 of one half in a field picture. Fields and halves are parts 0 and 1.
struct RowSet {
    int32_t apart;  // from part 0's first row to that of part 1
    int32_t step, count;

    constexpr int32_t first(int32_t part) const { return apart * part; }
};

inline constexpr RowSet kAllRows = {0, 1, 16};
inline constexpr RowSet kFieldRows = {1, 2, 8};
inline constexpr RowSet kHalfRows = {8, 1, 8};

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

// Half-sample fractions of a vector: bit 0 horizontal, bit 1 vertical.
constexpr int32_t fractionOf(int32_t x, int32_t y) {
    return (x & 1) | (y & 1) << 1;
}

// A reading place held inside its plane: `offset` moves to where the whole read fits. In a plane too small for the
// read the fractions are dropped, whose rows and columns are what does not fit.
struct ReadPlace {
    const uint8_t *data;
    int32_t fraction;
};

template <int step, int32_t rows>
TVK_INLINE ReadPlace clampRead(const PlaneView &plane, int64_t offset, int32_t fraction, int64_t stride) {
    const int64_t extent = (rows - 1) * stride + ((fraction & 2) ? stride : 0) + 16 + step * (fraction & 1);
    const int64_t last = plane.size - extent;
    if (offset >= 0 && offset <= last) [[likely]]
        return {plane.data + offset, fraction};
    if (last >= 0) return {plane.data + (offset < 0 ? 0 : last), fraction};
    return {plane.data, 0};
}

template <PictureKind k, int step>
using KernelsOf = PredictionKernels<NativeLanes, step, k.exactDiagonal() ? Diagonal::exact : Diagonal::twoStage>;

// Runs the kernels of one plane for `rows` rows, `stride` apart in the sources.
template <PictureKind k, int step, int32_t rows, int count>
TVK_INLINE void predictPlane(const PredictionTarget &target, bool residual, const PlaneView *const (&planes)[count],
                             const int64_t (&offsets)[count], const int32_t (&fractions)[count], int64_t stride) {
    using Kernels = KernelsOf<k, step>;
    const ReadPlace a = clampRead<step, rows>(*planes[0], offsets[0], fractions[0], stride);
    if constexpr (count == 1) {
        Kernels::oneOf(residual, a.fraction)(target, Kernels::startAt(a.data, a.fraction), stride);
    } else {
        const ReadPlace b = clampRead<step, rows>(*planes[1], offsets[1], fractions[1], stride);
        Kernels::twoOf(residual, a.fraction, b.fraction)(target, Kernels::startAt(a.data, a.fraction),
                                                         Kernels::startAt(b.data, b.fraction), stride);
    }
}

// Offset of the macroblock's first sample less the line of the field picture's parity.
template <PictureKind k>
TVK_INLINE int64_t lumaStart(const SliceWorker *w) {
    return static_cast<int64_t>(w->lumaOffset) - (k.field ? w->pictureStructureIndex * w->currentLuma.stride : 0);
}
template <PictureKind k>
TVK_INLINE int64_t chromaStart(const SliceWorker *w) {
    return static_cast<int64_t>(w->chromaOffset) - (k.field ? w->pictureStructureIndex * w->currentChroma.stride : 0);
}

// Field pictures hold the residual by blocks of 8 rows, so that 16 rows with a residual go in two turns.
template <PictureKind k, int32_t rows>
constexpr bool kSplitsRows = rows == 16 ? k.field : false;

template <PictureKind k, RowSet rows, int count>
TVK_INLINE void predictLuma(SliceWorker *w, const MacroblockTarget &t, int32_t part,
                            const PredictionSource (&sources)[count]) {
    const int64_t stride = w->currentLuma.stride;
    const int64_t readStride = k.field || rows.step == 2 ? 2 * stride : stride;
    const int64_t base = lumaStart<k>(w) + (k.field ? readStride * rows.first(part) : 0);

    const PlaneView *planes[count];
    int32_t fractions[count];
    int64_t offsets[count];
    for (int i = 0; i < count; ++i) {
        const PredictionSource &s = sources[i];
        planes[i] = s.luma;
        fractions[i] = fractionOf(s.x, s.y);
        offsets[i] = base + stride * s.line + readStride * (s.y >> 1) + (s.x >> 1);
    }
    const auto predict = [&]<int32_t rowCount>(int32_t first) {
        const int32_t half = k.field ? first >> 3 : 0;
        const int32_t row = k.field ? first & 7 : first;
        const PredictionTarget target = {t.luma + t.lumaStride * first,
                                         t.lumaStride * rows.step,
                                         rowCount,
                                         {w->residual + k.lumaResidual(half, 0) + 8 * row,
                                          w->residual + k.lumaResidual(half, 1) + 8 * row, 8 * rows.step}};
        predictPlane<k, 1, rowCount>(target, w->lumaResidual, planes, offsets, fractions, readStride);
    };
    const int32_t first = rows.first(part);
    if (kSplitsRows<k, rows.count> && w->lumaResidual) {
        predict.template operator()<8>(first);
        for (int64_t &offset : offsets) offset += 8 * readStride;
        predict.template operator()<8>(first + 8);
    } else {
        predict.template operator()<rows.count>(first);
    }
}

template <PictureKind k, RowSet rows, int count>
TVK_INLINE void predictChroma(SliceWorker *w, const MacroblockTarget &t, int32_t part,
                              const PredictionSource (&sources)[count]) {
    constexpr bool halfHeight = k.chroma == chroma420;
    constexpr int32_t allRows = halfHeight ? rows.count / 2 : rows.count;
    const int64_t stride = w->currentChroma.stride;
    const int64_t readStride = k.field || rows.step == 2 ? 2 * stride : stride;
    // The halves of a field picture have half the rows each; the fields of a frame picture keep their parity line.
    const int32_t firstRow = halfHeight && k.field ? rows.first(part) / 2 : rows.first(part);
    const int64_t base = chromaStart<k>(w) + (k.field ? readStride * firstRow : 0);

    const PlaneView *planes[count];
    int32_t fractions[count];
    int64_t offsets[count];
    for (int i = 0; i < count; ++i) {
        const PredictionSource &s = sources[i];
        const int32_t x = k.chroma == chroma444 ? s.x : halfTowardZero(s.x);
        const int32_t y = halfHeight ? halfTowardZero(s.y) : s.y;
        planes[i] = s.chroma;
        fractions[i] = fractionOf(x, y);
        offsets[i] = base + stride * s.line + readStride * (y >> 1) + 2 * (x >> 1);
    }
    const auto predict = [&]<int32_t rowCount>(int32_t first) {
        const int32_t half = k.field ? first >> 3 : 0;
        const int32_t row = k.field ? first & 7 : first;
        for (int32_t column = 0; column < k.chromaColumns(); ++column) {
            const PredictionTarget target = {
                t.chroma + t.chromaStride * first + 16 * column,
                t.chromaStride * rows.step,
                rowCount,
                {w->residual + k.chromaResidual(0, half, column) + 8 * row,
                 w->residual + k.chromaResidual(1, half, column) + 8 * row, 8 * rows.step}};
            int64_t columnOffsets[count];
            for (int i = 0; i < count; ++i) columnOffsets[i] = offsets[i] + 16 * column;
            predictPlane<k, 2, rowCount>(target, w->chromaResidual, planes, columnOffsets, fractions, readStride);
        }
    };
    if (kSplitsRows<k, allRows> && w->chromaResidual) {
        predict.template operator()<8>(firstRow);
        for (int64_t &offset : offsets) offset += 8 * readStride;
        predict.template operator()<8>(firstRow + 8);
    } else {
        predict.template operator()<allRows>(firstRow);
    }
}

// Predicts a part's rows from one source, or from the average of two.
template <PictureKind k, RowSet rows, int count>
void predictRows(SliceWorker *w, const MacroblockTarget &t, int32_t part, const PredictionSource (&sources)[count]) {
    predictLuma<k, rows, count>(w, t, part, sources);
    predictChroma<k, rows, count>(w, t, part, sources);
}

}  // namespace tvk
