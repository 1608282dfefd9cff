// SPDX-License-Identifier: BSD-2-Clause
// Goes into the library with the portable lanes: the limit of memory reaches it from outside.
#include "core/memory.h"
#include "tvk.h"

extern "C" TVK_API void tvkSetAllocationHook(tvk::AllocationHook hook) {
    tvk::allocationHook = hook;
}
