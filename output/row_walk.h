// SPDX-License-Identifier: BSD-2-Clause
// Walks a row in groups of 32 luma samples: whole groups in place, what is left through local buffers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "output/conversion_job.h"

// Kernels keep their arguments in registers. Under the sanitizers that would only make them huge.
#if defined(__GNUC__) && defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define TVK_ROW_INLINE [[gnu::always_inline]]
#else
#define TVK_ROW_INLINE
#endif

namespace tvk {

inline constexpr int32_t kGroupSamples = 32;
inline constexpr int32_t kGroupPairs = kGroupSamples / 2;

// How whole registers of output go to memory.
template <class L>
struct PlainStores {
    static void put(uint8_t *p, typename L::U8x16 a) { L::storeU(p, a); }
};
// Past the caches: nothing of the old rows is fetched, and what else the caller works on stays where it is.
template <class L>
struct StreamStores {
    static void put(uint8_t *p, typename L::U8x16 a) { L::storeStream(p, a); }
};

// What a job fixes for all of its samples, as template arguments.
template <bool blanks, template <class> class S>
struct RowForm {
    static constexpr bool kBlanks = blanks;
    template <class L>
    using Stores = S<L>;
};

// Output of this size has left a core's caches before anybody reads it.
inline constexpr int64_t kLeastStreamedBytes = 1 << 20;

inline bool isLarge(const ConversionJob &job) {
    return int64_t{job.targetStride} * job.convertedRows >= kLeastStreamedBytes;
}
// True where all rows begin at addresses that streams can begin at.
inline bool isAligned(const uint8_t *plane, int32_t stride) {
    return stride % 16 == 0 && reinterpret_cast<uintptr_t>(plane) % 16 == 0;
}

// Calls `convert` with the form for a job. Blanking is for a look at the channels, no reader waits for it; lanes that
// can't stream do with the form that serves every job.
template <class L, class Convert>
void inRowForm(const ConversionJob &job, bool aligned, Convert convert) {
    if (!L::kStreams || !keepsAllSamples(job.constants)) {
        convert(RowForm<true, PlainStores>{});
        return;
    }
    if constexpr (L::kStreams) {
        if (!aligned || !isLarge(job)) {
            convert(RowForm<false, PlainStores>{});
        } else {
            convert(RowForm<false, StreamStores>{});
            L::finishStreams();
        }
    }
}

// A blanking mask in registers.
template <class L, bool blanks>
struct SampleMask {
    typename L::U8x16 mask, fill;

    SampleMask(const uint8_t *maskBytes, const uint8_t *fillBytes)
        : mask(L::loadA(maskBytes)), fill(L::loadA(fillBytes)) {}
    typename L::U8x16 apply(typename L::U8x16 a) const {
        if constexpr (!blanks) return a;
        return L::bitOr(L::bitAnd(a, mask), fill);
    }
};

template <class L, bool blanks>
struct JobMasks {
    SampleMask<L, blanks> luma, chroma;

    explicit JobMasks(const ConversionConstants &c)
        : luma(c.lumaMask, c.lumaFill), chroma(c.chromaMask, c.chromaFill) {}
};

// Rows that one step reads and writes at once. A step has
//   kLumaRows, kTargets   how many of the pointers it uses,
//   kChromaBytes          bytes of the chroma row that a group covers, 0 for none,
//   kTargetBytes          bytes that it makes of a group in each target,
//   kOverrun              bytes behind those that it may spoil,
//   group<Stores>(masks, rows)   the conversion of one group at the pointers, inlined to keep them in registers.
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

template <class Step, class L, class Masks>
void convertTail(const Masks &masks, const RowPlan &plan, const RowSet &rows) {
    alignas(16) uint8_t luma[2][kGroupSamples] = {};
    alignas(16) uint8_t chroma[2 * kGroupSamples] = {};
    alignas(16) uint8_t target[2][4 * kGroupSamples + 16];
    static_assert(Step::kTargetBytes + Step::kOverrun <= static_cast<int32_t>(sizeof target[0]));
    for (int i = 0; i < Step::kLumaRows; ++i) std::memcpy(luma[i], rows.luma[i], static_cast<size_t>(plan.lumaTail));
    if (Step::kChromaBytes > 0) std::memcpy(chroma, rows.chroma, static_cast<size_t>(plan.chromaTail));
    Step::template group<PlainStores<L>>(masks, RowSet{{luma[0], luma[1]}, chroma, {target[0], target[1]}});
    for (int i = 0; i < Step::kTargets; ++i)
        std::memcpy(rows.target[i], target[i], static_cast<size_t>(plan.tailBytes));
}

template <class Step>
TVK_ROW_INLINE inline RowSet rowsAtGroup(const RowSet &rows, ptrdiff_t group) {
    const ptrdiff_t luma = group * kGroupSamples, target = group * Step::kTargetBytes;
    return {{Step::kLumaRows > 0 ? rows.luma[0] + luma : nullptr, Step::kLumaRows > 1 ? rows.luma[1] + luma : nullptr},
            Step::kChromaBytes > 0 ? rows.chroma + group * Step::kChromaBytes : nullptr,
            {rows.target[0] + target, Step::kTargets > 1 ? rows.target[1] + target : nullptr}};
}

template <class Step, class L, class Stores, class Masks>
void convertRow(const Masks &masks, const RowPlan &plan, const RowSet &rows) {
    const Masks inRegisters = masks;
    const RowSet start = rows;
    for (ptrdiff_t g = 0; g < plan.wholeGroups; ++g)
        Step::template group<Stores>(inRegisters, rowsAtGroup<Step>(start, g));
    if (plan.tailBytes > 0) convertTail<Step, L>(masks, plan, rowsAtGroup<Step>(rows, plan.wholeGroups));
}

}  // namespace tvk
