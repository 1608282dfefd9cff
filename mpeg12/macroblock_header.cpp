// SPDX-License-Identifier: BSD-2-Clause
// The macroblock layer's syntax ahead of the coefficients (ISO/IEC 13818-2, 6.2.5; ISO/IEC 11172-2, 2.4.2.7).
#include "mpeg12/macroblock_header.h"

#include <cstring>

#include "mpeg12/vlc.h"

namespace tvk {

namespace {

// MPEG-1 stuffing, any amount of it, then escapes of 33 and the increment itself.
bool readAddress(SliceWorker *w, BitWindow &b) {
    constexpr uint32_t kStuffing = 15;  // of 11 bits
    constexpr int32_t kEscape = -1;
    refill(b);
    if (w->stream->streamType == 1) {
        while (peek(b, 11) == kStuffing) {
            skip(b, 11);
            refill(b);
        }
    }
    const int16_t *table = vlcTable(vlcMacroblockIncrement);
    uint32_t increment = 0;
    int32_t value = DecodeVlc(b, table);
    while (value == kEscape) {
        increment += 33;
        refill(b);
        value = DecodeVlc(b, table);
    }
    if (value == kInvalidCode) return false;
    MacroblockRecord &m = w->macroblock;
    m.macroblockIncrement = increment + static_cast<uint32_t>(value);
    m.macroblockAddress = m.previousAddress + m.macroblockIncrement;
    return true;
}

// Tables by macroblockTypeSet and coding type.
constexpr VlcTable kTypeTables[3][3] = {
    {vlcMacroblockTypeI, vlcMacroblockTypeP, vlcMacroblockTypeB},
    {vlcMacroblockTypeISpatial, vlcMacroblockTypePSpatial, vlcMacroblockTypeBSpatial},
    {vlcMacroblockTypeSnr, vlcMacroblockTypeSnr, vlcMacroblockTypeSnr},
};

bool readType(SliceWorker *w, BitWindow &b) {
    const Headers &h = w->stream->headers;
    const uint32_t type = h.picture.pictureCodingType;
    int32_t flags = 0;
    if (type >= pictureI && type <= pictureB) {
        flags = DecodeVlc(b, vlcTable(kTypeTables[h.macroblockTypeSet][type - 1]));
        if (flags == kInvalidCode) return false;
    }
    MacroblockRecord &m = w->macroblock;
    m.spatialTemporalClasses = static_cast<uint8_t>(flags & 3);
    m.spatialTemporalWeightFlag = static_cast<uint8_t>(flags >> 2 & 1);
    m.macroblockIntra = static_cast<uint8_t>(flags >> 3 & 1);
    m.macroblockPattern = static_cast<uint8_t>(flags >> 4 & 1);
    m.macroblockMotionBackward = static_cast<uint8_t>(flags >> 5 & 1);
    m.macroblockMotionForward = static_cast<uint8_t>(flags >> 6 & 1);
    m.macroblockQuant = static_cast<uint8_t>(flags >> 7 & 1);
    m.codedBlockMask = m.macroblockIntra ? 0xFFF00000 : 0;
    return true;
}

// Spatial and temporal weight classes by table index and code; the third byte is the class that motion types ask for.
// Index 0 has one row, for code 0; its other codes cannot be read and change nothing.
constexpr uint8_t kSpatialTemporalRows[4][4][4] = {
    {{0, 1, 2, 2}, {0, 1, 2, 2}, {0, 1, 2, 2}, {0, 1, 2, 2}},
    {{1, 3, 1, 0}, {0, 1, 2, 0}, {0, 3, 1, 2}, {0, 1, 2, 2}},
    {{1, 3, 0, 1}, {0, 1, 0, 2}, {0, 3, 2, 1}, {0, 1, 2, 2}},
    {{1, 3, 0, 1}, {0, 1, 2, 1}, {0, 3, 1, 2}, {0, 1, 2, 2}},
};

void readSpatialTemporalWeight(SliceWorker *w, BitWindow &b) {
    const Headers &h = w->stream->headers;
    MacroblockRecord &m = w->macroblock;
    constexpr uint8_t kNotScalable = 15;
    if (h.scalable.scalableMode == kNotScalable) {
        std::memset(m.spatialTemporalRow, 0, sizeof m.spatialTemporalRow);
        return;
    }
    const uint32_t index = h.spatialScalable.spatialTemporalWeightTableIndex & 3;
    m.spatialTemporalWeightCode =
        m.spatialTemporalWeightFlag && index != 0 ? static_cast<uint8_t>(take(b, 2)) : uint8_t{0};
    std::memcpy(m.spatialTemporalRow, kSpatialTemporalRows[index][m.spatialTemporalWeightCode],
                sizeof m.spatialTemporalRow);
}

void setPrediction(MacroblockRecord &m, uint8_t type, uint8_t vectors, uint8_t format, uint8_t dualPrime) {
    m.predictionType = type;
    m.motionVectorCount = vectors;
    m.mvFormat = format;
    m.dualPrime = dualPrime;
}

// ISO/IEC 13818-2, tables 6-17 and 6-18, with their conditions on the weight class. What is outside them has no
// prediction; type 0 leaves the last one's form.
void applyMotionType(MacroblockRecord &m, bool frame, uint8_t type) {
    const uint8_t weightClass = m.spatialTemporalRow[2];
    if (type == 0) return;
    if (frame && type == 1)
        setPrediction(m, 1, weightClass < 2 ? 2 : 1, 0, 0);
    else if (frame && type == 2)
        setPrediction(m, 2, 1, 1, 0);
    else if (frame && weightClass != 1)
        setPrediction(m, 3, 1, 0, 1);
    else if (!frame && type == 1 && weightClass < 2)
        setPrediction(m, 1, 1, 0, 0);
    else if (!frame && type == 2 && weightClass < 2)
        setPrediction(m, 2, 2, 0, 0);
    else if (!frame && type == 3 && weightClass == 0)
        setPrediction(m, 3, 1, 0, 1);
    else
        setPrediction(m, 0, 0, 0, 0);
}

void readMotionType(SliceWorker *w, BitWindow &b, bool concealment) {
    const PictureCodingRecord &c = w->stream->headers.pictureCoding;
    MacroblockRecord &m = w->macroblock;
    const bool motion = m.macroblockMotionForward || m.macroblockMotionBackward;
    m.dctType = 0;
    if (c.pictureStructure != structureFrame) {
        m.fieldMotionType = 1;
        if (!motion) {
            m.motionVectorCount = 1;
            m.dualPrime = m.mvFormat = 0;
            return;
        }
        if (!concealment) m.fieldMotionType = static_cast<uint8_t>(take(b, 2));
        applyMotionType(m, false, m.fieldMotionType);
        return;
    }
    m.frameMotionType = 2;
    if (motion) {
        if (!c.framePredFrameDct && !concealment) m.frameMotionType = static_cast<uint8_t>(take(b, 2));
        applyMotionType(m, true, m.frameMotionType);
    } else if (concealment) {
        m.motionVectorCount = 1;
        m.dualPrime = 0;
        m.mvFormat = 1;
    }
    if (!c.framePredFrameDct && (m.macroblockIntra || m.macroblockPattern))
        m.dctType = static_cast<uint8_t>(take(b, 1));
}

// One component: the code, and the residual that places it within the code's step.
bool readComponent(SliceWorker *w, BitWindow &b, int32_t r, int32_t s, int32_t t) {
    MacroblockRecord &m = w->macroblock;
    refill(b);
    const int32_t code = DecodeMotionCode(b);
    if (code == kInvalidCode) return false;
    m.motionCode[r][s][t] = code;
    const int32_t size = static_cast<int32_t>(w->stream->headers.pictureCoding.fCode[2 * s + t] & 15);
    if (size != 0 && code != 0) m.motionResidual[r][s][t] = static_cast<int32_t>(take(b, size));
    return true;
}

// 0 is one bit long, 10 and 11 are 1 and -1.
int32_t readDifferential(BitWindow &b) {
    refill(b);
    if (!take(b, 1)) return 0;
    return take(b, 1) ? -1 : 1;
}

uint8_t readFieldSelect(BitWindow &b) {
    refill(b);
    return static_cast<uint8_t>(take(b, 1));
}

// Vector r of direction s; under dual prime a differential follows the horizontal component here, and the caller reads
// the one behind the vertical.
bool readVector(SliceWorker *w, BitWindow &b, int32_t r, int32_t s) {
    MacroblockRecord &m = w->macroblock;
    if (!readComponent(w, b, r, s, 0)) return false;
    if (m.dualPrime) m.dmVector[0] = readDifferential(b);
    return readComponent(w, b, r, s, 1);
}

bool readMotionVectors(SliceWorker *w, BitWindow &b, int32_t s) {
    MacroblockRecord &m = w->macroblock;
    for (int32_t r = 0; r < 2; ++r) m.motionResidual[r][s][0] = m.motionResidual[r][s][1] = 0;
    if (m.motionVectorCount == 1) {
        if (!m.mvFormat && !m.dualPrime) m.motionVerticalFieldSelect[0][s] = readFieldSelect(b);
        if (!readVector(w, b, 0, s)) return false;
    } else {
        for (int32_t r = 0; r < 2; ++r) {
            m.motionVerticalFieldSelect[r][s] = readFieldSelect(b);
            if (!readVector(w, b, r, s)) return false;
            if (r == 0 && m.dualPrime) m.dmVector[1] = readDifferential(b);
        }
    }
    if (m.dualPrime) m.dmVector[1] = readDifferential(b);
    return true;
}

// The mask is left-justified: six bits of the pattern, then those that 4:2:2 and 4:4:4 add.
bool readPattern(SliceWorker *w, BitWindow &b) {
    MacroblockRecord &m = w->macroblock;
    refill(b);
    const int32_t pattern = DecodeVlc(b, vlcTable(vlcCodedBlockPattern));
    if (pattern == kInvalidCode) return false;
    m.codedBlockMask = static_cast<uint32_t>(pattern) << 26;
    if (m.cbpExtraBits) m.codedBlockMask |= take(b, static_cast<int32_t>(m.cbpExtraBits)) << (26 - m.cbpExtraBits);
    ++w->counters.codedBlockPatterns;
    return true;
}

}  // namespace

bool readMacroblockHeader(SliceWorker *w) {
    const PictureCodingRecord &c = w->stream->headers.pictureCoding;
    MacroblockRecord &m = w->macroblock;
    BitWindow b = w->bits;
    if (!readAddress(w, b)) return false;
    refill(b);
    if (!readType(w, b)) return false;
    readSpatialTemporalWeight(w, b);
    const bool concealment = m.macroblockIntra && c.concealmentMotionVectors;
    readMotionType(w, b, concealment);
    ++w->counters.macroblocks;
    if (m.macroblockIncrement > 1 || !m.macroblockIntra) resetDcPredictors(w);
    refill(b);
    if (m.macroblockQuant) m.quantiserScaleCode = static_cast<uint8_t>(take(b, 5));
    if ((m.macroblockMotionForward || concealment) && !readMotionVectors(w, b, 0)) return false;
    if (m.macroblockMotionBackward && !readMotionVectors(w, b, 1)) return false;
    refill(b);
    if (concealment) skip(b, 1);
    if (m.macroblockPattern && !readPattern(w, b)) return false;
    w->bits = b;
    return true;
}

}  // namespace tvk
