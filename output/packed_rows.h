// SPDX-License-Identifier: BSD-2-Clause
// Conversion to packed 4:2:2: a byte interleave of a luma row and a chroma row.
#pragma once

#include "output/chroma_pairs.h"
#include "output/row_kind.h"
#include "output/row_walk.h"

namespace tvk {

template <class L, RowKind K>
struct PackedStep {
    static constexpr int kLumaRows = 1, kTargets = 1;
    static constexpr int32_t kChromaBytes = K.chromaFormat == 3 ? 2 * kGroupSamples : kGroupSamples;
    static constexpr int32_t kTargetBytes = 2 * kGroupSamples, kOverrun = 0;

    static typename L::U8x16 chromaHalf(const uint8_t *chroma, int half) {
        if constexpr (K.chromaFormat == 3) return L::asU8(meanOfTwo<L>(chroma + 32 * half));
        return L::loadU(chroma + 16 * half);
    }
    template <class Stores, class Masks>
    TVK_ROW_INLINE static void group(const Masks &masks, const RowSet &rows) {
        for (int half = 0; half < 2; ++half) {
            const typename L::U8x16 luma = masks.luma.apply(L::loadU(rows.luma[0] + 16 * half));
            const typename L::U8x16 chroma = masks.chroma.apply(chromaHalf(rows.chroma, half));
            const bool lumaFirst = K.layout == TargetLayout::yuy2;
            const typename L::U8x16 even = lumaFirst ? luma : chroma, odd = lumaFirst ? chroma : luma;
            Stores::put(rows.target[0] + 32 * half, L::interleaveLow8(even, odd));
            Stores::put(rows.target[0] + 32 * half + 16, L::interleaveHigh8(even, odd));
        }
    }
};

// Interlaced 4:2:0: rows 4k and 4k + 2 are of one field and share its chroma row 2k, the rows between share 2k + 1.
constexpr int32_t packedChromaRow(RowKind kind, int32_t row) {
    if (kind.chromaFormat != 1) return row;
    return kind.interlaced ? 2 * (row / 4) + (row & 1) : row / 2;
}

template <class L, RowKind K, class Form>
void convertPackedRows(const ConversionJob &job) {
    using Step = PackedStep<L, K>;
    const JobMasks<L, Form::kBlanks> masks(job.constants);
    const RowPlan plan = planRow<Step>(job, job.targetStride);
    for (int32_t y = 0; y < job.convertedRows; ++y) {
        uint8_t *target = job.target[0] + ptrdiff_t{y} * job.targetStride;
        const uint8_t *chroma = job.frame.chroma.row(packedChromaRow(K, y));
        const RowSet rows{{job.frame.luma.row(y), nullptr}, chroma, {target, nullptr}};
        convertRow<Step, L, typename Form::template Stores<L>>(masks, plan, rows);
    }
}

template <class L, RowKind K>
void convertPacked(const ConversionJob &job) {
    inRowForm<L>(job, isAligned(job.target[0], job.targetStride),
                 [&]<class Form>(Form) { convertPackedRows<L, K, Form>(job); });
}

}  // namespace tvk
