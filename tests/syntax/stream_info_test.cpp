// SPDX-License-Identifier: BSD-2-Clause
// Facts about a stream, with and without an index.
#include "core/calls.h"
#include "header_fixture.h"

namespace {

using namespace tvk;
using namespace tvktest;

struct StreamInfo : HeaderTest {
    VideoStreamInfo info = {};
};

TEST_F(StreamInfo, nullIsRefused) {
    EXPECT_EQ(getStreamInfo(stream.get(), nullptr), tvkErrInvalidArgument);
}

TEST_F(StreamInfo, sizesAreZeroBeforeAnyPicture) {
    load(sequenceBits());
    parseSequenceHeader(stream.get());
    ASSERT_EQ(getStreamInfo(stream.get(), &info), 0);
    EXPECT_EQ(info.streamType, 1u);
    EXPECT_EQ(info.width, 0u);
    EXPECT_EQ(info.height, 0u);
    EXPECT_EQ(info.chromaFormat, 1u);
    EXPECT_EQ(info.framesPerSecond, 30.0f);
    EXPECT_EQ(info.bitRate, 4'000'000u);
}

TEST_F(StreamInfo, withoutAnIndexFramesAreEstimated) {
    load(sequenceBits());
    parseSequenceHeader(stream.get());
    computeFrameDuration(stream.get());
    stream->frames.builtWidth = 720;
    stream->frames.builtHeight = 576;
    stream->index.infoReserved = 9;
    stream->index.entryCount = 3;
    source.totalSize = 5'000'000;
    ASSERT_EQ(getStreamInfo(stream.get(), &info), 0);
    EXPECT_EQ(info.width, 720u);
    EXPECT_EQ(info.height, 576u);
    EXPECT_EQ(info.frameCount, 250u) << "10 seconds";
    EXPECT_EQ(info.framesPerSecond, 25.0f);
    EXPECT_EQ(info.infoReserved, 0u);
    EXPECT_EQ(info.keyFrameCount, 0u);
    EXPECT_EQ(info.keyFrames, nullptr);
}

TEST_F(StreamInfo, indexTellsAllButTheFrameRate) {
    int32_t keyFrames[2] = {1, 13};
    VideoIndexTable &index = stream->index;
    index.indexed = 1;
    index.indexStreamType = 2;
    index.indexWidth = 352;
    index.indexHeight = 288;
    index.indexChromaFormat = 2;
    index.frameCount = 24;
    index.indexBitRate = 1234;
    index.infoReserved = 77;
    index.entryCount = 2;
    index.displayNumbers = keyFrames;
    stream->frames.framesPerSecond = 50.0f;
    ASSERT_EQ(getStreamInfo(stream.get(), &info), 0);
    EXPECT_EQ(info.streamType, 2u);
    EXPECT_EQ(info.width, 352u);
    EXPECT_EQ(info.height, 288u);
    EXPECT_EQ(info.chromaFormat, 2u);
    EXPECT_EQ(info.frameCount, 24u);
    EXPECT_EQ(info.framesPerSecond, 50.0f);
    EXPECT_EQ(info.bitRate, 1234u);
    EXPECT_EQ(info.infoReserved, 77u);
    EXPECT_EQ(info.keyFrameCount, 2u);
    EXPECT_EQ(info.keyFrames, keyFrames);
}

}  // namespace
