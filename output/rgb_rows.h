// SPDX-License-Identifier: BSD-2-Clause
// Conversion to RGB in 16-bit lanes, two pixels of a row to a chroma pair.
#pragma once

#include "output/chroma_pairs.h"
#include "output/row_kind.h"
#include "output/row_walk.h"

namespace tvk {

// Factors of 4096, after ITU-R BT.601: samples come in times 64, mulHi takes 65536 off, so results carry two
// fractional bits.
inline constexpr int32_t kLumaScale = 4769;     // 1.164
inline constexpr int32_t kRedFromCr = 6537;     // 1.596
inline constexpr int32_t kGreenFromCr = -3338;  // -0.815
inline constexpr int32_t kBlueFromCb = 8258;    // 2.016
inline constexpr int32_t kGreenFromCb = -1597;  // -0.390

// What a chroma pair adds to both its pixels, eight pairs a register: within -1033..1032 in quarters.
template <class L>
struct ColourTerms {
    typename L::I16x8 first, green, third;  // third is the byte at the highest address: red, or blue when swapped
};

template <class L, bool swapRedBlue>
ColourTerms<L> colourTerms(typename L::I16x8 pairs) {
    using V = typename L::I16x8;
    const V middle = L::splat16(128);
    const V cb = L::template shlWrap<6>(L::subWrap(L::bitAnd(pairs, L::splat16(255)), middle));
    const V cr = L::template shlWrap<6>(L::subWrap(L::template shrLogical<8>(pairs), middle));
    const V red = L::mulHi(cr, L::splat16(kRedFromCr)), blue = L::mulHi(cb, L::splat16(kBlueFromCb));
    const V green = L::addWrap(L::mulHi(cr, L::splat16(kGreenFromCr)), L::mulHi(cb, L::splat16(kGreenFromCb)));
    return swapRedBlue ? ColourTerms<L>{red, green, blue} : ColourTerms<L>{blue, green, red};
}

// One colour component of the even and of the odd pixels of a group.
template <class L>
struct EvenOdd {
    typename L::U8x16 even, odd;
};

// luma within 0..1113, so sums can't leave 16 bits; [half] of a group.
template <class L>
typename L::U8x16 addTerm(const typename L::I16x8 (&luma)[2], typename L::I16x8 term0, typename L::I16x8 term1) {
    return L::packU8Sat(L::template shrArith<2>(L::addWrap(luma[0], term0)),
                        L::template shrArith<2>(L::addWrap(luma[1], term1)));
}

// The bytes of 32 pixels, components apart; `first` is blue unless swapped.
template <class L>
struct GroupColours {
    EvenOdd<L> first, green, third;
};

template <class L>
GroupColours<L> groupColours(const SampleMask<L> &mask, const uint8_t *luma, const ColourTerms<L> (&terms)[2]) {
    using V = typename L::I16x8;
    V even[2], odd[2];
    for (int half = 0; half < 2; ++half) {
        const V y = L::asI16(L::subSat(mask.apply(L::loadU(luma + 16 * half)), L::splat8(16)));
        const V scale = L::splat16(kLumaScale);
        even[half] = L::mulHi(L::template shlWrap<6>(L::bitAnd(y, L::splat16(255))), scale);
        odd[half] = L::mulHi(L::template shlWrap<6>(L::template shrLogical<8>(y)), scale);
    }
    const auto component = [&](V term0, V term1) {
        return EvenOdd<L>{addTerm<L>(even, term0, term1), addTerm<L>(odd, term0, term1)};
    };
    return {component(terms[0].first, terms[1].first), component(terms[0].green, terms[1].green),
            component(terms[0].third, terms[1].third)};
}

// Sixteen pixels as 5:5:5 or 5:6:5 words; bits of a component are moved within words only where nothing crosses bytes.
template <class L, bool sixBitGreen>
void storeRgbWords(uint8_t *target, typename L::U8x16 low5, typename L::U8x16 green, typename L::U8x16 high5) {
    using V = typename L::U8x16;
    const auto masked = [](V a, int32_t bits) { return L::asI16(L::bitAnd(a, L::splat8(bits))); };
    const V low = L::asU8(L::template shrLogical<3>(masked(low5, 0xF8)));
    V greenLow, greenHigh, high;
    if constexpr (sixBitGreen) {
        greenLow = L::asU8(L::template shlWrap<3>(masked(green, 0x1C)));
        greenHigh = L::asU8(L::template shrLogical<5>(masked(green, 0xE0)));
        high = L::asU8(masked(high5, 0xF8));
    } else {
        greenLow = L::asU8(L::template shlWrap<2>(masked(green, 0x38)));
        greenHigh = L::asU8(L::template shrLogical<6>(masked(green, 0xC0)));
        high = L::asU8(L::template shrLogical<1>(masked(high5, 0xF8)));
    }
    const V lowBytes = L::bitOr(low, greenLow), highBytes = L::bitOr(high, greenHigh);
    L::storeU(target, L::interleaveLow8(lowBytes, highBytes));
    L::storeU(target + 16, L::interleaveHigh8(lowBytes, highBytes));
}

template <class L>
void storeRgb32(uint8_t *target, typename L::U8x16 first, typename L::U8x16 green, typename L::U8x16 third) {
    using V = typename L::I16x8;
    const typename L::U8x16 zero = L::zero8();
    const V low[2] = {L::asI16(L::interleaveLow8(first, green)), L::asI16(L::interleaveHigh8(first, green))};
    const V high[2] = {L::asI16(L::interleaveLow8(third, zero)), L::asI16(L::interleaveHigh8(third, zero))};
    for (int i = 0; i < 2; ++i) {
        L::storeU(target + 32 * i, L::asU8(L::interleaveLow16(low[i], high[i])));
        L::storeU(target + 32 * i + 16, L::asU8(L::interleaveHigh16(low[i], high[i])));
    }
}

// Two pixels of three bytes make a 64-bit lane with two idle bytes on top, which the next store covers.
template <class L>
void storeRgb24Quads(uint8_t *target, typename L::I16x8 word0, typename L::I16x8 word1, typename L::I16x8 word2) {
    using V = typename L::I16x8;
    const V zero = L::zero16();
    const V lower[2] = {L::interleaveLow16(word0, word1), L::interleaveHigh16(word0, word1)};
    const V upper[2] = {L::interleaveLow16(word2, zero), L::interleaveHigh16(word2, zero)};
    for (int i = 0; i < 2; ++i) {
        const typename L::U8x16 a = L::asU8(L::interleaveLow32(lower[i], upper[i]));
        const typename L::U8x16 b = L::asU8(L::interleaveHigh32(lower[i], upper[i]));
        L::storeHalf(target + 24 * i, a);
        L::storeHighHalf(target + 24 * i + 6, a);
        L::storeHalf(target + 24 * i + 12, b);
        L::storeHighHalf(target + 24 * i + 18, b);
    }
}

template <class L>
void storeRgb24(uint8_t *target, const GroupColours<L> &c) {
    // A pair of pixels as three words: first green | third first' | green' third'.
    const auto low = [](typename L::U8x16 a, typename L::U8x16 b) { return L::asI16(L::interleaveLow8(a, b)); };
    const auto high = [](typename L::U8x16 a, typename L::U8x16 b) { return L::asI16(L::interleaveHigh8(a, b)); };
    storeRgb24Quads<L>(target, low(c.first.even, c.green.even), low(c.third.even, c.first.odd),
                       low(c.green.odd, c.third.odd));
    storeRgb24Quads<L>(target + 48, high(c.first.even, c.green.even), high(c.third.even, c.first.odd),
                       high(c.green.odd, c.third.odd));
}

template <class L, TargetLayout layout>
void storeGroup(uint8_t *target, const GroupColours<L> &c) {
    using V = typename L::U8x16;
    if constexpr (layout == TargetLayout::rgb24) {
        storeRgb24<L>(target, c);
    } else {
        const V first[2] = {L::interleaveLow8(c.first.even, c.first.odd),
                            L::interleaveHigh8(c.first.even, c.first.odd)};
        const V green[2] = {L::interleaveLow8(c.green.even, c.green.odd),
                            L::interleaveHigh8(c.green.even, c.green.odd)};
        const V third[2] = {L::interleaveLow8(c.third.even, c.third.odd),
                            L::interleaveHigh8(c.third.even, c.third.odd)};
        for (int i = 0; i < 2; ++i) {
            if constexpr (layout == TargetLayout::rgb32) {
                storeRgb32<L>(target + 64 * i, first[i], green[i], third[i]);
            } else {
                storeRgbWords<L, layout == TargetLayout::rgb16>(target + 32 * i, first[i], green[i], third[i]);
            }
        }
    }
}

template <class L, RowKind K, int rowsAtOnce>
struct RgbStep {
    static constexpr int kLumaRows = rowsAtOnce, kTargets = rowsAtOnce;
    static constexpr int32_t kChromaBytes = K.chromaFormat == 3 ? 2 * kGroupSamples : kGroupSamples;
    static constexpr int32_t kPixelBytes =
        K.layout == TargetLayout::rgb32 ? 4 : (K.layout == TargetLayout::rgb24 ? 3 : 2);
    static constexpr int32_t kTargetBytes = kPixelBytes * kGroupSamples;
    static constexpr int32_t kOverrun = K.layout == TargetLayout::rgb24 ? 2 : 0;

