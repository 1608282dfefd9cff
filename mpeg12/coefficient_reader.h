// SPDX-License-Identifier: BSD-2-Clause
// What the coefficient decoders share: clearing, DC differentials, the run-level loop with its escapes.
#pragma once

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

#include "core/lanes.h"
#include "mpeg12/coefficient_tables.h"
#include "mpeg12/vlc.h"
#include "mpeg12/vlc_codes.h"
#include "mpeg12/worker.h"

namespace tvk {

inline constexpr uint32_t kFirstBlockBit = 0x80000000;

// Result of the run-level loop in place of a position.
inline constexpr int32_t kBadCoefficient = -2;

// quantiser_scale by qScaleType and quantiserScaleCode: twice the code, or ISO/IEC 13818-2 table 7-6. An MPEG-1 scale
// thus comes out doubled, as everything behind it expects.
inline constexpr uint8_t kQuantiserScale[2][32] = {
    {0,  2,  4,  6,  8,  10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30,
     32, 34, 36, 38, 40, 42, 44, 46, 48, 50, 52, 54, 56, 58, 60, 62},
    {0,  1,  2,  3,  4,  5,  6,  7,  8,  10, 12, 14, 16, 18, 20,  22,
     24, 28, 32, 36, 40, 44, 48, 52, 56, 64, 72, 80, 88, 96, 104, 112},
};

inline int32_t quantiserScale(const SliceWorker *w) {
    return kQuantiserScale[w->stream->headers.pictureCoding.qScaleType & 1][w->macroblock.quantiserScaleCode & 31];
}

// Zeroes what the last macroblock left of its reduced residual, in steps of constant length.
inline void clearReduced(SliceWorker *w) {
    const int32_t blocks = blockCount(w);
    int16_t *residual = w->reducedResidual;
    std::memset(residual, 0, sizeof(int16_t[6 * 16]));
    if (blocks > 6) std::memset(residual + 6 * 16, 0, sizeof(int16_t[2 * 16]));
    if (blocks > 8) std::memset(residual + 8 * 16, 0, sizeof(int16_t[4 * 16]));
    w->dirtyReduced = false;
}

// Zeroes what the last macroblock left.
inline void clearBlocks(SliceWorker *w) {
    using L = NativeLanes;
    for (uint32_t dirty = w->dirtyBlocks; dirty != 0;) {
        const int32_t block = std::countl_zero(dirty);
        dirty &= ~(kFirstBlockBit >> block);
        int16_t *values = w->blocks + block * kBlockValues;
        for (int32_t i = 0; i < kBlockValues; i += 8) L::storeA(values + i, L::zero16());
    }
    w->dirtyBlocks = 0;
    if (w->dirtyReduced) clearReduced(w);
}

// The predictor of an intra block after its differential. The DC size tables have one level and no unassigned pattern.
// Sums wrap: only a stream without end could bring one near.
template <bool luma>
TVK_INLINE int32_t readDc(BitWindow &b, int32_t &predictor) {
    refill(b);
    const int32_t size = decodeOneLevel < luma ? vlcDcSizeLuminance : vlcDcSizeChrominance > (b);
    const uint32_t mask = (1u << size) - 1;
    const uint32_t v = takeOrNone(b, size);
    predictor = static_cast<int32_t>(static_cast<uint32_t>(predictor) + v - (2 * v <= mask ? mask : 0));
    return predictor;
}

// The same for block i of a macroblock.
template <bool luma>
TVK_INLINE int32_t readBlockDc(SliceWorker *w, BitWindow &b, int32_t i) {
    return readDc<luma>(b, w->dcPredictor[luma ? 0 : 1 + (i & 1)]);
}

struct RunLevel {
    int32_t level;
    int32_t step;  // run + 1
};

// Behind the escape code: run and level as they stand. MPEG-1 levels have one byte or, where that byte's low seven bits
// are 0, two (ISO/IEC 11172-2, 2.4.3.7).
inline RunLevel readEscape(BitWindow &b, bool mpeg1) {
    if (!mpeg1) {
        const uint32_t bits = take(b, 18);
        return {static_cast<int32_t>(bits << 20) >> 20, static_cast<int32_t>(bits >> 12) + 1};
    }
    const uint32_t bits = take(b, 14);
    int32_t level = static_cast<int32_t>(bits << 24) >> 24;
    if ((bits & 0x7F) == 0) level = static_cast<int32_t>(take(b, 8)) + 2 * level;
    return {level, static_cast<int32_t>(bits >> 8) + 1};
}

// One block's run-level codes, from the position given up to the end of block. `quantise(level, storage position)`
// makes the value that is stored; `position` counts scan positions and is taken modulo 64: a run past the end wraps to
// the scan's beginning. An interleaved block's rows lie 16 values apart. Non-intra levels are doubled, the sign added.
//
// What takes the time is waiting: for the length of a code, to know where the next one begins, and for a block's end,
// which cannot be foretold. So two codes are passed at once where they come thickly, and ends are asked for ahead of
// the lookups.
template <bool intra, bool interleaved, class Quantise>
struct RunLevelReader {
    BitWindow &b;
    const CoefficientSet &set;
    const uint8_t *scan;
    bool mpeg1;
    int16_t *block;
    int32_t position;
    const Quantise &quantise;

