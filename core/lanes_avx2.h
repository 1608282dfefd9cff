// SPDX-License-Identifier: BSD-2-Clause
// The lanes twice over, side by side in the registers of AVX2. Names and formulas are those of the layer, for each half
// by itself; here is what the full-size transforms ask for.
#pragma once

#include <cstddef>
#include <cstdint>

#include <immintrin.h>

#include "core/lanes_sse2.h"

namespace tvk {

struct Avx2PairLanes {
    using Half = Sse2Lanes;
    struct I16x8 {
        __m256i v;
    };
    struct U8x16 {
        __m256i v;
    };
    struct I32x4 {
        __m256i v;
    };

    // Two pointers that move together.
    template <class T>
    struct Places {
        T *first, *second;
        Places operator+(ptrdiff_t n) const { return {first + n, second + n}; }
    };

    template <class T>
    static I16x8 loadA(Places<T> p) {
        return {_mm256_set_m128i(Half::loadA(p.second).v, Half::loadA(p.first).v)};
    }
    template <class T>
    static I16x8 loadHalf(Places<T> p) {
        return {_mm256_set_m128i(Half::loadHalf(p.second).v, Half::loadHalf(p.first).v)};
    }
    // The same for both.
    static I16x8 loadA(const int16_t *p) { return {_mm256_broadcastsi128_si256(Half::loadA(p).v)}; }
    static void storeA(Places<int16_t> p, I16x8 a) {
        Half::storeA(p.first, {_mm256_castsi256_si128(a.v)});
        Half::storeA(p.second, {_mm256_extracti128_si256(a.v, 1)});
    }
    static void split(U8x16 a, Half::U8x16 &first, Half::U8x16 &second) {
        first = {_mm256_castsi256_si128(a.v)};
        second = {_mm256_extracti128_si256(a.v, 1)};
    }

    static I16x8 splat16(int32_t x) { return {_mm256_set1_epi16(static_cast<int16_t>(x))}; }
    static I32x4 splat32(int32_t x) { return {_mm256_set1_epi32(x)}; }

    static I16x8 addSat(I16x8 a, I16x8 b) { return {_mm256_adds_epi16(a.v, b.v)}; }
    static I16x8 subSat(I16x8 a, I16x8 b) { return {_mm256_subs_epi16(a.v, b.v)}; }
    static I32x4 addWrap(I32x4 a, I32x4 b) { return {_mm256_add_epi32(a.v, b.v)}; }
    static I32x4 subWrap(I32x4 a, I32x4 b) { return {_mm256_sub_epi32(a.v, b.v)}; }
    static I16x8 mulHi(I16x8 a, I16x8 b) { return {_mm256_mulhi_epi16(a.v, b.v)}; }
    static I32x4 maddPairs(I16x8 a, I16x8 b) { return {_mm256_madd_epi16(a.v, b.v)}; }
    template <int n>
    static I16x8 shlWrap(I16x8 a) {
        return {_mm256_slli_epi16(a.v, n)};
    }
    template <int n>
    static I16x8 shrArith(I16x8 a) {
        return {_mm256_srai_epi16(a.v, n)};
    }
    template <int n>
    static I32x4 shrArith(I32x4 a) {
        return {_mm256_srai_epi32(a.v, n)};
    }
    static I16x8 bitOr(I16x8 a, I16x8 b) { return {_mm256_or_si256(a.v, b.v)}; }

    static U8x16 packU8Sat(I16x8 a, I16x8 b) { return {_mm256_packus_epi16(a.v, b.v)}; }
    static I16x8 packI16Sat(I32x4 a, I32x4 b) { return {_mm256_packs_epi32(a.v, b.v)}; }
    static I16x8 interleaveLow16(I16x8 a, I16x8 b) { return {_mm256_unpacklo_epi16(a.v, b.v)}; }
    static I16x8 interleaveHigh16(I16x8 a, I16x8 b) { return {_mm256_unpackhi_epi16(a.v, b.v)}; }
    static I16x8 interleaveLow32(I16x8 a, I16x8 b) { return {_mm256_unpacklo_epi32(a.v, b.v)}; }
    static I16x8 interleaveHigh32(I16x8 a, I16x8 b) { return {_mm256_unpackhi_epi32(a.v, b.v)}; }
    static I16x8 interleaveLow64(I16x8 a, I16x8 b) { return {_mm256_unpacklo_epi64(a.v, b.v)}; }
    static I16x8 interleaveHigh64(I16x8 a, I16x8 b) { return {_mm256_unpackhi_epi64(a.v, b.v)}; }
    template <int n>
    static I16x8 splatUnit32(I16x8 a) {
        return {_mm256_shuffle_epi32(a.v, _MM_SHUFFLE(n, n, n, n))};
    }
    static I32x4 reverse32(I32x4 a) { return {_mm256_shuffle_epi32(a.v, _MM_SHUFFLE(0, 1, 2, 3))}; }

    // Of both halves.
    static bool allZero(I16x8 a) { return _mm256_testz_si256(a.v, a.v) != 0; }
};

}  // namespace tvk
