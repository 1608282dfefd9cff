// SPDX-License-Identifier: BSD-2-Clause
// Every way to a frame of a clip gives the bytes and the number that decoding from the start gives.
//
// With TVK_FULL_PROOF=1 each frame of each clip, otherwise some of each clip.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>

#include <unistd.h>

#include "clip_walk.h"
#include "core/stream.h"
#include "input/video_input.h"

namespace tvktest {
namespace {

bool isFullProof() {
    const char *value = std::getenv("TVK_FULL_PROOF");
    return value != nullptr && *value != '\0' && *value != '0';
}

// Frames to go to in a clip, spread over it.
size_t framesAClip() {
    return isFullProof() ? SIZE_MAX : 24;
}

// A clip with its walk, the frames that a way to them need not give again, and how many were the same or not.
struct Proof {
    const Clip &clip;
    const ClipWalk &walk;
    std::set<int32_t> free;
    size_t same = 0, different = 0;

    void expectFrame(int32_t number, const VideoFrame *frame, int32_t result) {
        ASSERT_NE(frame, nullptr) << "frame " << number << " gives " << result;
        const FrameLine line = lineOf(*frame), &walked = walk.frames.at(number);
        EXPECT_EQ(line.number, number);
        EXPECT_EQ(line.type, walked.type) << number;
        EXPECT_EQ(line.lumaSize, walked.lumaSize) << number;
        const bool equal = line.lumaMd5 == walked.lumaMd5 && line.chromaMd5 == walked.chromaMd5;
        const bool mayDiffer = walk.loose.count(number) != 0 || free.count(number) != 0;
        EXPECT_TRUE(equal || mayDiffer) << "frame " << number << " has other samples";
        ++(equal ? same : different);
    }

