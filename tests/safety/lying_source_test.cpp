// SPDX-License-Identifier: BSD-2-Clause
// Sources whose units contradict themselves: counts, offsets, codes and slice ranges that no bytes stand behind.
#include <algorithm>
#include <climits>
#include <cstring>

#include <gtest/gtest.h>

#include "clips.h"
#include "fuzz/application.h"
#include "stream_writer/random.h"
#include "support/fake_source.h"

namespace tvktest {
namespace {

using ReadUnit = int32_t (*)(VideoSource *, uint32_t, PictureUnit *, uint32_t *);
using Lie = void (*)(PictureUnit *, uint32_t *byteCount, Random &);

// An honest source whose units pass through `lie`.
struct LyingSource : FakeSource {
    Lie lie;
    ReadUnit honest;
    Random random;

    LyingSource(Bytes stream, Lie how, uint64_t seed)
        : FakeSource(std::move(stream)), lie(how), honest(table.readUnit), random(seed) {
        table.readUnit = read;
    }

    static int32_t read(VideoSource *source, uint32_t id, PictureUnit *unit, uint32_t *byteCount) {
        auto *self = static_cast<LyingSource *>(reinterpret_cast<FakeSource *>(source));
        const int32_t result = self->honest(source, id, unit, byteCount);
        if (*byteCount != 0) self->lie(unit, byteCount, self->random);
        return result;
    }
};

void aboveCapacity(PictureUnit *, uint32_t *byteCount, Random &random) {
    constexpr uint32_t kCounts[] = {0x100001, 0x400000, 0x400001, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE};
    if (random.below(3) == 0) *byteCount = kCounts[random.below(6)];
}

void fewerBytes(PictureUnit *, uint32_t *byteCount, Random &random) {
    *byteCount = 1 + random.below(*byteCount);
}

void badOffsets(PictureUnit *unit, uint32_t *byteCount, Random &random) {
    const uint32_t offsets[] = {*byteCount, *byteCount - 1, *byteCount + 1, 0x400000,
                                0x7FFFFFFF, 0xFFFFFFFC,     0xFFFFFFFF};
    for (int32_t i = 0; i < unit->entryCount; ++i)
        if (random.below(3) == 0) unit->startOffsets[i] = offsets[random.below(7)];
}

void unsortedOffsets(PictureUnit *unit, uint32_t *, Random &random) {
    for (int32_t i = unit->entryCount - 1; i > 0; --i)
        std::swap(unit->startOffsets[i], unit->startOffsets[random.below(static_cast<uint32_t>(i) + 1)]);
}

void badCodes(PictureUnit *unit, uint32_t *, Random &random) {
    for (int32_t i = 0; i < unit->entryCount; ++i)
        if (random.below(4) == 0) unit->startCodes[i] = static_cast<uint32_t>(random.next());
}

void strayPictures(PictureUnit *unit, uint32_t *, Random &random) {
    if (unit->entryCount > 0) unit->startCodes[random.below(static_cast<uint32_t>(unit->entryCount))] = 0x100;
}

void badCounts(PictureUnit *unit, uint32_t *, Random &random) {
    constexpr int32_t kCounts[] = {-1, 0, 1, 4095, 4096, 4097, INT_MAX, INT_MIN};
    for (int32_t *field :
         {&unit->entryCount, &unit->currentEntry, &unit->firstSlice, &unit->lastSlice, &unit->sliceCount})
        if (random.below(3) == 0) *field = kCounts[random.below(8)];
}

// The walk must not go back to the slices that it has just decoded.
void lastSliceBehind(PictureUnit *unit, uint32_t *, Random &) {
    unit->lastSlice = -1;
}

void slicesElsewhere(PictureUnit *unit, uint32_t *, Random &random) {
    const uint32_t entries = static_cast<uint32_t>(std::max(unit->entryCount, 1));
    unit->firstSlice = static_cast<int32_t>(random.below(entries));
    unit->sliceCount = static_cast<int32_t>(random.below(entries));
    unit->lastSlice = static_cast<int32_t>(random.below(entries));
}

void badStamps(PictureUnit *unit, uint32_t *, Random &random) {
    constexpr uint64_t kBits[] = {0x7FF8000000000000, 0xFFF0000000000000, 0x7FEFFFFFFFFFFFFF, 0xBFF0000000000000};
    const uint64_t bits = kBits[random.below(4)];
    std::memcpy(&unit->timeStamp, &bits, sizeof bits);
}

// With a buffer of its own: nothing behind it, or somebody else's room claimed.
void noBuffer(PictureUnit *unit, uint32_t *, Random &random) {
    if (random.below(2)) unit->buffer = nullptr;
    unit->capacity = random.below(2) ? -1 : INT_MAX;
}

constexpr Lie kLies[] = {fewerBytes, badOffsets,      unsortedOffsets, badCodes,  strayPictures,
                         badCounts,  lastSliceBehind, slicesElsewhere, badStamps, noBuffer};

void stepToTheEnd(LyingSource &source, uint64_t seed) {
    VideoStream *stream = nullptr;
    ASSERT_EQ(tvkCreateVideoStream(&stream, source.source()), 0);
    EXPECT_EQ(tvkSetVideoSP_Threads(stream, 1 + static_cast<int32_t>(seed % 3)), 0);
    EXPECT_EQ(tvkSetVideoSP_ReduceCoefficient(stream, 1 << seed % 4), 0);
    using Get = int32_t (*)(VideoStream *, VideoFrame **);
    constexpr Get kGets[] = {tvkGetNextVideoFrame, tvkGetNextVideoFrameStreamOrder, tvkGetNextVideoFrameEdit,
                             tvkGetNextVideoFrameBin};
    size_t calls = 0;
    for (size_t ends = 0; ends < 6; ++calls) {
        ASSERT_LT(calls, 3000u);
        VideoFrame *frame = nullptr;
        // The binary loop needs frames that a decoding one has made.
        const int32_t result = (calls == 0 ? tvkGetNextVideoFrame : kGets[seed / 4 % 4])(stream, &frame);
        EXPECT_EQ(result == 0, frame != nullptr);
        ends = result == 0 ? 0 : ends + 1;
    }
    EXPECT_EQ(tvkDestroyVideoStream(stream), 0);
}

Bytes shortClip(const char *name) {
    Bytes bytes = readClip(name);
    bytes.resize(std::min<size_t>(bytes.size(), 20000));
    return bytes;
}

TEST(LyingSource, unitsThatContradictThemselvesEndInOrder) {
    const Bytes clips[] = {shortClip("progressive.m2v"), shortClip("mpeg1.m1v"), shortClip("chroma422.m2v")};
    uint64_t seed = 0;
    for (const Lie lie : kLies) {
        SCOPED_TRACE(&lie - kLies);
        for (int repeat = 0; repeat < 16; ++repeat, ++seed) {
            LyingSource source(clips[seed % 3], lie, seed);
            source.ownsBuffer = lie == noBuffer;
            stepToTheEnd(source, seed);
            if (HasFatalFailure()) return;
        }
    }
}

// The library's own block holds what it was given room for, however much the source claims to have written.
TEST(LyingSource, countsAboveTheBlockStayWithinIt) {
    for (uint64_t seed = 0; seed < 12; ++seed) {
        LyingSource source(shortClip("progressive.m2v"), aboveCapacity, seed);
        stepToTheEnd(source, seed);
        if (HasFatalFailure()) return;
    }
}

TEST(LyingSource, searchesThroughLyingUnitsReturn) {
    for (const Lie lie : kLies) {
        SCOPED_TRACE(&lie - kLies);
        for (uint64_t seed = 0; seed < 6; ++seed) {
            LyingSource source(shortClip("progressive.m2v"), lie, seed);
            source.ownsBuffer = lie == noBuffer;
            VideoStream *stream = nullptr;
            ASSERT_EQ(tvkCreateVideoStream(&stream, source.source()), 0);
            uint32_t number = 0;
            VideoFrame *frame = nullptr;
            tvkGetNextVideoFrame(stream, &frame);
            tvkGetSequenceHeader(stream, &frame);
            tvkSwapBuffer(stream);
            tvkCountVideoFrames(stream, &number);
            tvkCreateVideoIndexTable(stream);
            tvkSetVideoFrameNumber(stream, 3);
            tvkCreateVideoIndexTableEdit(stream, 0);
            tvkSetVideoFrameNumberEdit(stream, 3);
            tvkSetVideoFrameNumberBin(stream, 3);
            tvkSetRateVideoPosition(stream, 0.5);
            tvkSetRateVideoPositionEdit(stream, 0.3);
            tvkGetPrevVideoFrame(stream, &frame);
            tvkGetLastFrameNumber(stream, &number);
            EXPECT_EQ(tvkDestroyVideoStream(stream), 0);
        }
    }
}

}  // namespace
}  // namespace tvktest
