// SPDX-License-Identifier: BSD-2-Clause
// The slice workers of a stream: their threads, and the dealing out of a picture's slices.
#include <algorithm>
#include <atomic>
#include <iterator>
#include <new>

#include "core/callbacks.h"
#include "core/memory.h"
#include "input/video_input.h"
#include "mpeg12/macroblock_header.h"
#include "mpeg12/output_stage.h"
#include "mpeg12/worker.h"

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

uint32_t readFlag(uint32_t &flag) {
    return std::atomic_ref<uint32_t>(flag).load(std::memory_order_acquire);
}

void writeFlag(uint32_t &flag, uint32_t value) {
    std::atomic_ref<uint32_t>(flag).store(value, std::memory_order_release);
}

// Whether the slices of the picture depend on each other, and on one order. A P picture that nothing stands before is
// predicted from itself, and a B field that completes a reference frame from the frame that it is stored in. At eighth
// size a second field is stored over the lines of the first that it is predicted from. An MPEG-1 sequence keeps the
// block count of an MPEG-2 one before it: blocks that its frames have no room for reach into the macroblocks below.
bool slicesInOrder(const VideoStream *stream) {
    const FramePipeline &f = stream->frames;
    const Headers &h = stream->headers;
    const uint32_t type = h.picture.pictureCodingType;
    if (type == pictureP && f.currentFrame == f.forwardRef) return true;
    if (type == pictureB && (f.currentFrame == f.forwardRef || f.currentFrame == f.backwardRef)) return true;
    if (h.blocksPerMacroblock > (1u << h.sequenceExtension.chromaFormat) + 4) return true;
    return stream->settings.reduceCoefficient == 8 && f.fieldPending != 0 &&
           h.pictureCoding.pictureStructure != structureFrame;
}

// The worker's share: every threadCount-th slice from its own index on.
void decodeShare(SliceWorker *worker) {
    const VideoStream *stream = worker->stream;
    const PictureUnit &unit = *stream->input->unit;
    const SliceEntries slices = sliceEntries(unit);
    const bool inOrder = slicesInOrder(stream);
    if (inOrder && worker->workerIndex != 0) return;
    const int64_t step = inOrder ? 1 : stream->threadCount;
    for (int64_t n = worker->workerIndex; n < slices.count; n += step) {
        SetBytePosition(worker->reader, unit.startOffsets[slices.first + n]);
        DecodeSlice(worker);
    }
}

void *runWorker(void *argument) {
    SliceWorker *worker = static_cast<SliceWorker *>(argument);
    for (;;) {
        waitEvent(worker->startEvent);
        if (readFlag(worker->stream->workers.workersStop)) return nullptr;
        decodeShare(worker);
        setEvent(worker->doneEvent);
    }
}

void freeContexts(SliceWorker **workers, uint32_t count) {
    if (!workers) return;
    for (uint32_t i = 0; i < count; ++i) releaseAligned(workers[i]);
    release(workers);
}

SliceWorker *makeContext(VideoStream *stream, uint32_t index) {
    void *block = allocateAligned(sizeof(SliceWorker), alignof(SliceWorker));
    if (!block) return nullptr;
    SliceWorker *worker = new (block) SliceWorker{};
    worker->stream = stream;
    worker->workerIndex = index;
    initWorkerEvents(worker);
    initEvent(worker->startEvent);
    initEvent(worker->doneEvent);
    return worker;
}

SliceWorker **makeContexts(VideoStream *stream, uint32_t count) {
    SliceWorker **workers = allocateArray<SliceWorker *>(count);
    if (!workers) return nullptr;
    for (uint32_t i = 0; i < count; ++i) {
        workers[i] = makeContext(stream, i);
        if (!workers[i]) {
            freeContexts(workers, i);
            return nullptr;
        }
    }
    return workers;
}

void startThreads(VideoStream *stream) {
    for (uint32_t i = 1; i < workerCount(stream); ++i) {
        SliceWorker *worker = stream->workers.workers[i];
        worker->threadStarted = startThread(worker->thread, runWorker, worker);
        // Nothing would ever set its done event: the stream decodes no more until it gets other workers.
        if (!worker->threadStarted) {
            writeFlag(stream->workers.workerFault, 1);
            return;
        }
    }
}

