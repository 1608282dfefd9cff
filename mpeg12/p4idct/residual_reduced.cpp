// SPDX-License-Identifier: BSD-2-Clause
// Residuals at half and quarter size: from `blocks` to the small macroblock of reducedResidual.
#include <algorithm>

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

// 4 x 4 values in rows of 4 or, interleaved, 8; at quarter size 2 x 2 in rows of 2 or 4.
template <class Idct, int32_t size>
void reduceResidual(SliceWorker *worker) {
    const CodedBlock &block = worker->codedBlock;
    const LineLayout layout = block.interleaved || !framePicture(worker) ? LineLayout::field : LineLayout::frame;
    const int32_t first = size == 4 ? halfPlace(block.place) : quarterPlace(block.place);
    const int32_t rowValues = block.interleaved ? 2 * size : size;
    // A row of the tables that does not fit the format must not lead out of the area.
    int16_t *dst =
        worker->reducedResidual + std::min(first, kMaxBlocks * size * size - ((size - 1) * rowValues + size));
    worker->dirtyReduced = true;
    Idct::residual({block.values, block.form, block.rowValues()}, layout, dst, rowValues);
}

}  // namespace

void ResidualHalf(SliceWorker *worker) {
    reduceResidual<HalfIdct<NativeLanes>, 4>(worker);
}

void ResidualQuarter(SliceWorker *worker) {
    reduceResidual<QuarterIdct<NativeLanes>, 2>(worker);
}

}  // namespace tvk
