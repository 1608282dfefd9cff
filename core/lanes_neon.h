// SPDX-License-Identifier: BSD-2-Clause
// The lanes on 64-bit Arm's NEON, an instruction or a few for each operation; lanes_portable.h has the formulas.
#pragma once

#include <cstdint>
#include <cstring>

#include <arm_neon.h>

namespace tvk {

struct NeonLanes {
    struct I16x8 {
        int16x8_t v;
    };
    struct U8x16 {
        uint8x16_t v;
    };
    struct I32x4 {
        int32x4_t v;
    };
    struct F32x4 {
        float32x4_t v;
    };

    static I16x8 loadA(const int16_t *p) { return {vld1q_s16(p)}; }
    static U8x16 loadA(const uint8_t *p) { return {vld1q_u8(p)}; }
    static F32x4 loadA(const float *p) { return {vld1q_f32(p)}; }
    // Whatever it points at, a load by its bytes asks for no alignment.
    static I16x8 loadU(const int16_t *p) { return {vreinterpretq_s16_u8(vld1q_u8(bytesAt(p)))}; }
    static U8x16 loadU(const uint8_t *p) { return {vld1q_u8(p)}; }
    static I16x8 loadHalf(const int16_t *p) { return {vreinterpretq_s16_u8(loadHalf(bytesAt(p)).v)}; }
    static U8x16 loadHalf(const uint8_t *p) { return {vcombine_u8(vld1_u8(p), vdup_n_u8(0))}; }
    static I16x8 loadQuarter(const int16_t *p) { return asI16(loadQuarter(bytesAt(p))); }
    static U8x16 loadQuarter(const uint8_t *p) {
        uint32_t x;
        std::memcpy(&x, p, 4);
        return {vreinterpretq_u8_u32(vsetq_lane_u32(x, vdupq_n_u32(0), 0))};
    }
    static void storeA(int16_t *p, I16x8 a) { vst1q_s16(p, a.v); }
    static void storeA(uint8_t *p, U8x16 a) { vst1q_u8(p, a.v); }
    static void storeA(int32_t *p, I32x4 a) { vst1q_s32(p, a.v); }
    static void storeU(int16_t *p, I16x8 a) { vst1q_u8(bytesAt(p), vreinterpretq_u8_s16(a.v)); }
    static void storeU(uint8_t *p, U8x16 a) { vst1q_u8(p, a.v); }
    static void storeHalf(int16_t *p, I16x8 a) { vst1_u8(bytesAt(p), vget_low_u8(vreinterpretq_u8_s16(a.v))); }
    static void storeHalf(uint8_t *p, U8x16 a) { vst1_u8(p, vget_low_u8(a.v)); }
    static void storeHighHalf(int16_t *p, I16x8 a) { vst1_u8(bytesAt(p), vget_high_u8(vreinterpretq_u8_s16(a.v))); }
    static void storeHighHalf(uint8_t *p, U8x16 a) { vst1_u8(p, vget_high_u8(a.v)); }
    static void storeQuarter(uint8_t *p, U8x16 a) {
        const uint32_t x = vgetq_lane_u32(vreinterpretq_u32_u8(a.v), 0);
        std::memcpy(p, &x, 4);
    }
    // Stores past the caches go in pairs of registers only.
    static constexpr bool kStreams = false;
    static void storeStream(uint8_t *p, U8x16 a) { vst1q_u8(p, a.v); }
    static void finishStreams() {}

    static I16x8 splat16(int32_t x) { return {vdupq_n_s16(static_cast<int16_t>(x))}; }
    static U8x16 splat8(int32_t x) { return {vdupq_n_u8(static_cast<uint8_t>(x))}; }
    static I32x4 splat32(int32_t x) { return {vdupq_n_s32(x)}; }
    static F32x4 splatF(float x) { return {vdupq_n_f32(x)}; }
    static I16x8 zero16() { return splat16(0); }
    static U8x16 zero8() { return splat8(0); }
    static I32x4 zero32() { return splat32(0); }
    static I16x8 allOnes16() { return splat16(-1); }

