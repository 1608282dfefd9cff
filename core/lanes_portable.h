// SPDX-License-Identifier: BSD-2-Clause
// The portable lanes: every operation of the layer, defined by its formula.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace tvk {

// Sixteen bytes a register. Lane 0 is the one at the lowest address. Integer operations named "wrap" keep the low bits,
// those named "sat" clamp to the lane's range. "Half" is the eight bytes of the lower lanes, "Quarter" the lowest four.
struct PortableLanes {
    struct alignas(16) I16x8 {
        int16_t v[8];
    };
    struct alignas(16) U8x16 {
        uint8_t v[16];
    };
    struct alignas(16) I32x4 {
        int32_t v[4];
    };
    struct alignas(16) F32x4 {
        float v[4];
    };

    // Aligned loads and stores need addresses that are multiples of 16. Partial loads zero the lanes above.
    static I16x8 loadA(const int16_t *p) { return loadBytes<I16x8>(p, 16); }
    static U8x16 loadA(const uint8_t *p) { return loadBytes<U8x16>(p, 16); }
    static F32x4 loadA(const float *p) { return loadBytes<F32x4>(p, 16); }
    static I16x8 loadU(const int16_t *p) { return loadBytes<I16x8>(p, 16); }
    static U8x16 loadU(const uint8_t *p) { return loadBytes<U8x16>(p, 16); }
    static I16x8 loadHalf(const int16_t *p) { return loadBytes<I16x8>(p, 8); }
    static U8x16 loadHalf(const uint8_t *p) { return loadBytes<U8x16>(p, 8); }
    static I16x8 loadQuarter(const int16_t *p) { return loadBytes<I16x8>(p, 4); }
    static U8x16 loadQuarter(const uint8_t *p) { return loadBytes<U8x16>(p, 4); }
    static void storeA(int16_t *p, I16x8 a) { std::memcpy(p, a.v, 16); }
    static void storeA(uint8_t *p, U8x16 a) { std::memcpy(p, a.v, 16); }
    static void storeA(int32_t *p, I32x4 a) { std::memcpy(p, a.v, 16); }
    static void storeU(int16_t *p, I16x8 a) { std::memcpy(p, a.v, 16); }
    static void storeU(uint8_t *p, U8x16 a) { std::memcpy(p, a.v, 16); }
    static void storeHalf(int16_t *p, I16x8 a) { std::memcpy(p, a.v, 8); }
    static void storeHalf(uint8_t *p, U8x16 a) { std::memcpy(p, a.v, 8); }
    static void storeHighHalf(int16_t *p, I16x8 a) { std::memcpy(p, a.v + 4, 8); }
    static void storeHighHalf(uint8_t *p, U8x16 a) { std::memcpy(p, a.v + 8, 8); }
    static void storeQuarter(uint8_t *p, U8x16 a) { std::memcpy(p, a.v, 4); }
    // To an address that is a multiple of 16; past the caches if kStreams. Other threads may count on the
    // bytes behind a call of finishStreams.
    static constexpr bool kStreams = false;
    static void storeStream(uint8_t *p, U8x16 a) { std::memcpy(p, a.v, 16); }
    static void finishStreams() {}

    static I16x8 splat16(int32_t x) {
        return map16([x](int) { return x; });
    }
    static U8x16 splat8(int32_t x) {
        return map8([x](int) { return x; });
    }
    static I32x4 splat32(int32_t x) {
        return map32([x](int) { return static_cast<uint32_t>(x); });
    }
    static F32x4 splatF(float x) {
        return mapF([x](int) { return x; });
    }
    static I16x8 zero16() { return splat16(0); }
    static U8x16 zero8() { return splat8(0); }
    static I32x4 zero32() { return splat32(0); }
    static I16x8 allOnes16() { return splat16(-1); }

