// SPDX-License-Identifier: BSD-2-Clause
// What the compiler is told beyond the language: what must be inlined, and which memory comes next.
#pragma once

#include <cstdint>

// Functions whose arguments must stay in registers whatever the compiler thinks of their size.
#if defined(__GNUC__)
#define TVK_INLINE inline __attribute__((always_inline))
#else
#define TVK_INLINE inline
#endif

namespace tvk {

// Asks for the cache line `bytes` ahead of p, to be read or written soon. The address may lie anywhere, which a pointer
// that is counted up may not: nothing is loaded that the program could see.
// NOLINTBEGIN(performance-no-int-to-ptr)
TVK_INLINE void prefetchRead([[maybe_unused]] const uint8_t *p, [[maybe_unused]] uintptr_t bytes) {
#if defined(__GNUC__)
    __builtin_prefetch(reinterpret_cast<const void *>(reinterpret_cast<uintptr_t>(p) + bytes));
#endif
}
TVK_INLINE void prefetchWrite([[maybe_unused]] uint8_t *p, [[maybe_unused]] uintptr_t bytes) {
#if defined(__GNUC__)
    __builtin_prefetch(reinterpret_cast<void *>(reinterpret_cast<uintptr_t>(p) + bytes), 1);
#endif
}
// NOLINTEND(performance-no-int-to-ptr)

}  // namespace tvk
