// SPDX-License-Identifier: BSD-2-Clause
// Allocation, plain and aligned, with one place where tests can make it fail.
#include "core/memory.h"

#include <cstdlib>
#include <new>

#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#define TVK_ADDRESS_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TVK_ADDRESS_CHECKED 1
#endif
#endif
#if defined(TVK_ADDRESS_CHECKED)
#include <sanitizer/asan_interface.h>
#endif

namespace tvk {

std::atomic<AllocationHook> allocationHook{nullptr};
std::atomic<uint64_t> allocationCount{0};

namespace {

// An aligned block begins at the last multiple of kLargestAlignment within the first kHeadRoom bytes of its plain
// block, so at least kHeadRoom - kLargestAlignment + 1 bytes lie ahead of it; its origin stands in that room.
constexpr size_t kHeadRoom = 2048;
constexpr size_t kOriginDistance = 1024;

struct Origin {
    void *block;
    size_t size;
};
static_assert(sizeof(Origin) <= kOriginDistance && kOriginDistance <= kHeadRoom - kLargestAlignment);

bool mayAllocate(size_t size) {
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    const AllocationHook hook = allocationHook.load(std::memory_order_relaxed);
    return size != 0 && (!hook || hook(size));
}

const Origin *originOf(const void *block) {
    return reinterpret_cast<const Origin *>(static_cast<const uint8_t *>(block) - kOriginDistance);
}

// The room that alignment leaves ahead of an aligned block and behind it is nobody's: a memory checker is to say so.
void forbidRoom([[maybe_unused]] const uint8_t *plain, [[maybe_unused]] const uint8_t *block,
                [[maybe_unused]] size_t size) {
#if defined(TVK_ADDRESS_CHECKED)
    const uint8_t *origin = block - kOriginDistance, *end = plain + size + kHeadRoom;
    __asan_poison_memory_region(origin + sizeof(Origin), kOriginDistance - sizeof(Origin));
    __asan_poison_memory_region(block + size, static_cast<size_t>(end - (block + size)));
#endif
}

}  // namespace

void *allocate(size_t size) {
    return mayAllocate(size) ? std::malloc(size) : nullptr;
}

void *allocateZeroed(size_t count, size_t size) {
    if (size != 0 && count > SIZE_MAX / size) return nullptr;
    return mayAllocate(count * size) ? std::calloc(count, size) : nullptr;
}

void *reallocate(void *block, size_t size) {
    return mayAllocate(size) ? std::realloc(block, size) : nullptr;
}

void release(void *block) {
    std::free(block);
}

void *allocateAligned(size_t size, size_t alignment) {
    const bool powerOfTwo = alignment != 0 && (alignment & (alignment - 1)) == 0;
    if (!powerOfTwo || alignment > kLargestAlignment || size == 0 || size > SIZE_MAX - kHeadRoom) return nullptr;
    void *plain = allocate(size + kHeadRoom);
    if (!plain) return nullptr;
    const uintptr_t from = reinterpret_cast<uintptr_t>(plain);
    uint8_t *block = static_cast<uint8_t *>(plain) + (((from + kHeadRoom) & ~(kLargestAlignment - 1)) - from);
    new (block - kOriginDistance) Origin{plain, size};
    forbidRoom(static_cast<const uint8_t *>(plain), block, size);
    return block;
}

void releaseAligned(void *block) {
    if (block) release(originOf(block)->block);
}

size_t alignedSize(const void *block) {
    return block ? originOf(block)->size : 0;
}

uint64_t machineMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES), bytes = sysconf(_SC_PAGESIZE);
    return pages > 0 && bytes > 0 ? static_cast<uint64_t>(pages) * static_cast<uint64_t>(bytes) : UINT64_MAX;
}

}  // namespace tvk
