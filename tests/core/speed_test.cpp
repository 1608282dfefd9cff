// SPDX-License-Identifier: BSD-2-Clause
// The commands of the adjustable-speed mode.
#include <vector>

#include "stream_fixture.h"

namespace {

constexpr int32_t kNone = 0xFFFFFFF;

struct Limits {
    int32_t level, iStep, p, b;
    bool operator==(const Limits &) const = default;
};

struct AdjustableSpeed : tvktest::StreamTest {
    void SetUp() override {
        StreamTest::SetUp();
        ASSERT_EQ(0, tvkSetVideoWorkMode(stream, 1));
    }
    Limits after(int32_t command) {
        EXPECT_EQ(0, tvkSetVideoAdjustableSpeed(stream, command));
        const tvk::Settings &s = stream->settings;
        return {s.speedLevel, s.speedIStep, s.speedPLimit, s.speedBLimit};
    }
};

TEST_F(AdjustableSpeed, needsItsWorkModeAndAKnownCommand) {
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoAdjustableSpeed(stream, 0));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoAdjustableSpeed(stream, 7));
    tvkSetVideoWorkMode(stream, 0);
    EXPECT_EQ(tvkErrWrongWorkMode, tvkSetVideoAdjustableSpeed(stream, 1));
    EXPECT_EQ(tvkErrWrongWorkMode, tvkSetVideoAdjustableSpeed(stream, 7));
}

TEST_F(AdjustableSpeed, commandsOneToFourSetTheirLevel) {
    EXPECT_EQ((Limits{1, 0, 0, 0}), after(1));
    EXPECT_EQ((Limits{2, 0, 5, 0}), after(2));
    EXPECT_EQ((Limits{3, 0, kNone, 2}), after(3));
    EXPECT_EQ((Limits{3, 0, kNone, kNone}), after(4));
}

TEST_F(AdjustableSpeed, fasterWalksFromAllToThinnedIPictures) {
    after(4);
    EXPECT_EQ((Limits{3, 0, kNone, 2}), after(5));
    EXPECT_EQ((Limits{3, 0, kNone, 1}), after(5));
    EXPECT_EQ(2, stream->settings.speedBCount);
    EXPECT_EQ((Limits{2, 0, 5, 0}), after(5));
    EXPECT_EQ(1, stream->settings.speedBCount);
    for (int32_t p = 4; p >= 1; --p) EXPECT_EQ((Limits{2, 0, p, 0}), after(5));
    EXPECT_EQ(2, stream->settings.speedPCount);
    EXPECT_EQ((Limits{1, 0, 0, 0}), after(5));
    EXPECT_EQ((Limits{1, 1, 0, 0}), after(5));
    EXPECT_EQ((Limits{1, 2, 0, 0}), after(5));
}

TEST_F(AdjustableSpeed, slowerWalksBack) {
    after(1);
    after(5);
    after(5);
    EXPECT_EQ((Limits{1, 1, 0, 0}), after(6));
    EXPECT_EQ((Limits{2, 0, 1, 0}), after(6));
    for (int32_t p = 2; p <= 4; ++p) EXPECT_EQ((Limits{2, 0, p, 0}), after(6));
    EXPECT_EQ((Limits{3, 0, kNone, 1}), after(6));
    EXPECT_EQ((Limits{3, 0, kNone, kNone}), after(6));
    EXPECT_EQ((Limits{3, 0, kNone, kNone}), after(6));
}

TEST_F(AdjustableSpeed, slowerLeavesTheFirstLevelAtStepZero) {
    after(1);
    EXPECT_EQ((Limits{2, 0, 1, 0}), after(6));
}

TEST_F(AdjustableSpeed, fasterAtLevelTwoWithoutALimitSetsFive) {
    after(2);
    stream->settings.speedPLimit = kNone;
    EXPECT_EQ((Limits{2, 0, 5, 0}), after(5));
}

}  // namespace
