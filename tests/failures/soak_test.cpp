// SPDX-License-Identifier: BSD-2-Clause
// Random operations over eight streams for a long time: nothing is kept of streams that are gone. TVK_SOAK_OPERATIONS
// sets how many.
#include <array>
#include <cstdlib>

#include <gtest/gtest.h>

#include "faults.h"
#include "stream_writer/profiles.h"
#include "stream_writer/random.h"
#include "tvk.h"
#include "tvk_source.h"

namespace tvktest {
namespace {

constexpr uint32_t kStreams = 8;
constexpr uint32_t kRounds = 8;

struct Player {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;

    void open(const std::vector<uint8_t> &bytes) {
        const uint32_t flags = tvkSourceAnyContent | tvkSourceOwnsBuffer;
        ASSERT_EQ(tvkOpenMemorySourceEx(&source, bytes.data(), bytes.size(), flags), 0);
        ASSERT_EQ(tvkCreateVideoStream(&stream, source), 0);
    }
    void close() {
        EXPECT_EQ(tvkDestroyVideoStream(stream), 0);
        tvkCloseSource(source);
    }
};

struct Soak {
    Random random;
    std::vector<std::vector<uint8_t>> clips;
    std::array<Player, kStreams> players;
    uint64_t frames = 0;

    explicit Soak(uint64_t seed) : random(seed) {
        for (const Profile &profile : allProfiles()) {
            RandomStreamOptions options = profile.options;
            if (options.sequence.height > 100 || options.sequence.width > 200) continue;
            options.frames = 8;
            clips.push_back(makeRandomStream(options).bytes);
        }
    }

    const std::vector<uint8_t> &anyClip() { return clips[random.below(static_cast<uint32_t>(clips.size()))]; }
    int32_t upTo(uint32_t n) { return static_cast<int32_t>(random.below(n + 1)); }

    void step(VideoStream *stream) {
        using Get = int32_t (*)(VideoStream *, VideoFrame **);
        constexpr Get kGets[] = {tvkGetNextVideoFrame, tvkGetNextVideoFrame, tvkGetNextVideoFrameEdit,
                                 tvkGetNextVideoFrameStreamOrder, tvkGetPrevVideoFrame};
        VideoFrame *frame = nullptr, *copy = nullptr;
        if (kGets[random.below(5)](stream, &frame) != 0) return void(tvkSetRateVideoPosition(stream, 0.0));
        ++frames;
        if (random.below(8) == 0 && tvkDuplicateVideoFrame(frame, &copy) == 0) tvkDestroyVideoFrame(copy);
    }

    void jump(VideoStream *stream) {
        switch (random.below(4)) {
            case 0:
                tvkSetVideoFrameNumberEdit(stream, upTo(9));
                break;
            case 1:
                tvkSetVideoFrameNumber(stream, upTo(9));
                break;
            case 2:
                tvkSetTimeVideoPosition(stream, random.below(10) / 30.0);
                break;
            default:
                tvkSetRateVideoPosition(stream, random.below(10) / 9.0);
        }
    }

    void set(VideoStream *stream) {
        switch (random.below(6)) {
            case 0:
                tvkSetVideoSP_ReduceCoefficient(stream, 1 << random.below(4));
                break;
            case 1:
                tvkSetVideoSP_Threads(stream, 1 + upTo(2));
                break;
            case 2:
                tvkSetVideoSP_Precision(stream, 1 + upTo(1));
                break;
            case 3:
                tvkSetVideoFrameBufferSize(stream, upTo(2), upTo(2));
                break;
            case 4:
                tvkCreateVideoIndexTable(stream);
                break;
            default:
                tvkSetVideoWorkMode(stream, upTo(1));
        }
    }

    void act(Player &player) {
        const uint32_t what = random.below(100);
        if (what < 2) {
            player.close();
            player.open(anyClip());
        } else if (what < 12) {
            set(player.stream);
        } else if (what < 20) {
            jump(player.stream);
        } else {
            step(player.stream);
        }
    }
};

TEST(Soak, keepsNothingOfStreamsThatAreGone) {
    const char *text = std::getenv("TVK_SOAK_OPERATIONS");
    const uint64_t operations = text ? std::strtoull(text, nullptr, 10) : 30000;
    Soak soak(1);
    int64_t kept = 0, most = 0, mostAtFirst = 0;
    for (uint32_t round = 0; round < kRounds; ++round) {
        for (Player &player : soak.players) player.open(soak.anyClip());
        for (uint64_t n = 0; n < operations / kRounds; ++n) {
            soak.act(soak.players[soak.random.below(kStreams)]);
            most = std::max(most, blocksHeld());
        }
        for (Player &player : soak.players) player.close();
        // What the process keeps for all streams to come, the first ones have made.
        if (round == 0) {
            kept = blocksHeld();
            mostAtFirst = most;
        }
        EXPECT_EQ(blocksHeld(), kept) << "round " << round;
    }
    EXPECT_LT(most, 2 * mostAtFirst);
    EXPECT_GT(soak.frames, operations / 3);
}

}  // namespace
}  // namespace tvktest
