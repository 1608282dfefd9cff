// SPDX-License-Identifier: BSD-2-Clause
// Intra macroblocks at half and quarter size.
#include "core/lanes.h"
#include "mpeg12/p4idct/half.h"
#include "mpeg12/p4idct/place.h"
#include "mpeg12/p4idct/quarter.h"
#include "mpeg12/worker.h"

namespace tvk {

namespace {

BlockForm formOf(const SliceWorker *worker, int32_t block, int32_t lowBit) {
    if (blockBit(worker->dcOnlyBlockMask, block)) return BlockForm::single;
    return blockBit(worker->lowBlockMask, lowBit) ? BlockForm::low : BlockForm::full;
}

LineLayout layoutOf(bool field) {
    return field ? LineLayout::field : LineLayout::frame;
}

}  // namespace

void IntraHalf(SliceWorker *worker) {
    using Idct = HalfIdct<NativeLanes>;
    MacroblockPlace place;
    if (!locateMacroblock(worker, 4, place)) return;
    for (int32_t i = 0; i < 4; ++i)
        Idct::store(intraBlock(worker, i), formOf(worker, i, i), layoutOf(place.field), lumaPlace(place, i, 4),
                    place.luma.stride);
    for (int32_t pair = 0; pair < place.chromaPairs; ++pair) {
        const int32_t cb = 4 + 2 * pair, cr = cb + 1;
        // DEPARTURE(low form of half-size intra chroma): each component goes by the other's mask bit.
        Idct::storePair(intraBlock(worker, cb), formOf(worker, cb, cr), intraBlock(worker, cr), formOf(worker, cr, cb),
                        layoutOf(place.chromaField), chromaPlace(place, pair, 4), place.chroma.stride);
    }
}

void IntraQuarter(SliceWorker *worker) {
    using Idct = QuarterIdct<NativeLanes>;
    MacroblockPlace place;
    if (!locateMacroblock(worker, 2, place)) return;
    for (int32_t i = 0; i < 4; ++i)
        Idct::store(intraBlock(worker, i), formOf(worker, i, i), layoutOf(place.field), lumaPlace(place, i, 2),
                    place.luma.stride, 1);
    for (int32_t i = 4; i < 4 + 2 * place.chromaPairs; ++i)
        Idct::store(intraBlock(worker, i), formOf(worker, i, i), layoutOf(place.chromaField),
                    chromaPlace(place, (i - 4) >> 1, 2) + (i & 1), place.chroma.stride, 2);
}

}  // namespace tvk