    static ColourTerms<L> terms(const JobMasks<L> &masks, const uint8_t *chroma, int half) {
        typename L::U8x16 pairs;
        if constexpr (K.chromaFormat == 3) {
            pairs = L::asU8(secondOfTwoEvenCb<L>(chroma + 32 * half));
        } else {
            pairs = L::loadU(chroma + 16 * half);
        }
        return colourTerms<L, K.swapRedBlue>(L::asI16(masks.chroma.apply(pairs)));
    }
    static void group(const JobMasks<L> &masks, const RowSet &rows) {
        const ColourTerms<L> both[2] = {terms(masks, rows.chroma, 0), terms(masks, rows.chroma, 1)};
        for (int i = 0; i < rowsAtOnce; ++i)
            storeGroup<L, K.layout>(rows.target[i], groupColours<L>(masks.luma, rows.luma[i], both));
    }
};

// Rows y and, at two rows at once, y + 1.
template <class Step, class L>
void convertRgbRows(const ConversionJob &job, const JobMasks<L> &masks, const RowPlan &plan, int32_t y,
                    const uint8_t *chroma) {
    RowSet rows{{nullptr, nullptr}, chroma, {nullptr, nullptr}};
    for (int i = 0; i < Step::kLumaRows; ++i) {
        rows.luma[i] = job.frame.luma.row(y + i);
        rows.target[i] = job.target[0] + ptrdiff_t{y + i} * job.targetStride;
    }
    convertRow<Step>(masks, plan, rows);
}

// 4:2:0 shares a chroma row between two rows of a frame, interlaced or not.
template <class L, RowKind K>
void convertRgb(const ConversionJob &job) {
    using One = RgbStep<L, K, 1>;
    const JobMasks<L> masks(job.constants);
    const RowPlan plan = planRow<One>(job, job.targetStride);
    int32_t y = 0;
    if constexpr (K.chromaFormat == 1) {
        for (; y + 1 < job.convertedRows; y += 2)
            convertRgbRows<RgbStep<L, K, 2>>(job, masks, plan, y, job.frame.chroma.row(y / 2));
    }
    for (; y < job.convertedRows; ++y)
        convertRgbRows<One>(job, masks, plan, y, job.frame.chroma.row(K.chromaFormat == 1 ? y / 2 : y));
}

}  // namespace tvk
