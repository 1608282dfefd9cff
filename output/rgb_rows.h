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

inline constexpr int32_t kHalfGroup = kGroupSamples / 2;

// What a chroma pair adds to both its pixels, eight pairs a register: within -1033..1032 in quarters. The third is the
// byte at the highest address: red, or blue when swapped.
template <class L>
struct ColourTerms {
    typename L::I16x8 first, green, third;
};

// Components read as 128 where the mask blanks them, which add nothing.
template <class L, bool swapRedBlue>
[[gnu::always_inline]] inline ColourTerms<L> colourTerms(typename L::U8x16 pairs, typename L::U8x16 mask) {
    using V = typename L::I16x8;
    const V centred = L::asI16(L::bitAnd(L::bitXor(pairs, L::splat8(128)), mask));  // signed bytes
    const V cb = L::template shrArith<2>(L::template shlWrap<8>(centred));
    const V cr = L::template shrArith<2>(L::bitAnd(centred, L::splat16(0xFF00)));
    const V red = L::mulHi(cr, L::splat16(kRedFromCr)), blue = L::mulHi(cb, L::splat16(kBlueFromCb));
    const V green = L::addWrap(L::mulHi(cr, L::splat16(kGreenFromCr)), L::mulHi(cb, L::splat16(kGreenFromCb)));
    return swapRedBlue ? ColourTerms<L>{red, green, blue} : ColourTerms<L>{blue, green, red};
}

// One component of sixteen pixels, the even ones apart from the odd ones, not yet clamped to 0..255.
template <class L>
struct EvenOdd {
    typename L::I16x8 even, odd;
};

template <class L>
struct PixelColours {
    EvenOdd<L> first, green, third;
};

// Luma less 16 and not below 0, or for blanked luma what its fill comes to by that: subtraction then brings every
// sample down to 0.
template <class L>
struct LumaAboveBlack {
    typename L::U8x16 less, fill;

    explicit LumaAboveBlack(const ConversionConstants &c)
        : less(L::bitOr(L::bitXor(L::loadA(c.lumaMask), L::splat8(255)), L::splat8(16))),
          fill(L::subSat(L::loadA(c.lumaFill), L::splat8(16))) {}
    typename L::U8x16 apply(typename L::U8x16 a) const { return L::bitOr(L::subSat(a, less), fill); }
};

template <class L>
struct RgbMasks {
    LumaAboveBlack<L> luma;
    typename L::U8x16 chroma;

    explicit RgbMasks(const ConversionConstants &c) : luma(c), chroma(L::loadA(c.chromaMask)) {}
};

// Luma comes to 0..1113 in quarters, so sums can't leave 16 bits.
template <class L>
[[gnu::always_inline]] inline PixelColours<L> pixelColours(const LumaAboveBlack<L> &above, const uint8_t *luma,
                                                           const ColourTerms<L> &terms) {
    using V = typename L::I16x8;
    const V y = L::asI16(above.apply(L::loadU(luma)));
    const V scale = L::splat16(kLumaScale);
    const V even = L::mulHi(L::template shlWrap<6>(L::bitAnd(y, L::splat16(255))), scale);
    const V odd = L::mulHi(L::template shlWrap<6>(L::template shrLogical<8>(y)), scale);
    const auto component = [&](V term) {
        return EvenOdd<L>{L::template shrArith<2>(L::addWrap(even, term)),
                          L::template shrArith<2>(L::addWrap(odd, term))};
    };
    return {component(terms.first), component(terms.green), component(terms.third)};
}

// 5:5:5 or 5:6:5 words; bits of a component are moved within words only where nothing crosses bytes.
template <class L, bool sixBitGreen>
[[gnu::always_inline]] inline void storeRgbWords(uint8_t *target, const PixelColours<L> &c) {
    using V = typename L::U8x16;
    const auto packed = [](const EvenOdd<L> &x) { return L::packU8Sat(x.even, x.odd); };
    const auto masked = [](V a, int32_t bits) { return L::asI16(L::bitAnd(a, L::splat8(bits))); };
    const V green = packed(c.green);
    V greenLow, greenHigh, high = L::asU8(masked(packed(c.third), 0xF8));
    if constexpr (sixBitGreen) {
        greenLow = L::asU8(L::template shlWrap<3>(masked(green, 0x1C)));
        greenHigh = L::asU8(L::template shrLogical<5>(masked(green, 0xE0)));
    } else {
        greenLow = L::asU8(L::template shlWrap<2>(masked(green, 0x38)));
        greenHigh = L::asU8(L::template shrLogical<6>(masked(green, 0xC0)));
        high = L::asU8(L::template shrLogical<1>(L::asI16(high)));
    }
    const V lowBytes = L::bitOr(L::asU8(L::template shrLogical<3>(masked(packed(c.first), 0xF8))), greenLow);
    const V highBytes = L::bitOr(high, greenHigh);
    const typename L::I16x8 even = L::asI16(L::interleaveLow8(lowBytes, highBytes));
    const typename L::I16x8 odd = L::asI16(L::interleaveHigh8(lowBytes, highBytes));
    L::storeU(target, L::asU8(L::interleaveLow16(even, odd)));
    L::storeU(target + 16, L::asU8(L::interleaveHigh16(even, odd)));
}

