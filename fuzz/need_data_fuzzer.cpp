// SPDX-License-Identifier: BSD-2-Clause
// Property: a source that has no data at some of its reads changes nothing. A call that says so is made again, and what
// comes of it in the end is what a source that always has data gives: pictures, numbers, times and results.
#include "fuzz/stalling_source.h"
#include "fuzz/walk.h"
#include "tvk_source.h"

namespace tvkfuzz {
namespace {

// Pictures that are none of I, P and B. Adjustable speed treats them as it did the picture before within the same call,
// and a call that finds no data ends in between.
bool holdsOtherTypes(const Plan &plan) {
    for (size_t i = 0; i + 6 <= plan.streamSize; ++i) {
        const uint8_t *p = plan.stream + i;
        const uint32_t type = p[5] >> 3 & 7;
        if (p[0] == 0 && p[1] == 0 && p[2] == 1 && p[3] == 0 && (type < 1 || type > 3)) return true;
    }
    return false;
}

// The bytes of the actions tell which reads stall.
Walk walkStalling(const Plan &plan, const WalkSettings &settings, bool stalls) {
    VideoSource *source = nullptr;
    const uint32_t flags = tvkSourceAnyContent | (plan.copied() ? uint32_t{tvkSourceFillsBuffer} : 0);
    if (tvkOpenMemorySourceEx(&source, plan.stream, plan.streamSize, flags) != 0) return {};
    constexpr uint8_t kEveryThird[] = {0x49, 0x92, 0x24};
    const uint8_t *pattern = plan.actionCount ? plan.actions : kEveryThird;
    StallingSource front(source, stalls ? pattern : nullptr, plan.actionCount ? plan.actionCount : sizeof kEveryThird,
                         plan.settings[2] & 1);
    Walk result = walk(kLinkedDecoder, &front.table, settings);
    tvkCloseSource(source);
    return result;
}

}  // namespace
}  // namespace tvkfuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    Plan plan;
    if (!planOf(&plan, data, size)) return 0;
    WalkSettings settings = walkSettingsOf(plan);
    if (holdsOtherTypes(plan)) settings.workMode = 0;
    settings.jump = 0;  // a jump takes a source without data behind its seek for a place without data
    demandEqual(walkStalling(plan, settings, false), walkStalling(plan, settings, true));
    return 0;
}
