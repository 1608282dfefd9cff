// SPDX-License-Identifier: BSD-2-Clause
// The macroblock layer's syntax ahead of the coefficients (ISO/IEC 13818-2, 6.2.5; ISO/IEC 11172-2, 2.4.2.7).
#include "mpeg12/macroblock_header.h"

#include <cstring>

#include "mpeg12/vlc.h"

namespace tvk {

namespace {

// What a picture's headers say of all its macroblocks, as a template argument.
enum class HeaderForm : uint8_t {
    frameOnly,  // a frame picture of frame prediction and frame DCT alone
    frame,      // a frame picture whose macroblocks choose both
    any         // field pictures, concealment vectors, scalability, other types: asked of the headers
};

struct HeaderKind {
    HeaderForm form;
    bool mpeg1;    // known but for `any`
    uint8_t type;  // pictureI, pictureP or pictureB; 0 for `any`

    constexpr bool known() const { return form != HeaderForm::any; }
};

// Tables by macroblockTypeSet and coding type.
constexpr VlcTable kTypeTables[3][3] = {
    {vlcMacroblockTypeI, vlcMacroblockTypeP, vlcMacroblockTypeB},
    {vlcMacroblockTypeISpatial, vlcMacroblockTypePSpatial, vlcMacroblockTypeBSpatial},
    {vlcMacroblockTypeSnr, vlcMacroblockTypeSnr, vlcMacroblockTypeSnr},
};

// Spatial and temporal weight classes by table index and code; the third byte is the class that motion types ask for.
// Index 0 has one row, for code 0; its other codes cannot be read and change nothing.
constexpr uint8_t kSpatialTemporalRows[4][4][4] = {
    {{0, 1, 2, 2}, {0, 1, 2, 2}, {0, 1, 2, 2}, {0, 1, 2, 2}},
    {{1, 3, 1, 0}, {0, 1, 2, 0}, {0, 3, 1, 2}, {0, 1, 2, 2}},
    {{1, 3, 0, 1}, {0, 1, 0, 2}, {0, 3, 2, 1}, {0, 1, 2, 2}},
    {{1, 3, 0, 1}, {0, 1, 2, 1}, {0, 3, 1, 2}, {0, 1, 2, 2}},
};

constexpr uint8_t kNotScalable = 15;

// The macroblock layer of one kind of picture. A refill serves the address increment's last code, the type, the weight
// code, the motion type, the DCT type and the quantiser scale, 30 bits at the most; another one each vector component
// and the pattern.
template <HeaderKind k>
struct HeaderReader {
    // MPEG-1 stuffing, any amount of it, then escapes of 33 and the increment itself.
    TVK_INLINE static bool readAddress(SliceWorker *w, BitWindow &b) {
        constexpr uint32_t kStuffing = 15;  // of 11 bits
        refill(b);
        if (k.known() ? k.mpeg1 : w->stream->streamType == 1) {
            while (peek(b, 11) == kStuffing) [[unlikely]] {
                    skip(b, 11);
                    refill(b);
                }
        }
        uint32_t increment = 0;
        int32_t value = decodeFlat<kFlatBits>(b, kFlatTables.macroblockIncrement);
        while (value == kMacroblockEscape) [[unlikely]] {
                increment += 33;
                refill(b);
                value = decodeFlat<kFlatBits>(b, kFlatTables.macroblockIncrement);
                refill(b);
            }
        if (value == kInvalidCode) return false;
        MacroblockRecord &m = w->macroblock;
        m.macroblockIncrement = increment + static_cast<uint32_t>(value);
        m.macroblockAddress = m.previousAddress + m.macroblockIncrement;
        return true;
    }

    TVK_INLINE static uint32_t decodeType(const SliceWorker *w, BitWindow &b) {
        if constexpr (k.known()) {
            return static_cast<uint32_t>(decodeOneLevel<kTypeTables[0][k.type - 1]>(b));
        } else {
            const Headers &h = w->stream->headers;
            const uint32_t type = h.picture.pictureCodingType;
            if (type < pictureI || type > pictureB) return 0;
            return static_cast<uint32_t>(DecodeVlc(b, vlcTable(kTypeTables[h.macroblockTypeSet][type - 1])));
        }
    }

