// SPDX-License-Identifier: BSD-2-Clause
// Every lane operation against its formula, on the cross product of extremes and on random values, for both lanes.
#include "core/lanes.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace tvk {
namespace {

template <class T>
std::vector<T> extremes();
template <>
std::vector<int16_t> extremes() {
    return {-32768, -32767, -21407, -257, -256, -255, -8, -1, 0, 1, 2, 7, 127, 128, 255, 256, 257, 23170, 32766, 32767};
}
template <>
std::vector<uint8_t> extremes() {
    return {0, 1, 2, 126, 127, 128, 129, 253, 254, 255};
}
template <>
std::vector<int32_t> extremes() {
    return {INT32_MIN, INT32_MIN + 1, -65537, -65536, -32769, -32768, -1, 0, 1, 32767, 32768, 65535, INT32_MAX};
}

// Pairs of operands: all pairs of extremes, then random ones, padded to whole registers.
template <class T>
struct Operands {
    std::vector<T> a, b;
    Operands() {
        for (T x : extremes<T>())
            for (T y : extremes<T>()) {
                a.push_back(x);
                b.push_back(y);
            }
        std::mt19937 random(1);
        while (a.size() < 4096) {
            a.push_back(static_cast<T>(random()));
            b.push_back(static_cast<T>(random()));
        }
    }
};

int32_t clamp16(int32_t x) {
    return std::min(std::max(x, -32768), 32767);
}

template <class L>
struct Lanes : testing::Test {
    using I16 = typename L::I16x8;
    using U8 = typename L::U8x16;
    using I32 = typename L::I32x4;
    using F32 = typename L::F32x4;

    static I16 load(const int16_t *p) { return L::loadU(p); }
    static U8 load(const uint8_t *p) { return L::loadU(p); }
    static I32 load(const int32_t *p) {
        I32 r;
        static_assert(sizeof r == 16);
        std::memcpy(&r, p, 16);
        return r;
    }
    template <class T, class V>
    static std::vector<T> values(V v) {
        std::vector<T> r(16 / sizeof(T));
        static_assert(sizeof v == 16);
        std::memcpy(r.data(), &v, 16);
        return r;
    }

