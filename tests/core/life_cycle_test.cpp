// SPDX-License-Identifier: BSD-2-Clause
// Creation and destruction, and what the source sees of them.
#include <vector>

#include "input/video_input.h"
#include "stream_fixture.h"

namespace {

using tvktest::FailingAllocation;
using tvktest::FakeSource;
using tvktest::Slot;
using tvktest::StreamTest;

std::vector<std::pair<Slot, uint32_t>> callsOf(const FakeSource &source) {
    std::vector<std::pair<Slot, uint32_t>> calls;
    for (const auto &call : source.log) calls.emplace_back(call.slot, call.number);
    return calls;
}

TEST(Creation, callsTheSourceInOrder) {
    FakeSource source;
    VideoStream *stream = nullptr;
    ASSERT_EQ(0, tvkCreateVideoStream(&stream, source.source()));
    const std::vector<std::pair<Slot, uint32_t>> expected = {{Slot::describe, 0},
                                                             {Slot::openClose, 1},
                                                             {Slot::getParameter, 8},
                                                             {Slot::describe, 256},
                                                             {Slot::setParameter, 9}};
    EXPECT_EQ(expected, callsOf(source));
    // The issued number serves the parameter read and is forgotten then.
    EXPECT_EQ(77u, source.log[2].decoderId);
    EXPECT_EQ(0u, source.log[4].decoderId);
    uint32_t id = 1;
    EXPECT_EQ(0, tvkGetVideoDecoderID(stream, &id));
    EXPECT_EQ(0u, id);
    EXPECT_EQ(480, source.activeLayer);

    source.log.clear();
    EXPECT_EQ(0, tvkDestroyVideoStream(stream));
    const std::vector<std::pair<Slot, uint32_t>> closing = {{Slot::openClose, 2}};
    EXPECT_EQ(closing, callsOf(source));
}

TEST(Creation, refusesNullArguments) {
    FakeSource source;
    VideoStream *stream = nullptr;
    EXPECT_EQ(tvkErrInvalidArgument, tvkCreateVideoStream(nullptr, source.source()));
    EXPECT_EQ(tvkErrInvalidArgument, tvkCreateVideoStream(&stream, nullptr));
    EXPECT_TRUE(source.log.empty());
}

struct DescriptionCase {
    uint32_t layerKind, videoStreamCount;
    int32_t result;
};

TEST(Creation, acceptsOneVideoStreamOfAKnownLayerKind) {
    const DescriptionCase cases[] = {
        {0, 1, 0},
        {1, 1, 0},
        {2, 1, 0},
        {0, 0, tvkErrWrongDecoderKind},
        {1, 0, tvkErrWrongDecoderKind},
        {3, 0, tvkErrWrongDecoderKind},
        {0, 2, tvkErrStreamLayout},
        {1, 2, tvkErrStreamLayout},
        {2, 2, tvkErrStreamLayout},
        {3, 1, tvkErrStreamLayout},
    };
    for (const DescriptionCase &c : cases) {
        FakeSource source;
        source.description.layerKind = c.layerKind;
        source.description.videoStreamCount = c.videoStreamCount;
        VideoStream *stream = reinterpret_cast<VideoStream *>(&source);
        EXPECT_EQ(c.result, tvkCreateVideoStream(&stream, source.source()));
        EXPECT_EQ(c.result == 0, stream != nullptr);
        if (stream) tvkDestroyVideoStream(stream);
    }
}

TEST(Creation, passesOnTheCodesOfTheSource) {
    VideoStream *stream = nullptr;
    FakeSource undescribed;
    undescribed.failDescribeFrom = 0;
    EXPECT_EQ(undescribed.describeError, tvkCreateVideoStream(&stream, undescribed.source()));
    EXPECT_EQ(0u, undescribed.count(Slot::openClose));

    FakeSource closed;
    closed.openResult = -4321;
    EXPECT_EQ(-4321, tvkCreateVideoStream(&stream, closed.source()));

    FakeSource undescribedLater;
    undescribedLater.failDescribeFrom = 1;
    EXPECT_EQ(undescribedLater.describeError, tvkCreateVideoStream(&stream, undescribedLater.source()));
    EXPECT_EQ(0u, undescribedLater.count(Slot::openClose, 2));

    FakeSource layerRefused;
    layerRefused.parameterFailures[9] = -4322;
    EXPECT_EQ(-4322, tvkCreateVideoStream(&stream, layerRefused.source()));
    EXPECT_EQ(0u, layerRefused.count(Slot::openClose, 2));
    EXPECT_EQ(nullptr, stream);
}

TEST(Creation, positiveResultOfTheLayerSettingIsNoFailure) {
    FakeSource source;
    source.parameterFailures[9] = 5;
    VideoStream *stream = nullptr;
    EXPECT_EQ(0, tvkCreateVideoStream(&stream, source.source()));
    EXPECT_EQ(0, tvkDestroyVideoStream(stream));
}

TEST(Creation, choosesTheFirstUsableLayer) {
    struct Case {
        std::vector<VideoLayer> layers;
        int32_t chosen;
    };
    const Case cases[] = {
        {{}, 480},
        {{{481, 0, 0}, {482, 0, 2}}, 480},
        {{{481, 0, 0}, {482, 0, 1}, {483, 0, 1}}, 482},
        {{{490, 0, 1}}, 490},
    };
    for (const Case &c : cases) {
        FakeSource source;
        source.layers = c.layers;
        VideoStream *stream = nullptr;
        ASSERT_EQ(0, tvkCreateVideoStream(&stream, source.source()));
        EXPECT_EQ(c.chosen, source.activeLayer);
        tvkDestroyVideoStream(stream);
    }
}

TEST(Creation, survivesALayerCountBeyondTheArray) {
    FakeSource source;
    source.layers.assign(1000, VideoLayer{481, 0, 0});
    source.layers[999].layerUsable = 1;
    VideoStream *stream = nullptr;
    ASSERT_EQ(0, tvkCreateVideoStream(&stream, source.source()));
    EXPECT_EQ(480, source.activeLayer);
    tvkDestroyVideoStream(stream);
}

TEST(Creation, allocatesTheBufferItselfWhenTheSourceDoesNotSay) {
    FakeSource source;
    source.ownsBuffer = true;
    source.parameterFailures[8] = -1;
    VideoStream *stream = nullptr;
    ASSERT_EQ(0, tvkCreateVideoStream(&stream, source.source()));
    EXPECT_EQ(0, stream->input->ownBuffer);
    EXPECT_NE(nullptr, stream->input->unit->buffer);
    tvkDestroyVideoStream(stream);

    source.parameterFailures.clear();
    ASSERT_EQ(0, tvkCreateVideoStream(&stream, source.source()));
    EXPECT_EQ(1, stream->input->ownBuffer);
    tvkDestroyVideoStream(stream);
}

TEST(Creation, outOfMemoryLeavesNothing) {
    bool reached = true;
    for (int64_t n = 0; reached; ++n) {
        FakeSource source;
        VideoStream *stream = reinterpret_cast<VideoStream *>(&source);
        int32_t result = 0;
        {
            const FailingAllocation failing(n);
            result = tvkCreateVideoStream(&stream, source.source());
            reached = failing.reached();
        }
        EXPECT_EQ(reached ? tvkErrOutOfMemory : 0, result);
        EXPECT_EQ(reached, stream == nullptr);
        if (stream) tvkDestroyVideoStream(stream);
    }
}

using Defaults = StreamTest;

TEST_F(Defaults, standAfterCreation) {
    EXPECT_EQ(0u, stream->settings.workMode);
    EXPECT_EQ(1u, stream->settings.reduceCoefficient);
    EXPECT_EQ(3u, stream->settings.frameTypesToProcess);
    EXPECT_EQ(2u, stream->settings.precision);
    EXPECT_EQ(1u, stream->ring.ringFollowsSeek);
    EXPECT_EQ(0u, stream->settings.iFramesOnly);
    EXPECT_EQ(1u, stream->threadCount);
    EXPECT_EQ(0x32595559u, stream->conversion.conversionType);
    EXPECT_EQ(0u, stream->conversion.conversionIndex);
    EXPECT_EQ(3, stream->settings.speedLevel);
    EXPECT_EQ(0, stream->settings.speedIStep);
    EXPECT_EQ(0xFFFFFFF, stream->settings.speedPLimit);
    EXPECT_EQ(0xFFFFFFF, stream->settings.speedBLimit);
    EXPECT_EQ(-1, stream->settings.lastListFrame);
    EXPECT_EQ(30.0f, stream->frames.framesPerSecond);
    EXPECT_EQ(6u, stream->headers.blocksPerMacroblock);
    EXPECT_EQ(uint32_t{tvk::statusIdle}, tvk::readStatus(stream));
    EXPECT_EQ(1u, stream->connected);
    EXPECT_EQ(1u, stream->decoderKind);
    EXPECT_NE(nullptr, stream->chosen.mainStep);
    EXPECT_NE(nullptr, stream->chosen.streamOrderStep);
    EXPECT_NE(nullptr, stream->chosen.editStep);
    EXPECT_NE(nullptr, stream->chosen.binaryStep);
}

TEST(Destruction, leavesADisconnectedSourceAlone) {
    FakeSource source;
    VideoStream *stream = nullptr;
    ASSERT_EQ(0, tvkCreateVideoStream(&stream, source.source()));
    ASSERT_EQ(0, tvkDisconnectVideoStream(stream));
    source.log.clear();
    EXPECT_EQ(0, tvkDestroyVideoStream(stream));
    EXPECT_TRUE(source.log.empty());
}

TEST(Destruction, goesOnWhenTheSourceDoesNotClose) {
    FakeSource source;
    source.closeResult = -5;
    VideoStream *stream = nullptr;
    ASSERT_EQ(0, tvkCreateVideoStream(&stream, source.source()));
    EXPECT_EQ(0, tvkDestroyVideoStream(stream));
    EXPECT_EQ(1u, source.count(Slot::openClose, 2));
}

struct ManagerCall {
    int32_t command;
    void *pointer;
};
std::vector<ManagerCall> managerCalls;

int32_t recordManager(int32_t command, void *pointer) {
    managerCalls.push_back({command, pointer});
    return 0;
}

TEST(Destruction, tellsTheMemoryManagerWithTheWorkingFrames) {
    FakeSource source;
    VideoStream *stream = nullptr;
    ASSERT_EQ(0, tvkCreateVideoStream(&stream, source.source()));
    ASSERT_EQ(0, tvkSetMemoryManager(stream, recordManager, 4));
    void *frames = stream->frames.workFrame;
    managerCalls.clear();
    ASSERT_EQ(0, tvkDestroyVideoStream(stream));
    ASSERT_EQ(1u, managerCalls.size());
    EXPECT_EQ(1, managerCalls[0].command);
    EXPECT_EQ(frames, managerCalls[0].pointer);
}

}  // namespace
