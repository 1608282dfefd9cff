// SPDX-License-Identifier: BSD-2-Clause
// The lanes on SSE2, an instruction or a few for each operation; lanes_portable.h has the formulas.
#pragma once

#include <cstdint>
#include <cstring>

#include <emmintrin.h>

namespace tvk {

struct Sse2Lanes {
    // Types of their own, so that operations can go by one name and lanes are not mixed up.
    struct I16x8 {
        __m128i v;
    };
    struct U8x16 {
        __m128i v;
    };
    struct I32x4 {
        __m128i v;
    };
    struct F32x4 {
        __m128 v;
    };

    static I16x8 loadA(const int16_t *p) { return {_mm_load_si128(at(p))}; }
    static U8x16 loadA(const uint8_t *p) { return {_mm_load_si128(at(p))}; }
    static F32x4 loadA(const float *p) { return {_mm_load_ps(p)}; }
    static I16x8 loadU(const int16_t *p) { return {_mm_loadu_si128(at(p))}; }
    static U8x16 loadU(const uint8_t *p) { return {_mm_loadu_si128(at(p))}; }
    static I16x8 loadHalf(const int16_t *p) { return {_mm_loadl_epi64(at(p))}; }
    static U8x16 loadHalf(const uint8_t *p) { return {_mm_loadl_epi64(at(p))}; }
    static I16x8 loadQuarter(const int16_t *p) { return {loadLowest(p)}; }
    static U8x16 loadQuarter(const uint8_t *p) { return {loadLowest(p)}; }
    static void storeA(int16_t *p, I16x8 a) { _mm_store_si128(at(p), a.v); }
    static void storeA(uint8_t *p, U8x16 a) { _mm_store_si128(at(p), a.v); }
    static void storeA(int32_t *p, I32x4 a) { _mm_store_si128(at(p), a.v); }
    static void storeU(int16_t *p, I16x8 a) { _mm_storeu_si128(at(p), a.v); }
    static void storeU(uint8_t *p, U8x16 a) { _mm_storeu_si128(at(p), a.v); }
    static void storeHalf(int16_t *p, I16x8 a) { _mm_storel_epi64(at(p), a.v); }
    static void storeHalf(uint8_t *p, U8x16 a) { _mm_storel_epi64(at(p), a.v); }
    static void storeHighHalf(int16_t *p, I16x8 a) { storeUpper(p, a.v); }
    static void storeHighHalf(uint8_t *p, U8x16 a) { storeUpper(p, a.v); }
    static void storeQuarter(uint8_t *p, U8x16 a) {
        const int32_t x = _mm_cvtsi128_si32(a.v);
        std::memcpy(p, &x, 4);
    }
    static constexpr bool kStreams = true;
    static void storeStream(uint8_t *p, U8x16 a) { _mm_stream_si128(at(p), a.v); }
    static void finishStreams() { _mm_sfence(); }

    static I16x8 splat16(int32_t x) { return {_mm_set1_epi16(static_cast<int16_t>(x))}; }
    static U8x16 splat8(int32_t x) { return {_mm_set1_epi8(static_cast<char>(x))}; }
    static I32x4 splat32(int32_t x) { return {_mm_set1_epi32(x)}; }
    static F32x4 splatF(float x) { return {_mm_set1_ps(x)}; }
    static I16x8 zero16() { return {_mm_setzero_si128()}; }
    static U8x16 zero8() { return {_mm_setzero_si128()}; }
    static I32x4 zero32() { return {_mm_setzero_si128()}; }
    static I16x8 allOnes16() { return splat16(-1); }

