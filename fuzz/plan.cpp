// SPDX-License-Identifier: BSD-2-Clause
// Carrying out a plan by the public calls.
#include "fuzz/plan.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace tvkfuzz {
namespace {

constexpr size_t kMostCalls = 200;

// A call takes at least a start code, or drains one of the frames at hand.
void checkEnd(const Plan &plan, size_t calls, size_t frames) {
    const size_t codes = countCodes(plan.stream, plan.streamSize, -1);
    const size_t pictures = countCodes(plan.stream, plan.streamSize, 0);
    if (calls <= codes + 32 && frames <= pictures) return;
    std::fprintf(stderr, "%zu calls, %zu frames of %zu pictures\n", calls, frames, pictures);
    std::abort();
}

}  // namespace

bool planOf(Plan *plan, const uint8_t *data, size_t size) {
    if (size < kSettingBytes) return false;
    std::copy_n(data, kSettingBytes, plan->settings);
    plan->actions = data + kSettingBytes;
    plan->actionCount = std::min<size_t>(plan->settings[3] & 15, size - kSettingBytes);
    plan->stream = plan->actions + plan->actionCount;
    plan->streamSize = size - kSettingBytes - plan->actionCount;
    return true;
}

void applySettings(Application &application, const Plan &plan) {
    const uint8_t *s = plan.settings;
    const auto set = [&](Action action, uint32_t value) { application.act(action, static_cast<uint8_t>(value)); };
    if (plan.precise()) set(Action::precision, 0);
    set(Action::reduce, plan.reduceShift());
    set(Action::threads, plan.threaded() ? 2 : 1);
    if (plan.frameTypes()) set(Action::frameTypes, plan.frameTypes());
    if (plan.watched()) set(Action::userCallback, 0);
    if (plan.workMode() == 2) set(Action::frameList, 7);
    set(Action::workMode, plan.workMode());
    set(Action::conversionType, plan.conversion());
    if (plan.managed()) set(Action::memoryManager, 0);
    if (s[2] & 7) set(Action::ringSizes, s[2] & 7u);
    if (s[2] & 8) set(Action::prescan, s[2] & 16 ? 3 : 1);
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

}  // namespace tvkfuzz