    static I16x8 addSat(I16x8 a, I16x8 b) { return {vqaddq_s16(a.v, b.v)}; }
    static I16x8 subSat(I16x8 a, I16x8 b) { return {vqsubq_s16(a.v, b.v)}; }
    static U8x16 subSat(U8x16 a, U8x16 b) { return {vqsubq_u8(a.v, b.v)}; }
    static I16x8 addWrap(I16x8 a, I16x8 b) { return {vaddq_s16(a.v, b.v)}; }
    static I16x8 subWrap(I16x8 a, I16x8 b) { return {vsubq_s16(a.v, b.v)}; }
    static U8x16 subWrap(U8x16 a, U8x16 b) { return {vsubq_u8(a.v, b.v)}; }
    static I32x4 addWrap(I32x4 a, I32x4 b) { return {vaddq_s32(a.v, b.v)}; }
    static I32x4 subWrap(I32x4 a, I32x4 b) { return {vsubq_s32(a.v, b.v)}; }
    // The upper halves of the products, which are their odd 16-bit lanes.
    static I16x8 mulHi(I16x8 a, I16x8 b) {
        const int32x4_t low = vmull_s16(vget_low_s16(a.v), vget_low_s16(b.v)), high = vmull_high_s16(a.v, b.v);
        return {vuzp2q_s16(vreinterpretq_s16_s32(low), vreinterpretq_s16_s32(high))};
    }
    static I16x8 mulHiUnsigned(I16x8 a, I16x8 b) {
        const uint16x8_t x = vreinterpretq_u16_s16(a.v), y = vreinterpretq_u16_s16(b.v);
        const uint32x4_t low = vmull_u16(vget_low_u16(x), vget_low_u16(y)), high = vmull_high_u16(x, y);
        return {vuzp2q_s16(vreinterpretq_s16_u32(low), vreinterpretq_s16_u32(high))};
    }
    static I16x8 mulLo(I16x8 a, I16x8 b) { return {vmulq_s16(a.v, b.v)}; }
    static I32x4 maddPairs(I16x8 a, I16x8 b) {
        return {vpaddq_s32(vmull_s16(vget_low_s16(a.v), vget_low_s16(b.v)), vmull_high_s16(a.v, b.v))};
    }
    static I16x8 min(I16x8 a, I16x8 b) { return {vminq_s16(a.v, b.v)}; }
    static I16x8 max(I16x8 a, I16x8 b) { return {vmaxq_s16(a.v, b.v)}; }
    static U8x16 avgUp(U8x16 a, U8x16 b) { return {vrhaddq_u8(a.v, b.v)}; }

    // Shifts by 1 to the lane's bits less 1.
    template <int n>
    static I16x8 shlWrap(I16x8 a) {
        return {vshlq_n_s16(a.v, n)};
    }
    template <int n>
    static I16x8 shrArith(I16x8 a) {
        return {vshrq_n_s16(a.v, n)};
    }
    template <int n>
    static I16x8 shrLogical(I16x8 a) {
        return {vreinterpretq_s16_u16(vshrq_n_u16(vreinterpretq_u16_s16(a.v), n))};
    }
    template <int n>
    static I32x4 shlWrap(I32x4 a) {
        return {vshlq_n_s32(a.v, n)};
    }
    template <int n>
    static I32x4 shrArith(I32x4 a) {
        return {vshrq_n_s32(a.v, n)};
    }
    template <int n>
    static I32x4 shrLogical(I32x4 a) {
        return {vreinterpretq_s32_u32(vshrq_n_u32(vreinterpretq_u32_s32(a.v), n))};
    }

    static I16x8 bitAnd(I16x8 a, I16x8 b) { return {vandq_s16(a.v, b.v)}; }
    static I16x8 bitOr(I16x8 a, I16x8 b) { return {vorrq_s16(a.v, b.v)}; }
    static I16x8 bitXor(I16x8 a, I16x8 b) { return {veorq_s16(a.v, b.v)}; }
    static U8x16 bitAnd(U8x16 a, U8x16 b) { return {vandq_u8(a.v, b.v)}; }
    static U8x16 bitOr(U8x16 a, U8x16 b) { return {vorrq_u8(a.v, b.v)}; }
    static U8x16 bitXor(U8x16 a, U8x16 b) { return {veorq_u8(a.v, b.v)}; }

    static U8x16 packU8Sat(I16x8 a, I16x8 b) { return {vqmovun_high_s16(vqmovun_s16(a.v), b.v)}; }
    static I16x8 packI16Sat(I32x4 a, I32x4 b) { return {vqmovn_high_s32(vqmovn_s32(a.v), b.v)}; }
    static I16x8 widenLow(U8x16 a) { return {vreinterpretq_s16_u16(vmovl_u8(vget_low_u8(a.v)))}; }
    static I16x8 widenHigh(U8x16 a) { return {vreinterpretq_s16_u16(vmovl_high_u8(a.v))}; }
    static I32x4 widenLow(I16x8 a) { return {vmovl_s16(vget_low_s16(a.v))}; }
    static I32x4 widenHigh(I16x8 a) { return {vmovl_high_s16(a.v)}; }