    // clamp(a + b), clamp(a - b)
    static I16x8 addSat(I16x8 a, I16x8 b) {
        return map16([&](int i) { return clamp16(a.v[i] + b.v[i]); });
    }
    static I16x8 subSat(I16x8 a, I16x8 b) {
        return map16([&](int i) { return clamp16(a.v[i] - b.v[i]); });
    }
    // a - b, not below 0
    static U8x16 subSat(U8x16 a, U8x16 b) {
        return map8([&](int i) { return a.v[i] > b.v[i] ? a.v[i] - b.v[i] : 0; });
    }
    // a + b, a - b, modulo the lane
    static I16x8 addWrap(I16x8 a, I16x8 b) {
        return map16([&](int i) { return a.v[i] + b.v[i]; });
    }
    static I16x8 subWrap(I16x8 a, I16x8 b) {
        return map16([&](int i) { return a.v[i] - b.v[i]; });
    }
    static U8x16 subWrap(U8x16 a, U8x16 b) {
        return map8([&](int i) { return a.v[i] - b.v[i]; });
    }
    static I32x4 addWrap(I32x4 a, I32x4 b) {
        return map32([&](int i) { return bits(a.v[i]) + bits(b.v[i]); });
    }
    static I32x4 subWrap(I32x4 a, I32x4 b) {
        return map32([&](int i) { return bits(a.v[i]) - bits(b.v[i]); });
    }
    // floor(a * b / 65536)
    static I16x8 mulHi(I16x8 a, I16x8 b) {
        return map16([&](int i) { return (a.v[i] * b.v[i]) >> 16; });
    }
    // The same on the lanes' bits as unsigned numbers
    static I16x8 mulHiUnsigned(I16x8 a, I16x8 b) {
        return map16([&](int i) {
            return static_cast<int32_t>((uint32_t{static_cast<uint16_t>(a.v[i])} * static_cast<uint16_t>(b.v[i])) >>
                                        16);
        });
    }
    // a * b modulo the lane
    static I16x8 mulLo(I16x8 a, I16x8 b) {
        return map16([&](int i) { return a.v[i] * b.v[i]; });
    }
    // a[2i] * b[2i] + a[2i + 1] * b[2i + 1] modulo 2^32
    static I32x4 maddPairs(I16x8 a, I16x8 b) {
        return map32([&](int i) { return bits(a.v[2 * i] * b.v[2 * i]) + bits(a.v[2 * i + 1] * b.v[2 * i + 1]); });
    }
    static I16x8 min(I16x8 a, I16x8 b) {
        return map16([&](int i) { return a.v[i] < b.v[i] ? a.v[i] : b.v[i]; });
    }
    static I16x8 max(I16x8 a, I16x8 b) {
        return map16([&](int i) { return a.v[i] > b.v[i] ? a.v[i] : b.v[i]; });
    }
    // (a + b + 1) >> 1
    static U8x16 avgUp(U8x16 a, U8x16 b) {
        return map8([&](int i) { return (a.v[i] + b.v[i] + 1) >> 1; });
    }

    // a * 2^n modulo the lane; floor(a / 2^n); the same on the lane's bits as an unsigned number
    template <int n>
    static I16x8 shlWrap(I16x8 a) {
        return map16([&](int i) { return a.v[i] << n; });
    }
    template <int n>
    static I16x8 shrArith(I16x8 a) {
        return map16([&](int i) { return a.v[i] >> n; });
    }
    template <int n>
    static I16x8 shrLogical(I16x8 a) {
        return map16([&](int i) { return static_cast<uint16_t>(a.v[i]) >> n; });
    }
    template <int n>
    static I32x4 shlWrap(I32x4 a) {
        return map32([&](int i) { return bits(a.v[i]) << n; });
    }
    template <int n>
    static I32x4 shrArith(I32x4 a) {
        return map32([&](int i) { return bits(a.v[i] >> n); });
    }
    template <int n>
    static I32x4 shrLogical(I32x4 a) {
        return map32([&](int i) { return bits(a.v[i]) >> n; });
    }

    static I16x8 bitAnd(I16x8 a, I16x8 b) {
        return map16([&](int i) { return a.v[i] & b.v[i]; });
    }
    static I16x8 bitOr(I16x8 a, I16x8 b) {
        return map16([&](int i) { return a.v[i] | b.v[i]; });
    }
    static I16x8 bitXor(I16x8 a, I16x8 b) {
        return map16([&](int i) { return a.v[i] ^ b.v[i]; });
    }
    static U8x16 bitAnd(U8x16 a, U8x16 b) {
        return map8([&](int i) { return a.v[i] & b.v[i]; });
    }
    static U8x16 bitOr(U8x16 a, U8x16 b) {
        return map8([&](int i) { return a.v[i] | b.v[i]; });
    }
    static U8x16 bitXor(U8x16 a, U8x16 b) {
        return map8([&](int i) { return a.v[i] ^ b.v[i]; });
    }

