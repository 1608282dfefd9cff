// SPDX-License-Identifier: BSD-2-Clause
// Residuals at full size: coded blocks of a non-intra macroblock are transformed where they stand.
#include "core/lanes.h"
#include "mpeg12/p4idct/exact.h"
#include "mpeg12/p4idct/fast.h"
#include "mpeg12/p4idct/place.h"
#include "mpeg12/worker.h"

namespace tvk {

void ResidualFast(SliceWorker *worker) {
    const bool interleaved = fieldDct(worker);
    const int32_t blocks = blockCount(worker);
    for (int32_t i = 0; i < blocks; ++i) {
        if (!blockBit(worker->macroblock.codedBlockMask, i)) continue;
        const BlockForm form = blockBit(worker->dcOnlyBlockMask, i) ? BlockForm::single
                               : blockBit(worker->lowBlockMask, i)  ? BlockForm::low
                                                                    : BlockForm::full;
        const ResidualPlace place = residualPlace(worker, interleaved, blocks, i);
        FastIdct<NativeLanes>::residual(place.block, form, place.rowValues);
    }
}

void ResidualExact(SliceWorker *worker) {
    const bool interleaved = fieldDct(worker);
    const int32_t blocks = blockCount(worker);
    for (int32_t i = 0; i < blocks; ++i) {
        if (!blockBit(worker->macroblock.codedBlockMask, i)) continue;
        const BlockForm form = blockBit(worker->dcOnlyBlockMask, i) ? BlockForm::single : BlockForm::full;
        const ResidualPlace place = residualPlace(worker, interleaved, blocks, i);
        ExactIdct<NativeLanes>::residual(place.block, form, place.rowValues);
    }
}

}  // namespace tvk
