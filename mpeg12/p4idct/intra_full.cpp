// SPDX-License-Identifier: BSD-2-Clause
// Intra macroblocks at full size: from the coefficient blocks to the current frame.
#include "core/lanes.h"
#include "mpeg12/p4idct/exact.h"
#include "mpeg12/p4idct/fast.h"
#include "mpeg12/p4idct/place.h"
#include "mpeg12/worker.h"

namespace tvk {

namespace {

// DEPARTURE(low form of intra Cr): the mask bit of the block before the pair decides how Cr is read, so that luma
// block 3 decides in 4:2:0. Bits above the block's own corner are lost then.
int32_t lowBitOfCr(int32_t cb) {
    return cb - 1;
}

BlockForm exactFormOf(const SliceWorker *worker, int32_t block) {
    return blockBit(worker->dcOnlyBlockMask, block) ? BlockForm::single : BlockForm::full;
}

}  // namespace

void IntraFast(SliceWorker *worker) {
    using Idct = FastIdct<NativeLanes>;
    MacroblockPlace place;
    if (!locateMacroblock(worker, 8, place)) return;
    for (int32_t i = 0; i < 4; i += 2)
        Idct::storeTwo(intraBlock(worker, i), formOf(worker, i, i), intraBlock(worker, i + 1),
                       formOf(worker, i + 1, i + 1), lumaPlace(place, i, 8), place.luma.stride);
    for (int32_t pair = 0; pair < place.chromaPairs; ++pair) {
        const int32_t cb = 4 + 2 * pair, cr = cb + 1;
        Idct::storePair(intraBlock(worker, cb), formOf(worker, cb, cb), intraBlock(worker, cr),
                        formOf(worker, cr, lowBitOfCr(cb)), chromaPlace(place, pair, 8), place.chroma.stride);
    }
}

void IntraExact(SliceWorker *worker) {
    using Idct = ExactIdct<NativeLanes>;
    MacroblockPlace place;
    if (!locateMacroblock(worker, 8, place)) return;
    for (int32_t i = 0; i < 4; i += 2)
        Idct::storeTwo(intraBlock(worker, i), exactFormOf(worker, i), intraBlock(worker, i + 1),
                       exactFormOf(worker, i + 1), lumaPlace(place, i, 8), place.luma.stride);
    for (int32_t pair = 0; pair < place.chromaPairs; ++pair) {
        const int32_t cb = 4 + 2 * pair, cr = cb + 1;
        Idct::storePair(intraBlock(worker, cb), exactFormOf(worker, cb), intraBlock(worker, cr),
                        exactFormOf(worker, cr), chromaPlace(place, pair, 8), place.chroma.stride);
    }
}

}  // namespace tvk
