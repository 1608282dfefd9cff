// SPDX-License-Identifier: BSD-2-Clause
// Intra macroblocks of B pictures that go to macroblockPixels: 16 luma rows of 16, then interleaved chroma rows of 16.
#include "mpeg12/p4idct/local_intra.h"

#include "core/lanes.h"
#include "mpeg12/p4idct/fast.h"
#include "mpeg12/p4idct/float.h"
#include "mpeg12/p4idct/place.h"

namespace tvk {

namespace {

constexpr int32_t kChromaStart = 256;

struct LocalPlace {
    int32_t stride, lower;               // of luma
    int32_t chromaStride, secondChroma;  // second chroma pair: bytes from the start of macroblockPixels
    int32_t chromaPairs;
};

void setOffsets(SliceWorker *worker) {
    const int64_t luma = int64_t{worker->currentLuma.stride} * worker->blockY + worker->blockX;
    const int64_t chroma = int64_t{worker->currentChroma.stride} * worker->chromaY + worker->chromaX;
    worker->lumaOffset = static_cast<uint32_t>(8 * luma);
    worker->chromaOffset = static_cast<uint32_t>(8 * chroma);
}

LocalPlace localPlace(const SliceWorker *worker, int32_t interleavedSecondChroma) {
    const bool interleaved = worker->macroblock.dctType != 0;
    const int32_t pairs = chromaPairs(worker);
    const bool chromaInterleaved = interleaved && pairs > 1;
    LocalPlace place;
    place.stride = interleaved ? 32 : 16;
    place.lower = interleaved ? 16 : 128;
    place.chromaStride = chromaInterleaved ? 32 : 16;
    place.secondChroma = chromaInterleaved ? interleavedSecondChroma : kChromaStart + 128;
    place.chromaPairs = pairs < 2 ? pairs : 2;  // 4:4:4 never comes here, and would not fit
    return place;
}

uint8_t *lumaAt(SliceWorker *worker, const LocalPlace &place, int32_t i) {
    return worker->macroblockPixels + (i >> 1) * place.lower + (i & 1) * 8;
}
uint8_t *chromaAt(SliceWorker *worker, const LocalPlace &place, int32_t pair) {
    return worker->macroblockPixels + (pair == 0 ? kChromaStart : place.secondChroma);
}

}  // namespace

void LocalIntraFast(SliceWorker *worker) {
    using Idct = FastIdct<NativeLanes>;
    setOffsets(worker);
    const LocalPlace place = localPlace(worker, kChromaStart + 16);
    for (int32_t i = 0; i < 4; i += 2)
        Idct::storeTwo(intraBlock(worker, i), formOf(worker, i, i), intraBlock(worker, i + 1),
                       formOf(worker, i + 1, i + 1), lumaAt(worker, place, i), place.stride);
    // DEPARTURE(local chroma takes the full form): whatever the mask says; the results differ in their last bits.
    const auto chromaForm = [&](int32_t i) {
        return blockBit(worker->dcOnlyBlockMask, i) ? BlockForm::single : BlockForm::full;
    };
    for (int32_t pair = 0; pair < place.chromaPairs; ++pair) {
        const int32_t cb = 4 + 2 * pair, cr = cb + 1;
        Idct::storePair(intraBlock(worker, cb), chromaForm(cb), intraBlock(worker, cr), chromaForm(cr),
                        chromaAt(worker, place, pair), place.chromaStride);
    }
}

void LocalIntraExact(SliceWorker *worker) {
    using Idct = FloatIdct<NativeLanes>;
    setOffsets(worker);
    // DEPARTURE(exact local 4:2:2 under field DCT): the second pair begins 128 bytes on, over rows of the first.
    const LocalPlace place = localPlace(worker, kChromaStart + 128);
    for (int32_t i = 0; i < 4; ++i) Idct::store(intraBlock(worker, i), lumaAt(worker, place, i), place.stride);
    for (int32_t pair = 0; pair < place.chromaPairs; ++pair) {
        const int32_t cb = 4 + 2 * pair;
        Idct::storePair(intraBlock(worker, cb), intraBlock(worker, cb + 1), chromaAt(worker, place, pair),
                        place.chromaStride);
    }
}

void LocalIntraTransform(SliceWorker *worker) {
    if (worker->stream->settings.precision == 1)
        LocalIntraExact(worker);
    else
        LocalIntraFast(worker);
}

}  // namespace tvk
