// SPDX-License-Identifier: BSD-2-Clause
// Where a non-intra macroblock's blocks lie, so that its residual is a picture that prediction adds row by row.
#include "core/stream.h"
#include "mpeg12/worker.h"

namespace tvk {

namespace {

using Placement = uint8_t[2][12];

// Block i begins at value 4 * entry. A frame picture's columns of 8 samples are strips of rows of 8 values; under
// field DCT (the second row) two blocks of a strip interleave, the entry with 2 added beginning one row of 8 down.
// 4:2:0 chroma is never interleaved. A field picture holds its blocks in bitstream order.
constexpr Placement kFramePlacement[3] = {
    {{0, 32, 16, 48, 64, 80}, {0, 32, 2, 34, 64, 80}},
    {{0, 32, 16, 48, 64, 96, 80, 112}, {0, 32, 2, 34, 64, 96, 66, 98}},
    {{0, 32, 16, 48, 64, 128, 80, 144, 96, 160, 112, 176}, {0, 32, 2, 34, 64, 128, 96, 160, 66, 130, 98, 162}},
};

constexpr Placement kFieldPlacement = {{0, 16, 32, 48, 64, 80, 96, 112, 128, 144, 160, 176},
                                       {0, 16, 32, 48, 64, 80, 96, 112, 128, 144, 160, 176}};

}  // namespace

void selectBlockPlacement(VideoStream *stream) {
    const uint32_t chroma = stream->headers.sequenceExtension.chromaFormat;
    const bool frame = stream->headers.pictureCoding.pictureStructure == structureFrame;
    stream->geometry.blockPlacement =
        frame && chroma >= 1 && chroma <= 3 ? kFramePlacement[chroma - 1] : kFieldPlacement;
}

}  // namespace tvk