    static I16x8 addSat(I16x8 a, I16x8 b) { return {_mm_adds_epi16(a.v, b.v)}; }
    static I16x8 subSat(I16x8 a, I16x8 b) { return {_mm_subs_epi16(a.v, b.v)}; }
    static U8x16 subSat(U8x16 a, U8x16 b) { return {_mm_subs_epu8(a.v, b.v)}; }
    static I16x8 addWrap(I16x8 a, I16x8 b) { return {_mm_add_epi16(a.v, b.v)}; }
    static I16x8 subWrap(I16x8 a, I16x8 b) { return {_mm_sub_epi16(a.v, b.v)}; }
    static U8x16 subWrap(U8x16 a, U8x16 b) { return {_mm_sub_epi8(a.v, b.v)}; }
    static I32x4 addWrap(I32x4 a, I32x4 b) { return {_mm_add_epi32(a.v, b.v)}; }
    static I32x4 subWrap(I32x4 a, I32x4 b) { return {_mm_sub_epi32(a.v, b.v)}; }
    static I16x8 mulHi(I16x8 a, I16x8 b) { return {_mm_mulhi_epi16(a.v, b.v)}; }
    static I16x8 mulHiUnsigned(I16x8 a, I16x8 b) { return {_mm_mulhi_epu16(a.v, b.v)}; }
    static I16x8 mulLo(I16x8 a, I16x8 b) { return {_mm_mullo_epi16(a.v, b.v)}; }
    static I32x4 maddPairs(I16x8 a, I16x8 b) { return {_mm_madd_epi16(a.v, b.v)}; }
    static I16x8 min(I16x8 a, I16x8 b) { return {_mm_min_epi16(a.v, b.v)}; }
    static I16x8 max(I16x8 a, I16x8 b) { return {_mm_max_epi16(a.v, b.v)}; }
    static U8x16 avgUp(U8x16 a, U8x16 b) { return {_mm_avg_epu8(a.v, b.v)}; }

    template <int n>
    static I16x8 shlWrap(I16x8 a) {
        return {_mm_slli_epi16(a.v, n)};
    }
    template <int n>
    static I16x8 shrArith(I16x8 a) {
        return {_mm_srai_epi16(a.v, n)};
    }
    template <int n>
    static I16x8 shrLogical(I16x8 a) {
        return {_mm_srli_epi16(a.v, n)};
    }
    template <int n>
    static I32x4 shlWrap(I32x4 a) {
        return {_mm_slli_epi32(a.v, n)};
    }
    template <int n>
    static I32x4 shrArith(I32x4 a) {
        return {_mm_srai_epi32(a.v, n)};
    }
    template <int n>
    static I32x4 shrLogical(I32x4 a) {
        return {_mm_srli_epi32(a.v, n)};
    }

    static I16x8 bitAnd(I16x8 a, I16x8 b) { return {_mm_and_si128(a.v, b.v)}; }
    static I16x8 bitOr(I16x8 a, I16x8 b) { return {_mm_or_si128(a.v, b.v)}; }
    static I16x8 bitXor(I16x8 a, I16x8 b) { return {_mm_xor_si128(a.v, b.v)}; }
    static U8x16 bitAnd(U8x16 a, U8x16 b) { return {_mm_and_si128(a.v, b.v)}; }
    static U8x16 bitOr(U8x16 a, U8x16 b) { return {_mm_or_si128(a.v, b.v)}; }
    static U8x16 bitXor(U8x16 a, U8x16 b) { return {_mm_xor_si128(a.v, b.v)}; }

    static U8x16 packU8Sat(I16x8 a, I16x8 b) { return {_mm_packus_epi16(a.v, b.v)}; }
    static I16x8 packI16Sat(I32x4 a, I32x4 b) { return {_mm_packs_epi32(a.v, b.v)}; }
    static I16x8 widenLow(U8x16 a) { return {_mm_unpacklo_epi8(a.v, _mm_setzero_si128())}; }
    static I16x8 widenHigh(U8x16 a) { return {_mm_unpackhi_epi8(a.v, _mm_setzero_si128())}; }
    static I32x4 widenLow(I16x8 a) { return {_mm_srai_epi32(_mm_unpacklo_epi16(a.v, a.v), 16)}; }
    static I32x4 widenHigh(I16x8 a) { return {_mm_srai_epi32(_mm_unpackhi_epi16(a.v, a.v), 16)}; }

