// SPDX-License-Identifier: BSD-2-Clause
// Conversion to planar layouts: luma rows copied, chroma rows thinned and split by byte parity.
#pragma once

#include "output/chroma_pairs.h"
#include "output/row_kind.h"
#include "output/row_walk.h"

namespace tvk {

template <class L>
struct LumaStep {
    static constexpr int kLumaRows = 1, kTargets = 1;
    static constexpr int32_t kChromaBytes = 0, kTargetBytes = kGroupSamples, kOverrun = 0;

    template <class Stores, class Masks>
    TVK_ROW_INLINE static void group(const Masks &masks, const RowSet &rows) {
        for (int half = 0; half < 2; ++half)
            Stores::put(rows.target[0] + 16 * half, masks.luma.apply(L::loadU(rows.luma[0] + 16 * half)));
    }
};

// Targets are Cr, then Cb.
template <class L, RowKind K>
struct SplitStep {
    using I16x8 = typename L::I16x8;
    using U8x16 = typename L::U8x16;

    static constexpr bool kQuarter = K.layout == TargetLayout::yvu9;
    static constexpr int32_t kDivisor = kQuarter ? 4 : 2;  // of luma's width and height
    static constexpr int kLumaRows = 0, kTargets = 2;
    static constexpr int32_t kChromaBytes = K.chromaFormat == 3 ? 2 * kGroupSamples : kGroupSamples;
    static constexpr int32_t kTargetBytes = kQuarter ? kGroupSamples / 4 : kGroupSamples / 2, kOverrun = 0;

    template <class Stores, class Masks>
    TVK_ROW_INLINE static void groupOfHalf(const Masks &masks, const RowSet &rows) {
        U8x16 pairs[2];
        for (int half = 0; half < 2; ++half) {
            if constexpr (K.chromaFormat == 3) {
                pairs[half] = L::asU8(secondOfTwoEvenCb<L>(rows.chroma + 32 * half));
            } else {
                pairs[half] = L::loadU(rows.chroma + 16 * half);
            }
            pairs[half] = masks.chroma.apply(pairs[half]);
        }
        Stores::put(rows.target[0], L::oddBytes(pairs[0], pairs[1]));
        Stores::put(rows.target[1], L::evenBytes(pairs[0], pairs[1]));
    }
    // The first of every two or four pairs, without a filter.
    template <class Masks>
    TVK_ROW_INLINE static void groupOfQuarter(const Masks &masks, const RowSet &rows) {
        I16x8 pairs = firstOfTwo<L>(loadPairs<L>(rows.chroma), loadPairs<L>(rows.chroma + 16));
        if constexpr (K.chromaFormat == 3) {
            const I16x8 more = firstOfTwo<L>(loadPairs<L>(rows.chroma + 32), loadPairs<L>(rows.chroma + 48));
            pairs = firstOfTwo<L>(pairs, more);
        }
        const U8x16 masked = masks.chroma.apply(L::asU8(pairs));
        L::storeHalf(rows.target[0], L::oddBytes(masked, masked));
        L::storeHalf(rows.target[1], L::evenBytes(masked, masked));
    }
    template <class Stores, class Masks>
    TVK_ROW_INLINE static void group(const Masks &masks, const RowSet &rows) {
        if constexpr (kQuarter) {
            groupOfQuarter(masks, rows);
        } else {
            groupOfHalf<Stores>(masks, rows);
        }
    }
};

template <class L, class Form>
void convertLumaRows(const ConversionJob &job) {
    const JobMasks<L, Form::kBlanks> masks(job.constants);
    const RowPlan plan = planRow<LumaStep<L>>(job, job.targetStride);
    for (int32_t y = 0; y < job.convertedRows; ++y) {
        uint8_t *target = job.target[0] + ptrdiff_t{y} * job.targetStride;
        const RowSet rows{{job.frame.luma.row(y), nullptr}, nullptr, {target, nullptr}};
        convertRow<LumaStep<L>, L, typename Form::template Stores<L>>(masks, plan, rows);
    }
}

template <class L, RowKind K, class Form>
void convertChromaRows(const ConversionJob &job, int32_t stride, int32_t rows) {
    using Split = SplitStep<L, K>;
    constexpr int32_t sourceStep = K.chromaFormat == 1 ? Split::kDivisor / 2 : Split::kDivisor;
    const JobMasks<L, Form::kBlanks> masks(job.constants);
    const RowPlan plan = planRow<Split>(job, stride);
    for (int32_t y = 0; y < rows; ++y) {
        const ptrdiff_t offset = ptrdiff_t{y} * stride;
        const uint8_t *chroma = job.frame.chroma.row(y * sourceStep);
        const RowSet set{{nullptr, nullptr}, chroma, {job.target[1] + offset, job.target[2] + offset}};
        convertRow<Split, L, typename Form::template Stores<L>>(masks, plan, set);
    }
}

template <class L, RowKind K>
void convertPlanar(const ConversionJob &job) {
    constexpr int32_t divisor = SplitStep<L, K>::kDivisor;
    const int32_t stride = job.targetStride / divisor;
    const int32_t wanted = job.frame.luma.height / divisor + (job.frame.luma.height % divisor != 0 ? 1 : 0);
    const int32_t rows = std::min(job.targetRows / divisor, wanted);
    inRowForm<L>(job, isAligned(job.target[0], job.targetStride),
                 [&]<class Form>(Form) { convertLumaRows<L, Form>(job); });
    inRowForm<L>(job, isAligned(job.target[1], stride) && isAligned(job.target[2], stride),
                 [&]<class Form>(Form) { convertChromaRows<L, K, Form>(job, stride, rows); });
}

}  // namespace tvk