    // Lanes of a clamped to 0..255, then those of b
    static U8x16 packU8Sat(I16x8 a, I16x8 b) {
        return map8([&](int i) { return clamp8(i < 8 ? a.v[i] : b.v[i - 8]); });
    }
    // Lanes of a clamped to 16 bits, then those of b
    static I16x8 packI16Sat(I32x4 a, I32x4 b) {
        return map16([&](int i) { return clamp16(i < 4 ? a.v[i] : b.v[i - 4]); });
    }
    // Zero extension of bytes 0..7, 8..15
    static I16x8 widenLow(U8x16 a) {
        return map16([&](int i) { return a.v[i]; });
    }
    static I16x8 widenHigh(U8x16 a) {
        return map16([&](int i) { return a.v[i + 8]; });
    }
    // Sign extension of lanes 0..3, 4..7
    static I32x4 widenLow(I16x8 a) {
        return map32([&](int i) { return bits(a.v[i]); });
    }
    static I32x4 widenHigh(I16x8 a) {
        return map32([&](int i) { return bits(a.v[i + 4]); });
    }

    // interleaveLowN: the N-bit units a0 b0 a1 b1 ... of the lower halves; interleaveHighN: of the upper halves
    static U8x16 interleaveLow8(U8x16 a, U8x16 b) { return interleave<1, 0>(a, b); }
    static U8x16 interleaveHigh8(U8x16 a, U8x16 b) { return interleave<1, 8>(a, b); }
    static U8x16 interleaveLow64(U8x16 a, U8x16 b) { return interleave<8, 0>(a, b); }
    static U8x16 interleaveHigh64(U8x16 a, U8x16 b) { return interleave<8, 8>(a, b); }
    static I16x8 interleaveLow16(I16x8 a, I16x8 b) { return interleave<2, 0>(a, b); }
    static I16x8 interleaveHigh16(I16x8 a, I16x8 b) { return interleave<2, 8>(a, b); }
    static I16x8 interleaveLow32(I16x8 a, I16x8 b) { return interleave<4, 0>(a, b); }
    static I16x8 interleaveHigh32(I16x8 a, I16x8 b) { return interleave<4, 8>(a, b); }
    static I16x8 interleaveLow64(I16x8 a, I16x8 b) { return interleave<8, 0>(a, b); }
    static I16x8 interleaveHigh64(I16x8 a, I16x8 b) { return interleave<8, 8>(a, b); }
    static I32x4 interleaveLow32(I32x4 a, I32x4 b) { return interleave<4, 0>(a, b); }
    static I32x4 interleaveHigh32(I32x4 a, I32x4 b) { return interleave<4, 8>(a, b); }
    static I32x4 interleaveLow64(I32x4 a, I32x4 b) { return interleave<8, 0>(a, b); }
    static I32x4 interleaveHigh64(I32x4 a, I32x4 b) { return interleave<8, 8>(a, b); }
    static F32x4 interleaveLow32(F32x4 a, F32x4 b) { return interleave<4, 0>(a, b); }
    static F32x4 interleaveHigh32(F32x4 a, F32x4 b) { return interleave<4, 8>(a, b); }
    static F32x4 interleaveLow64(F32x4 a, F32x4 b) { return interleave<8, 0>(a, b); }
    static F32x4 interleaveHigh64(F32x4 a, F32x4 b) { return interleave<8, 8>(a, b); }
    // Every 32-bit unit becomes unit n
    template <int n>
    static I16x8 splatUnit32(I16x8 a) {
        return map16([&](int i) { return a.v[2 * n + (i & 1)]; });
    }
    // The same bits as lanes of another width, the lower lane in the lower bits
    static I16x8 asI16(U8x16 a) {
        return map16([&](int i) { return a.v[2 * i] | a.v[2 * i + 1] << 8; });
    }
    static I16x8 asI16(I32x4 a) {
        return map16([&](int i) { return a.v[i >> 1] >> (16 * (i & 1)); });
    }
    static U8x16 asU8(I16x8 a) {
        return map8([&](int i) { return a.v[i >> 1] >> (8 * (i & 1)); });
    }
    static I32x4 asI32(I16x8 a) {
        return map32([&](int i) { return static_cast<uint16_t>(a.v[2 * i]) | bits(a.v[2 * i + 1]) << 16; });
    }
    // Lanes 3, 2, 1, 0
    static I32x4 reverse32(I32x4 a) {
        return map32([&](int i) { return bits(a.v[3 - i]); });
    }
    // Bytes 2i of a, then of b; bytes 2i + 1 of a, then of b
    static U8x16 evenBytes(U8x16 a, U8x16 b) {
        return map8([&](int i) { return i < 8 ? a.v[2 * i] : b.v[2 * i - 16]; });
    }
    static U8x16 oddBytes(U8x16 a, U8x16 b) {
        return map8([&](int i) { return i < 8 ? a.v[2 * i + 1] : b.v[2 * i - 15]; });
    }

