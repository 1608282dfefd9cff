// SPDX-License-Identifier: BSD-2-Clause
// Every way to a frame of a clip gives the bytes that decoding from the start gives.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <unistd.h>

#include "clip_stream.h"
#include "core/stream.h"
#include "input/video_input.h"

namespace tvktest {
namespace {

constexpr size_t kLargestClip = 300'000;  // bytes: keeps the run short
constexpr size_t kFramesAClip = 24;       // jumps to, spread over the clip

using Frames = std::map<int32_t, FrameLine>;

struct Exception {
    const char *name, *reason;
};
// Frames that a jump need not give as a walk does.
constexpr Exception kExceptions[] = {
    {"037_matrices.m2v", "quant matrix extensions outlive their group, and no sequence header repeats them"},
    {"damaged_60bitflips_352x288.m2v", "damaged headers and slices"},
    {"sequence_error_code.m2v", "the rest of a picture is missing, what stood in its frame before shows"},
    {"syn_420_fieldpics_bff_dualprime.m2v", "its first frame has a P field that leans on an anchor before the stream"},
};

bool isException(const std::string &name) {
    return std::any_of(std::begin(kExceptions), std::end(kExceptions),
                       [&name](const Exception &e) { return name == e.name; });
}

Frames walk(const Clip &clip) {
    ClipStream walk(clip);
    Frames frames;
    while (const VideoFrame *frame = walk.stepOverEnds()) frames[frame->frameNumber] = lineOf(*frame);
    // What was never decoded, or leans on what is not there, has no bytes to hold to.
    for (auto &[number, line] : frames) {
        if (line.type != 'B') break;
        line.lumaMd5.clear();
    }
    return frames;
}

void expectFrame(const Frames &frames, int32_t number, const VideoFrame *frame, int32_t result) {
    ASSERT_NE(frame, nullptr) << "frame " << number << " gives " << result;
    const FrameLine line = lineOf(*frame), &walked = frames.at(number);
    EXPECT_EQ(line.number, number);
    EXPECT_EQ(line.type, walked.type) << number;
    if (walked.lumaMd5.empty()) return;
    EXPECT_EQ(line.lumaMd5, walked.lumaMd5) << number;
    EXPECT_EQ(line.chromaMd5, walked.chromaMd5) << number;
}

// Some frames of the first `count`, rising.
std::vector<int32_t> someNumbers(const Frames &frames, int32_t count) {
    std::vector<int32_t> all, some;
    for (const auto &[number, line] : frames)
        if (number <= count) all.push_back(number);
    const size_t step = all.size() / kFramesAClip + 1;
    for (size_t i = 0; i < all.size(); i += step) some.push_back(all[i]);
    if (!all.empty() && some.back() != all.back()) some.push_back(all.back());
    return some;
}

std::vector<int32_t> shuffled(const std::vector<int32_t> &numbers) {
    std::vector<int32_t> order;
    // A step of 7 over a length that it does not divide meets all, to and fro over groups.
    const size_t length = numbers.size() % 7 == 0 ? numbers.size() + 1 : numbers.size();
    for (size_t i = 0; i < length; ++i)
        if (i * 7 % length < numbers.size()) order.push_back(numbers[i * 7 % length]);
    return order;
}

void expectJumps(ClipStream &clip, const Frames &frames, const std::vector<int32_t> &numbers,
                 int32_t (*jump)(VideoStream *, int32_t)) {
    std::vector<int32_t> order(numbers.rbegin(), numbers.rend());
    for (const int32_t number : shuffled(numbers)) order.push_back(number);
    for (const int32_t number : order) {
        const int32_t result = jump(clip.stream, number);
        expectFrame(frames, number, result == 0 ? clip.step(tvkGetVideoFrame) : nullptr, result);
    }
}

void forEachClip(const std::function<void(const Clip &, const Frames &)> &check) {
    for (const Clip &clip : readClips(kLargestClip)) {
        if (isException(clip.name)) continue;
        SCOPED_TRACE(clip.name);
        const Frames frames = walk(clip);
        if (!frames.empty()) check(clip, frames);
    }
}

TEST(ClipAccess, jumpsByFrameNumber) {
    forEachClip([](const Clip &clip, const Frames &frames) {
        ClipStream indexed(clip);
        ASSERT_EQ(tvkCreateVideoIndexTable(indexed.stream), 0);
        expectJumps(indexed, frames, someNumbers(frames, indexed.indexedFrames()), tvkSetVideoFrameNumber);
    });
}

TEST(ClipAccess, jumpsByTheEditIndex) {
    forEachClip([](const Clip &clip, const Frames &frames) {
        ClipStream indexed(clip);
        ASSERT_EQ(tvkCreateVideoIndexTableEdit(indexed.stream, 1'000'000), 0);
        std::vector<int32_t> numbers = someNumbers(frames, indexed.indexedFrames());
        // The last anchor of a stream without an end code has no display position.
        if (!numbers.empty() && tvkSetVideoFrameNumberEdit(indexed.stream, numbers.back()) == tvkErrNotIndexed)
            numbers.pop_back();
        expectJumps(indexed, frames, numbers, tvkSetVideoFrameNumberEdit);
    });
}

TEST(ClipAccess, servesAFrameList) {
    forEachClip([](const Clip &clip, const Frames &frames) {
        ClipStream listed(clip);
        ASSERT_EQ(tvkCreateVideoIndexTable(listed.stream), 0);
        std::vector<int32_t> numbers = someNumbers(frames, listed.indexedFrames());
        if (numbers.empty()) return;
        ASSERT_EQ(tvkSetVideoSP_FrameList(listed.stream, numbers.data(), static_cast<int32_t>(numbers.size())), 0);
        ASSERT_EQ(tvkSetVideoWorkMode(listed.stream, 2), 0);
        for (const int32_t number : numbers) {
            const VideoFrame *frame = listed.step();
            expectFrame(frames, number, frame, listed.result);
        }
        EXPECT_EQ(listed.step(), nullptr);
        EXPECT_EQ(listed.result, tvkErrFrameListEnd);
    });
}

// Forwards again from the first frame is not held here: the ring has met the start by then and only drains.
TEST(ClipAccess, stepsBackThroughTheRing) {
    forEachClip([](const Clip &clip, const Frames &frames) {
        ClipStream ring(clip);
        ASSERT_EQ(tvkCreateVideoIndexTable(ring.stream), 0);
        const int32_t turn = std::min<int32_t>(ring.indexedFrames() - 3, kFramesAClip);
        // Without all numbers of a D or cut picture in them, the steps would have to be counted otherwise.
        if (turn < 2 || std::prev(frames.upper_bound(turn))->first != turn || frames.begin()->first != 1) return;
        ASSERT_EQ(tvkSetVideoFrameBufferSize(ring.stream, 2, 3), 0);
        for (int32_t number = 1; number <= turn; ++number) expectFrame(frames, number, ring.step(), 0);
        for (int32_t number = turn - 1; number >= 1; --number)
            expectFrame(frames, number, ring.step(tvkGetPrevVideoFrame), 0);
    });
}

TEST(ClipAccess, jumpsByAnIndexFile) {
    const std::string path =
        std::filesystem::temp_directory_path() / ("tvk_access_" + std::to_string(getpid()) + ".vidx");
    forEachClip([&path](const Clip &clip, const Frames &frames) {
        ClipStream writer(clip), reader(clip);
        ASSERT_EQ(tvkCreateVideoIndexTable(writer.stream), 0);
        const int32_t written = tvkWriteVideoIndexTable(writer.stream, path.c_str());
        if (written == tvkErrNotIndexed && writer.indexedFrames() == 0) return;
        ASSERT_EQ(written, 0);
        ASSERT_EQ(tvkReadVideoIndexTable(reader.stream, path.c_str()), 0);
        EXPECT_EQ(reader.indexedFrames(), writer.indexedFrames());
        expectJumps(reader, frames, someNumbers(frames, reader.indexedFrames()), tvkSetVideoFrameNumber);
    });
    std::remove(path.c_str());
}

// Ends the clip with a sequence end code, with no stuffing behind it: without one the last picture has no end.
void endWithEndCode(std::vector<uint8_t> &bytes) {
    constexpr uint8_t kEndCode[] = {0, 0, 1, 0xB7};
    size_t length = bytes.size();
    while (length > 0 && bytes[length - 1] == 0) --length;
    const bool ended = length >= 4 && std::equal(kEndCode, kEndCode + 4, bytes.begin() + static_cast<long>(length) - 4);
    if (ended)
        bytes.resize(length);
    else
        bytes.insert(bytes.end(), kEndCode, kEndCode + 4);
}

TEST(ClipAccess, givesTheCodedBytesBack) {
    for (Clip &clip : readClips(10 * kLargestClip)) {
        endWithEndCode(clip.bytes);
        SCOPED_TRACE(clip.name);
        ClipStream binary(clip);
        if (!binary.step()) continue;
        const double start = 0;
        ASSERT_EQ(binary.source->seekRatePosition(binary.source, 0, &start), 0);
        binary.stream->input->unit->entryCount = 0;
        tvk::resetVideoInput(binary.stream->input);
        std::vector<uint8_t> all;
        while (const VideoFrame *frame = binary.stepOverEnds(tvkGetNextVideoFrameBin))
            all.insert(all.end(), frame->lumaPlane.data, frame->lumaPlane.data + frame->lumaPlane.size);
        const std::vector<uint8_t> expected(clip.bytes.begin(), clip.bytes.end() - 4);
        const auto [a, b] = std::mismatch(all.begin(), all.end(), expected.begin(), expected.end());
        EXPECT_TRUE(all == expected) << all.size() << " of " << expected.size() << " bytes, parting at "
                                     << a - all.begin();
    }
}

}  // namespace
}  // namespace tvktest
