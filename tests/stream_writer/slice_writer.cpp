// SPDX-License-Identifier: BSD-2-Clause
// Writes slices macroblock by macroblock and keeps the predictors that the syntax relies on.
#include "stream_writer/slice_writer.h"

#include "stream_writer/codes.h"

namespace tvktest {

void SliceWriter::begin(const SliceParameters &slice) {
    const bool extended = sequence.mpeg2 && sequence.height > 2800;
    bits.startCode(extended ? slice.row % 128 + 1 : slice.row + 1);
    if (extended) bits.put(3, slice.row / 128);
    bits.put(5, slice.quantiserCode);
    if (sequence.mpeg2 && slice.intraSliceFlag) bits.put(1, 1).put(1, slice.intraSlice).put(7, 0);
    if (!sequence.mpeg2 || slice.intraSliceFlag)
        for (const uint8_t information : slice.extraInformation) bits.put(1, 1).put(8, information);
    bits.put(1, 0);
    resetDc();
    resetVectors();
    firstMacroblock = true;
}

void SliceWriter::resetDc() {
    for (int32_t &value : dcPredictor) value = 128 << picture.intraDcPrecision;
}

void SliceWriter::resetVectors() {
    for (auto &pair : predictor)
        for (Vector &v : pair) v = {};
}

void SliceWriter::macroblock(uint32_t increment, const MacroblockDescription &m) {
    const bool intra = (m.type & tvk::typeIntra) != 0;
    const bool concealment = intra && picture.concealment;
    const bool skipped = !firstMacroblock && increment > 1;
    firstMacroblock = false;
    if (skipped || !intra) resetDc();
    if (skipped && picture.type == kPictureP) resetVectors();

    if (!sequence.mpeg2)
        for (uint32_t i = 0; i < m.stuffing; ++i) putStuffing(bits);
    putIncrement(bits, increment);
    putMacroblockType(bits, picture.type, m.type);
    putModes(m, concealment);
    if (m.type & tvk::typeQuant) bits.put(5, m.quantiserCode);
    if ((m.type & tvk::typeForward) || concealment) putVectors(m, 0, concealment);
    if (m.type & tvk::typeBackward) putVectors(m, 1, false);
    if (concealment) bits.put(1, 1);
    if ((intra && !concealment) || (!intra && picture.type == kPictureP && !(m.type & tvk::typeForward)))
        resetVectors();
    if (m.type & tvk::typePattern) putPattern(m);
    for (uint32_t i = 0; i < sequence.blocks(); ++i) {
        if (intra) {
            putIntraBlock(m.blocks[i], i);
        } else if ((m.type & tvk::typePattern) && (m.codedBlocks >> i & 1)) {
            putNonIntraBlock(m.blocks[i]);
        }
    }
}

void SliceWriter::putModes(const MacroblockDescription &m, bool concealment) {
    if (!sequence.mpeg2) return;
    const bool moves = (m.type & (tvk::typeForward | tvk::typeBackward)) != 0 && !concealment;
    if (!picture.isFrame()) {
        if (moves) bits.put(2, m.motionType);
        return;
    }
    if (picture.framePredFrameDct) return;
    if (moves) bits.put(2, m.motionType);
    if (m.type & (tvk::typeIntra | tvk::typePattern)) bits.put(1, m.fieldDct);
}

void SliceWriter::putVectors(const MacroblockDescription &m, uint32_t direction, bool concealment) {
    const bool frame = picture.isFrame();
    uint32_t motionType = m.motionType;
    if (!sequence.mpeg2 || concealment || (frame && picture.framePredFrameDct))
        motionType = frame ? kMotionFrame : kMotionField;
    const bool dualPrime = motionType == kMotionDualPrime;
    const bool two = frame ? motionType == kMotionField : motionType == kMotion16x8;
    const bool selects = two || (!frame && !dualPrime);
    const bool fieldInFrame = frame && motionType != kMotionFrame;

    if (selects) bits.put(1, m.fieldSelect[0][direction]);
    putVector(m, 0, direction, fieldInFrame);
    if (two) {
        bits.put(1, m.fieldSelect[1][direction]);
        putVector(m, 1, direction, fieldInFrame);
    } else {
        predictor[1][direction] = predictor[0][direction];
    }
}

void SliceWriter::putVector(const MacroblockDescription &m, uint32_t r, uint32_t direction, bool fieldInFrame) {
    const Vector &v = m.vectors[r][direction];
    Vector &p = predictor[r][direction];
    const bool dualPrime = m.motionType == kMotionDualPrime && !(m.type & tvk::typeIntra) && sequence.mpeg2 &&
                           !(picture.isFrame() && picture.framePredFrameDct);
    const uint32_t *fCode = picture.fCode[direction];
    putMotionDelta(bits, fCode[0], v.x, p.x);
    if (dualPrime) putDmVector(bits, m.dmVector[0]);
    // A field's vector in a frame picture is predicted in field lines and kept in frame lines.
    putMotionDelta(bits, sequence.mpeg2 ? fCode[1] : fCode[0], v.y, fieldInFrame ? p.y >> 1 : p.y);
    if (dualPrime) putDmVector(bits, m.dmVector[1]);
    p = {v.x, fieldInFrame ? v.y * 2 : v.y};
}

void SliceWriter::putPattern(const MacroblockDescription &m) {
    uint32_t pattern = 0;
    for (uint32_t i = 0; i < 6; ++i) pattern = pattern * 2 + (m.codedBlocks >> i & 1);
    putCodedBlockPattern(bits, pattern);
    for (uint32_t i = 6; i < sequence.blocks(); ++i) bits.put(1, m.codedBlocks >> i & 1);
}

void SliceWriter::putIntraBlock(const BlockDescription &block, uint32_t index) {
    const uint32_t component = index < 4 ? 0 : 1 + (index & 1);
    putDcDifference(bits, component == 0, block.dc - dcPredictor[component]);
    dcPredictor[component] = block.dc;
    const CoefficientTable table = picture.intraVlc ? CoefficientTable::b15 : CoefficientTable::b14;
    for (const RunLevel &c : block.coefficients) putCoefficient(bits, table, sequence.mpeg2, false, c);
    putEndOfBlock(bits, table);
}

void SliceWriter::putNonIntraBlock(const BlockDescription &block) {
    bool first = true;
    for (const RunLevel &c : block.coefficients) {
        putCoefficient(bits, CoefficientTable::b14, sequence.mpeg2, first, c);
        first = false;
    }
    putEndOfBlock(bits, CoefficientTable::b14);
}

}  // namespace tvktest