    static bool allZero(I16x8 a) {
        bool zero = true;
        for (int16_t x : a.v) zero = zero && x == 0;
        return zero;
    }

    // Bit i for lane i of a, bit 8 + i for lane i of b: set where the lane is not 0
    static uint32_t nonZeroBits(I16x8 a, I16x8 b) {
        uint32_t set = 0;
        for (int i = 0; i < 8; ++i) set |= (a.v[i] != 0 ? 1U << i : 0U) | (b.v[i] != 0 ? 256U << i : 0U);
        return set;
    }

    static F32x4 add(F32x4 a, F32x4 b) {
        return mapF([&](int i) { return a.v[i] + b.v[i]; });
    }
    static F32x4 sub(F32x4 a, F32x4 b) {
        return mapF([&](int i) { return a.v[i] - b.v[i]; });
    }
    static F32x4 mul(F32x4 a, F32x4 b) {
        return mapF([&](int i) { return a.v[i] * b.v[i]; });
    }
    static F32x4 toFloat(I32x4 a) {
        return mapF([&](int i) { return static_cast<float>(a.v[i]); });
    }
    // To the nearest integer, ties to even; -2^31 for whatever does not fit
    static I32x4 roundToInt(F32x4 a) {
        return map32([&](int i) {
            const bool fits = a.v[i] >= -2147483648.0F && a.v[i] < 2147483648.0F;
            return fits ? bits(static_cast<int32_t>(std::lrintf(a.v[i]))) : 0x80000000U;
        });
    }

  private:
    static uint32_t bits(int32_t x) { return static_cast<uint32_t>(x); }
    static int32_t clamp16(int32_t x) { return x < -32768 ? -32768 : x > 32767 ? 32767 : x; }
    static int32_t clamp8(int32_t x) { return x < 0 ? 0 : x > 255 ? 255 : x; }

    template <class V>
    static V loadBytes(const void *p, size_t bytes) {
        V r{};
        std::memcpy(r.v, p, bytes);
        return r;
    }
    template <class F>
    static I16x8 map16(F f) {
        I16x8 r;
        for (int i = 0; i < 8; ++i) r.v[i] = static_cast<int16_t>(f(i));
        return r;
    }
    template <class F>
    static U8x16 map8(F f) {
        U8x16 r;
        for (int i = 0; i < 16; ++i) r.v[i] = static_cast<uint8_t>(f(i));
        return r;
    }
    template <class F>
    static I32x4 map32(F f) {
        I32x4 r;
        for (int i = 0; i < 4; ++i) r.v[i] = static_cast<int32_t>(f(i));
        return r;
    }
    template <class F>
    static F32x4 mapF(F f) {
        F32x4 r;
        for (int i = 0; i < 4; ++i) r.v[i] = f(i);
        return r;
    }
    template <int unit, int first, class V>
    static V interleave(V a, V b) {
        V r;
        uint8_t *out = reinterpret_cast<uint8_t *>(r.v);
        for (int i = 0; i < 8; i += unit) {
            std::memcpy(out + 2 * i, reinterpret_cast<const uint8_t *>(a.v) + first + i, unit);
            std::memcpy(out + 2 * i + unit, reinterpret_cast<const uint8_t *>(b.v) + first + i, unit);
        }
        return r;
    }
};

}  // namespace tvk
