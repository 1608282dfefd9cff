// SPDX-License-Identifier: BSD-2-Clause
// Prediction in field pictures at eighth size, whose lines stand below each other and not on lines of their parity.
#pragma once

#include "mpeg12/reduced_prediction.h"

namespace tvk {

// One plane, sample by sample in place. A second field's macroblocks are stored over the lines of the first, which are
// its reference too: what they read may be what they have just written.
// DEPARTURE(eighth-size second fields): required as it stands; such pictures are decoded on one thread, in order.
template <PictureKind k, int step, int count, class ResidualAt>
void predictStackedPlane(uint8_t *out, ptrdiff_t stride, int32_t rows, int32_t bytes,
                         const PlaneView *const (&planes)[count], const int64_t (&bases)[count],
                         const int32_t (&xs)[count], const int32_t (&ys)[count], const int32_t (&parities)[count],
                         const int16_t *residual, const ResidualAt &residualAt) {
    constexpr int32_t base = ReducedSums<k>::base;
    struct Source {
        const uint8_t *p;
        ptrdiff_t right, below;
        int32_t phaseX, phaseY;
    } sources[count];
    for (int i = 0; i < count; ++i) {
        const ReducedRead r = splitVertical<k>(ys[i], LineForm::field, parities[i]);
        const int32_t phaseX = xs[i] & (base - 1);
        const int32_t right = phaseX ? step : 0, below = r.phaseY ? r.below : 0;
        const int64_t offset = bases[i] + r.line * stride + static_cast<int64_t>(step) * (xs[i] >> 4);
        sources[i] = {clampReduced(*planes[i], offset, rows + below, bytes + right), right, below * stride, phaseX,
                      r.phaseY};
    }
    for (int32_t row = 0; row < rows; ++row) {
        for (int32_t x = 0; x < bytes; ++x) {
            int32_t sum[count];
            for (int i = 0; i < count; ++i) {
                const Source &s = sources[i];
                const uint8_t *p = s.p + stride * row + x;
                sum[i] = (base - s.phaseY) * ((base - s.phaseX) * p[0] + s.phaseX * p[s.right]) +
                         s.phaseY * ((base - s.phaseX) * p[s.below] + s.phaseX * p[s.below + s.right]);
            }
            out[x] = combineSums<k, count, Combine::sum>(sum, residual ? residual[residualAt(row, x)] : 0);
        }
        out += stride;
    }
}

template <PictureKind k, int count>
void predictStacked(SliceWorker *w, const MacroblockTarget &t, PredictedRows coded,
                    const PredictionSource (&sources)[count]) {
    using Shape = ReducedShape<k>;
    constexpr int32_t height = k.chroma == chroma420 ? 2 : 1;
    const int32_t rows = Shape::rows(coded.count), first = Shape::rows(coded.first);
    const int32_t chromaRows = rows / height, chromaFirst = first / height;
    const PlaneView *luma[count], *chroma[count];
    int64_t lumaBase[count], chromaBase[count];
    int32_t x[count], y[count], chromaX[count], chromaY[count], parity[count];
    for (int i = 0; i < count; ++i) {
        const PredictionSource &s = sources[i];
        luma[i] = s.luma;
        chroma[i] = s.chroma;
        lumaBase[i] = static_cast<int64_t>(w->currentLuma.stride) * (w->blockY + first) + w->blockX;
        chromaBase[i] = static_cast<int64_t>(w->currentChroma.stride) * (w->chromaY + chromaFirst) + w->chromaX;
        x[i] = s.x;
        y[i] = s.y;
        chromaX[i] = k.chroma == chroma444 ? s.x : halfTowardZero(s.x);
        chromaY[i] = k.chroma == chroma420 ? halfTowardZero(s.y) : s.y;
        parity[i] = s.line;
    }
    predictStackedPlane<k, 1>(t.luma + t.lumaStride * first, t.lumaStride, rows, Shape::bytes, luma, lumaBase, x, y,
                              parity, w->lumaResidual ? w->residual : nullptr,
                              [=](int32_t row, int32_t byte) { return reducedLumaResidual<k>(first + row, byte); });
    predictStackedPlane<k, 2>(t.chroma + t.chromaStride * chromaFirst, t.chromaStride, chromaRows,
                              Shape::bytes * k.chromaColumns(), chroma, chromaBase, chromaX, chromaY, parity,
                              w->chromaResidual ? w->residual : nullptr, [=](int32_t row, int32_t byte) {
                                  return reducedChromaResidual<k>(chromaFirst + row, byte % Shape::bytes,
                                                                  byte / Shape::bytes);
                              });
}

}  // namespace tvk