    // All or some frames of the first `count`, rising.
    std::vector<int32_t> numbers(int32_t count) const {
        std::vector<int32_t> all, some;
        for (const auto &[number, line] : walk.frames)
            if (number <= count) all.push_back(number);
        const size_t step = framesAClip() == SIZE_MAX ? 1 : all.size() / framesAClip() + 1;
        for (size_t i = 0; i < all.size(); i += step) some.push_back(all[i]);
        if (!all.empty() && some.back() != all.back()) some.push_back(all.back());
        return some;
    }
};

std::vector<int32_t> shuffled(const std::vector<int32_t> &numbers) {
    std::vector<int32_t> order;
    // A step of 7 over a length that it does not divide meets all, to and fro over groups.
    const size_t length = numbers.size() % 7 == 0 ? numbers.size() + 1 : numbers.size();
    for (size_t i = 0; i < length; ++i)
        if (i * 7 % length < numbers.size()) order.push_back(numbers[i * 7 % length]);
    return order;
}

// In order, in reverse and shuffled. A jump decodes anchors and of B pictures the target at most, two fields perhaps.
void expectJumps(Proof &proof, ClipStream &clip, const std::vector<int32_t> &numbers,
                 int32_t (*jump)(VideoStream *, int32_t)) {
    std::vector<int32_t> order = numbers;
    order.insert(order.end(), numbers.rbegin(), numbers.rend());
    for (const int32_t number : shuffled(numbers)) order.push_back(number);
    DecodedPictures decoded;
    for (const int32_t number : order) {
        countDecodedPictures(clip.stream, decoded);
        const bool first = clip.stream->counters.sequenceHeadersSeen == 0;  // then frame 1 is decoded for its headers
        decoded = {};
        const int32_t result = jump(clip.stream, number);
        if (!first) {
            EXPECT_LE(decoded.b, proof.walk.frames.at(number).type == 'B' ? 2 : 0) << number;
        }
        proof.expectFrame(number, result == 0 ? clip.step(tvkGetVideoFrame) : nullptr, result);
    }
}

// Walks are made once for all tests.
const std::vector<std::pair<Clip, ClipWalk>> &walkedClips() {
    static const std::vector<std::pair<Clip, ClipWalk>> walked = [] {
        std::vector<Clip> clips = readClips(SIZE_MAX);
        for (Clip &clip : makeClips()) clips.push_back(std::move(clip));
        std::vector<std::pair<Clip, ClipWalk>> all;
        for (Clip &clip : clips) {
            ClipWalk walk = walkClip(clip);
            all.emplace_back(std::move(clip), std::move(walk));
        }
        return all;
    }();
    return walked;
}

void forEachClip(const std::function<void(Proof &)> &check) {
    size_t clips = 0, same = 0, different = 0;
    for (const auto &[clip, walk] : walkedClips()) {
        if (walk.frames.empty()) continue;
        SCOPED_TRACE(clip.name);
        Proof proof{clip, walk, {}};
        check(proof);
        ++clips;
        same += proof.same;
        different += proof.different;
    }
    std::printf("%zu clips, %zu frames the same, %zu that may differ and do\n", clips, same, different);
    EXPECT_GT(same, 10 * different);
}

// Few frames are loose: the rule would otherwise hide what it should not.
TEST(ClipAccess, walksLeaveLittleOpen) {
    size_t frames = 0, loose = 0;
    for (const auto &[clip, walk] : walkedClips()) {
        frames += walk.frames.size();
        loose += walk.loose.size();
        if (walk.loose.empty()) continue;
        std::printf("%s: %zu of %zu frames show what nothing wrote:", clip.name.c_str(), walk.loose.size(),
                    walk.frames.size());
        for (const int32_t number : walk.loose) std::printf(" %d%c", number, walk.frames.at(number).type);
        std::printf("\n");
    }
    EXPECT_LT(10 * loose, frames);
}

TEST(ClipAccess, jumpsByFrameNumber) {
    forEachClip([](Proof &proof) {
        ClipStream indexed(proof.clip);
        ASSERT_EQ(tvkCreateVideoIndexTable(indexed.stream), 0);
        proof.free = framesOfLostMatrices(proof.clip, indexed.stream, 1, false);
        expectJumps(proof, indexed, proof.numbers(indexed.indexedFrames()), tvkSetVideoFrameNumber);
    });
}

TEST(ClipAccess, jumpsByAnIndexMadeWhileDecoding) {
    forEachClip([](Proof &proof) {
        ClipStream indexed(proof.clip);
        ASSERT_EQ(tvkSetVideoSP_Prescan(indexed.stream, 1), 0);
        while (indexed.step()) {
        }
        if (tvkIsVideoStreamIndexed(indexed.stream) != 0) return;
        proof.free = framesOfLostMatrices(proof.clip, indexed.stream, 0, false);
        expectJumps(proof, indexed, proof.numbers(indexed.indexedFrames()), tvkSetVideoFrameNumber);
    });
}

TEST(ClipAccess, jumpsByTheEditIndex) {
    forEachClip([](Proof &proof) {
        ClipStream indexed(proof.clip);
        ASSERT_EQ(tvkCreateVideoIndexTableEdit(indexed.stream, 1'000'000), 0);
        proof.free = framesOfLostMatrices(proof.clip, indexed.stream, 1, true);
        std::vector<int32_t> numbers = proof.numbers(indexed.indexedFrames());
        // The last anchor of a stream without an end code has no display position.
        if (!numbers.empty() && tvkSetVideoFrameNumberEdit(indexed.stream, numbers.back()) == tvkErrNotIndexed)
            numbers.pop_back();
        expectJumps(proof, indexed, numbers, tvkSetVideoFrameNumberEdit);
    });
}

void expectList(Proof &proof, ClipStream &listed, std::vector<int32_t> numbers) {
    if (numbers.empty()) return;
    ASSERT_EQ(tvkSetVideoSP_FrameList(listed.stream, numbers.data(), static_cast<int32_t>(numbers.size())), 0);
    ASSERT_EQ(tvkSetVideoWorkMode(listed.stream, 2), 0);
    for (const int32_t number : numbers) {
        const VideoFrame *frame = listed.step();
        proof.expectFrame(number, frame, listed.result);
    }
    EXPECT_EQ(listed.step(), nullptr);
    EXPECT_EQ(listed.result, tvkErrFrameListEnd);
}

TEST(ClipAccess, servesAFrameList) {
    forEachClip([](Proof &proof) {
        for (const size_t step : {1u, 3u, 11u}) {
            ClipStream listed(proof.clip);
            ASSERT_EQ(tvkCreateVideoIndexTable(listed.stream), 0);
            proof.free = framesOfLostMatrices(proof.clip, listed.stream, 1, false);
            const std::vector<int32_t> all = proof.numbers(listed.indexedFrames());
            std::vector<int32_t> numbers;
            for (size_t i = 0; i < all.size(); i += step) numbers.push_back(all[i]);
            expectList(proof, listed, numbers);
        }
    });
}

TEST(ClipAccess, servesAFrameListWithoutAnIndex) {
    forEachClip([](Proof &proof) {
        ClipStream listed(proof.clip), indexed(proof.clip);
        ASSERT_EQ(tvkCreateVideoIndexTable(indexed.stream), 0);
        expectList(proof, listed, proof.numbers(indexed.indexedFrames()));
    });
}

// Forwards over the clip and all the way back. At the first frame the ring has found nothing ahead of it, from where it
// only drains: forwards again it gives what it still holds, and no more.
TEST(ClipAccess, stepsThroughTheRing) {
    constexpr int32_t kAhead = 2, kBehind = 3;
    forEachClip([](Proof &proof) {
        ClipStream ring(proof.clip);
        ASSERT_EQ(tvkCreateVideoIndexTable(ring.stream), 0);
        proof.free = framesOfLostMatrices(proof.clip, ring.stream, 1, false);
        const auto &frames = proof.walk.frames;
        const int32_t last = ring.indexedFrames() - kAhead - 1;
        const int32_t turn = isFullProof() ? last : std::min<int32_t>(last, static_cast<int32_t>(framesAClip()));
        // Without all numbers of a D or cut picture in them, the steps would have to be counted otherwise.
        if (turn < kBehind + 2 || frames.begin()->first != 1) return;
        if (frames.count(turn) == 0 || std::distance(frames.begin(), frames.find(turn)) != turn - 1) return;
        ASSERT_EQ(tvkSetVideoFrameBufferSize(ring.stream, kAhead, kBehind), 0);
        for (int32_t number = 1; number <= turn; ++number) proof.expectFrame(number, ring.step(), 0);
        for (int32_t number = turn - 1; number >= 1; --number)
            proof.expectFrame(number, ring.step(tvkGetPrevVideoFrame), 0);
        EXPECT_EQ(ring.step(tvkGetPrevVideoFrame), nullptr);
        EXPECT_EQ(ring.result, tvkErrNoPreviousFrame);
        for (int32_t number = 2; number <= 1 + kAhead; ++number) proof.expectFrame(number, ring.step(), 0);
        EXPECT_EQ(ring.step(), nullptr);
        EXPECT_EQ(ring.result, tvkErrEndOfStream);
    });
}

TEST(ClipAccess, stepsBackWithoutARing) {
    forEachClip([](Proof &proof) {
        ClipStream back(proof.clip);
        ASSERT_EQ(tvkCreateVideoIndexTable(back.stream), 0);
        proof.free = framesOfLostMatrices(proof.clip, back.stream, 1, false);
        const std::vector<int32_t> numbers = proof.numbers(back.indexedFrames());
        for (const int32_t number : numbers) {
            if (number < 2 || proof.walk.frames.count(number - 1) == 0) continue;
            ASSERT_EQ(tvkSetVideoFrameNumber(back.stream, number), 0);
            proof.expectFrame(number - 1, back.step(tvkGetPrevVideoFrame), back.result);
            proof.expectFrame(number, back.step(), back.result);
        }
    });
}

TEST(ClipAccess, jumpsByAnIndexFile) {
    const std::string path =
        std::filesystem::temp_directory_path() / ("tvk_access_" + std::to_string(getpid()) + ".vidx");
    forEachClip([&path](Proof &proof) {
        ClipStream writer(proof.clip), reader(proof.clip);
        ASSERT_EQ(tvkCreateVideoIndexTable(writer.stream), 0);
        const int32_t written = tvkWriteVideoIndexTable(writer.stream, path.c_str());
        if (written == tvkErrNotIndexed && writer.indexedFrames() == 0) return;
        ASSERT_EQ(written, 0);
        ASSERT_EQ(tvkReadVideoIndexTable(reader.stream, path.c_str()), 0);
        EXPECT_EQ(reader.indexedFrames(), writer.indexedFrames());
        proof.free = framesOfLostMatrices(proof.clip, reader.stream, 1, false);
        expectJumps(proof, reader, proof.numbers(reader.indexedFrames()), tvkSetVideoFrameNumber);
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
    std::vector<Clip> clips = readClips(SIZE_MAX);
    for (Clip &clip : makeClips()) clips.push_back(std::move(clip));
    for (Clip &clip : clips) {
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
