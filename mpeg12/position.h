// SPDX-License-Identifier: BSD-2-Clause
// The macroblock's place in an I picture.
#pragma once

#include "mpeg12/worker.h"

namespace tvk {

// Within a slice every macroblock moves on by exactly one, whatever its increment said; the address decides the first
// alone. A place at or beyond the picture's end is not taken: the macroblock overwrites the last one.
inline void AdvancePosition(SliceWorker *w, bool first) {
    const Geometry &g = w->stream->geometry;
    const Headers &h = w->stream->headers;
    const bool frame = h.pictureCoding.pictureStructure == structureFrame;
    const int32_t rowStep = frame ? 2 : 4;
    int32_t column, row;
    if (first) {
        const uint32_t perRow = static_cast<uint32_t>(g.blockWidth8) / 2;
        const uint32_t rows = w->macroblock.macroblockAddress / perRow;
        if (rows >= static_cast<uint32_t>(g.blockHeight8)) return;
        column = static_cast<int32_t>(2 * (w->macroblock.macroblockAddress % perRow));
        row = static_cast<int32_t>(rows) * rowStep;
    } else {
        column = w->blockX + 2;
        row = w->blockY;
        if (column >= g.blockWidth8) {
            column = 0;
            row += rowStep;
        }
    }
    if (row >= g.blockHeight8) return;
    w->blockX = column;
    w->blockY = row;
    w->chromaX = h.sequenceExtension.chromaFormat == chroma444 ? 2 * column : column;
    w->chromaY = h.sequenceExtension.chromaFormat == chroma420 ? row / 2 : row;
}

}  // namespace tvk
