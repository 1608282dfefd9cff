// SPDX-License-Identifier: BSD-2-Clause
// Prediction at eighth size, sample by sample: a macroblock is 2 x 2 of luma, in field pictures 2 x 4.
#pragma once

#include <cstdint>

#include "core/inline.h"
#include "mpeg12/reduced_geometry.h"

namespace tvk {

// What a macroblock without a coded block adds.
alignas(64) inline constexpr int16_t kZeroResidual[kMaxBlocks * kBlockValues] = {};

// How several sources meet.
enum class Combine : uint8_t {
    sum,     // one rounding over all of them: (sums + half) / (sources * 256) + residual
    twoPass  // the first stored, the second with twice the residual clamped, then the mean rounded up
};

// The mean of `count` sources with their weighted sums added up, rounded to nearest.
template <int count>
constexpr int32_t roundedMean(int32_t sum) {
    constexpr uint32_t total = count * 256;
    return static_cast<int32_t>((static_cast<uint32_t>(sum) + total / 2) / total);
}

constexpr uint8_t clampSample(int32_t v) {
    return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
}

template <int sources, Combine combine>
constexpr uint8_t combineSums(const int32_t (&sum)[sources], int32_t residual) {
    if constexpr (combine == Combine::sum) {
        int32_t all = 0;
        for (int32_t s : sum) all += s;
        return clampSample(roundedMean<sources>(all) + residual);
    } else {
        const int32_t second = clampSample(roundedMean<1>(sum[1]) + 2 * residual);
        return static_cast<uint8_t>((roundedMean<1>(sum[0]) + second + 1) >> 1);
    }
}

// A source of one plane, ready to be weighed: its first sample, the distances to the neighbours, and the weights of the
// four, which add up to 256.
struct EighthSource {
    const uint8_t *p;
    ptrdiff_t right, below;
    int32_t here, toRight, downward, across;

    // Phases in 1 / 16.
    EighthSource(const uint8_t *first, ptrdiff_t rightStep, ptrdiff_t belowStep, int32_t phaseX, int32_t phaseY)
        : p(first),
          right(rightStep),
          below(belowStep),
          here((16 - phaseX) * (16 - phaseY)),
          toRight(phaseX * (16 - phaseY)),
          downward((16 - phaseX) * phaseY),
          across(phaseX * phaseY) {}
    EighthSource() = default;

    TVK_INLINE int32_t sumAt(ptrdiff_t i) const {
        const uint8_t *q = p + i;
        return here * q[0] + toRight * q[right] + downward * q[below] + across * q[below + right];
    }
};

template <PictureKind k, int step>
inline EighthSource eighthSource(const PlaneView &plane, int64_t at, int32_t rows, int32_t bytes, LineForm form,
                                 int32_t x, int32_t y, int32_t parity) {
    const ReducedRead r = splitVertical<k>(y, form, parity);
    const int32_t phaseX = x & 15, right = phaseX ? step : 0, below = r.phaseY ? r.below : 0;
    const int64_t offset = at + r.line * plane.stride + static_cast<int64_t>(step) * ReducedShape<k>::whole(x);
    return {clampReduced(plane, offset, rows + below, bytes + right), right,
            static_cast<ptrdiff_t>(below) * plane.stride, phaseX, r.phaseY};
}

// In place and in order: a second field's macroblocks are stored over the lines of the first, which are its reference
// too, so that what is read may have been written just before.
// DEPARTURE(eighth-size second fields): required as it stands; such pictures are decoded on one thread.
template <int count, Combine combine, class ResidualAt>
inline void predictEighthPlane(uint8_t *out, ptrdiff_t stride, int32_t rows, int32_t bytes,
                               const EighthSource (&sources)[count], const int16_t *residual,
                               const ResidualAt &residualAt) {
    for (int32_t row = 0; row < rows; ++row)
        for (int32_t x = 0; x < bytes; ++x) {
            int32_t sum[count];
            for (int i = 0; i < count; ++i) sum[i] = sources[i].sumAt(stride * row + x);
            out[stride * row + x] = combineSums<count, combine>(sum, residual[residualAt(row, x)]);
        }
}

// In frame pictures all rows are predicted at once, whatever the form.
template <PictureKind k, RowSet coded, LineForm form, int count, Combine combine>
void predictEighth(SliceWorker *w, const MacroblockTarget &t, int32_t part, const PredictionSource (&sources)[count]) {
    using Shape = ReducedShape<k>;
    constexpr int32_t height = k.chroma == chroma420 ? 2 : 1, chromaBytes = Shape::bytes * k.chromaColumns();
    constexpr int32_t rows = Shape::rows(k.field ? coded.count : 16), chromaRows = rows / height;
    const int32_t first = k.field ? Shape::rows(coded.first(part)) : 0, chromaFirst = first / height;
    const int64_t lumaAt = lumaStart<k>(w) + static_cast<int64_t>(w->currentLuma.stride) * first;
    const int64_t chromaAt = chromaStart<k>(w) + static_cast<int64_t>(w->currentChroma.stride) * chromaFirst;
    EighthSource luma[count], chroma[count];
    for (int i = 0; i < count; ++i) {
        const PredictionSource &s = sources[i];
        const int32_t chromaX = k.chroma == chroma444 ? s.x : halfTowardZero(s.x);
        const int32_t chromaY = k.chroma == chroma420 ? halfTowardZero(s.y) : s.y;
        luma[i] = eighthSource<k, 1>(*s.luma, lumaAt, rows, Shape::bytes, form, s.x, s.y, s.line);
        chroma[i] = eighthSource<k, 2>(*s.chroma, chromaAt, chromaRows, chromaBytes, form, chromaX, chromaY, s.line);
    }
    predictEighthPlane<count, combine>(t.luma + t.lumaStride * first, t.lumaStride, rows, Shape::bytes, luma,
                                       w->lumaResidual ? w->residual : kZeroResidual,
                                       [=](int32_t row, int32_t x) { return reducedLumaResidual<k>(first + row, x); });
    predictEighthPlane<count, combine>(
        t.chroma + t.chromaStride * chromaFirst, t.chromaStride, chromaRows, chromaBytes, chroma,
        w->chromaResidual ? w->residual : kZeroResidual, [=](int32_t row, int32_t x) {
            return reducedChromaResidual<k>(chromaFirst + row, x % Shape::bytes, x / Shape::bytes);
        });
}

// Two directions of a frame or field: the frame pictures of 4:2:0 take two passes, all others one.
template <PictureKind k, int count>
constexpr Combine combineOf() {
    return count == 2 && k.chroma == chroma420 && !k.field ? Combine::twoPass : Combine::sum;
}

}  // namespace tvk