template <class L>
[[gnu::always_inline]] inline void storeRgb32(uint8_t *target, const PixelColours<L> &c) {
    using V = typename L::I16x8;
    const typename L::U8x16 first = L::packU8Sat(c.first.even, c.first.odd);
    const typename L::U8x16 green = L::packU8Sat(c.green.even, c.green.odd);
    const typename L::U8x16 third = L::packU8Sat(c.third.even, c.third.odd), zero = L::zero8();
    const V evenLow = L::asI16(L::interleaveLow8(first, green)), evenHigh = L::asI16(L::interleaveLow8(third, zero));
    const V oddLow = L::asI16(L::interleaveHigh8(first, green)), oddHigh = L::asI16(L::interleaveHigh8(third, zero));
    const V even[2] = {L::interleaveLow16(evenLow, evenHigh), L::interleaveHigh16(evenLow, evenHigh)};
    const V odd[2] = {L::interleaveLow16(oddLow, oddHigh), L::interleaveHigh16(oddLow, oddHigh)};
    for (int i = 0; i < 2; ++i) {
        L::storeU(target + 32 * i, L::asU8(L::interleaveLow32(even[i], odd[i])));
        L::storeU(target + 32 * i + 16, L::asU8(L::interleaveHigh32(even[i], odd[i])));
    }
}

// A pair of pixels is three words: first green | third first' | green' third'. It makes a 64-bit lane with two idle
// bytes on top, which the next store covers.
template <class L>
[[gnu::always_inline]] inline void storeRgb24(uint8_t *target, const PixelColours<L> &c) {
    using V = typename L::I16x8;
    const typename L::U8x16 low = L::packU8Sat(c.first.even, c.third.even);
    const typename L::U8x16 high = L::packU8Sat(c.green.even, c.first.odd);
    const V word0 = L::asI16(L::interleaveLow8(low, high)), word1 = L::asI16(L::interleaveHigh8(low, high));
    const V word2 =
        L::asI16(L::interleaveLow8(L::packU8Sat(c.green.odd, c.green.odd), L::packU8Sat(c.third.odd, c.third.odd)));
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

template <class L, TargetLayout layout>
[[gnu::always_inline]] inline void storePixels(uint8_t *target, const PixelColours<L> &c) {
    if constexpr (layout == TargetLayout::rgb24) {
        storeRgb24<L>(target, c);
    } else if constexpr (layout == TargetLayout::rgb32) {
        storeRgb32<L>(target, c);
    } else {
        storeRgbWords<L, layout == TargetLayout::rgb16>(target, c);
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

    static typename L::U8x16 pairs(const uint8_t *chroma, int half) {
        if constexpr (K.chromaFormat == 3) return L::asU8(secondOfTwoEvenCb<L>(chroma + 32 * half));
        return L::loadU(chroma + 16 * half);
    }
    [[gnu::always_inline]] static void group(const RgbMasks<L> &masks, const RowSet &rows) {
        for (int half = 0; half < 2; ++half) {
            const ColourTerms<L> terms = colourTerms<L, K.swapRedBlue>(pairs(rows.chroma, half), masks.chroma);
            for (int i = 0; i < rowsAtOnce; ++i) {
                const uint8_t *luma = rows.luma[i] + kHalfGroup * half;
                storePixels<L, K.layout>(rows.target[i] + kHalfGroup * kPixelBytes * half,
                                         pixelColours<L>(masks.luma, luma, terms));
            }
        }
    }
};

// Rows y and, at two rows at once, y + 1.
template <class Step, class L>
void convertRgbRows(const ConversionJob &job, const RgbMasks<L> &masks, const RowPlan &plan, int32_t y,
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
    const RgbMasks<L> masks(job.constants);
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
