// SPDX-License-Identifier: BSD-2-Clause
// Kernels alone, on data that stays in the first cache: prediction by fraction, with and without a residual.
#include <benchmark/benchmark.h>

#include <random>

#include "mpeg12/prediction_kernels.h"

namespace {

using namespace tvk;

constexpr int32_t kStride = 1920;

struct Data {
    alignas(64) uint8_t reference[2][kStride * 20];
    alignas(64) uint8_t target[kStride * 16];
    alignas(64) int16_t residual[256];

    Data() {
        std::mt19937 random(1);
        for (auto &plane : reference)
            for (uint8_t &v : plane) v = static_cast<uint8_t>(random());
        for (int16_t &v : residual) v = static_cast<int16_t>(random() % 64 - 32);
    }
    PredictionTarget rows() { return {target, kStride, 16, {residual, residual + 128, 8}}; }
};

Data data;

void predictOneSource(benchmark::State &state) {
    using Kernels = PredictionKernels<NativeLanes, 1, Diagonal::exact>;
    const auto fraction = static_cast<int32_t>(state.range(0));
    const auto kernel = Kernels::oneOf(state.range(1) != 0, fraction);
    const PredictionTarget target = data.rows();
    for (auto _ : state) {
        kernel(target, Kernels::startAt(data.reference[0] + 5, fraction), kStride);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * 256);
}
BENCHMARK(predictOneSource)->ArgsProduct({{0, 1, 2, 3}, {0, 1}})->ArgNames({"fraction", "residual"});

void predictTwoSources(benchmark::State &state) {
    using Kernels = PredictionKernels<NativeLanes, 1, Diagonal::twoStage>;
    const auto fraction = static_cast<int32_t>(state.range(0));
    const auto kernel = Kernels::twoOf(state.range(1) != 0, fraction, 3);
    const PredictionTarget target = data.rows();
    for (auto _ : state) {
        kernel(target, Kernels::startAt(data.reference[0] + 5, fraction), Kernels::startAt(data.reference[1] + 9, 3),
               kStride);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * 256);
}
BENCHMARK(predictTwoSources)->ArgsProduct({{0, 3}, {0, 1}})->ArgNames({"fraction", "residual"});

}  // namespace
