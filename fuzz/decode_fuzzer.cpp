// SPDX-License-Identifier: BSD-2-Clause
// Property: whatever the coded bytes in a file or in memory are, and whatever an application sets and asks between
// frames, every call returns, a frame that is handed out can be read over the whole of its planes, and writers stay
// inside the application's buffer.
#include "fuzz/memory_file.h"
#include "fuzz/plan.h"
#include "tvk_source.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    Plan plan;
    if (!planOf(&plan, data, size)) return 0;
    const MemoryLimit limit(kLargestAllocation, kMostMemory);
    Application application;
    const uint32_t flags = tvkSourceAnyContent | (plan.copied() ? uint32_t{tvkSourceFillsBuffer} : 0);
    if (plan.throughFile()) {
        const MemoryFile file(plan.stream, plan.streamSize);
        if (!application.adopt(file.openSource(flags))) return 0;
    } else if (!application.open(plan.stream, plan.streamSize, flags)) {
        return 0;
    }
    applySettings(application, plan);
    play(application, plan);
    return 0;
}
