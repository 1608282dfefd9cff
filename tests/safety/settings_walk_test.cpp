// SPDX-License-Identifier: BSD-2-Clause
// A random walk over everything that an application may set, ask and seek between frames. TVK_WALK_STEPS sets how far.
#include <gtest/gtest.h>

#include "clips.h"
#include "fuzz/application.h"
#include "stream_writer/random.h"
#include "tvk_source.h"

namespace tvktest {
namespace {

using tvkfuzz::Action;
using tvkfuzz::Application;
using tvkfuzz::Loop;

constexpr Action kSettings[] = {Action::reduce,         Action::precision,     Action::threads,      Action::frameTypes,
                                Action::conversionType, Action::memoryManager, Action::userCallback, Action::ringSizes,
                                Action::workMode,       Action::speed,         Action::flags,        Action::frameList,
                                Action::bufferedFrame,  Action::convert,       Action::duplicate};

// Now and then from the start, so that the walk never idles at the end of the clip.
void stepOrRewind(Application &application, Random &random) {
    const Loop loop = random.below(4) ? Loop::main : static_cast<Loop>(random.below(4));
    if (application.step(loop) || random.below(3)) return;
    application.act(Action::rate, 0);
}

void walk(const char *clip, const Action *actions, uint32_t count, uint64_t seed, uint64_t steps) {
    SCOPED_TRACE(clip);
    const Bytes bytes = readClip(clip);
    Application application;
    ASSERT_TRUE(
        application.open(bytes.data(), bytes.size(), uint32_t{tvkSourceAnyContent} | uint32_t{tvkSourceOwnsBuffer}));
    Random random(seed);
    uint64_t frames = 0;
    for (uint64_t i = 0; i < steps; ++i) {
        if (random.coin()) application.act(actions[random.below(count)], static_cast<uint8_t>(random.below(8)));
        stepOrRewind(application, random);
        frames += application.result == 0;
    }
    EXPECT_GT(frames, steps / 8);
}

TEST(SettingsWalk, anySettingBetweenAnyTwoFrames) {
    const uint64_t steps = countFrom("TVK_WALK_STEPS", 3000);
    uint64_t seed = 1;
    for (const char *clip : {"odd_size.m2v", "chroma422.m2v", "mpeg1.m1v", "pulldown.m2v", "interlaced_bff.m2v"})
        walk(clip, kSettings, std::size(kSettings), seed++, steps / 5);
}

TEST(SettingsWalk, seeksAndSearchesAmongSettings) {
    const uint64_t steps = countFrom("TVK_WALK_STEPS", 3000);
    Action all[tvkfuzz::kActions];
    for (uint8_t i = 0; i < tvkfuzz::kActions; ++i) all[i] = static_cast<Action>(i);
    uint64_t seed = 1;
    for (const char *clip : {"odd_size.m2v", "open_gop.m2v", "mpeg1.m1v"})
        walk(clip, all, std::size(all), seed++, steps / 10);
}

}  // namespace
}  // namespace tvktest
