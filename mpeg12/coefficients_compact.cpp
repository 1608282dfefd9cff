// SPDX-License-Identifier: BSD-2-Clause
// Coefficients at eighth size: all codes are parsed, a block keeps one value, or two where its lines belong to a field.
#include <algorithm>

#include "mpeg12/coefficient_reader.h"

namespace tvk {

namespace {

// A macroblock's kept values stand at the start of `blocks` in block order: the DC alone, or the DC and the first
// vertical frequency (pair mode: field DCT or a field picture).
struct CompactMacroblock {
    int16_t *values;
    int32_t blocks;
    int32_t valuesPerBlock;
};

int16_t clampCoefficient(int32_t v) {
    return static_cast<int16_t>(std::clamp(v, -2048, 2047));
}

// (2 level + sign) * quantiser_scale * weight / 32, rounded down; level 0 stays.
int16_t dequantiseNonIntra(int32_t level, int32_t scale, int32_t weight) {
    const int32_t doubled = 2 * level + (level > 0 ? 1 : level < 0 ? -1 : 0);
    return clampCoefficient((doubled * scale * weight) >> 5);
}

int16_t dequantiseIntraDc(const SliceWorker *w, int32_t predictor) {
    return clampCoefficient(predictor * (1 << (3 - (w->stream->headers.pictureCoding.intraDcPrecision & 3))));
}

void DequantiseCompactSingle(SliceWorker *w, const CompactMacroblock &c) {
    const QuantMatrixRecord &m = w->stream->headers.quantMatrix;
    for (int32_t i = 0; i < c.blocks; ++i) {
        int16_t &value = c.values[i];
        value = w->macroblock.macroblockIntra
                    ? dequantiseIntraDc(w, value)
                    : dequantiseNonIntra(value, quantiserScale(w), i < 4 ? m.nonIntra[0] : m.chromaNonIntra[0]);
    }
}

void DequantiseCompactPair(SliceWorker *w, const CompactMacroblock &c) {
    const QuantMatrixRecord &m = w->stream->headers.quantMatrix;
    const int32_t scale = quantiserScale(w);
    for (int32_t i = 0; i < c.blocks; ++i) {
        int16_t *pair = c.values + 2 * i;
        if (w->macroblock.macroblockIntra) {
            // DEPARTURE(eighth-size weight split): luma blocks 2 and 3 already take the chroma weight.
            const uint8_t *weights = i < 2 ? m.intra : m.chromaIntra;
            pair[0] = dequantiseIntraDc(w, pair[0]);
            pair[1] = clampCoefficient((pair[1] * scale * weights[1]) >> 4);
        } else {
            const uint8_t *weights = i < 4 ? m.nonIntra : m.chromaNonIntra;
            pair[0] = dequantiseNonIntra(pair[0], scale, weights[0]);
            pair[1] = dequantiseNonIntra(pair[1], scale, weights[1]);
        }
    }
}

// Codes of one block behind its first value. `kept` takes storage positions 0 and 1 of what comes within the first
// `limit` scan positions; false on an invalid code.
bool readKeptLevels(BitWindow &b, const CoefficientSet &set, const uint8_t *scan, bool mpeg1, int32_t count,
                    int32_t limit, int16_t (&kept)[2]) {
    for (;;) {
        refill(b);
        const CoefficientCode code = findCoefficient(set, peek(b, kLongestCoefficientCode));
        skip(b, code.length);
        RunLevel pair = {code.level, code.step};
        if (code.step & stepSpecial) [[unlikely]] {
            if (code.step == stepEndOfBlock) return true;
            if (code.step == stepInvalid) return false;
            refill(b);
            pair = readEscape(b, mpeg1);
        }
        count += pair.step;
        if (count <= limit && scan[count - 1] < 2) kept[scan[count - 1]] = static_cast<int16_t>(pair.level);
    }
}

}  // namespace

int32_t DecodeCoefficientsCompact(SliceWorker *w) {
    const VideoStream *stream = w->stream;
    const Headers &h = stream->headers;
    const MacroblockRecord &m = w->macroblock;
    const bool pairs = m.dctType == 1 || h.pictureCoding.pictureStructure != structureFrame;
    const CompactMacroblock c = {w->blocks, blockCount(w), pairs ? 2 : 1};
    const CoefficientSet &set =
        m.macroblockIntra && h.pictureCoding.intraVlcFormat ? kCoefficientsIntraB15 : kCoefficientsIntraB14;
    const bool alternate = (h.pictureCoding.alternateScan & 1) != 0;
    const uint8_t *scan = h.scanTable[alternate];
    const int32_t limit = !pairs ? 1 : alternate ? 2 : 3;
    const bool mpeg1 = stream->streamType == 1;
    w->dirtyBlocks |= kFirstBlockBit;

    BitWindow b = copyOf(w->bits);
    for (int32_t i = 0; i < c.blocks; ++i) {
        int16_t kept[2] = {0, 0};
        bool valid = true;
        if (m.codedBlockMask & (kFirstBlockBit >> i)) {
            int32_t count = 0;
            if (m.macroblockIntra) {
                kept[0] = static_cast<int16_t>(readDc(w, b, i));
                count = 1;
            } else {
                refill(b);
                if (peek(b, 1)) {
                    kept[0] = (peek(b, 2) & 1) ? -1 : 1;
                    skip(b, 2);
                    count = 1;
                }
            }
            valid = readKeptLevels(b, set, scan, mpeg1, count, limit, kept);
        }
        for (int32_t v = 0; v < c.valuesPerBlock; ++v) c.values[i * c.valuesPerBlock + v] = kept[v];
        if (!valid) {
            putBack(w->bits, b);
            return -1;
        }
    }
    putBack(w->bits, b);
    pairs ? DequantiseCompactPair(w, c) : DequantiseCompactSingle(w, c);
    if (!m.macroblockIntra) stream->chosen.residualReconstruct(w);
    return 0;
}

}  // namespace tvk