    static U8x16 interleaveLow8(U8x16 a, U8x16 b) { return {vzip1q_u8(a.v, b.v)}; }
    static U8x16 interleaveHigh8(U8x16 a, U8x16 b) { return {vzip2q_u8(a.v, b.v)}; }
    static U8x16 interleaveLow64(U8x16 a, U8x16 b) { return {vcombine_u8(vget_low_u8(a.v), vget_low_u8(b.v))}; }
    static U8x16 interleaveHigh64(U8x16 a, U8x16 b) { return {vcombine_u8(vget_high_u8(a.v), vget_high_u8(b.v))}; }
    static I16x8 interleaveLow16(I16x8 a, I16x8 b) { return {vzip1q_s16(a.v, b.v)}; }
    static I16x8 interleaveHigh16(I16x8 a, I16x8 b) { return {vzip2q_s16(a.v, b.v)}; }
    static I16x8 interleaveLow32(I16x8 a, I16x8 b) { return asI16(interleaveLow32(asI32(a), asI32(b))); }
    static I16x8 interleaveHigh32(I16x8 a, I16x8 b) { return asI16(interleaveHigh32(asI32(a), asI32(b))); }
    static I16x8 interleaveLow64(I16x8 a, I16x8 b) { return {vcombine_s16(vget_low_s16(a.v), vget_low_s16(b.v))}; }
    static I16x8 interleaveHigh64(I16x8 a, I16x8 b) { return {vcombine_s16(vget_high_s16(a.v), vget_high_s16(b.v))}; }
    static I32x4 interleaveLow32(I32x4 a, I32x4 b) { return {vzip1q_s32(a.v, b.v)}; }
    static I32x4 interleaveHigh32(I32x4 a, I32x4 b) { return {vzip2q_s32(a.v, b.v)}; }
    static I32x4 interleaveLow64(I32x4 a, I32x4 b) { return {vcombine_s32(vget_low_s32(a.v), vget_low_s32(b.v))}; }
    static I32x4 interleaveHigh64(I32x4 a, I32x4 b) { return {vcombine_s32(vget_high_s32(a.v), vget_high_s32(b.v))}; }
    static F32x4 interleaveLow32(F32x4 a, F32x4 b) { return {vzip1q_f32(a.v, b.v)}; }
    static F32x4 interleaveHigh32(F32x4 a, F32x4 b) { return {vzip2q_f32(a.v, b.v)}; }
    static F32x4 interleaveLow64(F32x4 a, F32x4 b) { return {vcombine_f32(vget_low_f32(a.v), vget_low_f32(b.v))}; }
    static F32x4 interleaveHigh64(F32x4 a, F32x4 b) { return {vcombine_f32(vget_high_f32(a.v), vget_high_f32(b.v))}; }
    template <int n>
    static I16x8 splatUnit32(I16x8 a) {
        return {vreinterpretq_s16_s32(vdupq_laneq_s32(vreinterpretq_s32_s16(a.v), n))};
    }
    static I16x8 asI16(U8x16 a) { return {vreinterpretq_s16_u8(a.v)}; }
    static I16x8 asI16(I32x4 a) { return {vreinterpretq_s16_s32(a.v)}; }
    static U8x16 asU8(I16x8 a) { return {vreinterpretq_u8_s16(a.v)}; }
    static I32x4 asI32(I16x8 a) { return {vreinterpretq_s32_s16(a.v)}; }
    static I32x4 reverse32(I32x4 a) {
        const int32x4_t halves = vrev64q_s32(a.v);
        return {vextq_s32(halves, halves, 2)};
    }
    static U8x16 evenBytes(U8x16 a, U8x16 b) { return {vuzp1q_u8(a.v, b.v)}; }
    static U8x16 oddBytes(U8x16 a, U8x16 b) { return {vuzp2q_u8(a.v, b.v)}; }

    static bool allZero(I16x8 a) { return vmaxvq_u32(vreinterpretq_u32_s16(a.v)) == 0; }

    static uint32_t nonZeroBits(I16x8 a, I16x8 b) {
        static constexpr uint8_t kBits[16] = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
        const uint8x16_t set = vmovn_high_u16(vmovn_u16(vtstq_s16(a.v, a.v)), vtstq_s16(b.v, b.v));
        const uint8x16_t bits = vandq_u8(set, vld1q_u8(kBits));
        return uint32_t{vaddv_u8(vget_low_u8(bits))} | uint32_t{vaddv_u8(vget_high_u8(bits))} << 8;
    }

    static F32x4 add(F32x4 a, F32x4 b) { return {vaddq_f32(a.v, b.v)}; }
    static F32x4 sub(F32x4 a, F32x4 b) { return {vsubq_f32(a.v, b.v)}; }
    static F32x4 mul(F32x4 a, F32x4 b) { return {vmulq_f32(a.v, b.v)}; }
    static F32x4 toFloat(I32x4 a) { return {vcvtq_f32_s32(a.v)}; }
    // The conversion saturates, and makes 0 of what is no number.
    static I32x4 roundToInt(F32x4 a) {
        const uint32x4_t below = vcltq_f32(a.v, vdupq_n_f32(2147483648.0F));
        return {vbslq_s32(below, vcvtnq_s32_f32(a.v), vdupq_n_s32(INT32_MIN))};
    }

  private:
    static const uint8_t *bytesAt(const int16_t *p) { return reinterpret_cast<const uint8_t *>(p); }
    static uint8_t *bytesAt(int16_t *p) { return reinterpret_cast<uint8_t *>(p); }
};

}  // namespace tvk
