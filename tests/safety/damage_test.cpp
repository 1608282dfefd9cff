// SPDX-License-Identifier: BSD-2-Clause
// Damaged clips at all sizes: the end comes in order, after work within bounds. TVK_DAMAGE_VARIANTS sets how many.
#include "damaged_clip.h"

#include <set>

#include <gtest/gtest.h>

#include "core/stream.h"
#include "fuzz/stalling_source.h"
#include "stream_writer/random.h"
#include "tvk_source.h"

namespace tvktest {
namespace {

using tvkfuzz::Action;
using tvkfuzz::Application;
using tvkfuzz::countCodes;
using tvkfuzz::Loop;

constexpr size_t kEndsInARow = 4;

struct Played {
    size_t calls = 0, frames = 0;
};

Played playToTheEnd(Application &application, Loop loop, size_t mostCalls) {
    Played played;
    for (size_t ends = 0; ends < kEndsInARow && played.calls <= mostCalls; ++played.calls) {
        const bool delivered = application.step(loop) != nullptr;
        played.frames += delivered;
        ends = delivered ? 0 : ends + 1;
    }
    return played;
}

// Whether all sequence headers and extensions tell one size and format, and all pictures are whole frames. Working
// frames of another size take the place of what has not been delivered, and a field that stays alone is not.
bool countsWholeFrames(const Bytes &bytes) {
    std::set<uint32_t> sizes, formats;
    size_t headers = 0, extensions = 0;
    bool fields = false;
    for (size_t i = 0; i + 7 <= bytes.size(); ++i) {
        if (bytes[i] != 0 || bytes[i + 1] != 0 || bytes[i + 2] != 1) continue;
        const uint32_t value = uint32_t{bytes[i + 4]} << 16 | uint32_t{bytes[i + 5]} << 8 | bytes[i + 6];
        if (bytes[i + 3] == 0xB3) {
            sizes.insert(value);
            ++headers;
        }
        if (bytes[i + 3] == 0xB5 && value >> 20 == 8) fields = fields || (value & 3) != 3;
        if (bytes[i + 3] == 0xB5 && value >> 20 == 1) {
            formats.insert(value & 0x7FFF);  // from progressive_sequence to the size's high bits
            ++extensions;
        }
    }
    return !fields && sizes.size() <= 1 && formats.size() <= 1 && (extensions == 0 || extensions == headers);
}

// Work is counted, not timed: calls and units by the start codes, slices likewise, macroblocks by the bits that their
// headers take at least.
void expectWorkWithinBytes(const DamagedClip &clip, const Application &application, const Played &played,
                           const tvkfuzz::StallingSource &source) {
    const size_t codes = countCodes(clip.bytes.data(), clip.bytes.size(), -1);
    const size_t pictures = countCodes(clip.bytes.data(), clip.bytes.size(), 0);
    const tvk::Counters &counters = application.stream->counters;
    EXPECT_LE(played.calls, codes + 32);
    EXPECT_LE(played.frames, pictures);
    EXPECT_LE(source.units, pictures + played.calls + 2);
    EXPECT_LE(counters.slices, codes);
    EXPECT_LE(counters.macroblocks, 4 * clip.bytes.size());
    EXPECT_LE(counters.pictureHeadersSeen, pictures);
}

void expectOrderlyEnd(const DamagedClip &clip) {
    Application application;
    ASSERT_EQ(tvkOpenMemorySourceEx(&application.source, clip.bytes.data(), clip.bytes.size(), clip.sourceFlags), 0);
    tvkfuzz::StallingSource counted(application.source, nullptr, 0, false);
    ASSERT_EQ(tvkCreateVideoStream(&application.stream, &counted.table), 0);
    application.act(Action::precision, static_cast<uint8_t>(clip.precision - 1));
    application.act(Action::reduce, clip.reduceShift);
    application.act(Action::threads, clip.threads);
    const size_t limit = countCodes(clip.bytes.data(), clip.bytes.size(), -1) + 32;
    const Played played = playToTheEnd(application, clip.loop, limit);
    EXPECT_EQ(application.result, tvkErrEndOfStream);
    expectWorkWithinBytes(clip, application, played, counted);
    // Pictures of type D and of the reserved types count too, and are not delivered.
    const tvk::FramePipeline &frames = application.stream->frames;
    EXPECT_LE(played.frames, frames.pictureCounter);
    if (clip.loop == Loop::main && countsWholeFrames(clip.bytes)) {
        EXPECT_EQ(played.frames, frames.countI + frames.countP + frames.countB);
    }
    tvkDestroyVideoStream(application.stream);
    application.stream = nullptr;
}

TEST(Damage, endsInOrderAtAllSizesWhateverTheBytes) {
    const uint64_t variants = countFrom("TVK_DAMAGE_VARIANTS", 3000);
    const tvkfuzz::MemoryLimit limit(16u << 20, SIZE_MAX);
    for (uint64_t variant = 0; variant < variants; ++variant) {
        SCOPED_TRACE(variant);
        expectOrderlyEnd(damagedClip(variant));
        if (HasFailure()) return;
    }
}

// A slice that breaks costs its own rows, not the frames around it.
TEST(Damage, deliversAllFramesWhenSlicesAloneAreBroken) {
    for (const char *name : {"progressive.m2v", "mpeg1.m1v", "interlaced_tff.m2v"}) {
        SCOPED_TRACE(name);
        Bytes bytes = readClip(name);
        const size_t pictures = countCodes(bytes.data(), bytes.size(), 0);
        Random random(1);
        for (size_t i = 0; i + 12 < bytes.size(); ++i) {
            const bool slice =
                bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1 && bytes[i + 3] >= 1 && bytes[i + 3] <= 0xAF;
            if (slice && random.coin()) bytes[i + 7] = static_cast<uint8_t>((bytes[i + 7] ^ 0x55) | 0x80);
        }
        ASSERT_EQ(countCodes(bytes.data(), bytes.size(), 0), pictures);
        Application application;
        ASSERT_TRUE(application.open(bytes.data(), bytes.size(), tvkSourceAnyContent));
        size_t frames = 0;
        while (application.step(Loop::main)) ++frames;
        EXPECT_EQ(application.result, tvkErrEndOfStream);
        EXPECT_EQ(frames, pictures);
    }
}

}  // namespace
}  // namespace tvktest
