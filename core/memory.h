// SPDX-License-Identifier: BSD-2-Clause
// All memory of the library comes through these calls.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace tvk {

// Null when there is no memory or size is 0. reallocate leaves the old block in place when it fails; release
// ignores null.
void *allocate(size_t size);
void *allocateZeroed(size_t count, size_t size);
void *reallocate(void *block, size_t size);
void release(void *block);

template <class T>
T *allocateArray(size_t count) {
    // NOLINTNEXTLINE(bugprone-sizeof-expression): of pointers too
    return static_cast<T *>(allocateZeroed(count, sizeof(T)));
}

inline constexpr size_t kLargestAlignment = 512;

// Aligned to `alignment`, a power of two up to kLargestAlignment; null otherwise, for size 0 and out of memory. The
// block remembers its size. Not zeroed.
void *allocateAligned(size_t size, size_t alignment);
void releaseAligned(void *block);
// The size that the block was asked for; 0 for null.
size_t alignedSize(const void *block);

// Bytes that the machine has. Linux grants more than that and ends the process that uses it.
uint64_t machineMemory();

// For tests. The hook is asked before every allocation and says whether it may go on; null allows all.
using AllocationHook = bool (*)(size_t size);
extern std::atomic<AllocationHook> allocationHook;
// Allocations made since the process began, successful or not.
extern std::atomic<uint64_t> allocationCount;

}  // namespace tvk
