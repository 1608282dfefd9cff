// SPDX-License-Identifier: BSD-2-Clause
// Walks a row in groups of 32 luma samples: whole groups in place, what is left through local buffers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "output/conversion_job.h"

namespace tvk {

inline constexpr int32_t kGroupSamples = 32;
inline constexpr int32_t kGroupPairs = kGroupSamples / 2;

// A blanking mask in registers.
template <class L>
struct SampleMask {
    typename L::U8x16 mask, fill;

    SampleMask(const uint8_t *maskBytes, const uint8_t *fillBytes)
        : mask(L::loadA(maskBytes)), fill(L::loadA(fillBytes)) {}
    typename L::U8x16 apply(typename L::U8x16 a) const { return L::bitOr(L::bitAnd(a, mask), fill); }
};

template <class L>
struct JobMasks {
    SampleMask<L> luma, chroma;

    explicit JobMasks(const ConversionConstants &c)
        : luma(c.lumaMask, c.lumaFill), chroma(c.chromaMask, c.chromaFill) {}
};

// Rows that one step reads and writes at once. A step has
//   kLumaRows, kTargets   how many of the pointers it uses,
//   kChromaBytes          bytes of the chroma row that a group covers, 0 for none,
//   kTargetBytes          bytes that it makes of a group in each target,
//   kOverrun              bytes behind those that it may spoil,
//   group(masks, rows)    the conversion of one group at the pointers.
struct RowSet {
    const uint8_t *luma[2];
    const uint8_t *chroma;
    uint8_t *target[2];
};

// How a row of a job divides, the same for all its rows. Output covers the group that holds the last visible samples:
// 16 samples where that is enough, else 32, as far as the target row reaches.
struct RowPlan {
    int32_t wholeGroups;
    int32_t tailBytes;             // target bytes of the last group when it is not whole, else 0
    int32_t lumaTail, chromaTail;  // bytes that the source rows hold for it
};

template <class Step>
RowPlan planRow(const ConversionJob &job, int32_t targetRowBytes) {
    const SamplePlane &luma = job.frame.luma, &chroma = job.frame.chroma;
    const int32_t visibleGroups = luma.width / kGroupSamples, rest = luma.width % kGroupSamples;
    const int32_t restBytes = rest == 0 ? 0 : rest == 16 ? Step::kTargetBytes / 2 : Step::kTargetBytes;

    RowPlan plan{};
    plan.wholeGroups = std::min(visibleGroups, targetRowBytes / Step::kTargetBytes);
    const int32_t room = targetRowBytes - plan.wholeGroups * Step::kTargetBytes;
    plan.tailBytes = std::min(room, plan.wholeGroups < visibleGroups ? Step::kTargetBytes : restBytes);
    // A group that spoils bytes behind it needs a later one to set them right, so the last goes through the buffer.
    if (Step::kOverrun > 0 && plan.tailBytes == 0 && plan.wholeGroups > 0) {
        --plan.wholeGroups;
        plan.tailBytes = Step::kTargetBytes;
    }
    const ptrdiff_t lumaDone = ptrdiff_t{plan.wholeGroups} * kGroupSamples;
    const ptrdiff_t chromaDone = ptrdiff_t{plan.wholeGroups} * Step::kChromaBytes;
    plan.lumaTail = static_cast<int32_t>(std::clamp<ptrdiff_t>(luma.stride - lumaDone, 0, kGroupSamples));
    plan.chromaTail = static_cast<int32_t>(std::clamp<ptrdiff_t>(chroma.stride - chromaDone, 0, Step::kChromaBytes));
    return plan;
}

template <class Step, class Masks>
void convertTail(const Masks &masks, const RowPlan &plan, const RowSet &rows) {
    alignas(16) uint8_t luma[2][kGroupSamples] = {};
    alignas(16) uint8_t chroma[2 * kGroupSamples] = {};
    alignas(16) uint8_t target[2][4 * kGroupSamples + 16];
    static_assert(Step::kTargetBytes + Step::kOverrun <= static_cast<int32_t>(sizeof target[0]));
    for (int i = 0; i < Step::kLumaRows; ++i) std::memcpy(luma[i], rows.luma[i], static_cast<size_t>(plan.lumaTail));
    if (Step::kChromaBytes > 0) std::memcpy(chroma, rows.chroma, static_cast<size_t>(plan.chromaTail));
    Step::group(masks, RowSet{{luma[0], luma[1]}, chroma, {target[0], target[1]}});
    for (int i = 0; i < Step::kTargets; ++i)
        std::memcpy(rows.target[i], target[i], static_cast<size_t>(plan.tailBytes));
}

template <class Step, class Masks>
void convertRow(const Masks &masks, const RowPlan &plan, RowSet rows) {
    for (int32_t g = 0; g < plan.wholeGroups; ++g) {
        Step::group(masks, rows);
        for (int i = 0; i < Step::kLumaRows; ++i) rows.luma[i] += kGroupSamples;
        if (Step::kChromaBytes > 0) rows.chroma += Step::kChromaBytes;
        for (int i = 0; i < Step::kTargets; ++i) rows.target[i] += Step::kTargetBytes;
    }
    if (plan.tailBytes > 0) convertTail<Step>(masks, plan, rows);
}

}  // namespace tvk
