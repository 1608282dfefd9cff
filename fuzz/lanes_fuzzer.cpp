// SPDX-License-Identifier: BSD-2-Clause
// Property: a build with the portable lanes decodes what the machine's own lanes do, byte for byte, at every size and
// precision, of damaged streams too, and writes the same to the application's buffer.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "core/memory.h"
#include "fuzz/walk.h"

namespace tvkfuzz {
namespace {

struct PortableBuild {
    void *library;
    void (*setHook)(tvk::AllocationHook);
    Decoder decoder;

    template <class Call>
    void find(Call &call, const char *name) {
        call = reinterpret_cast<Call>(dlsym(library, name));
        if (!call) fail(name);
    }

    PortableBuild() : library(dlopen(TVK_PORTABLE_LIBRARY, RTLD_NOW | RTLD_LOCAL)), setHook(), decoder() {
        if (!library) fail(dlerror());
        find(setHook, "tvkSetAllocationHook");
        find(decoder.create, "tvkCreateVideoStream");
        find(decoder.destroy, "tvkDestroyVideoStream");
        find(decoder.gets[0], "tvkGetNextVideoFrame");
        find(decoder.gets[1], "tvkGetNextVideoFrameStreamOrder");
        find(decoder.gets[2], "tvkGetNextVideoFrameEdit");
        find(decoder.gets[3], "tvkGetNextVideoFrameBin");
        find(decoder.current, "tvkGetVideoFrame");
        find(decoder.precision, "tvkSetVideoSP_Precision");
        find(decoder.reduce, "tvkSetVideoSP_ReduceCoefficient");
        find(decoder.threads, "tvkSetVideoSP_Threads");
        find(decoder.frameTypes, "tvkSetVideoSP_FrameTypesToProcess");
        find(decoder.workMode, "tvkSetVideoWorkMode");
        find(decoder.conversionType, "tvkSetVideoConversionType");
        find(decoder.memoryManager, "tvkSetMemoryManager");
        find(decoder.memoryAvailable, "tvkSetMemoryAvailable");
        find(decoder.userCallback, "tvkSetVideoUserCallback");
        find(decoder.rate, "tvkSetRateVideoPosition");
        find(decoder.rateEdit, "tvkSetRateVideoPositionEdit");
        find(decoder.index, "tvkCreateVideoIndexTable");
        find(decoder.frameNumber, "tvkSetVideoFrameNumber");
        if (decoder.create == tvkCreateVideoStream) fail("both builds are one");
    }
};

Walk walkPortably(const Plan &plan, const WalkSettings &settings) {
    static const PortableBuild build;
    // The same limit: an allocation of either build asks whoever is walking.
    build.setHook([](size_t size) {
        const tvk::AllocationHook hook = tvk::allocationHook;
        return !hook || hook(size);
    });
    return walk(build.decoder, plan, settings);
}

}  // namespace
}  // namespace tvkfuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    Plan plan;
    if (!planOf(&plan, data, size)) return 0;
    const WalkSettings settings = walkSettingsOf(plan);
    demandEqual(walk(kLinkedDecoder, plan, settings), walkPortably(plan, settings));
    return 0;
}