    // op on registers equals formula on lanes
    template <class T, class Op, class Formula>
    static void check(Op op, Formula formula) {
        const Operands<T> x;
        const size_t lanes = 16 / sizeof(T);
        for (size_t i = 0; i + lanes <= x.a.size(); i += lanes) {
            const auto got = values<T>(op(load(&x.a[i]), load(&x.b[i])));
            for (size_t k = 0; k < lanes; ++k)
                ASSERT_EQ(got[k], static_cast<T>(formula(x.a[i + k], x.b[i + k]))) << +x.a[i + k] << ' ' << +x.b[i + k];
        }
    }
    // op on registers equals formula on whole registers: formula(a, b, lane of the result)
    template <class T, class R, class Op, class Formula>
    static void checkWhole(Op op, Formula formula) {
        const Operands<T> x;
        const size_t lanes = 16 / sizeof(T);
        for (size_t i = 0; i + lanes <= x.a.size(); i += lanes) {
            const auto got = values<R>(op(load(&x.a[i]), load(&x.b[i])));
            for (size_t k = 0; k < got.size(); ++k)
                ASSERT_EQ(got[k], static_cast<R>(formula(&x.a[i], &x.b[i], k))) << "lane " << k;
        }
    }
    template <class T, size_t unit, class Low, class High>
    static void checkInterleave(Low low, High high) {
        const auto formula = [](size_t first) {
            return [first](const T *a, const T *b, size_t k) {
                const size_t piece = k / unit, from = first + piece / 2 * unit + k % unit;
                return piece % 2 == 0 ? a[from] : b[from];
            };
        };
        checkWhole<T, T>(low, formula(0));
        checkWhole<T, T>(high, formula(8 / sizeof(T)));
    }
};

using Both = testing::Types<PortableLanes, NativeLanes>;
TYPED_TEST_SUITE(Lanes, Both);

#define OP(call)          \
    [](auto a, auto b) {  \
        (void)a, (void)b; \
        return call;      \
    }
#define FORMULA(expression) \
    [](auto a, auto b) {    \
        (void)a, (void)b;   \
        return expression;  \
    }

TYPED_TEST(Lanes, addAndSubtract) {
    using L = TypeParam;
    this->template check<int16_t>(OP(L::addSat(a, b)), FORMULA(clamp16(a + b)));
    this->template check<int16_t>(OP(L::subSat(a, b)), FORMULA(clamp16(a - b)));
    this->template check<uint8_t>(OP(L::subSat(a, b)), FORMULA(a > b ? a - b : 0));
    this->template check<int16_t>(OP(L::addWrap(a, b)), FORMULA(a + b));
    this->template check<int16_t>(OP(L::subWrap(a, b)), FORMULA(a - b));
    this->template check<int32_t>(OP(L::addWrap(a, b)), FORMULA(int64_t{a} + b));
    this->template check<int32_t>(OP(L::subWrap(a, b)), FORMULA(int64_t{a} - b));
}

TYPED_TEST(Lanes, keepTheirBitsInOtherWidths) {
    using L = TypeParam;
    this->template checkWhole<uint8_t, int16_t>(
        OP(L::asI16(a)), [](const uint8_t *a, const uint8_t *, size_t k) { return a[2 * k] + 256 * a[2 * k + 1]; });
    this->template checkWhole<int16_t, uint8_t>(OP(L::asU8(a)), [](const int16_t *a, const int16_t *, size_t k) {
        return k % 2 == 0 ? a[k / 2] & 255 : (a[k / 2] >> 8) & 255;
    });
    this->template checkWhole<int32_t, int16_t>(
        OP(L::asI16(a)), [](const int32_t *a, const int32_t *, size_t k) { return a[k / 2] >> (16 * (k % 2)); });
    this->template checkWhole<int16_t, int32_t>(OP(L::asI32(a)), [](const int16_t *a, const int16_t *, size_t k) {
        return int64_t{a[2 * k + 1]} * 65536 + (a[2 * k] & 0xFFFF);
    });
}

TYPED_TEST(Lanes, multiply) {
    using L = TypeParam;
    this->template check<int16_t>(OP(L::mulHi(a, b)), FORMULA(std::floor(double(a) * b / 65536)));
    this->template check<int16_t>(OP(L::mulHiUnsigned(a, b)),
                                  FORMULA(static_cast<int32_t>(std::floor(double(a & 0xFFFF) * (b & 0xFFFF) / 65536))));
    this->template check<int16_t>(OP(L::mulLo(a, b)), FORMULA(a * b));
    this->template checkWhole<int16_t, int32_t>(
        OP(L::maddPairs(a, b)), [](const int16_t *a, const int16_t *b, size_t k) {
            return int64_t{a[2 * k]} * b[2 * k] + int64_t{a[2 * k + 1]} * b[2 * k + 1];
        });
}

TYPED_TEST(Lanes, minimumMaximumAverage) {
    using L = TypeParam;
    this->template check<int16_t>(OP(L::min(a, b)), FORMULA(std::min(a, b)));
    this->template check<int16_t>(OP(L::max(a, b)), FORMULA(std::max(a, b)));
    this->template check<uint8_t>(OP(L::avgUp(a, b)), FORMULA((a + b + 1) / 2));
}

TYPED_TEST(Lanes, shift) {
    using L = TypeParam;
    this->template check<int16_t>(OP(L::template shlWrap<2>(a)), FORMULA(a * 4));
    this->template check<int16_t>(OP(L::template shlWrap<3>(a)), FORMULA(a * 8));
    this->template check<int16_t>(OP(L::template shrArith<1>(a)), FORMULA(std::floor(a / 2.0)));
    this->template check<int16_t>(OP(L::template shrArith<5>(a)), FORMULA(std::floor(a / 32.0)));
    this->template check<int16_t>(OP(L::template shrLogical<3>(a)), FORMULA((a & 65535) / 8));
    this->template check<int32_t>(OP(L::template shlWrap<1>(a)), FORMULA(int64_t{a} * 2));
    this->template check<int32_t>(OP(L::template shrArith<31>(a)), FORMULA(a < 0 ? -1 : 0));
    this->template check<int32_t>(OP(L::template shrArith<12>(a)), FORMULA(std::floor(a / 4096.0)));
    this->template check<int32_t>(OP(L::template shrLogical<12>(a)), FORMULA(static_cast<uint32_t>(a) / 4096));
}

TYPED_TEST(Lanes, bits) {
    using L = TypeParam;
    this->template check<int16_t>(OP(L::bitAnd(a, b)), FORMULA(a & b));
    this->template check<int16_t>(OP(L::bitOr(a, b)), FORMULA(a | b));
    this->template check<int16_t>(OP(L::bitXor(a, b)), FORMULA(a ^ b));
    this->template check<uint8_t>(OP(L::bitAnd(a, b)), FORMULA(a & b));
    this->template check<uint8_t>(OP(L::bitOr(a, b)), FORMULA(a | b));
    this->template check<uint8_t>(OP(L::bitXor(a, b)), FORMULA(a ^ b));
}

TYPED_TEST(Lanes, packAndWiden) {
    using L = TypeParam;
    this->template checkWhole<int16_t, uint8_t>(OP(L::packU8Sat(a, b)),
                                                [](const int16_t *a, const int16_t *b, size_t k) {
                                                    const int x = k < 8 ? a[k] : b[k - 8];
                                                    return std::min(std::max(x, 0), 255);
                                                });
    this->template checkWhole<int32_t, int16_t>(
        OP(L::packI16Sat(a, b)),
        [](const int32_t *a, const int32_t *b, size_t k) { return clamp16(k < 4 ? a[k] : b[k - 4]); });
    this->template checkWhole<uint8_t, int16_t>(OP(L::widenLow(a)),
                                                [](const uint8_t *a, const uint8_t *, size_t k) { return a[k]; });
    this->template checkWhole<uint8_t, int16_t>(OP(L::widenHigh(a)),
                                                [](const uint8_t *a, const uint8_t *, size_t k) { return a[k + 8]; });
    this->template checkWhole<int16_t, int32_t>(OP(L::widenLow(a)),
                                                [](const int16_t *a, const int16_t *, size_t k) { return a[k]; });
    this->template checkWhole<int16_t, int32_t>(OP(L::widenHigh(a)),
                                                [](const int16_t *a, const int16_t *, size_t k) { return a[k + 4]; });
}

TYPED_TEST(Lanes, interleave) {
    using L = TypeParam;
    using Test = Lanes<L>;
    Test::template checkInterleave<uint8_t, 1>(OP(L::interleaveLow8(a, b)), OP(L::interleaveHigh8(a, b)));
    Test::template checkInterleave<uint8_t, 8>(OP(L::interleaveLow64(a, b)), OP(L::interleaveHigh64(a, b)));
    Test::template checkInterleave<int16_t, 1>(OP(L::interleaveLow16(a, b)), OP(L::interleaveHigh16(a, b)));
    Test::template checkInterleave<int16_t, 2>(OP(L::interleaveLow32(a, b)), OP(L::interleaveHigh32(a, b)));
    Test::template checkInterleave<int16_t, 4>(OP(L::interleaveLow64(a, b)), OP(L::interleaveHigh64(a, b)));
    Test::template checkInterleave<int32_t, 1>(OP(L::interleaveLow32(a, b)), OP(L::interleaveHigh32(a, b)));
    Test::template checkInterleave<int32_t, 2>(OP(L::interleaveLow64(a, b)), OP(L::interleaveHigh64(a, b)));
}

TYPED_TEST(Lanes, rearrange) {
    using L = TypeParam;
    this->template checkWhole<int16_t, int16_t>(
        OP(L::template splatUnit32<2>(a)), [](const int16_t *a, const int16_t *, size_t k) { return a[4 + k % 2]; });
    this->template checkWhole<int32_t, int32_t>(OP(L::reverse32(a)),
                                                [](const int32_t *a, const int32_t *, size_t k) { return a[3 - k]; });
    this->template checkWhole<uint8_t, uint8_t>(
        OP(L::evenBytes(a, b)),
        [](const uint8_t *a, const uint8_t *b, size_t k) { return k < 8 ? a[2 * k] : b[2 * (k - 8)]; });
    this->template checkWhole<uint8_t, uint8_t>(
        OP(L::oddBytes(a, b)),
        [](const uint8_t *a, const uint8_t *b, size_t k) { return k < 8 ? a[2 * k + 1] : b[2 * (k - 8) + 1]; });
}

#undef OP
#undef FORMULA

TYPED_TEST(Lanes, transposeExchangesRegisterAndLane) {
    using L = TypeParam;
    int16_t in[64];
    for (int i = 0; i < 64; ++i) in[i] = static_cast<int16_t>(257 * i);
    typename L::I16x8 m[8];
    for (int i = 0; i < 8; ++i) m[i] = L::loadU(in + 8 * i);
    transpose8x8<L>(m);
    typename L::I32x4 w[4];
    typename L::F32x4 f[4];
    for (int i = 0; i < 4; ++i) {
        w[i] = L::widenLow(L::loadU(in + 8 * i));
        f[i] = L::toFloat(w[i]);
    }
    transpose4x4<L>(w);
    transpose4x4<L>(f);
    for (int i = 0; i < 8; ++i) {
        const auto row = this->template values<int16_t>(m[i]);
        for (int k = 0; k < 8; ++k) EXPECT_EQ(row[static_cast<size_t>(k)], in[8 * k + i]);
    }
    for (int i = 0; i < 4; ++i) {
        const auto row = this->template values<int32_t>(w[i]);
        const auto floatRow = this->template values<float>(f[i]);
        for (int k = 0; k < 4; ++k) {
            EXPECT_EQ(row[static_cast<size_t>(k)], in[8 * k + i]);
            EXPECT_EQ(floatRow[static_cast<size_t>(k)], static_cast<float>(in[8 * k + i]));
        }
    }
}

TYPED_TEST(Lanes, loadsAndStoresTouchTheirBytesAlone) {
    using L = TypeParam;
    alignas(16) uint8_t in[48], out[48];
    for (size_t i = 0; i < 48; ++i) in[i] = static_cast<uint8_t>(i + 100);
    const auto stored = [&](size_t first, size_t bytes, size_t from) {
        for (size_t i = 0; i < 48; ++i) {
            const bool inside = i >= first && i < first + bytes;
            ASSERT_EQ(out[i], inside ? in[from + i - first] : 0) << i;
        }
        std::memset(out, 0, sizeof out);
    };
    std::memset(out, 0, sizeof out);
    L::storeA(out + 16, L::loadA(in + 16));
    stored(16, 16, 16);
    L::storeU(out + 3, L::loadU(in + 5));
    stored(3, 16, 5);
    L::storeStream(out + 32, L::loadU(in + 5));
    L::finishStreams();
    stored(32, 16, 5);
    L::storeHalf(out + 7, L::loadU(in + 1));
    stored(7, 8, 1);
    L::storeHighHalf(out + 7, L::loadU(in + 1));
    stored(7, 8, 9);
    L::storeQuarter(out + 5, L::loadU(in + 1));
    stored(5, 4, 1);

    int16_t words[8];
    std::memcpy(words, in, 16);
    auto *out16 = reinterpret_cast<int16_t *>(out);
    L::storeA(out16, L::loadU(words));
    stored(0, 16, 0);
    L::storeU(out16 + 1, L::loadU(words));
    stored(2, 16, 0);
    L::storeHalf(out16 + 1, L::loadU(words));
    stored(2, 8, 0);
    L::storeHighHalf(out16 + 1, L::loadU(words));
    stored(2, 8, 8);

    const auto half = this->template values<uint8_t>(L::loadHalf(in + 3));
    const auto quarter = this->template values<uint8_t>(L::loadQuarter(in + 3));
    const auto halfWords = this->template values<int16_t>(L::loadHalf(words));
    const auto quarterWords = this->template values<int16_t>(L::loadQuarter(words));
    for (size_t i = 0; i < 16; ++i) {
        EXPECT_EQ(half[i], i < 8 ? in[3 + i] : 0);
        EXPECT_EQ(quarter[i], i < 4 ? in[3 + i] : 0);
    }
    for (size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(halfWords[i], i < 4 ? words[i] : 0);
        EXPECT_EQ(quarterWords[i], i < 2 ? words[i] : 0);
    }
}

TYPED_TEST(Lanes, constantsFillAllLanes) {
    using L = TypeParam;
    for (int16_t v : this->template values<int16_t>(L::splat16(-21407))) EXPECT_EQ(v, -21407);
    for (uint8_t v : this->template values<uint8_t>(L::splat8(200))) EXPECT_EQ(v, 200);
    for (int32_t v : this->template values<int32_t>(L::splat32(-70000))) EXPECT_EQ(v, -70000);
    for (float v : this->template values<float>(L::splatF(1.5F))) EXPECT_EQ(v, 1.5F);
    for (int16_t v : this->template values<int16_t>(L::allOnes16())) EXPECT_EQ(v, -1);
    EXPECT_TRUE(L::allZero(L::zero16()));
}

TYPED_TEST(Lanes, allZeroSeesEveryLane) {
    using L = TypeParam;
    for (int lane = 0; lane < 8; ++lane)
        for (int16_t v : {int16_t{1}, int16_t{256}, int16_t{-32768}}) {
            int16_t x[8] = {};
            x[lane] = v;
            EXPECT_FALSE(L::allZero(L::loadU(x)));
        }
}

TYPED_TEST(Lanes, nonZeroBitsTellEveryLane) {
    using L = TypeParam;
    EXPECT_EQ(0U, L::nonZeroBits(L::zero16(), L::zero16()));
    for (unsigned lane = 0; lane < 16; ++lane)
        for (int16_t v : {int16_t{1}, int16_t{256}, int16_t{-1}, int16_t{-32768}}) {
            int16_t x[16] = {};
            x[lane] = v;
            EXPECT_EQ(1U << lane, L::nonZeroBits(L::loadU(x), L::loadU(x + 8)));
        }
}

TYPED_TEST(Lanes, floatArithmeticIsSinglePrecision) {
    using L = TypeParam;
    const float a[] = {0.1F, -3.25F, 16777216.0F, 1.0e-30F}, b[] = {0.2F, 7.5F, 1.0F, 3.0e-30F};
    typename L::F32x4 va, vb;
    std::memcpy(&va, a, 16);
    std::memcpy(&vb, b, 16);
    for (size_t i = 0; i < 4; ++i) {
        const volatile float sum = a[i] + b[i], difference = a[i] - b[i], product = a[i] * b[i];
        EXPECT_EQ(this->template values<float>(L::add(va, vb))[i], sum);
        EXPECT_EQ(this->template values<float>(L::sub(va, vb))[i], difference);
        EXPECT_EQ(this->template values<float>(L::mul(va, vb))[i], product);
    }
}

TYPED_TEST(Lanes, roundingGoesToTheNearestAndTiesToEven) {
    using L = TypeParam;
    const struct {
        float in[4];
        int32_t out[4];
    } cases[] = {
        {{0.5F, 1.5F, 2.5F, -0.5F}, {0, 2, 2, 0}},
        {{-1.5F, -2.5F, 0.49999997F, 0.75F}, {-2, -2, 0, 1}},
        {{2147483520.0F, -2147483648.0F, 2147483648.0F, -3.0e9F}, {2147483520, INT32_MIN, INT32_MIN, INT32_MIN}},
        {{NAN, INFINITY, -INFINITY, 65535.5F}, {INT32_MIN, INT32_MIN, INT32_MIN, 65536}}};
    for (const auto &c : cases) {
        typename L::F32x4 v;
        std::memcpy(&v, c.in, 16);
        const auto got = this->template values<int32_t>(L::roundToInt(v));
        for (size_t i = 0; i < 4; ++i) EXPECT_EQ(got[i], c.out[i]) << c.in[i];
    }
}

}  // namespace
}  // namespace tvk
