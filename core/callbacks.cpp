// SPDX-License-Identifier: BSD-2-Clause
// The user callback and the memory manager: setting them, and the record that stream-level events go out in.
#include "core/callbacks.h"

#include "core/calls.h"
#include "core/slots.h"
#include "mpeg12/worker.h"

namespace tvk {

CallbackEvent *streamEvent(VideoStream *stream) {
    return &stream->workers.workers[0]->event;
}

void raiseBadCode(VideoStream *stream) {
    const VideoUserCallback callback = stream->callbacks.userCallback;
    if (callback) callback(&stream->workers.workers[0]->badCodeEvent);
}

int32_t setUserCallback(VideoStream *stream, VideoUserCallback callback, uint32_t userValue) {
    stream->callbacks.userCallback = callback;
    stream->callbacks.userValue = userValue;
    for (uint32_t i = 0; i < workerCount(stream); ++i) initWorkerEvents(stream->workers.workers[i]);
    return reconfigure(stream);
}

int32_t setMemoryManager(VideoStream *stream, VideoMemoryManager manager, int32_t slots) {
    if (slots < kFewestSlots || slots > kMostSlots) return tvkErrInvalidArgument;
    stream->callbacks.memoryManager = manager;
    stream->callbacks.memorySlots = slots;
    if (manager) return 0;
    for (uint32_t i = 0; i < workerCount(stream); ++i) {
        SliceWorker *worker = stream->workers.workers[i];
        worker->outputY = worker->outputU = worker->outputV = nullptr;
    }
    return 0;
}

int32_t getMemoryManager(VideoStream *stream, void **callback, uint32_t *slots) {
    if (!callback) return tvkErrInvalidArgument;
    *callback = reinterpret_cast<void *>(stream->callbacks.memoryManager);
    if (slots) *slots = static_cast<uint32_t>(stream->callbacks.memorySlots);
    return 0;
}

int32_t setMemoryAvailable(VideoStream *stream, int32_t slot) {
    return returnSlot(stream->callbacks.slots, slot) ? 0 : tvkErrInvalidArgument;
}

}  // namespace tvk