    // The bits of macroblock_type, or kInvalidCode. What follows asks these and not the record's bytes just written: a
    // load that joins several young stores would wait for them to reach the cache.
    TVK_INLINE static uint32_t readType(SliceWorker *w, BitWindow &b) {
        const uint32_t flags = decodeType(w, b);
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

    TVK_INLINE static void readSpatialTemporalWeight(SliceWorker *w, BitWindow &b, uint32_t flags) {
        const Headers &h = w->stream->headers;
        MacroblockRecord &m = w->macroblock;
        if (k.known() || h.scalable.scalableMode == kNotScalable) {
            std::memset(m.spatialTemporalRow, 0, sizeof m.spatialTemporalRow);
            return;
        }
        const uint32_t index = h.spatialScalable.spatialTemporalWeightTableIndex & 3;
        m.spatialTemporalWeightCode =
            (flags & typeWeightFlag) && index != 0 ? static_cast<uint8_t>(take(b, 2)) : uint8_t{0};
        std::memcpy(m.spatialTemporalRow, kSpatialTemporalRows[index][m.spatialTemporalWeightCode],
                    sizeof m.spatialTemporalRow);
    }

    TVK_INLINE static void setPrediction(MacroblockRecord &m, uint8_t type, uint8_t vectors, uint8_t format,
                                         uint8_t dualPrime) {
        m.predictionType = type;
        m.motionVectorCount = vectors;
        m.mvFormat = format;
        m.dualPrime = dualPrime;
    }

    // ISO/IEC 13818-2, tables 6-17 and 6-18, with their conditions on the weight class. What is outside them has no
    // prediction; type 0 leaves the last one's form.
    TVK_INLINE static void applyMotionType(SliceWorker *w, bool frame, uint8_t type) {
        MacroblockRecord &m = w->macroblock;
        const uint8_t weightClass = k.known() ? 0 : m.spatialTemporalRow[2];
        if (type == 0) {
            w->wantsOrder = true;
            return;
        }
        if (frame && type == 1)
            setPrediction(m, 1, weightClass < 2 ? 2 : 1, 0, 0);
        else if (frame && type == 2)
            setPrediction(m, 2, 1, 1, 0);
        else if (!frame && type == 1 && weightClass < 2)
            setPrediction(m, 1, 1, 0, 0);
        else if (!frame && type == 2 && weightClass < 2)
            setPrediction(m, 2, 2, 0, 0);
        else if (frame ? weightClass != 1 : type == 3 && weightClass == 0)
            setPrediction(m, 3, 1, 0, 1);
        else
            setPrediction(m, 0, 0, 0, 0);
    }

    static void readFieldMotionType(SliceWorker *w, BitWindow &b, bool motion, bool concealment) {
        MacroblockRecord &m = w->macroblock;
        m.fieldMotionType = 1;
        if (!motion) {
            m.motionVectorCount = 1;
            m.dualPrime = m.mvFormat = 0;
            return;
        }
        if (!concealment) m.fieldMotionType = static_cast<uint8_t>(take(b, 2));
        applyMotionType(w, false, m.fieldMotionType);
    }

    TVK_INLINE static void readMotionType(SliceWorker *w, BitWindow &b, uint32_t flags, bool concealment) {
        const PictureCodingRecord &c = w->stream->headers.pictureCoding;
        MacroblockRecord &m = w->macroblock;
        const bool motion = (flags & (typeForward | typeBackward)) != 0;
        const bool frameOnly = k.known() ? k.form == HeaderForm::frameOnly : c.framePredFrameDct != 0;
        m.dctType = 0;
        if (!k.known() && c.pictureStructure != structureFrame) return readFieldMotionType(w, b, motion, concealment);
        m.frameMotionType = 2;
        if (motion) {
            if (!frameOnly && !concealment) m.frameMotionType = static_cast<uint8_t>(take(b, 2));
            applyMotionType(w, true, m.frameMotionType);
        } else if (concealment) {
            m.motionVectorCount = 1;
            m.dualPrime = 0;
            m.mvFormat = 1;
        }
        if (!frameOnly && (flags & (typeIntra | typePattern))) m.dctType = static_cast<uint8_t>(take(b, 1));
    }

    // One component: the code, and the residual that places it within the code's step.
    TVK_INLINE static bool readComponent(SliceWorker *w, BitWindow &b, int32_t r, int32_t s, int32_t t) {
        MacroblockRecord &m = w->macroblock;
        refill(b);
        const int32_t code = DecodeMotionCode(b);
        if (code == kInvalidCode) return false;
        m.motionCode[r][s][t] = code;
        const int32_t size = static_cast<int32_t>(w->stream->headers.pictureCoding.fCode[2 * s + t] & 15);
        m.motionResidual[r][s][t] = static_cast<int32_t>(takeOrNone(b, size & codeMask(code)));
        return true;
    }

    // 0 is one bit long, 10 and 11 are 1 and -1.
    TVK_INLINE static int32_t readDifferential(BitWindow &b) {
        refill(b);
        if (!take(b, 1)) return 0;
        return take(b, 1) ? -1 : 1;
    }

    TVK_INLINE static uint8_t readFieldSelect(BitWindow &b) {
        refill(b);
        return static_cast<uint8_t>(take(b, 1));
    }

    // Vector r of direction s; under dual prime a differential follows the horizontal component here, and the caller
    // reads the one behind the vertical.
    TVK_INLINE static bool readVector(SliceWorker *w, BitWindow &b, int32_t r, int32_t s) {
        MacroblockRecord &m = w->macroblock;
        if (!readComponent(w, b, r, s, 0)) return false;
        if (k.form != HeaderForm::frameOnly && m.dualPrime) m.dmVector[0] = readDifferential(b);
        return readComponent(w, b, r, s, 1);
    }

    TVK_INLINE static bool readMotionVectors(SliceWorker *w, BitWindow &b, int32_t s) {
        MacroblockRecord &m = w->macroblock;
        for (int32_t r = 0; r < 2; ++r) m.motionResidual[r][s][0] = m.motionResidual[r][s][1] = 0;
        if (k.form == HeaderForm::frameOnly) return readVector(w, b, 0, s);
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
    TVK_INLINE static bool readPattern(SliceWorker *w, BitWindow &b) {
        MacroblockRecord &m = w->macroblock;
        refill(b);
        const int32_t pattern = decodeFlat<kFlatPatternBits>(b, kFlatTables.codedBlockPattern);
        if (pattern == kInvalidCode) return false;
        m.codedBlockMask = static_cast<uint32_t>(pattern) << 26;
        if (m.cbpExtraBits) m.codedBlockMask |= take(b, static_cast<int32_t>(m.cbpExtraBits)) << (26 - m.cbpExtraBits);
        ++w->counters.codedBlockPatterns;
        return true;
    }

    static bool read(SliceWorker *w) {
        MacroblockRecord &m = w->macroblock;
        BitWindow b = copyOf(w->bits);
        if (!readAddress(w, b)) return false;
        const uint32_t flags = readType(w, b);
        if (flags == kInvalidCode) return false;
        const bool intra = (flags & typeIntra) != 0;
        const bool concealment = !k.known() && intra && w->stream->headers.pictureCoding.concealmentMotionVectors != 0;
        readSpatialTemporalWeight(w, b, flags);
        readMotionType(w, b, flags, concealment);
        ++w->counters.macroblocks;
        if (m.macroblockIncrement > 1 || !intra) resetDcPredictors(w);
        if (flags & typeQuant) m.quantiserScaleCode = static_cast<uint8_t>(take(b, 5));
        if constexpr (!k.known() || k.type != pictureI) {
            if (((flags & typeForward) || concealment) && !readMotionVectors(w, b, 0)) return false;
        }
        if constexpr (!k.known() || k.type == pictureB) {
            if ((flags & typeBackward) && !readMotionVectors(w, b, 1)) return false;
        }
        if constexpr (!k.known()) {
            refill(b);
            if (concealment) skip(b, 1);
        }
        if ((flags & typePattern) && !readPattern(w, b)) return false;
        putBack(w->bits, b);
        return true;
    }
};

// The readers of one form for I, P and B pictures.
template <HeaderForm form, bool mpeg1>
constexpr HeaderFunction kReadersByType[3] = {HeaderReader<HeaderKind{form, mpeg1, pictureI}>::read,
                                              HeaderReader<HeaderKind{form, mpeg1, pictureP}>::read,
                                              HeaderReader<HeaderKind{form, mpeg1, pictureB}>::read};

}  // namespace

HeaderFunction headerReaderFor(const VideoStream *stream) {
    const Headers &h = stream->headers;
    const PictureCodingRecord &c = h.pictureCoding;
    const uint32_t type = h.picture.pictureCodingType;
    const bool mpeg1 = stream->streamType == 1;
    const bool known = type >= pictureI && type <= pictureB && c.pictureStructure == structureFrame &&
                       !c.concealmentMotionVectors && h.scalable.scalableMode == kNotScalable &&
                       h.macroblockTypeSet == 0;
    if (known && c.framePredFrameDct)
        return (mpeg1 ? kReadersByType<HeaderForm::frameOnly, true>
                      : kReadersByType<HeaderForm::frameOnly, false>)[type - pictureI];
    if (known && !mpeg1) return kReadersByType<HeaderForm::frame, false>[type - pictureI];
    return HeaderReader<HeaderKind{HeaderForm::any, false, 0}>::read;
}

bool readAddressIncrement(SliceWorker *w) {
    BitWindow b = copyOf(w->bits);
    return HeaderReader<HeaderKind{HeaderForm::any, false, 0}>::readAddress(w, b);
}

}  // namespace tvk
