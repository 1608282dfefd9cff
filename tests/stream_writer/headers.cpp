// SPDX-License-Identifier: BSD-2-Clause
// Writes the headers above the slice layer, each with its start code.
#include "stream_writer/headers.h"

namespace tvktest {
namespace {

void putMatrix(BitWriter &w, const std::optional<Matrix> &matrix) {
    w.put(1, matrix.has_value());
    if (!matrix) return;
    for (const uint8_t weight : *matrix) w.put(8, weight);
}

void putExtension(BitWriter &w, uint32_t id) {
    w.startCode(0xB5).put(4, id);
}

}  // namespace

void putSequence(BitWriter &w, const SequenceParameters &s) {
    putSequenceHeader(w, s);
    if (s.mpeg2) putSequenceExtension(w, s);
}

void putSequenceHeader(BitWriter &w, const SequenceParameters &s) {
    w.startCode(0xB3).put(12, s.width).put(12, s.height);
    w.put(4, s.aspectRatioCode).put(4, s.frameRateCode);
    w.put(18, s.bitRateValue).put(1, 1).put(10, s.vbvBufferSize).put(1, s.constrained);
    putMatrix(w, s.intraMatrix);
    putMatrix(w, s.nonIntraMatrix);
    w.align();
}

void putSequenceExtension(BitWriter &w, const SequenceParameters &s) {
    putExtension(w, 1);
    w.put(8, s.profileAndLevel).put(1, s.progressive).put(2, s.chromaFormat);
    w.put(2, s.width >> 12).put(2, s.height >> 12).put(12, s.bitRateValue >> 18).put(1, 1);
    w.put(8, s.vbvBufferSize >> 10).put(1, s.lowDelay).put(2, s.frameRateExtensionN).put(5, s.frameRateExtensionD);
    w.align();
}

void putSequenceDisplay(BitWriter &w, uint32_t displayWidth, uint32_t displayHeight, bool colour) {
    putExtension(w, 2);
    w.put(3, 5).put(1, colour);
    if (colour) w.put(8, 1).put(8, 1).put(8, 1);
    w.put(14, displayWidth).put(1, 1).put(14, displayHeight);
    w.align();
}

void putSequenceEnd(BitWriter &w) {
    w.startCode(0xB7);
}

void putGroup(BitWriter &w, const GroupParameters &g) {
    w.startCode(0xB8).put(1, g.dropFrame).put(5, g.hours).put(6, g.minutes).put(1, 1);
    w.put(6, g.seconds).put(6, g.pictures).put(1, g.closed).put(1, g.brokenLink);
    w.align();
}

void putUserData(BitWriter &w, const std::vector<uint8_t> &bytes) {
    w.startCode(0xB2).append(bytes);
}

void putPicture(BitWriter &w, const SequenceParameters &s, const PictureParameters &p) {
    putPictureHeader(w, s, p);
    if (s.mpeg2) putPictureCodingExtension(w, p);
}

void putPictureHeader(BitWriter &w, const SequenceParameters &s, const PictureParameters &p) {
    w.startCode(0).put(10, p.temporalReference).put(3, p.type).put(16, p.vbvDelay);
    for (uint32_t direction = 0; direction < 2; ++direction) {
        if (p.type != kPictureB && (direction == 1 || p.type != kPictureP)) continue;
        // MPEG-2 has its own codes in the extension and fixes these.
        w.put(1, !s.mpeg2 && p.fullPel[direction]).put(3, s.mpeg2 ? 7 : p.fCode[direction][0]);
    }
    for (const uint8_t information : p.extraInformation) w.put(1, 1).put(8, information);
    w.put(1, 0).align();
}

void putPictureCodingExtension(BitWriter &w, const PictureParameters &p) {
    putExtension(w, 8);
    for (const auto &direction : p.fCode)
        for (const uint32_t code : direction) w.put(4, code);
    w.put(2, p.intraDcPrecision).put(2, p.structure).put(1, p.topFieldFirst).put(1, p.framePredFrameDct);
    w.put(1, p.concealment).put(1, p.qScaleType).put(1, p.intraVlc).put(1, p.alternateScan);
    w.put(1, p.repeatFirstField).put(1, p.progressiveFrame);  // chroma_420_type follows progressive_frame
    w.put(1, p.progressiveFrame).put(1, p.compositeDisplay);
    if (p.compositeDisplay) w.put(1, 1).put(3, 5).put(1, 0).put(7, 0x55).put(8, 0xA3);
    w.align();
}

void putQuantMatrices(BitWriter &w, const QuantMatrices &q) {
    putExtension(w, 3);
    putMatrix(w, q.intra);
    putMatrix(w, q.nonIntra);
    putMatrix(w, q.chromaIntra);
    putMatrix(w, q.chromaNonIntra);
    w.align();
}

void putPictureDisplay(BitWriter &w, const std::vector<std::pair<int32_t, int32_t>> &centreOffsets) {
    putExtension(w, 7);
    for (const auto &[horizontal, vertical] : centreOffsets) {
        w.put(16, static_cast<uint32_t>(horizontal) & 0xFFFF).put(1, 1);
        w.put(16, static_cast<uint32_t>(vertical) & 0xFFFF).put(1, 1);
    }
    w.align();
}

void putCopyright(BitWriter &w, uint32_t identifier, bool original) {
    putExtension(w, 4);
    w.put(1, 1).put(8, identifier).put(1, original).put(7, 0);
    w.put(1, 1).put(20, 0x12345).put(1, 1).put(22, 0x2ABCDE).put(1, 1).put(22, 0x13579B);
    w.align();
}

}  // namespace tvktest
