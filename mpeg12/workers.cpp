// SPDX-License-Identifier: BSD-2-Clause
// The slice workers of a stream and their threads.
#include <algorithm>
#include <atomic>
#include <new>

#include "core/callbacks.h"
#include "core/memory.h"
#include "mpeg12/worker.h"

namespace tvk {

namespace {

uint32_t readFlag(uint32_t &flag) {
    return std::atomic_ref<uint32_t>(flag).load(std::memory_order_acquire);
}

void writeFlag(uint32_t &flag, uint32_t value) {
    std::atomic_ref<uint32_t>(flag).store(value, std::memory_order_release);
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

bool workerFault(const VideoStream *stream) {
    return readFlag(const_cast<VideoStream *>(stream)->workers.workerFault) != 0;
}

bool workerFailed(const VideoStream *stream) {
    return stream->threadCount > 1 && workerFault(stream);
}

}  // namespace tvk