    static U8x16 interleaveLow8(U8x16 a, U8x16 b) { return {_mm_unpacklo_epi8(a.v, b.v)}; }
    static U8x16 interleaveHigh8(U8x16 a, U8x16 b) { return {_mm_unpackhi_epi8(a.v, b.v)}; }
    static U8x16 interleaveLow64(U8x16 a, U8x16 b) { return {_mm_unpacklo_epi64(a.v, b.v)}; }
    static U8x16 interleaveHigh64(U8x16 a, U8x16 b) { return {_mm_unpackhi_epi64(a.v, b.v)}; }
    static I16x8 interleaveLow16(I16x8 a, I16x8 b) { return {_mm_unpacklo_epi16(a.v, b.v)}; }
    static I16x8 interleaveHigh16(I16x8 a, I16x8 b) { return {_mm_unpackhi_epi16(a.v, b.v)}; }
    static I16x8 interleaveLow32(I16x8 a, I16x8 b) { return {_mm_unpacklo_epi32(a.v, b.v)}; }
    static I16x8 interleaveHigh32(I16x8 a, I16x8 b) { return {_mm_unpackhi_epi32(a.v, b.v)}; }
    static I16x8 interleaveLow64(I16x8 a, I16x8 b) { return {_mm_unpacklo_epi64(a.v, b.v)}; }
    static I16x8 interleaveHigh64(I16x8 a, I16x8 b) { return {_mm_unpackhi_epi64(a.v, b.v)}; }
    static I32x4 interleaveLow32(I32x4 a, I32x4 b) { return {_mm_unpacklo_epi32(a.v, b.v)}; }
    static I32x4 interleaveHigh32(I32x4 a, I32x4 b) { return {_mm_unpackhi_epi32(a.v, b.v)}; }
    static I32x4 interleaveLow64(I32x4 a, I32x4 b) { return {_mm_unpacklo_epi64(a.v, b.v)}; }
    static I32x4 interleaveHigh64(I32x4 a, I32x4 b) { return {_mm_unpackhi_epi64(a.v, b.v)}; }
    static F32x4 interleaveLow32(F32x4 a, F32x4 b) { return {_mm_unpacklo_ps(a.v, b.v)}; }
    static F32x4 interleaveHigh32(F32x4 a, F32x4 b) { return {_mm_unpackhi_ps(a.v, b.v)}; }
    static F32x4 interleaveLow64(F32x4 a, F32x4 b) { return {_mm_movelh_ps(a.v, b.v)}; }
    static F32x4 interleaveHigh64(F32x4 a, F32x4 b) { return {_mm_movehl_ps(b.v, a.v)}; }
    template <int n>
    static I16x8 splatUnit32(I16x8 a) {
        return {_mm_shuffle_epi32(a.v, _MM_SHUFFLE(n, n, n, n))};
    }
    static I16x8 asI16(U8x16 a) { return {a.v}; }
    static I16x8 asI16(I32x4 a) { return {a.v}; }
    static U8x16 asU8(I16x8 a) { return {a.v}; }
    static I32x4 asI32(I16x8 a) { return {a.v}; }
    static I32x4 reverse32(I32x4 a) { return {_mm_shuffle_epi32(a.v, _MM_SHUFFLE(0, 1, 2, 3))}; }
    static U8x16 evenBytes(U8x16 a, U8x16 b) {
        const __m128i mask = _mm_set1_epi16(255);
        return {_mm_packus_epi16(_mm_and_si128(a.v, mask), _mm_and_si128(b.v, mask))};
    }
    static U8x16 oddBytes(U8x16 a, U8x16 b) {
        return {_mm_packus_epi16(_mm_srli_epi16(a.v, 8), _mm_srli_epi16(b.v, 8))};
    }

    static bool allZero(I16x8 a) { return _mm_movemask_epi8(_mm_cmpeq_epi8(a.v, _mm_setzero_si128())) == 0xFFFF; }

    static uint32_t nonZeroBits(I16x8 a, I16x8 b) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i equal = _mm_packs_epi16(_mm_cmpeq_epi16(a.v, zero), _mm_cmpeq_epi16(b.v, zero));
        return static_cast<uint32_t>(_mm_movemask_epi8(equal)) ^ 0xFFFF;
    }

    static F32x4 add(F32x4 a, F32x4 b) { return {_mm_add_ps(a.v, b.v)}; }
    static F32x4 sub(F32x4 a, F32x4 b) { return {_mm_sub_ps(a.v, b.v)}; }
    static F32x4 mul(F32x4 a, F32x4 b) { return {_mm_mul_ps(a.v, b.v)}; }
    static F32x4 toFloat(I32x4 a) { return {_mm_cvtepi32_ps(a.v)}; }
    static I32x4 roundToInt(F32x4 a) { return {_mm_cvtps_epi32(a.v)}; }

  private:
    static const __m128i *at(const void *p) { return static_cast<const __m128i *>(p); }
    static __m128i *at(void *p) { return static_cast<__m128i *>(p); }
    static __m128i loadLowest(const void *p) {
        int32_t x;
        std::memcpy(&x, p, 4);
        return _mm_cvtsi32_si128(x);
    }
    static void storeUpper(void *p, __m128i a) { _mm_storel_epi64(at(p), _mm_unpackhi_epi64(a, a)); }
};

}  // namespace tvk
