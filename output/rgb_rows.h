// SPDX-License-Identifier: BSD-2-Clause
// Conversion to RGB in 16-bit lanes, two pixels of a row to a chroma pair.
#pragma once

#include "output/chroma_pairs.h"
#include "output/row_kind.h"
#include "output/row_walk.h"

namespace tvk {

// Factors of 4096, after ITU-R BT.601: samples come in times 256, mulHi takes 65536 off, so products carry four
// fractional bits.
inline constexpr int32_t kLumaScale = 4769;     // 1.164
inline constexpr int32_t kRedFromCr = 6537;     // 1.596
inline constexpr int32_t kGreenFromCr = -3338;  // -0.815
inline constexpr int32_t kBlueFromCb = 8258;    // 2.016
inline constexpr int32_t kGreenFromCb = -1597;  // -0.390

inline constexpr int32_t kHalfGroup = kGroupSamples / 2;

// A component is a sum of whole quarters, so all but one of its addends are rounded down to those; what the last has
// below a quarter doesn't reach the integer. That is luma where two rows share the chroma, chroma where they don't.
template <class L>
TVK_ROW_INLINE inline typename L::I16x8 toQuarters(typename L::I16x8 sixteenths) {
    return L::bitAnd(sixteenths, L::splat16(~3));
}

// What a chroma pair adds to both its pixels in sixteenths, eight pairs a register: within -4132..4096. The third is
// the byte at the highest address: red, or blue when swapped.
template <class L>
struct ColourTerms {
    typename L::I16x8 first, green, third;
};

template <class L, bool swapRedBlue, bool inQuarters, class Masks>
TVK_ROW_INLINE inline ColourTerms<L> colourTerms(const Masks &masks, typename L::U8x16 pairs) {
    using V = typename L::I16x8;
    const V centred = L::asI16(masks.centred(pairs));
    const V cb = L::template shlWrap<8>(centred), cr = L::bitAnd(centred, L::splat16(0xFF00));
    V red = L::mulHi(cr, L::splat16(kRedFromCr)), blue = L::mulHi(cb, L::splat16(kBlueFromCb));
    V greenFromCr = L::mulHi(cr, L::splat16(kGreenFromCr)), greenFromCb = L::mulHi(cb, L::splat16(kGreenFromCb));
    if constexpr (inQuarters) {
        red = toQuarters<L>(red);
        blue = toQuarters<L>(blue);
        greenFromCr = toQuarters<L>(greenFromCr);
    }
    const V green = L::addWrap(greenFromCr, toQuarters<L>(greenFromCb));
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

// What arithmetic begins with.
template <class L, bool blanks>
struct RgbMasks {
    using U8x16 = typename L::U8x16;
    U8x16 less, fill, chroma;

    explicit RgbMasks(const ConversionConstants &c)
        : less(L::bitOr(L::bitXor(L::loadA(c.lumaMask), L::splat8(255)), L::splat8(16))),
          fill(L::subSat(L::loadA(c.lumaFill), L::splat8(16))),
          chroma(L::loadA(c.chromaMask)) {}

    // Luma less 16 and not below 0, or for blanked luma what its fill comes to by that: subtraction then brings every
    // sample down to 0.
    U8x16 aboveBlack(U8x16 luma) const {
        if constexpr (!blanks) return L::subSat(luma, L::splat8(16));
        return L::bitOr(L::subSat(luma, less), fill);
    }
    // Signed bytes, 0 for blanked components.
    U8x16 centred(U8x16 pairs) const {
        const U8x16 signedPairs = L::bitXor(pairs, L::splat8(128));
        if constexpr (!blanks) return signedPairs;
        return L::bitAnd(signedPairs, chroma);
    }
};

// Luma comes to 0..4452 in sixteenths, so sums can't leave 16 bits.
template <class L, bool inQuarters, class Masks>
TVK_ROW_INLINE inline PixelColours<L> pixelColours(const Masks &masks, const uint8_t *luma,
                                                   const ColourTerms<L> &terms) {
    using V = typename L::I16x8;
    const V y = L::asI16(masks.aboveBlack(L::loadU(luma)));
    V even = L::mulHiUnsigned(L::template shlWrap<8>(y), L::splat16(kLumaScale));
    V odd = L::mulHiUnsigned(L::bitAnd(y, L::splat16(0xFF00)), L::splat16(kLumaScale));
    if constexpr (inQuarters) {
        even = toQuarters<L>(even);
        odd = toQuarters<L>(odd);
    }
    const auto component = [&](V term) {
        return EvenOdd<L>{L::template shrArith<4>(L::addWrap(even, term)),
                          L::template shrArith<4>(L::addWrap(odd, term))};
    };
    return {component(terms.first), component(terms.green), component(terms.third)};
}

// 5:5:5 or 5:6:5 words; bits of a component are moved within words only where nothing crosses bytes.
template <class L, class Stores, bool sixBitGreen>
TVK_ROW_INLINE inline void storeRgbWords(uint8_t *target, const PixelColours<L> &c) {
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
    Stores::put(target, L::asU8(L::interleaveLow16(even, odd)));
    Stores::put(target + 16, L::asU8(L::interleaveHigh16(even, odd)));
}

// Bytes of one component of both halves of a group, in the order of pixels.
template <class L>
struct Halves {
    typename L::U8x16 half[2];
};
template <class L>
TVK_ROW_INLINE inline Halves<L> inOrder(const EvenOdd<L> &left, const EvenOdd<L> &right) {
    const typename L::U8x16 even = L::packU8Sat(left.even, right.even), odd = L::packU8Sat(left.odd, right.odd);
    return {{L::interleaveLow8(even, odd), L::interleaveHigh8(even, odd)}};
}

template <class L, class Stores>
TVK_ROW_INLINE inline void storeRgb32(uint8_t *target, const PixelColours<L> &left, const PixelColours<L> &right) {
    using V = typename L::I16x8;
    const Halves<L> first = inOrder<L>(left.first, right.first), green = inOrder<L>(left.green, right.green);
    const Halves<L> third = inOrder<L>(left.third, right.third);
    for (int i = 0; i < 2; ++i) {
        const typename L::U8x16 a = first.half[i], b = green.half[i], c = third.half[i], zero = L::zero8();
        const V lower[2] = {L::asI16(L::interleaveLow8(a, b)), L::asI16(L::interleaveHigh8(a, b))};
        const V upper[2] = {L::asI16(L::interleaveLow8(c, zero)), L::asI16(L::interleaveHigh8(c, zero))};
        for (int j = 0; j < 2; ++j) {
            uint8_t *at = target + 64 * i + 32 * j;
            Stores::put(at, L::asU8(L::interleaveLow16(lower[j], upper[j])));
            Stores::put(at + 16, L::asU8(L::interleaveHigh16(lower[j], upper[j])));
        }
    }
}

// A pair of pixels is three words: first green | third first' | green' third'. It makes a 64-bit lane with two idle
// bytes on top, which the next store covers.
template <class L>
TVK_ROW_INLINE inline void storeRgb24(uint8_t *target, const PixelColours<L> &c) {
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

// A group's two halves.
template <class L, class Stores, TargetLayout layout>
TVK_ROW_INLINE inline void storePixels(uint8_t *target, const PixelColours<L> &left, const PixelColours<L> &right) {
    if constexpr (layout == TargetLayout::rgb24) {
        storeRgb24<L>(target, left);
        storeRgb24<L>(target + 3 * kHalfGroup, right);
    } else if constexpr (layout == TargetLayout::rgb32) {
        storeRgb32<L, Stores>(target, left, right);
    } else {
        storeRgbWords<L, Stores, layout == TargetLayout::rgb16>(target, left);
        storeRgbWords<L, Stores, layout == TargetLayout::rgb16>(target + 2 * kHalfGroup, right);
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
    template <class Stores, class Masks>
    TVK_ROW_INLINE static void group(const Masks &masks, const RowSet &rows) {
        constexpr bool chromaInQuarters = rowsAtOnce > 1;
        const ColourTerms<L> left = colourTerms<L, K.swapRedBlue, chromaInQuarters>(masks, pairs(rows.chroma, 0));
        const ColourTerms<L> right = colourTerms<L, K.swapRedBlue, chromaInQuarters>(masks, pairs(rows.chroma, 1));
        for (int i = 0; i < rowsAtOnce; ++i) {
            const uint8_t *luma = rows.luma[i];
            storePixels<L, Stores, K.layout>(rows.target[i], pixelColours<L, !chromaInQuarters>(masks, luma, left),
                                             pixelColours<L, !chromaInQuarters>(masks, luma + kHalfGroup, right));
        }
    }
};

// Rows y and, at two rows at once, y + 1.
template <class Step, class L, class Stores, class Masks>
void convertRgbRows(const ConversionJob &job, const Masks &masks, const RowPlan &plan, int32_t y,
                    const uint8_t *chroma) {
    RowSet rows{{nullptr, nullptr}, chroma, {nullptr, nullptr}};
    for (int i = 0; i < Step::kLumaRows; ++i) {
        rows.luma[i] = job.frame.luma.row(y + i);
        rows.target[i] = job.target[0] + ptrdiff_t{y + i} * job.targetStride;
    }
    convertRow<Step, L, Stores>(masks, plan, rows);
}

// 4:2:0 shares a chroma row between two rows of a frame, interlaced or not.
template <class L, RowKind K, class Form>
void convertAllRgbRows(const ConversionJob &job) {
    using One = RgbStep<L, K, 1>;
    using Stores = typename Form::template Stores<L>;
    const RgbMasks<L, Form::kBlanks> masks(job.constants);
    const RowPlan plan = planRow<One>(job, job.targetStride);
    int32_t y = 0;
    if constexpr (K.chromaFormat == 1) {
        for (; y + 1 < job.convertedRows; y += 2)
            convertRgbRows<RgbStep<L, K, 2>, L, Stores>(job, masks, plan, y, job.frame.chroma.row(y / 2));
    }
    for (; y < job.convertedRows; ++y)
        convertRgbRows<One, L, Stores>(job, masks, plan, y, job.frame.chroma.row(K.chromaFormat == 1 ? y / 2 : y));
}

template <class L, RowKind K>
void convertRgb(const ConversionJob &job) {
    // Three bytes a pixel come in pieces of less than a register.
    const bool whole = K.layout != TargetLayout::rgb24;
    inRowForm<L>(job, whole && isAligned(job.target[0], job.targetStride),
                 [&]<class Form>(Form) { convertAllRgbRows<L, K, Form>(job); });
}

}  // namespace tvk
