// SPDX-License-Identifier: BSD-2-Clause
// Presentation times: stamps, references, the clock, half frames.
#include "pipeline/player.h"

namespace tvktest {
namespace {

constexpr double kFrame = 0.04;

// Temporal references of I P B B P B B in coded order.
std::vector<uint32_t> displayReferences() {
    return {0, 3, 1, 2, 6, 4, 5};
}

void expectTimes(const std::vector<double> &times, const std::vector<double> &expected) {
    ASSERT_EQ(times.size(), expected.size());
    for (size_t i = 0; i < times.size(); ++i) EXPECT_NEAR(times[i], expected[i], 1e-9) << "frame " << i;
}

TEST(StampTimes, aStampIsTakenAsItIs) {
    TinyStream tiny;
    tiny.references = displayReferences();
    tiny.add("SGIPBBPBBE");
    Player player(tiny);
    player.source.timeStamps[0] = 10.0;
    // B pictures have references below the anchor's, which gives them 0.0 without a stamp of their own.
    expectTimes(player.times(), {10.0, 0.0, 0.0, 10.0 + 3 * kFrame, 0.0, 0.0, 10.0 + 6 * kFrame});
}

TEST(StampTimes, withoutAnyStampTheFirstPictureIsAtZero) {
    TinyStream tiny("SGIPPPGIPE");
    Player player(tiny);
    expectTimes(player.times(), {0.0, kFrame, 2 * kFrame, 3 * kFrame, 0.0, 0.0});
}

TEST(StampTimes, aStampMadeOfZeroIsAStamp) {
    TinyStream tiny("SGIPE");
    Player player(tiny);
    player.source.timeStamps[tiny.pictureCodes[1] + 4] = 0.0;
    player.step();
    EXPECT_EQ(player.stream->frames.stampTemporalReference, 1u);
    expectTimes(player.times(), {0.0});
}

TEST(StampTimes, aStampThatCameEarlyWaitsForTheNextFrame) {
    TinyStream tiny("SGIPPE");
    Player player(tiny);
    // The unit that brings the headers and the unit of the I picture both carry one ahead of the first frame.
    player.source.timeStamps[0] = 5.0;
    player.source.timeStamps[tiny.pictureCodes[0] + 4] = 7.0;
    expectTimes(player.times(), {5.0, 7.0, 7.0 + kFrame});
    EXPECT_EQ(player.stream->frames.timeStampPending, 0u);
}

TEST(StampTimes, theOutputClockFollowsTheFrames) {
    TinyStream tiny("SGIPPE");
    Player player(tiny);
    player.source.timeStamps[0] = 5.0;
    player.step();
    EXPECT_DOUBLE_EQ(player.stream->frames.outputClock, 5.0);
    player.step();
    EXPECT_DOUBLE_EQ(player.stream->frames.outputClock, 5.0 + kFrame);
}

TEST(StampTimes, halfAFrameMakesAStampOfNone) {
    Player player("SXGIRIE");
    const std::vector<double> times = player.times();
    ASSERT_EQ(times.size(), 3u);
    // The clock stood at -1.0, no stamp, when the repeated field was met.
    EXPECT_NEAR(times[1], -1.0 + kFrame / 2, 1e-9);
}

TEST(ClockTimes, halfAFrameIsAddedToTheRunningClock) {
    Player player("SXGIRIE");
    expectTimes(player.times(tvkGetNextVideoFrameStreamOrder), {-kFrame, kFrame / 2, 1.5 * kFrame});
}

TEST(ClockTimes, thePositionInTimeIsTheClock) {
    Player player("SGIPPE");
    double seconds = -5.0;
    EXPECT_EQ(tvkGetTimeVideoPosition(player.stream, &seconds), 0);
    EXPECT_EQ(seconds, 0.0);
    player.step(tvkGetNextVideoFrameStreamOrder);
    EXPECT_EQ(tvkGetTimeVideoPosition(player.stream, &seconds), 0);
    EXPECT_DOUBLE_EQ(seconds, kFrame);
    EXPECT_EQ(tvkGetTimeVideoPosition(player.stream, nullptr), tvkErrInvalidArgument);
}

TEST(EditTimes, aChangedClockIsTakenAndNoneIsCountedOn) {
    TinyStream tiny("SGIPPPE");
    Player player(tiny);
    player.source.timeStamps[0] = 5.0;
    // The clock holds no stamp from the second frame on; delivery counts on from the frame before. The third finds
    // the clock unchanged at none, and the output clock running, which makes it 0.0.
    expectTimes(player.times(tvkGetNextVideoFrameEdit), {5.0, 5.0 + kFrame, 0.0, 0.0});
}

}  // namespace
}  // namespace tvktest
