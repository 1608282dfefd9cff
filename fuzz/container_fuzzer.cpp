// SPDX-License-Identifier: BSD-2-Clause
// Property: whatever bytes a container holds, opening it returns, and so does every call on what was opened; through
// memory, a file and a pipe. Leaks of libavformat and of its libraries are theirs.
//
// Input: the file. How it is opened and what is asked follows from its last byte.
#include <algorithm>
#include <cstring>

#include <unistd.h>

#include "fuzz/memory_file.h"
#include "fuzz/plan.h"
#include "tvk_source.h"

extern "C" const char *__lsan_default_suppressions() {
    return "leak:libavformat\nleak:libavcodec\nleak:libavutil\n";
}

namespace tvkfuzz {
namespace {

constexpr size_t kPipeRoom = 65536;
constexpr int kMostSteps = 60;

// Null when it is refused.
VideoSource *openPipe(const uint8_t *data, size_t size) {
    int ends[2];
    if (pipe(ends) != 0) fail("no pipe");
    if (write(ends[1], data, std::min(size, kPipeRoom)) < 0) fail("no room in a pipe");
    close(ends[1]);
    VideoSource *source = nullptr;
    const int32_t result = tvkOpenDescriptorSource(&source, ends[0], 0);
    close(ends[0]);
    return result == 0 ? source : nullptr;
}

VideoSource *openSource(const uint8_t *data, size_t size, uint8_t way) {
    VideoSource *source = nullptr;
    switch (way % 4) {
        case 0:
            return openPipe(data, size);
        case 1:
            return MemoryFile(data, size).openSource(tvkSourceOwnsBuffer);
        case 2:
            return tvkOpenMemorySourceEx(&source, data, size, tvkSourceFillsBuffer) == 0 ? source : nullptr;
        default:
            return tvkOpenMemorySource(&source, data, size) == 0 ? source : nullptr;
    }
}

void askAll(Application &application) {
    SourceInfo info = {};
    if (tvkGetSourceInfo(application.source, &info) == 0) readBytes(info.container, std::strlen(info.container));
    VideoLayer layers[16] = {};
    StreamDescription description = {};
    description.layers = layers;
    description.layerCapacity = 16;
    if (tvkTestVideoStream(application.stream, &description) == 0 && description.layerCount > 16)
        fail("more layers than there is room for");
    int32_t layer = 0;
    tvkGetActiveVideoLayer(application.stream, &layer);
    for (uint32_t i = 0; i < description.layerCount; ++i)
        tvkSetActiveVideoLayer(application.stream, static_cast<int32_t>(layers[i].layerId));
}

}  // namespace
}  // namespace tvkfuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    const uint8_t way = size ? data[size - 1] : 0;
    const MemoryLimit limit(kLargestAllocation, kMostMemory);
    Application application;
    if (!application.adopt(openSource(data, size, way))) return 0;
    if (way & 4) askAll(application);
    application.act(Action::reduce, way >> 3 & 3);
    constexpr Action kMoves[] = {Action::none,  Action::rate,  Action::time,        Action::absPosition,
                                 Action::facts, Action::index, Action::frameNumber, Action::rateEdit};
    int ends = 0;
    for (int step = 0; step < kMostSteps && ends < 3; ++step) {
        ends = application.step(Loop::main) ? 0 : ends + 1;
        if (step % 4 == 2) application.act(kMoves[((way >> 5) + step / 4) & 7], static_cast<uint8_t>(step & 7));
    }
    return 0;
}
