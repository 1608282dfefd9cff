// SPDX-License-Identifier: BSD-2-Clause
// Residuals at half and quarter size: from `blocks` to the small macroblock of reducedResidual.
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

// Size 4: 4 x 4 values in rows of 4, interleaved rows of 8. Size 2: 2 x 2 in rows of 2, interleaved 4.
template <int32_t size>
void clearPlace(int16_t *dst, ptrdiff_t rowValues) {
    for (int32_t y = 0; y < size; ++y)
        for (int32_t x = 0; x < size; ++x) dst[y * rowValues + x] = 0;
}

template <class Idct, int32_t size>
void reduceResidual(SliceWorker *worker) {
    const bool interleaved = fieldDct(worker);
    const bool frame = framePicture(worker);
    const int32_t blocks = blockCount(worker);
    // A row of the tables that does not fit the format must not lead out of the area.
    constexpr int32_t kLast = kMaxBlocks * size * size - ((size - 1) * 2 * size + size);
    for (int32_t i = 0; i < blocks; ++i) {
        const ResidualPlace place = residualPlace(worker, interleaved, blocks, i);
        const int32_t first = size == 4 ? halfPlace(place.entry) : quarterPlace(place.entry);
        int16_t *dst = worker->reducedResidual + (place.interleaved && first > kLast ? kLast : first);
        const ptrdiff_t dstRow = place.interleaved ? 2 * size : size;
        if (!blockBit(worker->macroblock.codedBlockMask, i)) {
            clearPlace<size>(dst, dstRow);
            continue;
        }
        const BlockForm form = blockBit(worker->dcOnlyBlockMask, i) ? BlockForm::single
                               : blockBit(worker->lowBlockMask, i)  ? BlockForm::low
                                                                    : BlockForm::full;
        const LineLayout layout = place.interleaved || !frame ? LineLayout::field : LineLayout::frame;
        Idct::residual(place.block, form, layout, place.rowValues, dst, dstRow);
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
