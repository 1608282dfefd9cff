// SPDX-License-Identifier: BSD-2-Clause
// The calls that reach the source.
#include "core/source_calls.h"

#include "input/video_input.h"
#include "stream_fixture.h"

namespace {

using tvktest::FakeSource;
using tvktest::Slot;

using SourceCalls = tvktest::StreamTest;

TEST_F(SourceCalls, connectingTwiceOpensOnce) {
    source.log.clear();
    EXPECT_EQ(0, tvkConnectVideoStream(stream));
    EXPECT_TRUE(source.log.empty());
    EXPECT_EQ(0, tvkDisconnectVideoStream(stream));
    EXPECT_EQ(0, tvkDisconnectVideoStream(stream));
    EXPECT_EQ(1u, source.count(Slot::openClose, 2));
    EXPECT_EQ(0, tvkConnectVideoStream(stream));
    EXPECT_EQ(1u, source.count(Slot::openClose, 1));
}

TEST_F(SourceCalls, reconnectingTakesTheNewNumberForAllButReads) {
    uint32_t id = 0;
    tvkDisconnectVideoStream(stream);
    tvkConnectVideoStream(stream);
    EXPECT_EQ(0, tvkGetVideoDecoderID(stream, &id));
    EXPECT_EQ(77u, id);
    EXPECT_EQ(0u, stream->input->decoderId);
    tvkSetActiveVideoLayer(stream, 481);
    EXPECT_EQ(77u, source.last(Slot::setParameter)->decoderId);
    RefillUnit(stream->input);
    EXPECT_EQ(0u, source.last(Slot::readUnit)->decoderId);
}

TEST_F(SourceCalls, failedConnectionsKeepTheState) {
    source.closeResult = -6;
    EXPECT_EQ(-6, tvkDisconnectVideoStream(stream));
    EXPECT_EQ(1u, stream->connected);
    source.closeResult = 0;
    EXPECT_EQ(0, tvkDisconnectVideoStream(stream));
    source.openResult = -7777;
    EXPECT_EQ(-7777, tvkConnectVideoStream(stream));
    EXPECT_EQ(0u, stream->connected);
}

TEST_F(SourceCalls, testPassesTheDescriptionThrough) {
    StreamDescription description = {};
    source.description.containerKind = 2;
    EXPECT_EQ(0, tvkTestVideoStream(stream, &description));
    EXPECT_EQ(2u, description.containerKind);
    source.failDescribeFrom = 0;
    EXPECT_EQ(source.describeError, tvkTestVideoStream(stream, &description));
}

TEST_F(SourceCalls, layersLieBetween480And495) {
    int32_t layer = 0;
    EXPECT_EQ(tvkErrPositionOutOfRange, tvkSetActiveVideoLayer(stream, 479));
    EXPECT_EQ(tvkErrPositionOutOfRange, tvkSetActiveVideoLayer(stream, 496));
    EXPECT_EQ(0, tvkSetActiveVideoLayer(stream, 495));
    EXPECT_EQ(0, tvkGetActiveVideoLayer(stream, &layer));
    EXPECT_EQ(495, layer);
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetActiveVideoLayer(stream, nullptr));
}

TEST_F(SourceCalls, seeksTellTheBitRateFirstAndForgetTheUnit) {
    stream->headers.sequence.bitRate = 4000000;
    stream->input->unit->entryCount = 5;
    source.parameterFailures[12] = -1;  // nobody looks at it
    source.log.clear();
    EXPECT_EQ(0, tvk::seekRate(stream, 0.25));
    ASSERT_EQ(2u, source.log.size());
    EXPECT_TRUE(source.log[0].is(Slot::setParameter, 12));
    EXPECT_EQ(4000000.0, source.log[0].value);
    EXPECT_TRUE(source.log[1].is(Slot::seekRatePosition));
    EXPECT_EQ(0.25, source.log[1].value);
    EXPECT_EQ(0, stream->input->unit->entryCount);

    source.log.clear();
    EXPECT_EQ(0, tvk::seekTime(stream, 1.5));
    EXPECT_TRUE(source.log[0].is(Slot::setParameter, 12));
    EXPECT_EQ(1.5, source.last(Slot::seekTimePosition)->value);

    source.failures[Slot::seekAbsPosition] = -31;
    EXPECT_EQ(-31, tvk::seekAbs(stream, {{1, 2, 3}}));
    EXPECT_EQ(3u, source.last(Slot::seekAbsPosition)->position.words[2]);
}

