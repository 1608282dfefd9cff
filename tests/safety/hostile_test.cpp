// SPDX-License-Identifier: BSD-2-Clause
// Streams that keep to the syntax and go to its limits.
#include <atomic>

#include <gtest/gtest.h>

#include "clips.h"
#include "core/memory.h"
#include "core/stream.h"
#include "fuzz/application.h"
#include "mpeg12/writers.h"
#include "pipeline/working_set.h"
#include "stream_writer/headers.h"
#include "stream_writer/profiles.h"
#include "stream_writer/slice_writer.h"
#include "tvk_source.h"

namespace tvktest {
namespace {

using tvkfuzz::Action;
using tvkfuzz::Application;
using tvkfuzz::Loop;

void putGreyPicture(BitWriter &w, const SequenceParameters &s, uint32_t reference) {
    PictureParameters picture;
    picture.temporalReference = reference;
    picture.progressiveFrame = s.progressive;
    putPicture(w, s, picture);
    for (uint32_t row = 0; row < s.macroblockRows(); ++row) {
        SliceWriter slice(w, s, picture);
        slice.begin({.row = row});
        for (uint32_t column = 0; column < s.macroblockColumns(); ++column) slice.macroblock(1, {});
        slice.end();
    }
}

Bytes greyStream(const SequenceParameters &s, uint32_t pictures) {
    BitWriter w;
    putSequence(w, s);
    for (uint32_t i = 0; i < pictures; ++i) putGreyPicture(w, s, i);
    putSequenceEnd(w);
    return w.bytes;
}

// Where the unit of the first picture begins: right behind its start code.
size_t countBytesUpToPicture(const Bytes &bytes) {
    size_t at = 0;
    while (bytes[at] != 0 || bytes[at + 1] != 0 || bytes[at + 2] != 1 || bytes[at + 3] != 0) ++at;
    return at + 4;
}

std::atomic<size_t> largestRequest;

bool refuseAbove64MiB(size_t size) {
    size_t largest = largestRequest;
    while (size > largest && !largestRequest.compare_exchange_weak(largest, size)) {
    }
    return size <= 64u << 20;
}

// One slice, so that the stream is as short as it can be for what it announces.
Bytes announcedSize(uint32_t width, uint32_t height) {
    SequenceParameters s;
    s.width = width;
    s.height = height;
    BitWriter w;
    putSequence(w, s);
    PictureParameters picture;
    for (uint32_t i = 0; i < 3; ++i) {
        picture.temporalReference = i;
        putPicture(w, s, picture);
        SliceWriter slice(w, s, picture);
        slice.begin({.row = 0});
        slice.macroblock(1, {});
        slice.end();
    }
    putSequenceEnd(w);
    return w.bytes;
}

TEST(Hostile, hugeAnnouncedSizeIsOutOfMemoryAndTheStreamStaysUsable) {
    Bytes bytes = announcedSize(16383, 16383);
    const Bytes behind = greyStream({}, 3);
    bytes.insert(bytes.end(), behind.begin(), behind.end());
    Application application;
    ASSERT_TRUE(application.open(bytes.data(), bytes.size(), tvkSourceAnyContent));
    largestRequest = 0;
    tvk::allocationHook = refuseAbove64MiB;
    EXPECT_EQ(application.step(Loop::main), nullptr);
    EXPECT_EQ(application.result, tvkErrOutOfMemory);
    size_t frames = 0, calls = 0;
    while (frames < 3 && ++calls < 20) frames += application.step(Loop::main) != nullptr;
    tvk::allocationHook = nullptr;
    EXPECT_EQ(frames, 3u);
    // The luma plane in whole multiples of 32, and the room that an aligned block has ahead of it.
    EXPECT_LE(largestRequest, size_t{16384} * 16384 + 4096);
}

TEST(Hostile, hugeAnnouncedSizeTakesNoMoreThanItsReducedPlanes) {
    const Bytes bytes = announcedSize(16383, 16383);
    Application application;
    ASSERT_TRUE(application.open(bytes.data(), bytes.size(), tvkSourceAnyContent));
    application.act(Action::reduce, 3);
    largestRequest = 0;
    tvk::allocationHook = refuseAbove64MiB;
    size_t frames = 0;
    while (application.step(Loop::main)) ++frames;
    tvk::allocationHook = nullptr;
    EXPECT_EQ(frames, 3u);
    EXPECT_LE(largestRequest, size_t{2048} * 2048 + 4096);
}

TEST(Hostile, moreStartCodesThanAUnitCanList) {
    SequenceParameters s;
    BitWriter w;
    putSequence(w, s);
    putGreyPicture(w, s, 0);
    for (uint32_t i = 0; i < 5000; ++i) w.startCode(0xB2).byte(i);
    putGreyPicture(w, s, 1);
    for (uint32_t i = 0; i < 6000; ++i) w.startCode(1 + i % 0xAF).byte(0);
    putGreyPicture(w, s, 2);
    putSequenceEnd(w);
    for (const uint32_t flags : {uint32_t{tvkSourceAnyContent}, tvkSourceAnyContent | uint32_t{tvkSourceOwnsBuffer}}) {
        Application application;
        ASSERT_TRUE(application.open(w.bytes.data(), w.bytes.size(), flags));
        application.act(Action::threads, 3);
        size_t frames = 0;
        while (application.step(Loop::main)) ++frames;
        EXPECT_EQ(frames, 3u);
    }
}

TEST(Hostile, everyPictureHasAnotherSize) {
    BitWriter w;
    for (uint32_t i = 0; i < 60; ++i) {
        SequenceParameters s;
        s.width = 16 + i * 37 % 200;
        s.height = 16 + i * 53 % 200;
        s.chromaFormat = 1 + i % 3;
        s.progressive = i % 2 == 0;
        putSequence(w, s);
        putGreyPicture(w, s, 0);
        if (i % 4 == 3) putGreyPicture(w, s, 1);
    }
    putSequenceEnd(w);
    for (uint8_t shift = 0; shift < 4; ++shift) {
        Application application;
        ASSERT_TRUE(application.open(w.bytes.data(), w.bytes.size(), tvkSourceAnyContent));
        application.act(Action::reduce, shift);
        application.act(Action::ringSizes, 5);
        while (application.step(Loop::main)) {
        }
        EXPECT_EQ(application.result, tvkErrEndOfStream);
    }
}

// Nobody can hold a pointer to a frame that was never handed out, so such frames need not be kept.
TEST(Hostile, sizesThatChangeAheadOfAnyFrameTakeNoMemory) {
    BitWriter w;
    for (uint32_t i = 0; i < 200; ++i) {
        SequenceParameters s;
        s.width = s.height = i % 2 ? 640 : 656;
        putSequence(w, s);
        putPicture(w, s, {});
    }
    putSequenceEnd(w);
    Application application;
    ASSERT_TRUE(application.open(w.bytes.data(), w.bytes.size(), tvkSourceAnyContent));
    EXPECT_EQ(application.step(Loop::main), nullptr);
    EXPECT_EQ(application.stream->frames.retired, nullptr);
}

// Frames that were handed out are kept when others replace them, the newest as a rule, of the older ones so many.
TEST(Hostile, sizesThatChangeBehindEveryFrameTakeBoundedMemory) {
    Bytes bytes;
    for (uint32_t i = 0; i < 24; ++i) {
        const Bytes one = announcedSize(i % 2 ? 2048 : 2032, 2048);
        bytes.insert(bytes.end(), one.begin(), one.end());
    }
    Application application;
    ASSERT_TRUE(application.open(bytes.data(), bytes.size(), tvkSourceAnyContent));
    size_t frames = 0, most = 0, sets = 0;
    for (int ends = 0; ends < 3;) {
        const bool delivered = application.step(Loop::main) != nullptr;
        frames += delivered;
        ends = delivered ? 0 : ends + 1;
        size_t bytesKept = 0;
        sets = 0;
        for (const tvk::RetiredFrames *set = application.stream->frames.retired; set; set = set->next, ++sets)
            bytesKept += tvk::retiredBytes(set);
        most = std::max(most, bytesKept);
    }
    EXPECT_EQ(frames, 72u);
    EXPECT_LE(most, tvk::kMostRetiredBytes);
    EXPECT_GT(sets, 8u);
    EXPECT_LT(sets, 23u);
}

// A unit of 4 MiB is taken whole, a longer one in pieces, by every way that its bytes may come.
TEST(Hostile, unitsAroundFourMebibytes) {
    for (const int32_t beyond : {-1, 0, 1, 3 << 20, 5 << 20}) {
        SCOPED_TRACE(beyond);
        SequenceParameters s;
        BitWriter w;
        putSequence(w, s);
        putGreyPicture(w, s, 0);
        const size_t first = countBytesUpToPicture(w.bytes);
        w.bytes.resize(first +
                       static_cast<size_t>((4 << 20) + beyond - 4));  // the next picture's start code is its end
        putGreyPicture(w, s, 1);
        putSequenceEnd(w);
        constexpr uint32_t kAny = tvkSourceAnyContent;
        for (const uint32_t flags : {kAny, kAny | tvkSourceOwnsBuffer, kAny | tvkSourceFillsBuffer}) {
            SCOPED_TRACE(flags);
            Application application;
            ASSERT_TRUE(application.open(w.bytes.data(), w.bytes.size(), flags));
            largestRequest = 0;
            tvk::allocationHook = refuseAbove64MiB;
            size_t frames = 0;
            while (application.step(Loop::main)) ++frames;
            tvk::allocationHook = nullptr;
            EXPECT_EQ(application.result, tvkErrEndOfStream);
            EXPECT_EQ(frames, 2u);
            EXPECT_LE(largestRequest, size_t{8 << 20} + 4096);
        }
    }
}

TEST(Hostile, userDataAtTheLimitAndBeyond) {
    for (const uint32_t length : {65520u, 65530u, 65534u, 65535u, 65536u, 200000u}) {
        SCOPED_TRACE(length);
        SequenceParameters s;
        BitWriter w;
        putSequence(w, s);
        PictureParameters picture;
        for (uint32_t i = 0; i < 2; ++i) {
            putPicture(w, s, picture);
            putUserData(w, Bytes(length, 0x55));
            putUserData(w, Bytes(20, 0x66));
            SliceWriter slice(w, s, picture);
            slice.begin({.row = 0});
            slice.macroblock(1, {});
            slice.end();
        }
        putSequenceEnd(w);
        Application application;
        ASSERT_TRUE(application.open(w.bytes.data(), w.bytes.size(), tvkSourceAnyContent));
        application.act(Action::userCallback, 0);
        size_t frames = 0;
        while (const VideoFrame *frame = application.step(Loop::main)) {
            ++frames;
            EXPECT_LT(frame->userDataSize, 65540);
            EXPECT_GT(frame->userDataSize, 0);
        }
        EXPECT_EQ(frames, 2u);
    }
}

void writeAtEverySizeAndLayout(const Bytes &bytes) {
    for (uint8_t setting = 0; setting < 16; ++setting) {
        Application application;
        ASSERT_TRUE(application.open(bytes.data(), bytes.size(), tvkSourceAnyContent));
        application.act(Action::reduce, setting % 4);
        application.act(Action::conversionType, setting / 4);
        application.act(Action::memoryManager, 0);
        while (application.step(Loop::main)) {
        }
        EXPECT_EQ(application.result, tvkErrEndOfStream);
    }
}

// Macroblock rows of an interlaced picture come in pairs, the rows of the application's buffer do not: where the height
// is an odd multiple of 16, the last macroblocks lie below it. The buffers are of exactly the size that they must have.
TEST(Hostile, writersStayInsideTheApplicationsBuffer) {
    for (const uint32_t chroma : {1u, 2u, 3u}) {
        for (const uint32_t fieldPictures : {0u, 100u}) {
            RandomStreamOptions options = interlacedOptions(chroma, fieldPictures);
            options.sequence.width = 56;
            options.sequence.height = 48;
            const Bytes bytes = makeRandomStream(options).bytes;
            writeAtEverySizeAndLayout(bytes);
        }
    }
}

// MPEG-1 has no fields, and what the last MPEG-2 picture said about its structure stays in the records.
Bytes mpeg1BehindFieldPictures(uint32_t seed) {
    RandomStreamOptions fields = interlacedOptions(1, 100), frames = mpeg1Options();
    fields.seed = seed;
    fields.frames = seed;
    frames.intra = 60;
    for (RandomStreamOptions *options : {&fields, &frames}) options->sequence.width = options->sequence.height = 48;
    fields.sequenceEnd = false;
    Bytes bytes = makeRandomStream(fields).bytes;
    const Bytes behind = makeRandomStream(frames).bytes;
    bytes.insert(bytes.end(), behind.begin(), behind.end());
    return bytes;
}

TEST(Hostile, writersStayInsideThePlanesOfMpeg1BehindFieldPictures) {
    for (const uint32_t seed : {1u, 2u, 3u, 4u}) writeAtEverySizeAndLayout(mpeg1BehindFieldPictures(seed));
}

std::vector<Bytes> planesOfFrames(const Bytes &bytes, uint8_t threads, uint8_t shift, VideoPlane VideoFrame::*plane) {
    std::vector<Bytes> planes;
    Application application;
    EXPECT_TRUE(application.open(bytes.data(), bytes.size(), tvkSourceAnyContent));
    application.act(Action::reduce, shift);
    application.act(Action::threads, threads);
    while (const VideoFrame *frame = application.step(Loop::main))
        planes.emplace_back((frame->*plane).data, (frame->*plane).data + (frame->*plane).size);
    return planes;
}
void expectSameOnThreads(const Bytes &bytes, VideoPlane VideoFrame::*plane) {
    for (uint8_t shift = 0; shift < 4; ++shift) {
        const std::vector<Bytes> expected = planesOfFrames(bytes, 1, shift, plane);
        ASSERT_FALSE(expected.empty());
        for (int repeat = 0; repeat < 15; ++repeat)
            EXPECT_EQ(planesOfFrames(bytes, 3, shift, plane) == expected, true) << "size 1/" << (1 << shift);
    }
}

TEST(Hostile, mpeg1BehindFieldPicturesIsTheSameOnAnyNumberOfThreads) {
    for (const uint32_t seed : {1u, 2u, 3u, 4u})
        expectSameOnThreads(mpeg1BehindFieldPictures(seed), &VideoFrame::lumaPlane);
}

// Behind the sequence header everything up to the first P picture is gone: that picture is its own reference, and its
// slices read what others of them write.
TEST(Hostile, pictureThatIsItsOwnReferenceIsTheSameOnAnyNumberOfThreads) {
    for (const Profile &profile : {Profile{"frames", mpeg2Options(1)}, Profile{"fields", interlacedOptions(2, 100)}}) {
        SCOPED_TRACE(profile.name);
        RandomStreamOptions options = profile.options;
        options.maxB = 0;
        options.intra = 5;
        const RandomStream written = makeRandomStream(options);
        size_t firstP = 0;
        while (written.pictures[firstP].type != kPictureP || written.pictures[firstP].streamNumber == 1) ++firstP;
        BitWriter w;
        putSequence(w, options.sequence);
        w.bytes.insert(w.bytes.end(), written.bytes.begin() + static_cast<ptrdiff_t>(written.pictures[firstP].offset),
                       written.bytes.end());
        expectSameOnThreads(w.bytes, &VideoFrame::lumaPlane);
    }
}

// Takes out the second field of every reference frame that a B field of the same parity stands behind.
Bytes withBFieldsInReferenceFrames(const RandomStream &written) {
    const std::vector<PictureFact> &pictures = written.pictures;
    const auto at = [&](size_t i) { return written.bytes.begin() + static_cast<ptrdiff_t>(pictures[i].offset); };
    Bytes bytes(written.bytes.begin(), at(0));
    for (size_t i = 0; i + 1 < pictures.size(); ++i) {
        const PictureFact &picture = pictures[i], &next = pictures[i + 1];
        const bool second = i > 0 && pictures[i - 1].streamNumber == picture.streamNumber;
        if (second && picture.type != kPictureB && next.type == kPictureB && next.structure == picture.structure)
            continue;
        bytes.insert(bytes.end(), at(i), at(i + 1));
    }
    return bytes;
}

TEST(Hostile, fieldThatCompletesItsOwnReferenceIsTheSameOnAnyNumberOfThreads) {
    for (uint64_t seed = 1; seed <= 6; ++seed) {
        RandomStreamOptions options = interlacedOptions(2, 100);
        options.seed = seed;
        options.frames = 12;
        options.intra = 5;
        const RandomStream written = makeRandomStream(options);
        const Bytes bytes = withBFieldsInReferenceFrames(written);
        ASSERT_LT(bytes.size(), written.bytes.size()) << "no such field";
        expectSameOnThreads(bytes, &VideoFrame::lumaPlane);
    }
}

// Behind a 4:4:4 sequence one without an extension, whose frames are 4:2:0: its macroblocks have 12 blocks still.
TEST(Hostile, blocksWithoutRoomInTheirFramesAreTheSameOnAnyNumberOfThreads) {
    RandomStreamOptions options = mpeg2Options(3);
    options.intra = 40;
    options.frames = 12;
    const RandomStream written = makeRandomStream(options);
    SequenceParameters mpeg1 = options.sequence;
    mpeg1.mpeg2 = false;
    BitWriter header;
    putSequence(header, mpeg1);
    Bytes bytes = written.bytes;
    const size_t at = written.pictures[2].offset;
    bytes.insert(bytes.begin() + static_cast<ptrdiff_t>(at), header.bytes.begin(), header.bytes.end());
    expectSameOnThreads(bytes, &VideoFrame::chromaPlane);
}

// The frame counts as P, the field as I. The buffer is the application's and is filled as the stream is now.
TEST(Hostile, intraFieldThatCompletesAFrameOfAnotherTypeIsWrittenAsItsStreamIs) {
    RandomStreamOptions options = interlacedOptions(3, 100);
    options.frames = 3;
    options.maxB = 0;
    options.secondFieldP = 0;
    options.sequenceEnd = false;
    Bytes bytes = makeRandomStream(options).bytes;
    options.sequence.chromaFormat = 1;
    const RandomStream second = makeRandomStream(options);
    Bytes changed = second.bytes;
    uint8_t &type = changed[second.pictures[0].offset + 5];
    type = static_cast<uint8_t>((type & ~0x38) | 0x10);  // P for I, whose slices then are noise
    bytes.insert(bytes.end(), changed.begin(), changed.end());
    for (uint8_t layout = 0; layout < 4; ++layout) {
        Application application;
        ASSERT_TRUE(application.open(bytes.data(), bytes.size(), tvkSourceAnyContent));
        application.act(Action::conversionType, layout);
        application.act(Action::memoryManager, 0);
        while (application.step(Loop::main)) {
        }
        const tvk::WriterKind field420{static_cast<tvk::TargetLayout>(layout), 1, true, tvk::chroma420, false};
        EXPECT_EQ(application.stream->chosen.macroblockWriter,
                  tvk::macroblockWriterAt(static_cast<uint32_t>(tvk::indexOf(field420))));
    }
}

TEST(Hostile, ringBeyondTheMachineIsNotBuiltAndSteppingGoesOn) {
    const Bytes bytes = greyStream({}, 4);
    for (const auto &[forward, backward] :
         {std::pair{INT32_MAX, INT32_MAX}, {INT32_MAX, 0}, {0, INT32_MAX}, {INT32_MAX / 2, 1}, {1 << 24, 1 << 24}}) {
        SCOPED_TRACE(forward);
        Application application;
        ASSERT_TRUE(application.open(bytes.data(), bytes.size(), tvkSourceAnyContent));
        EXPECT_EQ(tvkSetVideoFrameBufferSize(application.stream, forward, backward), 0);
        size_t frames = 0;
        VideoFrame *frame = nullptr;
        while (application.step(Loop::main)) {
            ++frames;
            EXPECT_EQ(tvkGetBufferedVideoFrame(application.stream, 0, &frame), tvkErrBufferDisabled);
        }
        EXPECT_EQ(frames, 4u);
        EXPECT_EQ(tvkSetVideoFrameBufferSize(application.stream, 1, 1), 0);
        EXPECT_EQ(tvkSetVideoFrameBufferSize(application.stream, -1, 1), tvkErrInvalidArgument);
    }
}

}  // namespace
}  // namespace tvktest
