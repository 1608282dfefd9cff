// SPDX-License-Identifier: BSD-2-Clause
// Clips with bytes flipped, dropped, doubled, cut off and mixed, at all sizes. TVK_DAMAGE_VARIANTS sets how many.
#include "stream_writer/damage.h"

#include <algorithm>
#include <map>

#include <gtest/gtest.h>

#include "clips.h"
#include "fuzz/application.h"
#include "tvk_source.h"

namespace tvktest {
namespace {

using tvkfuzz::Action;
using tvkfuzz::Application;
using tvkfuzz::countCodes;
using tvkfuzz::Loop;

constexpr size_t kPieceBytes = 24000;  // of a clip: some pictures, little time
constexpr size_t kEndsInARow = 4;

const Bytes &pieceOf(uint64_t clip) {
    static std::map<uint64_t, Bytes> pieces;
    Bytes &piece = pieces[clip % std::size(kClips)];
    if (piece.empty()) {
        piece = readClip(kClips[clip % std::size(kClips)]);
        piece.resize(std::min(piece.size(), kPieceBytes));
    }
    return piece;
}

// Copies pieces of up to `longest` bytes once more behind themselves.
void doublePieces(Bytes &bytes, uint32_t count, uint32_t longest, uint64_t seed) {
    Random random(seed);
    for (uint32_t i = 0; i < count; ++i) {
        const size_t at = random.below(static_cast<uint32_t>(bytes.size()));
        const size_t end = std::min(bytes.size(), at + 1 + random.below(longest));
        const Bytes piece(bytes.begin() + static_cast<ptrdiff_t>(at), bytes.begin() + static_cast<ptrdiff_t>(end));
        bytes.insert(bytes.begin() + static_cast<ptrdiff_t>(end), piece.begin(), piece.end());
    }
}

// The head of one clip and the tail of another, cut anywhere: sizes and formats change behind a torn picture.
Bytes splice(const Bytes &a, const Bytes &b, uint64_t seed) {
    Random random(seed);
    Bytes bytes(a.begin(), a.begin() + random.range(1, static_cast<int32_t>(a.size())));
    bytes.insert(bytes.end(), b.begin() + random.below(static_cast<uint32_t>(b.size())), b.end());
    bytes.insert(bytes.end(), a.begin(), a.begin() + static_cast<ptrdiff_t>(a.size() / 4));
    return bytes;
}

Bytes damagedPiece(uint64_t variant) {
    Random random(variant);
    Bytes bytes = pieceOf(variant);
    switch (variant / std::size(kClips) % 6) {
        case 0:
            flipBits(bytes, 0, 1 + random.below(60), variant);
            break;
        case 1:
            dropPieces(bytes, 0, 1 + random.below(8), 300, variant);
            break;
        case 2:
            doublePieces(bytes, 1 + random.below(8), 2000, variant);
            break;
        case 3:
            bytes.resize(1 + random.below(static_cast<uint32_t>(bytes.size())));
            break;
        case 4:
            scribble(bytes, 0, 1 + random.below(8), 60, variant);
            break;
        default:
            bytes = splice(bytes, pieceOf(variant + 1 + random.below(8)), variant);
    }
    return bytes;
}

// Plays to the end. Each call takes a start code or drains a frame, each frame stands for a picture start code.
void expectOrderlyEnd(const Bytes &bytes, int32_t precision, uint8_t reduceShift, uint8_t threads, Loop loop) {
    Application application;
    ASSERT_TRUE(
        application.open(bytes.data(), bytes.size(), uint32_t{tvkSourceAnyContent} | uint32_t{tvkSourceOwnsBuffer}));
    application.act(Action::precision, static_cast<uint8_t>(precision - 1));
    application.act(Action::reduce, reduceShift);
    application.act(Action::threads, threads);
    const size_t limit = countCodes(bytes.data(), bytes.size(), -1) + 32;
    size_t calls = 0, frames = 0;
    for (size_t ends = 0; ends < kEndsInARow; ++calls) {
        ASSERT_LE(calls, limit);
        const bool delivered = application.step(loop) != nullptr;
        frames += delivered;
        ends = delivered ? 0 : ends + 1;
    }
    EXPECT_EQ(application.result, tvkErrEndOfStream);
    EXPECT_LE(frames, countCodes(bytes.data(), bytes.size(), 0));
}

TEST(Damage, endsInOrderAtAllSizesWhateverTheBytes) {
    const uint64_t variants = countFrom("TVK_DAMAGE_VARIANTS", 300);
    const tvkfuzz::MemoryLimit limit(16u << 20, SIZE_MAX);
    for (uint64_t variant = 0; variant < variants; ++variant) {
        SCOPED_TRACE(variant);
        const Bytes bytes = damagedPiece(variant);
        const uint8_t setting = static_cast<uint8_t>(variant / 3 % 5);  // precision 1, then sizes 1, 2, 4 and 8
        const uint8_t threads = static_cast<uint8_t>(1 + variant % 3);
        const Loop loop = static_cast<Loop>(variant / 7 % 3);
        expectOrderlyEnd(bytes, setting == 0 ? 1 : 2, setting == 0 ? 0 : static_cast<uint8_t>(setting - 1), threads,
                         loop);
        if (HasFatalFailure()) return;
    }
}

// A slice that breaks costs its own rows, not the frames around it.
TEST(Damage, deliversAllFramesWhenSlicesAloneAreBroken) {
    for (const char *name : {"progressive.m2v", "mpeg1.m1v", "interlaced_tff.m2v"}) {
        SCOPED_TRACE(name);
        Bytes bytes = readClip(name);
        const size_t pictures = countCodes(bytes.data(), bytes.size(), 0);
        Random random(1);
        for (size_t i = 0; i + 12 < bytes.size(); ++i) {
            const bool slice =
                bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1 && bytes[i + 3] >= 1 && bytes[i + 3] <= 0xAF;
            if (slice && random.coin()) bytes[i + 7] = static_cast<uint8_t>((bytes[i + 7] ^ 0x55) | 0x80);
        }
        ASSERT_EQ(countCodes(bytes.data(), bytes.size(), 0), pictures);
        Application application;
        ASSERT_TRUE(application.open(bytes.data(), bytes.size(), tvkSourceAnyContent));
        size_t frames = 0;
        while (application.step(Loop::main)) ++frames;
        EXPECT_EQ(application.result, tvkErrEndOfStream);
        EXPECT_EQ(frames, pictures);
    }
}

}  // namespace
}  // namespace tvktest
