// SPDX-License-Identifier: BSD-2-Clause
// Coefficients at eighth size: all codes are parsed, a block keeps one value, or two where its lines belong to a field.
#include <algorithm>

#include "mpeg12/coefficient_reader.h"

namespace tvk {

namespace {

// A macroblock's kept values stand at the start of `blocks` in block order: the DC alone, or the DC and the first
// vertical frequency (pair mode: field DCT or a field picture).

// The tables by intra_vlc_format.
struct CodeTables {
    const CoefficientSet &set;
    const CodeSteps &steps;
};
constexpr CodeTables kTables[2] = {{kCoefficientsIntraB14, kStepsB14}, {kCoefficientsIntraB15, kStepsB15}};

// The block of a mask's lowest bit.
int32_t lastBlock(uint32_t mask) {
    return 31 - std::countr_zero(mask);
}

int16_t clampCoefficient(int32_t v) {
    return static_cast<int16_t>(std::clamp(v, -2048, 2047));
}

// (2 level + sign) * quantiser_scale * weight / 32, rounded down; level 0 stays.
int16_t dequantiseNonIntra(int32_t level, int32_t scale, int32_t weight) {
    const int32_t doubled = 2 * level + (level > 0) - (level < 0);
    return clampCoefficient((doubled * scale * weight) >> 5);
}

int16_t dequantiseIntraDc(const SliceWorker *w, int32_t predictor) {
    return clampCoefficient(predictor * (1 << (3 - (w->stream->headers.pictureCoding.intraDcPrecision & 3))));
}

// The kept levels of the coded blocks become values; those of the others are 0 already.
template <bool intra>
void DequantiseCompactSingle(SliceWorker *w, uint32_t coded) {
    const QuantMatrixRecord &m = w->stream->headers.quantMatrix;
    const int32_t scale = quantiserScale(w);
    for (; coded != 0; coded &= coded - 1) {
        const int32_t i = lastBlock(coded);
        int16_t &value = w->blocks[i];
        value = intra ? dequantiseIntraDc(w, value)
                      : dequantiseNonIntra(value, scale, i < 4 ? m.nonIntra[0] : m.chromaNonIntra[0]);
    }
}

template <bool intra>
void DequantiseCompactPair(SliceWorker *w, uint32_t coded) {
    const QuantMatrixRecord &m = w->stream->headers.quantMatrix;
    const int32_t scale = quantiserScale(w);
    for (; coded != 0; coded &= coded - 1) {
        const int32_t i = lastBlock(coded);
        int16_t *pair = w->blocks + 2 * i;
        if constexpr (intra) {
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

// Passes over a block's codes to its end; false on an invalid code. Two steps of the table fit into a refill.
TVK_INLINE bool skipToEndOfBlock(BitWindow &b, const CoefficientSet &set, const CodeSteps &steps, bool mpeg1) {
    for (;;) {
        refill(b);
        CodeStep step = steps.at[peek(b, kCodeStepBits)];
        if (step.length != 0) [[likely]] {
            skip(b, step.length);
            if (step.endOfBlock) return true;
            step = steps.at[peek(b, kCodeStepBits)];
            skip(b, step.length);
            if (step.endOfBlock) return true;
            continue;
        }
        const CoefficientCode code = findCoefficient(set, peek(b, kLongestCoefficientCode));
        skip(b, code.length);
        if (code.step == stepEndOfBlock) return true;
        if (code.step == stepInvalid) return false;
        if (code.step == stepEscape) {
            refill(b);
            readEscape(b, mpeg1);
        }
    }
}

// Codes of one block behind its first value. `kept` takes storage positions 0 and 1 of what comes within the first
// `limit` scan positions; false on an invalid code.
TVK_INLINE bool readKeptLevels(BitWindow &b, const CodeTables &tables, const uint8_t *scan, bool mpeg1, int32_t count,
                               int32_t limit, int16_t *kept) {
    while (count < limit) {
        refill(b);
        const CoefficientCode code = findCoefficient(tables.set, peek(b, kLongestCoefficientCode));
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
    return skipToEndOfBlock(b, tables.set, tables.steps, mpeg1);
}

// The first code of a non-intra block, if it is one that the first array knows. Returns the scan positions behind which
// reading goes on; 0: none were passed. Levels of the array are doubled, the sign added.
template <bool pairs>
TVK_INLINE int32_t readFirstLevel(BitWindow &b, const uint8_t *scan, int32_t limit, int16_t *kept) {
    refill(b);
    const CoefficientCode code = kFirstNonIntra.first[peek(b, kFirstArrayBits)];
    if (code.step & stepSpecial) [[unlikely]]
        return 0;
    skip(b, code.length);
    const int32_t count = code.step;
    const auto level = static_cast<int16_t>((code.level - (code.level >> 31)) >> 1);
    if constexpr (pairs) {
        if (count <= limit && scan[count - 1] < 2) kept[scan[count - 1]] = level;
    } else {
        kept[0] = static_cast<int16_t>(level & -(count == 1));
    }
    return count;
}

// The levels kept of all coded blocks, into `kept` by block. Returns the number of blocks that are complete.
template <bool intra, bool pairs>
int32_t readLevels(SliceWorker *w, uint32_t coded, int32_t blocks, int16_t (&kept)[kMaxBlocks][2]) {
    const VideoStream *stream = w->stream;
    const Headers &h = stream->headers;
    const CodeTables &tables = kTables[intra && h.pictureCoding.intraVlcFormat];
    const bool alternate = (h.pictureCoding.alternateScan & 1) != 0;
    const uint8_t *scan = h.scanTable[alternate];
    const int32_t limit = !pairs ? 1 : alternate ? 2 : 3;
    const bool mpeg1 = stream->streamType == 1;
    BitWindow b = copyOf(w->bits);
    int32_t complete = blocks;
    while (coded != 0) {
        const int32_t i = std::countl_zero(coded);
        coded &= ~(kFirstBlockBit >> i);
        int32_t count = 0;
        if constexpr (intra) {
            kept[i][0] = static_cast<int16_t>(i < 4 ? readBlockDc<true>(w, b, i) : readBlockDc<false>(w, b, i));
            count = 1;
        } else {
            count = readFirstLevel<pairs>(b, scan, limit, kept[i]);
        }
        if (!readKeptLevels(b, tables, scan, mpeg1, count, limit, kept[i])) {
            complete = i;
            break;
        }
    }
    putBack(w->bits, b);
    return complete;
}

// Behind an invalid code the levels stay as they were read, and later blocks what the last macroblock left.
template <bool intra, bool pairs>
int32_t decodeCompact(SliceWorker *w) {
    const int32_t blocks = blockCount(w);
    const uint32_t coded = w->macroblock.codedBlockMask & ~(0xFFFFFFFFu >> blocks);
    int16_t kept[kMaxBlocks][2] = {};
    const int32_t complete = readLevels<intra, pairs>(w, coded, blocks, kept);
    const int32_t stored = std::min(complete + 1, blocks);
    if constexpr (pairs)
        std::memcpy(w->blocks, kept, static_cast<size_t>(stored) * sizeof kept[0]);
    else
        for (int32_t i = 0; i < stored; ++i) w->blocks[i] = kept[i][0];
    w->dirtyBlocks |= kFirstBlockBit;
    w->wantsOrder |= complete != blocks;
    if (complete == blocks) pairs ? DequantiseCompactPair<intra>(w, coded) : DequantiseCompactSingle<intra>(w, coded);
    if constexpr (!intra) w->stream->chosen.residualReconstruct(w);
    return complete == blocks ? 0 : -1;
}

}  // namespace

int32_t DecodeCoefficientsCompact(SliceWorker *w) {
    const MacroblockRecord &m = w->macroblock;
    const bool pairs = m.dctType == 1 || w->stream->headers.pictureCoding.pictureStructure != structureFrame;
    if (m.macroblockIntra) return pairs ? decodeCompact<true, true>(w) : decodeCompact<true, false>(w);
    return pairs ? decodeCompact<false, true>(w) : decodeCompact<false, false>(w);
}

}  // namespace tvk
