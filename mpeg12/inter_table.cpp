// SPDX-License-Identifier: BSD-2-Clause
// Choosing the inter decoder of a picture.
#include "mpeg12/inter_table.h"

namespace tvk {

namespace {

const InterRow *const kInterRows[4] = {&kInterFull, &kInterHalf, &kInterQuarter, &kInterEighth};

}  // namespace

void SelectInterDecoder(VideoStream *stream) {
    const Headers &h = stream->headers;
    const uint32_t type = h.picture.pictureCodingType;
    const uint8_t chroma = h.sequenceExtension.chromaFormat;
    if (type != pictureP && type != pictureB) return;
    const bool mpeg1 = stream->streamType != 2;
    if (!mpeg1 && (chroma < chroma420 || chroma > chroma444)) return;
    const PictureKind kind = {mpeg1, mpeg1 ? static_cast<uint8_t>(chroma420) : chroma,
                              !mpeg1 && h.pictureCoding.pictureStructure != structureFrame, type == pictureB,
                              static_cast<uint8_t>(stream->settings.reduceCoefficient)};
    const int32_t index = indexOf(kind);
    stream->chosen.interDecoder = (*kInterRows[index / kKindsPerReduce])[static_cast<size_t>(index % kKindsPerReduce)];
}

}  // namespace tvk