    TVK_INLINE void store(int32_t at, int32_t level) {
        const uint32_t s = scan[at & 63];
        const uint32_t rows = interleaved ? s & ~7u : 0;
        block[s + rows] = quantise(level, s);
    }

    TVK_INLINE bool takeEnd() {
        const CodeBits end = intra ? set.endOfBlock : codes::kEndOfBlockB14;  // the latter known to the compiler
        if (peek(b, end.length) != end.code) return false;
        skip(b, end.length);
        return true;
    }

    // Anything but an end of block; false behind an invalid code.
    TVK_INLINE bool apply(CoefficientCode code) {
        skip(b, code.length);
        RunLevel pair = {code.level, code.step};
        if (code.step & stepSpecial) [[unlikely]] {
            if (code.step != stepEscape) return false;
            refill(b);
            pair = readEscape(b, mpeg1);
            if (!intra) pair.level = 2 * pair.level + (pair.level > 0 ? 1 : -1);
        }
        position += pair.step;
        store(position, pair.level);
        return true;
    }

    TVK_INLINE bool applyNext() {
        refill(b);
        return apply(findCoefficient(set, peek(b, kLongestCoefficientCode)));
    }

    // One code or two, if such come first that `from` knows. One goes through the motions of two, the second without a
    // step and stored over by the first: which it is cannot be foretold either.
    template <class Codes>
    TVK_INLINE bool applyPair(const Codes &from) {
        const uint8_t entry = from.pairs.at[peek(b, kCodePairBits)];
        if (entry == 0) return false;
        const uint64_t window = b.window;
        const CoefficientCode first = from.first[window >> (64 - kFirstArrayBits)];
        const CoefficientCode second = set.first[window << first.length >> (64 - kFirstArrayBits)];
        skip(b, entry & ((1 << CodePairs::kTwoShift) - 1));
        const int32_t at = position + first.step;
        position = at + (second.step & -(entry >> CodePairs::kTwoShift));
        store(position, second.level);
        store(at, first.level);
        return true;
    }

    // The last position as counted, or kBadCoefficient behind an invalid code. Two pairs take 24 of a refill's 32 bits.
    TVK_INLINE int32_t readDense() {
        for (;;) {
            refill(b);
            if (applyPair(set) && applyPair(set)) continue;
            if (takeEnd()) [[likely]]
                return position;
            if (!applyNext()) return kBadCoefficient;
        }
    }

