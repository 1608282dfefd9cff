// SPDX-License-Identifier: BSD-2-Clause
// The macroblock layer's syntax ahead of the coefficients (ISO/IEC 13818-2, 6.2.5; ISO/IEC 11172-2, 2.4.2.7).
#include "mpeg12/macroblock_header.h"

#include <cstring>

#include "mpeg12/vlc.h"

namespace tvk {

namespace {

// MPEG-1 stuffing, any amount of it, then escapes of 33 and the increment itself.
TVK_INLINE bool readAddress(SliceWorker *w, BitWindow &b) {
    constexpr uint32_t kStuffing = 15;  // of 11 bits
    refill(b);
    if (w->stream->streamType == 1) {
        while (peek(b, 11) == kStuffing) {
            skip(b, 11);
            refill(b);
        }
    }
    uint32_t increment = 0;
    int32_t value = decodeFlat<kFlatBits>(b, kFlatTables.macroblockIncrement);
    while (value == kMacroblockEscape) {
        increment += 33;
        refill(b);
        value = decodeFlat<kFlatBits>(b, kFlatTables.macroblockIncrement);
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

// The bits of macroblock_type, or kInvalidCode. What follows asks these and not the record's bytes just written: a load
// that joins several young stores would wait for them to reach the cache.
TVK_INLINE uint32_t readType(SliceWorker *w, BitWindow &b) {
    const Headers &h = w->stream->headers;
    const uint32_t type = h.picture.pictureCodingType;
    uint32_t flags = 0;
    if (type >= pictureI && type <= pictureB)
        flags = static_cast<uint32_t>(DecodeVlc(b, vlcTable(kTypeTables[h.macroblockTypeSet][type - 1])));
    if (flags == kInvalidCode) return kInvalidCode;
    MacroblockRecord &m = w->macroblock;
    m.spatialTemporalClasses = static_cast<uint8_t>(flags & typeClassMask);
    m.spatialTemporalWeightFlag = (flags & typeWeightFlag) != 0;
    m.macroblockIntra = (flags & typeIntra) != 0;
    m.macroblockPattern = (flags & typePattern) != 0;
    m.macroblockMotionBackward = (flags & typeBackward) != 0;
    m.macroblockMotionForward = (flags & typeForward) != 0;
    m.macroblockQuant = (flags & typeQuant) != 0;
    m.codedBlockMask = (flags & typeIntra) ? 0xFFF00000 : 0;
    return flags;
}

// Spatial and temporal weight classes by table index and code; the third byte is the class that motion types ask for.
// Index 0 has one row, for code 0; its other codes cannot be read and change nothing.
constexpr uint8_t kSpatialTemporalRows[4][4][4] = {
    {{0, 1, 2, 2}, {0, 1, 2, 2}, {0, 1, 2, 2}, {0, 1, 2, 2}},
    {{1, 3, 1, 0}, {0, 1, 2, 0}, {0, 3, 1, 2}, {0, 1, 2, 2}},
    {{1, 3, 0, 1}, {0, 1, 0, 2}, {0, 3, 2, 1}, {0, 1, 2, 2}},
    {{1, 3, 0, 1}, {0, 1, 2, 1}, {0, 3, 1, 2}, {0, 1, 2, 2}},
};

TVK_INLINE void readSpatialTemporalWeight(SliceWorker *w, BitWindow &b, uint32_t flags) {
    const Headers &h = w->stream->headers;
    MacroblockRecord &m = w->macroblock;
    constexpr uint8_t kNotScalable = 15;
    if (h.scalable.scalableMode == kNotScalable) {
        std::memset(m.spatialTemporalRow, 0, sizeof m.spatialTemporalRow);
        return;
    }
    const uint32_t index = h.spatialScalable.spatialTemporalWeightTableIndex & 3;
    m.spatialTemporalWeightCode =
        (flags & typeWeightFlag) && index != 0 ? static_cast<uint8_t>(take(b, 2)) : uint8_t{0};
    std::memcpy(m.spatialTemporalRow, kSpatialTemporalRows[index][m.spatialTemporalWeightCode],
                sizeof m.spatialTemporalRow);
}

TVK_INLINE void setPrediction(MacroblockRecord &m, uint8_t type, uint8_t vectors, uint8_t format, uint8_t dualPrime) {
    m.predictionType = type;
    m.motionVectorCount = vectors;
    m.mvFormat = format;
    m.dualPrime = dualPrime;
}

// ISO/IEC 13818-2, tables 6-17 and 6-18, with their conditions on the weight class. What is outside them has no
// prediction; type 0 leaves the last one's form.
TVK_INLINE void applyMotionType(MacroblockRecord &m, bool frame, uint8_t type) {
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

TVK_INLINE void readMotionType(SliceWorker *w, BitWindow &b, uint32_t flags, bool concealment) {
    const PictureCodingRecord &c = w->stream->headers.pictureCoding;
    MacroblockRecord &m = w->macroblock;
    const bool motion = (flags & (typeForward | typeBackward)) != 0;
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
    if (!c.framePredFrameDct && (flags & (typeIntra | typePattern))) m.dctType = static_cast<uint8_t>(take(b, 1));
}

// One component: the code, and the residual that places it within the code's step.
TVK_INLINE bool readComponent(SliceWorker *w, BitWindow &b, int32_t r, int32_t s, int32_t t) {
    MacroblockRecord &m = w->macroblock;
    refill(b);
    const int32_t code = DecodeMotionCode(b);
    if (code == kInvalidCode) return false;
    m.motionCode[r][s][t] = code;
    const int32_t size = static_cast<int32_t>(w->stream->headers.pictureCoding.fCode[2 * s + t] & 15);
    m.motionResidual[r][s][t] = static_cast<int32_t>(takeOrNone(b, code != 0 ? size : 0));
    return true;
}

// 0 is one bit long, 10 and 11 are 1 and -1.
TVK_INLINE int32_t readDifferential(BitWindow &b) {
    refill(b);
    if (!take(b, 1)) return 0;
    return take(b, 1) ? -1 : 1;
}

TVK_INLINE uint8_t readFieldSelect(BitWindow &b) {
    refill(b);
    return static_cast<uint8_t>(take(b, 1));
}

// Vector r of direction s; under dual prime a differential follows the horizontal component here, and the caller reads
// the one behind the vertical.
TVK_INLINE bool readVector(SliceWorker *w, BitWindow &b, int32_t r, int32_t s) {
    MacroblockRecord &m = w->macroblock;
    if (!readComponent(w, b, r, s, 0)) return false;
    if (m.dualPrime) m.dmVector[0] = readDifferential(b);
    return readComponent(w, b, r, s, 1);
}

TVK_INLINE bool readMotionVectors(SliceWorker *w, BitWindow &b, int32_t s) {
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
TVK_INLINE bool readPattern(SliceWorker *w, BitWindow &b) {
    MacroblockRecord &m = w->macroblock;
    refill(b);
    const int32_t pattern = decodeFlat<kFlatPatternBits>(b, kFlatTables.codedBlockPattern);
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
    BitWindow b = copyOf(w->bits);
    if (!readAddress(w, b)) return false;
    refill(b);
    const uint32_t flags = readType(w, b);
    if (flags == kInvalidCode) return false;
    const bool intra = (flags & typeIntra) != 0;
    const bool concealment = intra && c.concealmentMotionVectors;
    readSpatialTemporalWeight(w, b, flags);
    readMotionType(w, b, flags, concealment);
    ++w->counters.macroblocks;
    if (m.macroblockIncrement > 1 || !intra) resetDcPredictors(w);
    refill(b);
    if (flags & typeQuant) m.quantiserScaleCode = static_cast<uint8_t>(take(b, 5));
    if (((flags & typeForward) || concealment) && !readMotionVectors(w, b, 0)) return false;
    if ((flags & typeBackward) && !readMotionVectors(w, b, 1)) return false;
    refill(b);
    if (concealment) skip(b, 1);
    if ((flags & typePattern) && !readPattern(w, b)) return false;
    putBack(w->bits, b);
    return true;
}

}  // namespace tvk
