// SPDX-License-Identifier: BSD-2-Clause
// The registry of live handles and the checks made against it.
#include "core/handles.h"

#include "core/memory.h"

namespace tvk {

namespace {

// Handles hash to a bucket, a bucket is a chain of blocks, a free place holds null. Blocks are added and never given
// back, so that a lookup may walk a chain at any time.
constexpr size_t kPlaces = 7;
constexpr size_t kBuckets = 64;

struct HandleBlock {
    std::atomic<VideoStream *> places[kPlaces];
    std::atomic<HandleBlock *> next;
};

HandleBlock buckets[kBuckets];

HandleBlock &bucketOf(const VideoStream *stream) {
    // Large blocks differ in page number and hardly in the bits below.
    const uint64_t bits = reinterpret_cast<uintptr_t>(stream) >> 4;
    return buckets[bits * 0x9E3779B97F4A7C15u >> 58];
}

bool takePlace(HandleBlock &block, VideoStream *stream) {
    for (auto &place : block.places) {
        VideoStream *expected = nullptr;
        if (place.compare_exchange_strong(expected, stream, std::memory_order_release, std::memory_order_relaxed))
            return true;
    }
    return false;
}

// The block behind `block`, made if there is none; null when out of memory.
HandleBlock *nextOrNew(HandleBlock &block) {
    if (HandleBlock *next = block.next.load(std::memory_order_acquire)) return next;
    HandleBlock *fresh = allocateArray<HandleBlock>(1);
    if (!fresh) return nullptr;
    HandleBlock *expected = nullptr;
    if (block.next.compare_exchange_strong(expected, fresh, std::memory_order_acq_rel)) return fresh;
    release(fresh);
    return expected;
}

std::atomic<VideoStream *> *findPlace(const VideoStream *stream) {
    for (HandleBlock *block = &bucketOf(stream); block; block = block->next.load(std::memory_order_acquire))
        for (auto &place : block->places)
            if (place.load(std::memory_order_acquire) == stream) return &place;
    return nullptr;
}

}  // namespace

bool registerHandle(VideoStream *stream) {
    for (HandleBlock *block = &bucketOf(stream); block; block = nextOrNew(*block))
        if (takePlace(*block, stream)) return true;
    return false;
}

void unregisterHandle(VideoStream *stream) {
    if (auto *place = findPlace(stream)) place->store(nullptr, std::memory_order_release);
}

bool isLiveHandle(const VideoStream *stream) {
    return stream && findPlace(stream);
}

int32_t checkM(const VideoStream *stream) {
    if (!stream) return tvkErrInvalidArgument;
    return isLiveHandle(stream) && stream->magic == kStreamMagic ? 0 : tvkErrBadHandle;
}

bool isBusy(const VideoStream *stream) {
    uint32_t &running = const_cast<VideoStream *>(stream)->callRunning;
    return readStatus(stream) == statusBusy || std::atomic_ref<uint32_t>(running).load(std::memory_order_relaxed) != 0;
}

int32_t checkA(const VideoStream *stream) {
    const int32_t refusal = checkM(stream);
    if (refusal) return refusal;
    return isBusy(stream) ? tvkErrBusy : 0;
}

}  // namespace tvk
