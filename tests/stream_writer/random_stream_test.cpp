// SPDX-License-Identifier: BSD-2-Clause
// The random streams: the same each time, whole in what they reach, and decoded as they were written.
#include "stream_writer/random_stream.h"

#include <atomic>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "stream_writer/damage.h"
#include "stream_writer/profiles.h"
#include "tvk.h"
#include "tvk_source.h"

namespace tvktest {
namespace {

struct Decoded {
    std::vector<int32_t> numbers, streamNumbers, types;
    std::vector<std::vector<uint8_t>> planes;
    int32_t lastResult = 0;
    bool operator==(const Decoded &) const = default;
};

struct EventCounts {
    std::atomic<uint32_t> slices, macroblocks, badCodes, intra;
};
EventCounts events;

int32_t countEvent(CallbackEvent *event) {
    if (event->eventCode == 10) ++events.slices;
    if (event->eventCode == 11) {
        ++events.macroblocks;
        events.intra += event->macroblock->macroblockIntra;
    }
    if (event->eventCode == 0x80000001) ++events.badCodes;
    return 0;
}

void keep(Decoded &decoded, const VideoFrame &frame) {
    decoded.numbers.push_back(frame.frameNumber);
    decoded.streamNumbers.push_back(frame.streamNumber);
    decoded.types.push_back(frame.pictureCodingType);
    for (const VideoPlane *plane : {&frame.lumaPlane, &frame.chromaPlane})
        decoded.planes.emplace_back(plane->data, plane->data + plane->size);
}

Decoded decode(const std::vector<uint8_t> &bytes, int32_t precision, int32_t reduce, int32_t threads, bool callback) {
    Decoded decoded;
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    const uint32_t flags = tvkSourceAnyContent | tvkSourceOwnsBuffer;
    decoded.lastResult = tvkOpenMemorySourceEx(&source, bytes.data(), bytes.size(), flags);
    if (decoded.lastResult != 0) return decoded;
    decoded.lastResult = tvkCreateVideoStream(&stream, source);
    if (decoded.lastResult == 0) {
        EXPECT_EQ(tvkSetVideoSP_Precision(stream, precision), 0);
        EXPECT_EQ(tvkSetVideoSP_ReduceCoefficient(stream, reduce), 0);
        EXPECT_EQ(tvkSetVideoSP_Threads(stream, threads), 0);
        EXPECT_EQ(callback ? tvkSetVideoUserCallback(stream, countEvent, 0) : 0, 0);
        VideoFrame *frame = nullptr;
        while ((decoded.lastResult = tvkGetNextVideoFrame(stream, &frame)) == 0) keep(decoded, *frame);
        tvkDestroyVideoStream(stream);
    }
    tvkCloseSource(source);
    return decoded;
}

void resetEvents() {
    events.slices = events.macroblocks = events.badCodes = events.intra = 0;
}

class RandomStreams : public testing::TestWithParam<Profile> {};

TEST_P(RandomStreams, sameSeedGivesTheSameBytes) {
    RandomStreamOptions options = GetParam().options;
    const RandomStream first = makeRandomStream(options);
    EXPECT_EQ(first.bytes, makeRandomStream(options).bytes);
    EXPECT_EQ(first.facts, makeRandomStream(options).facts);
    ++options.seed;
    EXPECT_NE(first.bytes, makeRandomStream(options).bytes);
}

// No code is found bad, and every slice and macroblock that was written is met again.
TEST_P(RandomStreams, decoderMeetsWhatWasWritten) {
    const RandomStream written = makeRandomStream(GetParam().options);
    resetEvents();
    const Decoded decoded = decode(written.bytes, 1, 1, 1, true);
    EXPECT_EQ(decoded.lastResult, tvkErrEndOfStream);
    EXPECT_EQ(events.badCodes, 0u);
    EXPECT_EQ(events.slices, written.facts.slices);
    EXPECT_EQ(events.macroblocks, written.facts.macroblocks);
    EXPECT_EQ(events.intra, written.facts.intra);
}

TEST_P(RandomStreams, framesComeInTheOrderThatWasWritten) {
    const RandomStream written = makeRandomStream(GetParam().options);
    const Decoded decoded = decode(written.bytes, 1, 1, 1, false);
    ASSERT_EQ(decoded.numbers.size(), GetParam().options.frames);
    for (size_t i = 0; i < decoded.numbers.size(); ++i) {
        EXPECT_EQ(decoded.numbers[i], static_cast<int32_t>(i + 1));
        const PictureFact *picture = nullptr;  // the last of the frame's pictures
        for (const PictureFact &p : written.pictures)
            if (p.frameNumber == i + 1) picture = &p;
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(decoded.streamNumbers[i], static_cast<int32_t>(picture->streamNumber)) << "frame " << i + 1;
    }
}

TEST_P(RandomStreams, anyNumberOfThreadsGivesTheSameFrames) {
    const RandomStream written = makeRandomStream(GetParam().options);
    for (const auto &[precision, reduce] : {std::pair{1, 1}, {2, 1}, {2, 2}, {2, 4}, {2, 8}}) {
        const Decoded one = decode(written.bytes, precision, reduce, 1, false);
        for (const int32_t threads : {2, 3, 8})
            EXPECT_TRUE(one == decode(written.bytes, precision, reduce, threads, false))
                << "precision " << precision << " reduce " << reduce << " threads " << threads;
    }
}

// What a damaged stream shows is free; that the same bytes show the same on any number of threads is not, since every
// slice keeps to its own rows unless the damage moves it. So this asks for an orderly end alone.
TEST_P(RandomStreams, damageEndsInOrder) {
    const RandomStream written = makeRandomStream(GetParam().options);
    for (uint64_t seed = 1; seed <= 6; ++seed) {
        std::vector<uint8_t> broken = written.bytes;
        if (seed % 3 == 0) dropPieces(broken, 40, 6, 30, seed);
        if (seed % 3 == 1) flipBits(broken, 40, 40, seed);
        if (seed % 3 == 2) scribble(broken, 40, 8, 60, seed);
        for (const auto &[precision, reduce] : {std::pair{1, 1}, {2, 1}, {2, 2}, {2, 4}, {2, 8}}) {
            const Decoded decoded = decode(broken, precision, reduce, 2, false);
            EXPECT_LT(decoded.lastResult, 0);
            EXPECT_LE(decoded.numbers.size(), written.bytes.size());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Profiles, RandomStreams, testing::ValuesIn(allProfiles()),
                         [](const auto &info) { return info.param.name; });

StreamFacts factsOf(const RandomStreamOptions &options) {
    StreamFacts sum{};
    for (uint64_t seed = 1; seed <= 4; ++seed) {
        RandomStreamOptions o = options;
        o.seed = seed;
        const StreamFacts facts = makeRandomStream(o).facts;
        for (uint32_t b = 0; b < 2; ++b)
            for (uint32_t type = 0; type < 4; ++type) {
                sum.frameMotion[b][type] += facts.frameMotion[b][type];
                sum.fieldMotion[b][type] += facts.fieldMotion[b][type];
            }
        sum.skipped += facts.skipped;
        sum.escapedIncrements += facts.escapedIncrements;
        sum.concealed += facts.concealed;
        sum.noMotion += facts.noMotion;
        sum.fieldDct += facts.fieldDct;
        sum.escapes += facts.escapes;
        sum.stuffing += facts.stuffing;
    }
    return sum;
}

TEST(RandomStreamFacts, everythingReachesEveryMotionType) {
    for (const uint32_t chroma : {1u, 2u, 3u}) {
        const StreamFacts facts = factsOf(everythingOptions(chroma));
        for (uint32_t b = 0; b < 2; ++b)
            for (uint32_t type = 1; type <= (b ? 2u : 3u); ++type) {
                EXPECT_GT(facts.frameMotion[b][type], 0u) << "picture " << b << " type " << type;
                EXPECT_GT(facts.fieldMotion[b][type], 0u) << "picture " << b << " type " << type;
            }
        EXPECT_GT(facts.skipped, 0u);
        EXPECT_GT(facts.concealed, 0u);
        EXPECT_GT(facts.noMotion, 0u);
        EXPECT_GT(facts.fieldDct, 0u);
        EXPECT_GT(facts.escapes, 0u);
    }
}

TEST(RandomStreamFacts, mpeg1ReachesStuffingAndEscapes) {
    const StreamFacts facts = factsOf(mpeg1Options());
    EXPECT_GT(facts.stuffing, 0u);
    EXPECT_GT(facts.escapes, 0u);
    EXPECT_GT(facts.noMotion, 0u);
}

TEST(RandomStreamFacts, widePicturesReachEscapedIncrements) {
    for (const Profile &p : allProfiles()) EXPECT_TRUE(p.name != "wide" || factsOf(p.options).escapedIncrements > 0);
}

}  // namespace
}  // namespace tvktest
