// SPDX-License-Identifier: BSD-2-Clause
// Property: of a unit that lies in a block of the source, of exactly its size, no byte behind the last is read and none
// is written, by no loop and no call.
#include "fuzz/plan.h"
#include "tvk_source.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    Plan plan;
    if (!planOf(&plan, data, size)) return 0;
    const MemoryLimit limit(kLargestAllocation, kMostMemory);
    Application application;
    constexpr uint32_t kAny = tvkSourceAnyContent, kExact = tvkSourceOwnsBuffer;
    if (!application.open(plan.stream, plan.streamSize, kAny | kExact)) return 0;
    applySettings(application, plan);
    play(application, plan);
    return 0;
}