void stopThreads(VideoStream *stream) {
    writeFlag(stream->workers.workersStop, 1);
    for (uint32_t i = 1; i < workerCount(stream); ++i)
        if (stream->workers.workers[i]->threadStarted) setEvent(stream->workers.workers[i]->startEvent);
    for (uint32_t i = 1; i < workerCount(stream); ++i)
        if (stream->workers.workers[i]->threadStarted) joinThread(stream->workers.workers[i]->thread);
}

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
bool mayDecode(VideoStream *stream) {
    const FramePipeline &f = stream->frames;
    if (!f.currentFrame || !f.forwardRef || !f.backwardRef) return false;
    if (readFlag(stream->workers.workerFault)) return false;
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

// `blocks` need no clearing: dirtyBlocks tells which of them hold values, at every moment since they were made, and
// the coefficient parser clears those before it fills them.
void preparePicture(SliceWorker *worker) {
    VideoStream *stream = worker->stream;
    worker->reader = stream->input->reader;
    worker->macroblock = {};
    worker->macroblock.cbpExtraBits = stream->headers.cbpExtraBits;
    worker->blockX = worker->blockY = worker->chromaX = worker->chromaY = 0;
    worker->lumaOffset = worker->chromaOffset = 0;
    worker->lowBlockMask = worker->dcOnlyBlockMask = 0;
    worker->counters = {};
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
    for (uint32_t i = 0; i < workerCount(stream); ++i)
        addCounters(stream->counters, stream->workers.workers[i]->counters);
}

// The walk of the table goes on behind the last slice, never back to entries that it has passed: whatever the source
// says, a walk ends.
void passSlices(PictureUnit &unit) {
    const int32_t capacity = static_cast<int32_t>(std::size(unit.startOffsets));
    const int32_t entries = std::clamp(unit.entryCount, 0, capacity);
    unit.currentEntry = std::max(unit.currentEntry, std::clamp(unit.lastSlice, -1, entries - 1) + 1);
}

}  // namespace

void initWorkerEvents(SliceWorker *worker) {
    const uint32_t userValue = worker->stream->callbacks.userValue;
    worker->event.userValue = userValue;
    worker->event.blockData = worker->blocks;
    worker->badCodeEvent.eventCode = eventBadCode;
    worker->badCodeEvent.userValue = userValue;
    worker->badCodeEvent.blockData = worker->blocks;
}

bool replaceWorkers(VideoStream *stream, uint32_t count) {
    SliceWorker **workers = makeContexts(stream, std::min(count, kMostWorkers));
    if (!workers) return false;
    destroyWorkers(stream);
    stream->workers.workers = workers;
    stream->threadCount = count;
    writeFlag(stream->workers.workersStop, 0);
    writeFlag(stream->workers.workerFault, 0);
    startThreads(stream);
    return true;
}

void destroyWorkers(VideoStream *stream) {
    if (!stream->workers.workers) return;
    stopThreads(stream);
    freeContexts(stream->workers.workers, workerCount(stream));
    stream->workers.workers = nullptr;
}

void decodePicture(VideoStream *stream) {
    if (!mayDecode(stream)) return;
    takeOverSwapped(stream->input);
    chooseMacroblockWriter(stream);
    stream->chosen.headerReader = headerReaderFor(stream);
    releaseWorkers(stream);
    const bool managed = stream->callbacks.memoryManager != nullptr;
    SliceWorker *own = stream->workers.workers[0];
    if (managed) openOutput(own);
    decodeShare(own);
    awaitWorkers(stream);
    if (managed) closeOutput(stream);
    own->outputY = nullptr;
    passSlices(*stream->input->unit);
}

bool workerFailed(const VideoStream *stream) {
    return stream->threadCount > 1 && readFlag(const_cast<VideoStream *>(stream)->workers.workerFault) != 0;
}

}  // namespace tvk
