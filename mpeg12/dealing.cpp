// SPDX-License-Identifier: BSD-2-Clause
// A picture's slices, dealt out to the workers.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "core/callbacks.h"
#include "core/memory.h"
#include "input/video_input.h"
#include "mpeg12/macroblock_header.h"
#include "mpeg12/output_stage.h"
#include "mpeg12/worker.h"

// Workers decode side by side what gives the same samples in any order, so that neither their number nor time shows in
// a picture, and no two of them write the same sample or one reads what another writes.
//
// Slices that begin behind each other, as they ought to, are held to end before the next one begins. One that goes on,
// in a damaged stream, is stopped there; all that the workers have stored until then is stored in order, too. So the
// picture is decoded once more, in order. The same happens where a worker met what takes something from the macroblock
// decoded before, whichever that was. Pictures whose slices depend on each other are decoded in order at once.

namespace tvk {

namespace {

// Slice entries of a unit's table; the source's numbers are not trusted.
struct SliceEntries {
    int32_t first, count;
};

SliceEntries sliceEntries(const PictureUnit &unit) {
    const int32_t capacity = static_cast<int32_t>(std::size(unit.startOffsets));
    const int32_t entries = std::clamp(unit.entryCount, 0, capacity);
    const int32_t first = std::clamp(unit.firstSlice, 0, entries);
    return {first, std::clamp(unit.sliceCount, 0, entries - first)};
}

// --- Order ----------------------------------------------------------------------------------------------------------

// A P picture that nothing stands before is predicted from itself, and a B field that completes a reference frame from
// the frame that it is stored in. At eighth size a second field is stored over the lines of the first that it is
// predicted from. An MPEG-1 sequence keeps the block count and the picture structure of an MPEG-2 one before it: blocks
// that its frames have no room for, and those that take its pictures for fields, reach into the macroblocks below.
bool slicesDepend(const VideoStream *stream) {
    const FramePipeline &f = stream->frames;
    const Headers &h = stream->headers;
    const uint32_t type = h.picture.pictureCodingType;
    if (type == pictureP && f.currentFrame == f.forwardRef) return true;
    if (type == pictureB && (f.currentFrame == f.forwardRef || f.currentFrame == f.backwardRef)) return true;
    if (h.blocksPerMacroblock > (1u << h.sequenceExtension.chromaFormat) + 4) return true;
    if (stream->streamType == 1 && h.pictureCoding.pictureStructure != structureFrame) return true;
    return stream->settings.reduceCoefficient == 8 && f.fieldPending != 0 &&
           h.pictureCoding.pictureStructure != structureFrame;
}

// Macroblocks of the picture: addresses from here on have no place of their own.
uint32_t addressesOf(const VideoStream *stream) {
    const bool frame = stream->headers.pictureCoding.pictureStructure == structureFrame;
    const int32_t rowStep = frame ? 2 : 4;
    const Geometry &g = stream->geometry;
    return static_cast<uint32_t>(g.blockWidth8 / 2) * static_cast<uint32_t>((g.blockHeight8 + rowStep - 1) / rowStep);
}

// Fills lastAddress. False where a slice begins outside the picture or not behind the one before it.
bool boundSlices(VideoStream *stream, const PictureUnit &unit, SliceEntries slices) {
    SliceWorker *own = stream->workers.workers[0];
    const SliceHeaderRecord kept = own->sliceHeader;
    own->reader = stream->input->reader;
    uint32_t *last = stream->workers.lastAddress;
    uint32_t before = 0;
    bool ascending = true;
    for (int32_t n = 0; n < slices.count && ascending; ++n) {
        SetBytePosition(own->reader, unit.startOffsets[slices.first + n]);
        const uint32_t first = firstAddressOfSlice(own);
        ascending = first < addressesOf(stream) && (n == 0 || first > before);
        if (n > 0) last[n - 1] = first - 1;
        last[n] = UINT32_MAX;
        before = first;
    }
    own->sliceHeader = kept;
    return ascending;
}

// --- Workers --------------------------------------------------------------------------------------------------------

// Bytes that a whole picture's macroblocks take in each plane, per byte of stride. Field macroblocks reach over 32
// lines, so the height counts in fours of 8 lines also where the sequence claims to be progressive.
bool planesHoldPicture(const VideoStream *stream, const VideoFrame *frame) {
    const Geometry &g = stream->geometry;
    const int64_t reduce = stream->settings.reduceCoefficient;
    const uint8_t chromaFormat = stream->headers.sequenceExtension.chromaFormat;
    const int64_t width = int64_t{g.blockWidth8} * 8 / reduce;
    const int64_t height = ((int64_t{g.blockHeight8} + 3) & ~int64_t{3}) * 8 / reduce;
    const int64_t chromaWidth = chromaFormat == chroma444 ? 2 * width : width;
    const int64_t chromaHeight = chromaFormat == chroma422 || chromaFormat == chroma444 ? height : height / 2;
    const VideoPlane &luma = frame->lumaPlane, &chroma = frame->chromaPlane;
    return width <= luma.stride && chromaWidth <= chroma.stride &&
           height * luma.stride <= static_cast<int64_t>(alignedSize(luma.data)) &&
           chromaHeight * chroma.stride <= static_cast<int64_t>(alignedSize(chroma.data));
}

// Without both references, with a worker missing, or with frames made for smaller pictures nothing is decoded.
bool mayDecode(const VideoStream *stream) {
    const FramePipeline &f = stream->frames;
    if (!f.currentFrame || !f.forwardRef || !f.backwardRef) return false;
    if (workerFault(stream)) return false;
    if (stream->geometry.blockWidth8 < 2 || stream->geometry.blockHeight8 < 2) return false;
    return planesHoldPicture(stream, f.currentFrame) && planesHoldPicture(stream, f.forwardRef) &&
           planesHoldPicture(stream, f.backwardRef);
}

// The block's true size bounds the view: the record's own may count coded bytes. One stride holds for all frames.
PlaneView viewOf(const VideoPlane &plane, int32_t stride) {
    const size_t size = std::min<size_t>(alignedSize(plane.data), INT32_MAX);
    return {plane.data, static_cast<int32_t>(size), stride};
}

void setPlanes(SliceWorker *worker, const FramePipeline &f) {
    const int32_t luma = f.currentFrame->lumaPlane.stride;
    const int32_t chroma = f.currentFrame->chromaPlane.stride;
    worker->currentLuma = viewOf(f.currentFrame->lumaPlane, luma);
    worker->currentChroma = viewOf(f.currentFrame->chromaPlane, chroma);
    worker->forwardLuma = viewOf(f.forwardRef->lumaPlane, luma);
    worker->forwardChroma = viewOf(f.forwardRef->chromaPlane, chroma);
    worker->backwardLuma = viewOf(f.backwardRef->lumaPlane, luma);
    worker->backwardChroma = viewOf(f.backwardRef->chromaPlane, chroma);
}

// 0 top field, 1 bottom field, 2 frame. Kernels multiply strides by the parity of a field, which the reserved
// structure 0 must not carry out of the picture.
uint8_t structureIndex(uint32_t pictureStructure) {
    return static_cast<uint8_t>(pictureStructure < structureTopField ? 0 : pictureStructure - 1);
}

void clearValues(SliceWorker *worker) {
    if (worker->dirtyBlocks != 0) std::memset(worker->blocks, 0, sizeof worker->blocks);
    if (worker->dirtyReduced) std::memset(worker->reducedResidual, 0, sizeof worker->reducedResidual);
    worker->dirtyBlocks = 0;
    worker->dirtyReduced = false;
}

void preparePicture(SliceWorker *worker) {
    VideoStream *stream = worker->stream;
    clearValues(worker);
    worker->reader = stream->input->reader;
    worker->macroblock = {};
    worker->macroblock.cbpExtraBits = stream->headers.cbpExtraBits;
    worker->blockX = worker->blockY = worker->chromaX = worker->chromaY = 0;
    worker->lumaOffset = worker->chromaOffset = 0;
    worker->lowBlockMask = worker->dcOnlyBlockMask = 0;
    worker->counters = {};
    worker->wantsOrder = false;
    setPlanes(worker, stream->frames);
    worker->pictureStructureIndex = structureIndex(stream->headers.pictureCoding.pictureStructure);
    worker->secondFieldFlag = static_cast<uint8_t>(stream->frames.fieldPending);
}

void addCounters(Counters &total, const SliceCounters &part) {
    total.slices += part.slices;
    total.macroblocks += part.macroblocks;
    total.codedBlockPatterns += part.codedBlockPatterns;
    total.coefficientCalls += part.coefficientCalls;
}

void releaseWorkers(VideoStream *stream) {
    for (uint32_t i = 0; i < workerCount(stream); ++i) {
        SliceWorker *worker = stream->workers.workers[i];
        preparePicture(worker);
        if (i > 0) setEvent(worker->startEvent);
    }
}

void awaitWorkers(VideoStream *stream) {
    for (uint32_t i = 1; i < workerCount(stream); ++i) waitEvent(stream->workers.workers[i]->doneEvent);
}

bool anyWantsOrder(const VideoStream *stream) {
    SliceWorker *const *workers = stream->workers.workers;
    return std::any_of(workers, workers + workerCount(stream), [](const SliceWorker *w) { return w->wantsOrder; });
}

// The picture once more, as one worker alone gives it. The application has been told of its slices already.
void decodeAgainInOrder(VideoStream *stream) {
    for (uint32_t i = 1; i < workerCount(stream); ++i) stream->workers.workers[i]->counters = {};
    const VideoUserCallback callback = stream->callbacks.userCallback;
    stream->callbacks.userCallback = nullptr;
    stream->workers.inOrder = 1;
    preparePicture(stream->workers.workers[0]);
    decodeShare(stream->workers.workers[0]);
    stream->callbacks.userCallback = callback;
}

// The walk of the table goes on behind the last slice, never back to entries that it has passed: whatever the source
// says, a walk ends.
void passSlices(PictureUnit &unit) {
    const int32_t capacity = static_cast<int32_t>(std::size(unit.startOffsets));
    const int32_t entries = std::clamp(unit.entryCount, 0, capacity);
    unit.currentEntry = std::max(unit.currentEntry, std::clamp(unit.lastSlice, -1, entries - 1) + 1);
}

}  // namespace

// Every threadCount-th slice from the worker's own index on, or all of them.
void decodeShare(SliceWorker *worker) {
    const VideoStream *stream = worker->stream;
    const PictureUnit &unit = *stream->input->unit;
    const SliceEntries slices = sliceEntries(unit);
    const bool inOrder = stream->workers.inOrder != 0;
    if (inOrder && worker->workerIndex != 0) return;
    const int64_t step = inOrder ? 1 : stream->threadCount;
    for (int64_t n = worker->workerIndex; n < slices.count; n += step) {
        SetBytePosition(worker->reader, unit.startOffsets[slices.first + n]);
        worker->lastAddress = inOrder ? UINT32_MAX : stream->workers.lastAddress[n];
        DecodeSlice(worker);
    }
}

void decodePicture(VideoStream *stream) {
    if (!mayDecode(stream)) return;
    takeOverSwapped(stream->input);
    const PictureUnit &unit = *stream->input->unit;
    chooseMacroblockWriter(stream);
    stream->chosen.headerReader = headerReaderFor(stream);
    stream->workers.inOrder =
        stream->threadCount == 1 || slicesDepend(stream) || !boundSlices(stream, unit, sliceEntries(unit));
    releaseWorkers(stream);
    const bool managed = stream->callbacks.memoryManager != nullptr;
    SliceWorker *own = stream->workers.workers[0];
    if (managed) openOutput(own);
    decodeShare(own);
    awaitWorkers(stream);
    if (!stream->workers.inOrder && anyWantsOrder(stream)) decodeAgainInOrder(stream);
    for (uint32_t i = 0; i < workerCount(stream); ++i)
        addCounters(stream->counters, stream->workers.workers[i]->counters);
    if (managed) closeOutput(stream);
    own->outputY = nullptr;
    passSlices(*stream->input->unit);
}

}  // namespace tvk
