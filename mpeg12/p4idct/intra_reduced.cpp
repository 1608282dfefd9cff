// SPDX-License-Identifier: BSD-2-Clause
// Intra macroblocks at half and quarter size.
#include "core/lanes.h"
#include "mpeg12/p4idct/half.h"
#include "mpeg12/p4idct/place.h"
#include "mpeg12/p4idct/quarter.h"
#include "mpeg12/worker.h"

namespace tvk {

namespace {

BlockSource sourceOf(SliceWorker *worker, int32_t block, int32_t lowBit) {
    return {intraBlock(worker, block), formOf(worker, block, lowBit), 8};
}

LineLayout layoutOf(bool field) {
    return field ? LineLayout::field : LineLayout::frame;
}

// Any two luma blocks of one form go together.
template <class Idct>
void lumaBlocks(SliceWorker *worker, const MacroblockPlace &place, int32_t unit) {
    const LineLayout layout = layoutOf(place.field);
    const auto store = [&]<BlockForm form>(uint32_t mask) {
        const auto one = [&](int32_t i) {
            Idct::store({intraBlock(worker, i), form, 8}, layout, lumaPlace(place, i, unit), place.luma.stride);
        };
        const auto two = [&](int32_t i, int32_t j) {
            Idct::storePair({intraBlock(worker, i), form, 8}, {intraBlock(worker, j), form, 8}, layout,
                            lumaPlace(place, i, unit), lumaPlace(place, j, unit), place.luma.stride);
        };
        inTwos(mask, one, two);
    };
    const BlocksByForm by(kLumaBlocks, worker->dcOnlyBlockMask, worker->lowBlockMask);
    if (by.single != 0) store.template operator()<BlockForm::single>(by.single);
    if (by.low != 0) store.template operator()<BlockForm::low>(by.low);
    if (by.full != 0) store.template operator()<BlockForm::full>(by.full);
}

}  // namespace

void IntraHalf(SliceWorker *worker) {
    using Idct = HalfIdct<NativeLanes>;
    MacroblockPlace place;
    if (!locateMacroblock(worker, 4, place)) return;
    lumaBlocks<Idct>(worker, place, 4);
    for (int32_t pair = 0; pair < place.chromaPairs; ++pair) {
        const int32_t cb = 4 + 2 * pair, cr = cb + 1;
        // DEPARTURE(low form of half-size intra chroma): each component goes by the other's mask bit.
        Idct::storeChroma(sourceOf(worker, cb, cr), sourceOf(worker, cr, cb), layoutOf(place.chromaField),
                          chromaPlace(place, pair, 4), place.chroma.stride);
    }
}

void IntraQuarter(SliceWorker *worker) {
    using Idct = QuarterIdct<NativeLanes>;
    MacroblockPlace place;
    if (!locateMacroblock(worker, 2, place)) return;
    lumaBlocks<Idct>(worker, place, 2);
    for (int32_t pair = 0; pair < place.chromaPairs; ++pair) {
        const int32_t cb = 4 + 2 * pair, cr = cb + 1;
        Idct::storeChroma(sourceOf(worker, cb, cb), sourceOf(worker, cr, cr), layoutOf(place.chromaField),
                          chromaPlace(place, pair, 2), place.chroma.stride);
    }
}

}  // namespace tvk
