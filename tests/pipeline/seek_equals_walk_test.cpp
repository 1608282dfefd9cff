// SPDX-License-Identifier: BSD-2-Clause
// A jump to a frame gives the samples that a walk from the start gives, on random streams.
#include <cstring>

#include "pipeline/player.h"
#include "stream_writer/random_stream.h"

namespace tvktest {
namespace {

using Samples = std::vector<uint8_t>;

Samples visibleSamples(const VideoFrame *frame) {
    Samples all;
    for (const VideoPlane *plane : {&frame->lumaPlane, &frame->chromaPlane})
        for (int32_t row = 0; row < plane->height; ++row) {
            const uint8_t *line = plane->data + static_cast<size_t>(row) * static_cast<size_t>(plane->stride);
            all.insert(all.end(), line, line + plane->width);
        }
    return all;
}

// No quant matrix extensions: an entry keeps one of its own group only, while they stay in force for longer.
RandomStreamOptions optionsOf(uint64_t seed) {
    RandomStreamOptions options;
    options.seed = seed;
    options.frames = 24;
    options.groupFrames = 7;
    options.maxB = 3;
    options.closedGroups = seed % 2 == 0;
    options.sequence.mpeg2 = seed % 3 != 0;
    options.sequence.progressive = false;
    options.secondFieldP = 0;  // it may lean on the anchor before its I frame
    options.fieldPictures = options.sequence.mpeg2 ? 50 : 0;
    options.interlacedFrames = 50;
    options.repeatSequenceHeaders = seed % 4 != 1;
    return options;
}

// By display number from 1.
std::vector<Samples> walk(const std::vector<uint8_t> &bytes) {
    Player player(bytes);
    std::vector<Samples> frames(1);
    while (const VideoFrame *frame = player.step()) {
        EXPECT_EQ(frame->frameNumber, static_cast<int32_t>(frames.size()));
        frames.push_back(visibleSamples(frame));
    }
    return frames;
}

// Frames in an order that goes back and forth over groups.
template <class Jump>
void expectSameSamples(Player &player, const std::vector<Samples> &frames, size_t last, Jump jump) {
    for (size_t i = 1; i <= 2 * last; ++i) {
        const size_t number = i * 11 % last + 1;
        ASSERT_EQ(jump(player.stream, static_cast<int32_t>(number)), 0) << number;
        const VideoFrame *frame = player.current();
        ASSERT_NE(frame, nullptr);
        EXPECT_EQ(frame->frameNumber, static_cast<int32_t>(number));
        EXPECT_TRUE(visibleSamples(frame) == frames[number]) << number;
    }
}

TEST(SeekEqualsWalk, byFrameNumber) {
    for (uint64_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        const RandomStream random = makeRandomStream(optionsOf(seed));
        const std::vector<Samples> frames = walk(random.bytes);
        ASSERT_EQ(frames.size(), 25u);
        Player player(random.bytes);
        ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
        expectSameSamples(player, frames, 24, tvkSetVideoFrameNumber);
    }
}

TEST(SeekEqualsWalk, byFrameNumberThroughTheEditIndex) {
    for (uint64_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        const RandomStream random = makeRandomStream(optionsOf(seed));
        const std::vector<Samples> frames = walk(random.bytes);
        Player player(random.bytes);
        ASSERT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 1000), 0);
        expectSameSamples(player, frames, 24, tvkSetVideoFrameNumberEdit);
    }
}

TEST(SeekEqualsWalk, backwardThroughTheRing) {
    const RandomStream random = makeRandomStream(optionsOf(5));
    const std::vector<Samples> frames = walk(random.bytes);
    Player player(random.bytes);
    ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetVideoFrameBufferSize(player.stream, 2, 3), 0);
    for (int i = 0; i < 18; ++i) ASSERT_NE(player.step(), nullptr);
    for (int32_t number = 17; number >= 1; --number) {
        const VideoFrame *frame = player.step(tvkGetPrevVideoFrame);
        ASSERT_NE(frame, nullptr) << number;
        EXPECT_EQ(frame->frameNumber, number);
        EXPECT_TRUE(visibleSamples(frame) == frames[static_cast<size_t>(number)]) << number;
    }
}

}  // namespace
}  // namespace tvktest
