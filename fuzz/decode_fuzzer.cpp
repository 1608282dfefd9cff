// SPDX-License-Identifier: BSD-2-Clause
// Property: whatever the coded bytes are, and whatever an application sets and asks between frames, every call
// returns, a frame that is handed out can be read over the whole of its planes, and writers stay inside the
// application's buffer. A stream that is stepped and nothing else ends, after at most one frame a picture start code.
//
// Input: four bytes of settings, the number of actions being the low half of the fourth; the actions, one behind each
// of the first frames; coded bytes.
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "fuzz/application.h"
#include "tvk_source.h"

namespace tvkfuzz {
namespace {

constexpr size_t kSettingBytes = 4;
constexpr size_t kMostCalls = 200;
// Sizes above this are refused as if the machine had no more: the fuzzer would do nothing but fill frames.
constexpr size_t kLargestAllocation = 6u << 20;
constexpr size_t kMostMemory = 192u << 20;

struct Plan {
    uint8_t settings[kSettingBytes];
    const uint8_t *actions;
    size_t actionCount;
    const uint8_t *stream;
    size_t streamSize;

    uint32_t sourceFlags() const {
        constexpr uint32_t kAny = tvkSourceAnyContent, kExact = tvkSourceOwnsBuffer, kCopied = tvkSourceFillsBuffer;
        return kAny | (settings[0] & 0x40 ? kExact : settings[1] & 0x80 ? kCopied : 0);
    }
    Loop loop() const { return static_cast<Loop>(settings[1] >> 2 & 3); }
    uint8_t workMode() const { return settings[1] & 3; }
};

Plan planOf(const uint8_t *data, size_t size) {
    Plan plan = {};
    std::copy_n(data, kSettingBytes, plan.settings);
    plan.actions = data + kSettingBytes;
    plan.actionCount = std::min<size_t>(plan.settings[3] & 15, size - kSettingBytes);
    plan.stream = plan.actions + plan.actionCount;
    plan.streamSize = size - kSettingBytes - plan.actionCount;
    return plan;
}

void applySettings(Application &application, const Plan &plan) {
    const uint8_t *s = plan.settings;
    const auto set = [&](Action action, uint32_t value) { application.act(action, static_cast<uint8_t>(value)); };
    if (s[0] & 4) set(Action::precision, 0);
    set(Action::reduce, s[0] & 3u);
    set(Action::threads, s[0] & 8 ? 2 : 1);
    if (s[0] & 0x30) set(Action::frameTypes, s[0] >> 4 & 3u);
    if (s[0] & 0x80) set(Action::userCallback, 0);
    if (plan.workMode() == 2) set(Action::frameList, 7);
    set(Action::workMode, plan.workMode());
    set(Action::conversionType, s[1] >> 5 & 3u);
    if (s[1] & 0x10) set(Action::memoryManager, 0);
    if (s[2] & 7) set(Action::ringSizes, s[2] & 7u);
    if (s[2] & 8) set(Action::prescan, s[2] & 16 ? 3 : 1);
}

// A call takes at least a start code, or drains one of the frames at hand.
void checkEnd(const Plan &plan, size_t calls, size_t frames) {
    const size_t codes = countCodes(plan.stream, plan.streamSize, -1);
    const size_t pictures = countCodes(plan.stream, plan.streamSize, 0);
    if (calls <= codes + 32 && frames <= pictures) return;
    std::fprintf(stderr, "%zu calls, %zu frames of %zu pictures\n", calls, frames, pictures);
    std::abort();
}

void play(Application &application, const Plan &plan) {
    constexpr size_t kEndsInARow = 4;  // an end code in the middle ends one call
    size_t calls = 0, frames = 0, ends = 0, acted = 0;
    while (ends < kEndsInARow && calls < kMostCalls) {
        const VideoFrame *frame = application.step(plan.loop());
        ++calls;
        frames += frame != nullptr;
        ends = frame ? 0 : ends + 1;
        if (acted == plan.actionCount) continue;
        const uint8_t action = plan.actions[acted++];
        application.act(static_cast<Action>(action & 31), action >> 5);
        ends = 0;
    }
    if (plan.actionCount == 0 && plan.workMode() != 2 && plan.loop() != Loop::binary) checkEnd(plan, calls, frames);
}

}  // namespace
}  // namespace tvkfuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    if (size < kSettingBytes) return 0;
    const Plan plan = planOf(data, size);
    const MemoryLimit limit(kLargestAllocation, kMostMemory);
    Application application;
    if (!application.open(plan.stream, plan.streamSize, plan.sourceFlags())) return 0;
    applySettings(application, plan);
    play(application, plan);
    return 0;
}
