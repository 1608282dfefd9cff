// SPDX-License-Identifier: BSD-2-Clause
// Where a macroblock's blocks go: samples in the current frame, residuals in the worker.
#pragma once

#include <cstddef>
#include <cstdint>

#include "mpeg12/p4idct/form.h"
#include "mpeg12/worker.h"

namespace tvk {

// The block of row h begins h * lower behind data.
struct PlanePlace {
    uint8_t *data;
    ptrdiff_t stride;  // between the lines of a block
    ptrdiff_t lower;   // from a block to the one below
};

struct MacroblockPlace {
    PlanePlace luma, chroma;
    int32_t chromaPairs;  // Cb, Cr pairs: 1, 2 or 4; pair p lies at row p & 1, column p >> 1
    bool field;           // the lines of a block are a field's
    bool chromaField;
};

inline bool framePicture(const SliceWorker *worker) {
    return worker->stream->headers.pictureCoding.pictureStructure == structureFrame;
}

// Field DCT in a frame picture.
inline bool fieldDct(const SliceWorker *worker) {
    return worker->macroblock.dctType != 0 && framePicture(worker);
}

inline int32_t chromaPairs(const SliceWorker *worker) {
    return (blockCount(worker) - 4) / 2;
}

// Sets lumaOffset and chromaOffset, `unit` being the stored bytes of 8 coded samples. Where a stream's headers do not
// fit its frames a macroblock could reach out of a plane; false then, the offsets stay inside, and nothing is to be
// written.
inline bool locateMacroblock(SliceWorker *worker, int32_t unit, MacroblockPlace &place) {
    const bool frame = framePicture(worker);
    const bool interleaved = fieldDct(worker);
    const int32_t pairs = chromaPairs(worker);
    const auto offsetOf = [&](const PlaneView &plane, int32_t column, int32_t row) {
        return (int64_t{plane.stride} * row + column) * unit;
    };
    const int64_t luma = offsetOf(worker->currentLuma, worker->blockX, worker->blockY);
    const int64_t chroma = offsetOf(worker->currentChroma, worker->chromaX, worker->chromaY);
    const bool second = !frame && worker->pictureStructureIndex == 1;  // the field of the odd lines
    const int64_t lumaStart = luma + (second ? worker->currentLuma.stride : 0);
    const int64_t chromaStart = chroma + (second ? worker->currentChroma.stride : 0);

    // A field's macroblock lies within twice as many lines of the frame.
    const auto fits = [&](const PlaneView &plane, int64_t offset, int32_t rows, int32_t columns) {
        const int64_t lines = int64_t{rows} * unit * (frame ? 1 : 2) - 1;
        return offset >= 0 && offset + lines * plane.stride + columns * unit <= plane.size;
    };
    if (!fits(worker->currentLuma, luma, 2, 2)) return false;
    if (pairs > 0 && !fits(worker->currentChroma, chroma, pairs > 1 ? 2 : 1, pairs > 2 ? 4 : 2)) return false;
    worker->lumaOffset = static_cast<uint32_t>(lumaStart);
    worker->chromaOffset = static_cast<uint32_t>(chromaStart);

    const auto placeOf = [&](const PlaneView &plane, int64_t offset, bool interleave) {
        const ptrdiff_t stride = plane.stride;
        if (interleave) return PlanePlace{plane.data + offset, 2 * stride, stride};
        if (frame) return PlanePlace{plane.data + offset, stride, unit * stride};
        return PlanePlace{plane.data + offset, 2 * stride, 2 * unit * stride};
    };
    const bool chromaInterleaved = interleaved && pairs > 1;  // 4:2:0 chroma is always in frame order
    place.luma = placeOf(worker->currentLuma, lumaStart, interleaved);
    place.chroma = pairs > 0 ? placeOf(worker->currentChroma, chromaStart, chromaInterleaved) : PlanePlace{};
    place.chromaPairs = pairs;
    place.field = interleaved || !frame;
    place.chromaField = chromaInterleaved || !frame;
    return true;
}

// The form of an intra block; bit `lowBit` of the mask decides whether it takes the low one.
inline BlockForm formOf(const SliceWorker *worker, int32_t block, int32_t lowBit) {
    if (blockBit(worker->dcOnlyBlockMask, block)) return BlockForm::single;
    return blockBit(worker->lowBlockMask, lowBit) ? BlockForm::low : BlockForm::full;
}

inline int16_t *intraBlock(SliceWorker *worker, int32_t i) {
    return worker->blocks + kBlockValues * i;
}

inline uint8_t *lumaPlace(const MacroblockPlace &place, int32_t i, int32_t unit) {
    return place.luma.data + (i >> 1) * place.luma.lower + (i & 1) * unit;
}
inline uint8_t *chromaPlace(const MacroblockPlace &place, int32_t pair, int32_t unit) {
    return place.chroma.data + (pair & 1) * place.chroma.lower + (pair >> 1) * 2 * unit;
}

}  // namespace tvk