    // The same where most blocks have but a few codes. `start` is for the first of them. A refill serves two codes, of
    // which the second must be one that the first array knows, with 9 bits: of 32 valid bits a pair leaves 20, a code
    // 15 at the least, and an escape, which takes 22 behind a refill of its own, 10.
    TVK_INLINE int32_t readSparse(const FirstCodes &start) {
        refill(b);
        bool valid = true;
        if (!applyPair(start)) [[unlikely]]
            valid = applyNext();
        while (valid) {
            const uint32_t head = peek(b, kFirstArrayBits);
            if (head < 8) [[unlikely]] {
                valid = applyNext();
                continue;
            }
            if (takeEnd()) return position;
            if (!apply(set.first[head])) break;
            refill(b);
            if (takeEnd()) return position;
            valid = apply(findCoefficient(set, peek(b, kLongestCoefficientCode)));
        }
        return kBadCoefficient;
    }
};

// What a finished block tells the transforms. `limit` is the last scan position that the low form covers.
inline void noteBlock(SliceWorker *w, int32_t i, int32_t position, int32_t limit) {
    const uint32_t bit = kFirstBlockBit >> i;
    if (position <= 0) w->dcOnlyBlockMask |= bit;
    if (position < 0 || (position & 63) <= limit) w->lowBlockMask |= bit;
}

// A form of dequantisation gives:
//     kLowLimit
//     Intra(w), Intra::dc(predictor), Intra::luma and Intra::chroma -> quantise
//     NonIntra(w), NonIntra::block(i) -> quantise
template <class Form>
int32_t decodeIntraBlocks(SliceWorker *w) {
    const VideoStream *stream = w->stream;
    const Headers &h = stream->headers;
    const typename Form::Intra form(w);
    const CoefficientSet &set = h.pictureCoding.intraVlcFormat ? kCoefficientsIntraB15 : kCoefficientsIntraB14;
    const uint8_t *scan = h.scanTable[h.pictureCoding.alternateScan & 1];
    const bool mpeg1 = stream->streamType == 1;
    const int32_t blocks = blockCount(w);
    clearBlocks(w);
    w->dirtyBlocks = ~(0xFFFFFFFFu >> blocks);
    w->lowBlockMask = w->dcOnlyBlockMask = 0;
    BitWindow b = copyOf(w->bits);
    // False behind an invalid code.
    const auto readBlock = [&]<bool luma>(int32_t i) {
        int16_t *block = w->blocks + i * kBlockValues;
        block[0] = form.dc(readBlockDc<luma>(w, b, i));
        const auto &quantise = luma ? form.luma : form.chroma;
        RunLevelReader<true, false, std::decay_t<decltype(quantise)>> reader{b, set, scan, mpeg1, block, 0, quantise};
        const int32_t position = reader.readDense();
        if (position == kBadCoefficient) return false;
        noteBlock(w, i, position, Form::kLowLimit);
        return true;
    };
    bool valid = true;
    for (int32_t i = 0; i < 4 && valid; ++i) valid = readBlock.template operator()<true>(i);
    for (int32_t i = 4; i < blocks && valid; ++i) valid = readBlock.template operator()<false>(i);
    putBack(w->bits, b);
    return valid ? 0 : -1;
}

// The place of a block whose placement entry is given. Interleaved rows of an entry of another format's row must not
// lead out of the blocks.
inline CodedBlock placedBlock(SliceWorker *w, int32_t entry, bool interleaved) {
    constexpr int32_t kLast = kMaxBlocks * kBlockValues - (7 * 16 + 8);
    const int32_t first = interleaved ? std::min(4 * entry, kLast) : 4 * entry;
    return {w->blocks + first, entry, interleaved, BlockForm::full};
}

// The form of a block whose last code stands at `position`.
inline BlockForm formAt(int32_t position, int32_t lowLimit) {
    if (position <= 0) return BlockForm::single;
    return (position & 63) <= lowLimit ? BlockForm::low : BlockForm::full;
}

template <bool interleaved, class Quantise>
TVK_INLINE int32_t readNonIntra(BitWindow &b, const uint8_t *scan, bool mpeg1, int16_t *block,
                                const Quantise &quantise) {
    RunLevelReader<false, interleaved, Quantise> reader{b, kCoefficientsNonIntra, scan, mpeg1, block, -1, quantise};
    return reader.readSparse(kFirstNonIntra);
}

// Blocks go where prediction finds their residual, see block_placement.cpp. Each is transformed as soon as it stands:
// while the processor waits for one code to tell where the next one begins, it has time for the transform.
// A block that an invalid code ends is transformed too, in its full form; those behind it stay zero.
template <class Form>
int32_t decodeNonIntraBlocks(SliceWorker *w) {
    clearBlocks(w);
    w->lowBlockMask = w->dcOnlyBlockMask = 0;
    const VideoStream *stream = w->stream;
    const Headers &h = stream->headers;
    const int32_t blocks = blockCount(w);
    uint32_t coded = w->macroblock.codedBlockMask & ~(0xFFFFFFFFu >> blocks);
    if (coded == 0) return 0;

    const typename Form::NonIntra form(w);
    const uint8_t *scan = h.scanTable[h.pictureCoding.alternateScan & 1];
    const bool mpeg1 = stream->streamType == 1;
    const bool fieldDct = h.pictureCoding.pictureStructure == structureFrame && w->macroblock.dctType == 1;
    const uint8_t *placement = stream->geometry.blockPlacement[fieldDct];
    const StageFunction residualReconstruct = stream->chosen.residualReconstruct;
    BitWindow b = copyOf(w->bits);
    uint32_t dirty = 0, low = 0, single = 0;
    int32_t result = 0;
    while (coded != 0) {
        const int32_t i = std::countl_zero(coded);
        coded &= ~(kFirstBlockBit >> i);
        const bool interleaved = fieldDct && (i < 4 || blocks != 6);
        CodedBlock block = placedBlock(w, placement[i], interleaved);
        dirty |= (interleaved ? 3 * (kFirstBlockBit >> 1) : kFirstBlockBit) >> (placement[i] >> 4);
        const int32_t position = interleaved ? readNonIntra<true>(b, scan, mpeg1, block.values, form.block(i))
                                             : readNonIntra<false>(b, scan, mpeg1, block.values, form.block(i));
        if (position == kBadCoefficient) {
            result = -1;
            coded = 0;
        } else {
            block.form = formAt(position, Form::kLowLimit);
        }
        const uint32_t bit = kFirstBlockBit >> i;
        low |= block.form != BlockForm::full ? bit : 0;
        single |= block.form == BlockForm::single ? bit : 0;
        w->codedBlock = block;
        residualReconstruct(w);
    }
    w->dirtyBlocks = dirty;
    w->lowBlockMask = low;
    w->dcOnlyBlockMask = single;
    putBack(w->bits, b);
    return result;
}

}  // namespace tvk