TEST_F(SourceCalls, exportedRateCountsWordsAndLoopsCountBytes) {
    source.bytes.assign(64, 0xFF);
    double rate = 0;
    ASSERT_GT(RefillUnit(stream->input), 0);
    SetBytePosition(stream->input->reader, 22);
    EXPECT_EQ(0, tvkGetRateVideoPosition(stream, &rate));
    EXPECT_EQ(5u, source.last(Slot::getRatePosition)->number);
    EXPECT_EQ(0, tvk::ratePositionOfReader(stream, &rate));
    EXPECT_EQ(22u, source.last(Slot::getRatePosition)->number);
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetRateVideoPosition(stream, nullptr));
}

TEST_F(SourceCalls, absolutePositionTakesTheByteOffset) {
    source.bytes.assign(64, 0xFF);
    AbsPosition position = {};
    ASSERT_GT(RefillUnit(stream->input), 0);
    SetBytePosition(stream->input->reader, 22);
    EXPECT_EQ(0, tvkGetAbsVideoPosition(stream, &position));
    EXPECT_EQ(22u, source.last(Slot::getAbsPosition)->number);
    EXPECT_EQ(22u, position.words[2]);
    source.failures[Slot::getAbsPosition] = -77;
    EXPECT_EQ(-77, tvkGetAbsVideoPosition(stream, &position));
}

TEST_F(SourceCalls, rateOfThePictureTakesTheLastStartCode) {
    source.bytes.assign(10, 0xFF);
    source.bytes.insert(source.bytes.end(), {0, 0, 1, 0xB8, 9, 9, 0, 0, 1, 0});
    ASSERT_GT(RefillUnit(stream->input), 0);
    EXPECT_EQ(16.0 / 20.0, tvk::ratePositionOfPicture(stream));
    EXPECT_EQ(16u, source.last(Slot::getRatePosition)->number);
    EXPECT_EQ(-1.0, tvk::ratePositionOfPicture(nullptr));
}

struct EstimateCase {
    uint32_t containerKind;
    uint64_t size;
    uint32_t sequenceRate;
    int32_t multiplexRate;
    uint32_t expected;
};

TEST_F(SourceCalls, framesAreEstimatedFromSizeAndBitRate) {
    const EstimateCase cases[] = {
        {1, 1000000, 4000000, 1, 60},          // 8e6 bits at 4e6 a second, 30 frames a second
        {2, 1000000, 4000000, 8000000, 30},    // a multiplex tells its own rate
        {0, 1000000, 4000000, 8000000, 0},     // no rate for an unknown container
        {1, 1000000, 0, 8000000, 0},           // a bit rate of 0
        {1, 0x200000000, 4000000, 1, 515396},  // above 4 GiB: 8589934592 * 240 / 4e6
        {1, 0xFFFFFFFFFFFFFFFF, 1, 1, 0xFFFFFFFF},
    };
    for (const EstimateCase &c : cases) {
        source.description.containerKind = c.containerKind;
        source.totalSize = c.size;
        source.bitRate = c.multiplexRate;
        stream->headers.sequence.bitRate = c.sequenceRate;
        EXPECT_EQ(c.expected, tvk::estimateFramesOfContainer(stream));
    }
    stream->headers.sequence.bitRate = 4000000;
    source.totalSize = 1000000;
    source.description.containerKind = 0;
    EXPECT_EQ(60u, tvk::estimateFramesOfSequence(stream));
    source.parameterFailures[14] = -1;
    EXPECT_EQ(0u, tvk::estimateFramesOfSequence(stream));
}

}  // namespace
