// SPDX-License-Identifier: BSD-2-Clause
// Prediction kernels against the obvious form, on both lanes, with guard bytes around the destination.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include "mpeg12/prediction_kernels.h"

namespace {

using namespace tvk;

constexpr int32_t kStride = 64, kRows = 40, kTargetStride = 32;

int32_t pavg(int32_t a, int32_t b) {
    return (a + b + 1) >> 1;
}

int32_t interpolate(const uint8_t *p, int32_t stride, int32_t step, int32_t fraction, bool exact) {
    const int32_t a = p[0], b = p[step], c = p[stride], d = p[stride + step];
    switch (fraction) {
        case 0:
            return a;
        case 1:
            return pavg(a, b);
        case 2:
            return pavg(a, c);
        default:
            return exact ? (a + b + c + d + 2) >> 2 : pavg(pavg(a, b), pavg(c, d));
    }
}

struct Scene {
    alignas(64) uint8_t reference[2][kStride * kRows];
    alignas(64) uint8_t target[kTargetStride * 20];
    alignas(64) int16_t residual[2][8 * 20];

    Scene(std::mt19937 &random, bool extreme) {
        for (auto &plane : reference)
            for (uint8_t &v : plane) v = static_cast<uint8_t>(extreme ? (random() & 1 ? 255 : random() & 1) : random());
        for (auto &rows : residual)
            for (int16_t &v : rows) {
                constexpr std::array<int16_t, 6> kExtremes = {-32768, 32767, -300, 300, 0, 255};
                v = extreme ? kExtremes[random() % kExtremes.size()] : static_cast<int16_t>(random() % 601 - 300);
            }
        std::fill(std::begin(target), std::end(target), uint8_t{0xA5});
    }
};

struct Case {
    int32_t step, rows, columnOffset;
    std::array<int32_t, 2> fractions;
    bool two, exact, residual;
};

uint8_t expected(const Scene &scene, const Case &c, int32_t row, int32_t column) {
    const auto at = [&](int32_t source) {
        return interpolate(scene.reference[source] + row * kStride + c.columnOffset + column, kStride, c.step,
                           c.fractions[static_cast<size_t>(source)], c.exact && !c.two);
    };
    int32_t value = c.two ? pavg(at(0), at(1)) : at(0);
    if (c.residual) {
        const int32_t block = c.step == 1 ? column / 8 : column % 2;
        const int32_t index = c.step == 1 ? column % 8 : column / 2;
        value = static_cast<int16_t>(value + scene.residual[block][row * 8 + index]);
    }
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

template <class L, int step, Diagonal diagonal>
void runCase(Scene &scene, const Case &c) {
    using Kernels = PredictionKernels<L, step, diagonal>;
    const PredictionTarget target = {
        scene.target + kTargetStride + 16, kTargetStride, c.rows, {scene.residual[0], scene.residual[1], 8}};
    const uint8_t *a = scene.reference[0] + c.columnOffset, *b = scene.reference[1] + c.columnOffset;
    const int32_t fractionA = c.fractions[0], fractionB = c.fractions[1];
    if (c.two)
        Kernels::twoOf(c.residual, fractionA, fractionB)(target, Kernels::startAt(a, fractionA),
                                                         Kernels::startAt(b, fractionB), kStride);
    else
        Kernels::oneOf(c.residual, fractionA)(target, Kernels::startAt(a, fractionA), kStride);
    for (int32_t row = -1; row < c.rows + 1; ++row) {
        for (int32_t column = 0; column < kTargetStride; ++column) {
            const bool inside = row >= 0 && row < c.rows && column >= 16;
            const uint8_t got = scene.target[(row + 1) * kTargetStride + column];
            ASSERT_EQ(got, inside ? expected(scene, c, row, column - 16) : 0xA5)
                << "row " << row << " column " << column - 16 << " fractions " << c.fractions[0] << c.fractions[1];
        }
    }
}

template <class L>
void runAll() {
    std::mt19937 random(17);
    for (int32_t turn = 0; turn < 6; ++turn)
        for (int32_t combination = 0; combination < 16 * 2 * 2 * 2 * 2; ++combination) {
            const bool extreme = (turn & 1) != 0;
            Scene scene(random, extreme);
            const Case c = {combination >> 7 & 1 ? 2 : 1,        random() & 1 ? 16 : 8,
                            static_cast<int32_t>(random() % 16), {combination & 3, combination >> 2 & 3},
                            (combination >> 4 & 1) != 0,         (combination >> 5 & 1) != 0,
                            (combination >> 6 & 1) != 0};
            if (c.step == 1)
                c.exact ? runCase<L, 1, Diagonal::exact>(scene, c) : runCase<L, 1, Diagonal::twoStage>(scene, c);
            else
                c.exact ? runCase<L, 2, Diagonal::exact>(scene, c) : runCase<L, 2, Diagonal::twoStage>(scene, c);
            if (testing::Test::HasFatalFailure()) return;
        }
}

TEST(PredictionKernels, agreeWithTheObviousFormOnNativeLanes) {
    runAll<NativeLanes>();
}
TEST(PredictionKernels, agreeWithTheObviousFormOnPortableLanes) {
    runAll<PortableLanes>();
}

template <Diagonal diagonal>
using LumaKernels = PredictionKernels<NativeLanes, 1, diagonal>;

// The three stated samples, and every combination of low bits that rounding can depend on.
TEST(PredictionKernels, exactDiagonalIsTheRoundedMeanOfFour) {
    for (int32_t bits = 0; bits < 256; ++bits) {
        alignas(16) uint8_t source[2 * kStride] = {}, out[16];
        source[0] = bits & 3;
        source[1] = bits >> 2 & 3;
        source[kStride] = bits >> 4 & 3;
        source[kStride + 1] = bits >> 6;
        const PredictionTarget target = {out, 16, 1, {nullptr, nullptr, 0}};
        LumaKernels<Diagonal::exact>::oneOf(false, 3)(target, {source, 1}, kStride);
        EXPECT_EQ(out[0], (source[0] + source[1] + source[kStride] + source[kStride + 1] + 2) >> 2);
    }
}

TEST(PredictionKernels, twoStageDiagonalRoundsUpWhereTheExactMeanDoesNot) {
    alignas(16) uint8_t source[2 * kStride] = {}, exact[16], twoStage[16];
    source[kStride + 1] = 1;  // 0, 0, 0, 1
    LumaKernels<Diagonal::exact>::oneOf(false, 3)({exact, 16, 1, {}}, {source, 1}, kStride);
    LumaKernels<Diagonal::twoStage>::oneOf(false, 3)({twoStage, 16, 1, {}}, {source, 1}, kStride);
    EXPECT_EQ(exact[0], 0);
    EXPECT_EQ(twoStage[0], 1);
}

TEST(PredictionKernels, residualClampsAtBothEnds) {
    alignas(16) uint8_t source[16], out[16];
    alignas(16) int16_t up[8], down[8];
    std::fill_n(source, 16, uint8_t{100});
    std::fill_n(up, 8, int16_t{300});
    std::fill_n(down, 8, int16_t{-300});
    LumaKernels<Diagonal::exact>::oneOf(true, 0)({out, 16, 1, {up, down, 8}}, {source, 0}, 16);
    EXPECT_EQ(out[0], 255);
    EXPECT_EQ(out[8], 0);
}

}  // namespace
