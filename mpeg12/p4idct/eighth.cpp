// SPDX-License-Identifier: BSD-2-Clause
// Intra macroblocks and residuals at eighth size, from the compact values that the coefficient decoder leaves.
#include "mpeg12/p4idct/eighth.h"

#include "mpeg12/p4idct/place.h"
#include "mpeg12/worker.h"

namespace tvk {

namespace {

uint8_t pixel(int32_t v) {
    return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
}

// `blocks` holds one value a block, or pairs DC, AC: under field DCT and in field pictures.

// The two lines of blocks i and i + 2, which stand one above the other.
TwoLines stackedPair(const int16_t *pairs, int32_t i) {
    return eighthFieldPair(pairs[2 * i], pairs[2 * i + 1], pairs[2 * (i + 2)], pairs[2 * (i + 2) + 1]);
}

// One sample a block in block order. In place, since a block's sample lies at or before its values.
template <class Store>
void frameSamples(const SliceWorker *worker, int32_t blocks, Store store) {
    const int16_t *values = worker->blocks;
    if (!fieldDct(worker)) {
        for (int32_t i = 0; i < blocks; ++i) store(i, eighthSample(values[i]));
        return;
    }
    const int32_t stacked = blocks > 6 ? blocks : 4;
    for (int32_t i = 0; i < stacked; i += 4) {
        const TwoLines left = stackedPair(values, i), right = stackedPair(values, i + 1);
        store(i, left.upper);
        store(i + 1, right.upper);
        store(i + 2, left.lower);
        store(i + 3, right.lower);
    }
    for (int32_t i = stacked; i < blocks; ++i)  // 4:2:0 chroma is in frame order
        store(i, eighthSample(values[2 * i]));
}

// Block i's first sample; chroma columns are byte pairs.
ptrdiff_t samplePlace(int32_t i, ptrdiff_t lower) {
    if (i < 4) return (i >> 1) * lower + (i & 1);
    const int32_t pair = (i - 4) >> 1;
    return (pair & 1) * lower + (pair >> 1) * 2 + (i & 1);
}

void EighthFrameIntra(SliceWorker *worker, const MacroblockPlace &place) {
    uint8_t *luma = place.luma.data;
    uint8_t *chroma = place.chroma.data;
    const ptrdiff_t lumaStride = worker->currentLuma.stride, chromaStride = worker->currentChroma.stride;
    frameSamples(worker, 4 + 2 * place.chromaPairs, [&](int32_t i, int32_t v) {
        if (i < 4)
            luma[samplePlace(i, lumaStride)] = pixel(v);
        else
            chroma[samplePlace(i, chromaStride)] = pixel(v);
    });
}

// DEPARTURE(eighth-size second fields): a first field's macroblock fills the lines of both fields, and a second
// field's intra macroblocks write nothing.
void EighthFieldIntra(SliceWorker *worker, const MacroblockPlace &place) {
    if (worker->secondFieldFlag) return;
    const bool oddLines = worker->pictureStructureIndex == 1;
    for (int32_t i = 0; i < 4 + 2 * place.chromaPairs; ++i) {
        const PlaneView &plane = i < 4 ? worker->currentLuma : worker->currentChroma;
        uint8_t *first = (i < 4 ? place.luma.data : place.chroma.data) - (oddLines ? plane.stride : 0);
        uint8_t *dst = first + samplePlace(i, 2 * plane.stride);
        const TwoLines lines = eighthFieldIntra(worker->blocks[2 * i], worker->blocks[2 * i + 1]);
        dst[0] = pixel(lines.upper);
        dst[plane.stride] = pixel(lines.lower);
    }
}

}  // namespace

void IntraEighth(SliceWorker *worker) {
    MacroblockPlace place;
    if (!locateMacroblock(worker, 1, place)) return;
    if (framePicture(worker))
        EighthFrameIntra(worker, place);
    else
        EighthFieldIntra(worker, place);
}

// Leaves one residual a block in block order in frame pictures, the two lines of each block in field pictures.
void ResidualEighth(SliceWorker *worker) {
    int16_t *values = worker->blocks;
    if (framePicture(worker)) {
        frameSamples(worker, blockCount(worker),
                     [values](int32_t i, int32_t v) { values[i] = static_cast<int16_t>(v); });
        return;
    }
    const int32_t blocks = blockCount(worker);
    for (int32_t i = 0; i < blocks; ++i) {
        const TwoLines lines = eighthFieldResidual(values[2 * i], values[2 * i + 1]);
        values[2 * i] = static_cast<int16_t>(lines.upper);
        values[2 * i + 1] = static_cast<int16_t>(lines.lower);
    }
}

}  // namespace tvk
