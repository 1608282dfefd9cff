// SPDX-License-Identifier: BSD-2-Clause
// Residuals at half and quarter size: from `blocks` to the small macroblock of reducedResidual.
#include <cstring>

#include "core/lanes.h"
#include "mpeg12/p4idct/half.h"
#include "mpeg12/p4idct/place.h"
#include "mpeg12/p4idct/quarter.h"
#include "mpeg12/worker.h"

namespace tvk {

namespace {

// Values from the start of reducedResidual. Bit 1 of an entry marks a block that begins one line below its partner.
constexpr int32_t halfPlace(int32_t entry) {
    return 2 * (((entry >> 1) & ~1) | (entry & 2));
}
constexpr int32_t quarterPlace(int32_t entry) {
    return (entry >> 2) | (entry & 2);
}

// A block with where it goes. Size 4: 4 x 4 values in rows of 4, interleaved rows of 8. Size 2: 2 x 2 in rows of 2,
// interleaved 4.
template <int32_t size>
struct ReducedPlace {
    BlockSource source;
    int16_t *dst;

    ReducedPlace(SliceWorker *worker, bool interleaved, int32_t blocks, BlockForm form, int32_t i) {
        const ResidualPlace place = residualPlace(worker, interleaved, blocks, i);
        source = {place.block, form, place.rowValues};
        const int32_t first = size == 4 ? halfPlace(place.entry) : quarterPlace(place.entry);
        // A row of the tables that does not fit the format must not lead out of the area.
        constexpr int32_t kLast = kMaxBlocks * size * size - ((size - 1) * 2 * size + size);
        dst = worker->reducedResidual + (place.interleaved && first > kLast ? kLast : first);
    }
};

// In steps of constant length, which is what makes it a few stores.
template <size_t values>
void clearBlocks(int16_t *residual, int32_t blocks) {
    std::memset(residual, 0, 6 * values * sizeof *residual);
    if (blocks > 6) std::memset(residual + 6 * values, 0, 2 * values * sizeof *residual);
    if (blocks > 8) std::memset(residual + 8 * values, 0, 4 * values * sizeof *residual);
}

template <class Idct, int32_t size>
void reduceResidual(SliceWorker *worker) {
    const bool interleaved = fieldDct(worker);
    const int32_t blocks = blockCount(worker);
    const uint32_t all = ~(0xFFFFFFFFU >> blocks);
    const uint32_t coded = worker->macroblock.codedBlockMask & all;
    if (coded != all) clearBlocks<size * size>(worker->reducedResidual, blocks);

    // The blocks of a group have one layout.
    for (uint32_t group : {kLumaBlocks, ~kLumaBlocks}) {
        const bool wide = residualPlace(worker, interleaved, blocks, group == kLumaBlocks ? 0 : 4).interleaved;
        const LineLayout layout = wide || !framePicture(worker) ? LineLayout::field : LineLayout::frame;
        const ptrdiff_t dstRow = wide ? 2 * size : size;
        const auto reduce = [&]<BlockForm form>(uint32_t mask) {
            const auto placeOf = [&](int32_t i) { return ReducedPlace<size>(worker, interleaved, blocks, form, i); };
            const auto one = [&](int32_t i) {
                const auto a = placeOf(i);
                Idct::residual(a.source, layout, a.dst, dstRow);
            };
            const auto two = [&](int32_t i, int32_t j) {
                const auto a = placeOf(i), b = placeOf(j);
                Idct::residualPair(a.source, b.source, layout, a.dst, b.dst, dstRow);
            };
            inTwos(mask, one, two);
        };
        const BlocksByForm by(coded & group, worker->dcOnlyBlockMask, worker->lowBlockMask);
        if (by.single != 0) reduce.template operator()<BlockForm::single>(by.single);
        if (by.low != 0) reduce.template operator()<BlockForm::low>(by.low);
        if (by.full != 0) reduce.template operator()<BlockForm::full>(by.full);
    }
}

}  // namespace

void ResidualHalf(SliceWorker *worker) {
    reduceResidual<HalfIdct<NativeLanes>, 4>(worker);
}

void ResidualQuarter(SliceWorker *worker) {
    reduceResidual<QuarterIdct<NativeLanes>, 2>(worker);
}

}  // namespace tvk
