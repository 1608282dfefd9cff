// SPDX-License-Identifier: BSD-2-Clause
// Any order of calls on whole and damaged streams, allocations that fail, steps that allocate nothing.
#include <atomic>

#include "core/memory.h"
#include "pipeline/player.h"
#include "stream_writer/damage.h"
#include "stream_writer/random.h"

namespace tvktest {
namespace {

constexpr const char *kStream = "SXGIPBBUiippbbGRBBPSXMCIBBPBBPEXSGIPPBUBGiiPDPE";

std::atomic<int> allocationsLeft;

bool failAfterSome(size_t) {
    return allocationsLeft.fetch_sub(1) > 0;
}

TEST(Endurance, steppingAllocatesNothingOnceTheFramesExist) {
    for (Player::Get get : {tvkGetNextVideoFrame, tvkGetNextVideoFrameStreamOrder, tvkGetNextVideoFrameEdit}) {
        Player player("SGIPBBPBBPBBGIBBPBBPE");
        player.step(get);
        const uint64_t before = tvk::allocationCount;
        while (player.step(get)) {
        }
        EXPECT_EQ(tvk::allocationCount, before);
    }
}

TEST(Endurance, framesThatCannotBeMadeEndTheCallAndLeaveTheStreamUsable) {
    for (int allowed = 0; allowed < 12; ++allowed) {
        Player player("SGIPBPIPE");
        allocationsLeft = allowed;
        tvk::allocationHook = failAfterSome;
        player.step();
        const int32_t result = player.result;
        tvk::allocationHook = nullptr;
        EXPECT_TRUE(result == 0 || result == tvkErrOutOfMemory) << result;
        EXPECT_NE(player.step(), nullptr);
    }
}

TEST(Endurance, aSizeChangeWithoutMemoryKeepsTheOldFrames) {
    TinyStream tiny("SGIPP");
    tiny.width = 64;
    tiny.add("SGIPP");
    tiny.width = 16;
    tiny.add("SGIPE");
    for (int allowed = 0; allowed < 14; ++allowed) {
        Player player(tiny);
        ASSERT_NE(player.step(), nullptr);
        allocationsLeft = allowed;
        tvk::allocationHook = failAfterSome;
        int steps = 0;
        do player.step();
        while ((player.result == 0 || player.result == tvkErrOutOfMemory) && ++steps < 30);
        tvk::allocationHook = nullptr;
        EXPECT_EQ(player.result, tvkErrEndOfStream);
    }
}

using Call = void (*)(Player &, Random &);

void stepAny(Player &player, Random &random) {
    const Player::Get gets[] = {tvkGetNextVideoFrame,     tvkGetNextVideoFrameStreamOrder,
                                tvkGetNextVideoFrameEdit, tvkGetNextVideoFrameBin,
                                tvkGetPrevVideoFrame,     tvkGetVideoFrame,
                                tvkGetSequenceHeader};
    for (uint32_t i = random.below(6) + 1; i > 0; --i) {
        VideoFrame *frame = nullptr;
        if (gets[random.below(7)](player.stream, &frame) != 0 || !frame) continue;
        // What is handed out can be read to its last byte.
        if (VideoFrame *copy = nullptr; tvkDuplicateVideoFrame(frame, &copy) == 0) tvkDestroyVideoFrame(copy);
    }
}

void jumpAny(Player &player, Random &random) {
    const int32_t number = static_cast<int32_t>(random.below(40)) - 2;
    switch (random.below(8)) {
        case 0:
            tvkSetVideoFrameNumber(player.stream, number);
            break;
        case 1:
            tvkSetVideoFrameNumberEdit(player.stream, number);
            break;
        case 2:
            tvkSetVideoFrameNumberBin(player.stream, number);
            break;
        case 3:
            tvkSetRateVideoPosition(player.stream, random.below(100) / 99.0);
            break;
        case 4:
            tvkSetRateVideoPositionEdit(player.stream, random.below(3) ? random.below(100) / 99.0 : 0.0);
            break;
        case 5:
            tvkSetTimeVideoPosition(player.stream, random.below(300) / 100.0);
            break;
        case 6: {
            AbsPosition position = {{1, 0, random.below(4000)}};
            tvkSetAbsVideoPosition(player.stream, position);
            break;
        }
        default: {
            int32_t first = number, last = number + 5;
            tvkGetBinaryStartEnd(player.stream, &first, &last);
        }
    }
}

void indexAny(Player &player, Random &random) {
    uint32_t number = 0;
    switch (random.below(7)) {
        case 0:
            tvkCreateVideoIndexTable(player.stream);
            break;
        case 1:
            tvkCreateVideoIndexTableEdit(player.stream, static_cast<int32_t>(random.below(40)) - 1);
            break;
        case 2:
            tvkSetVideoSP_Prescan(player.stream, static_cast<int32_t>(random.below(2)));
            break;
        case 3:
            tvkSetVideoSP_PrescanEdit(player.stream, static_cast<int32_t>(random.below(2)));
            break;
        case 4:
            tvkCountVideoFrames(player.stream, &number);
            break;
        case 5:
            tvkGetLastFrameNumber(player.stream, &number);
            break;
        default:
            tvkSwapBuffer(player.stream);
    }
}

int32_t frameList[] = {1, 3, 4, 9, 14, 15, 30};

void setAny(Player &player, Random &random) {
    const int32_t reduces[] = {1, 2, 4, 8};
    switch (random.below(8)) {
        case 0:
            tvkSetVideoWorkMode(player.stream, static_cast<int32_t>(random.below(3)));
            break;
        case 1:
            tvkSetVideoSP_FrameTypesToProcess(player.stream, static_cast<int32_t>(random.below(3)) + 1);
            break;
        case 2:
            tvkSetVideoSP_ReduceCoefficient(player.stream, reduces[random.below(4)]);
            break;
        case 3:
            tvkSetVideoSP_Flags(player.stream, static_cast<int32_t>(random.below(4)));
            break;
        case 4:
            tvkSetVideoSP_FrameList(player.stream, frameList, static_cast<int32_t>(random.below(7)) + 1);
            break;
        case 5:
            tvkSetVideoAdjustableSpeed(player.stream, static_cast<int32_t>(random.below(6)) + 1);
            break;
        case 6:
            tvkSetVideoSP_Threads(player.stream, static_cast<int32_t>(random.below(3)) + 1);
            break;
        default:
            tvkSetVideoFrameBufferSize(player.stream, static_cast<int32_t>(random.below(4)),
                                       static_cast<int32_t>(random.below(4)));
    }
    VideoFrame *frame = nullptr;
    const int32_t index = static_cast<int32_t>(random.below(9)) - 4;
    if (tvkGetBufferedVideoFrame(player.stream, index, &frame) == 0) {
        EXPECT_NE(frame->frameState, 0);
    }
}

// A stream is never left busy, and an end is told as such: a long series of steps comes to one.
void expectUsable(Player &player) {
    EXPECT_NE(player.stream->status, tvk::statusBusy);
    uint32_t threads = 0;
    EXPECT_EQ(tvkGetVideoSP_Threads(player.stream, &threads), 0);
}

void playAtRandom(const std::vector<uint8_t> &bytes, uint64_t seed, bool runsDry) {
    SCOPED_TRACE(seed);
    Player player(bytes);
    Random random(seed);
    if (runsDry)
        for (int i = 0; i < 400; ++i)
            player.source.readPlan.push_back(random.below(3) == 0 ? ReadPlan::needData : ReadPlan::ordinary);
    constexpr Call kCalls[] = {stepAny, stepAny, stepAny, jumpAny, indexAny, setAny};
    for (int i = 0; i < 40; ++i) {
        kCalls[random.below(6)](player, random);
        expectUsable(player);
    }
}

TEST(Endurance, takesAnyOrderOfCallsOnAWholeStream) {
    const TinyStream tiny(kStream);
    for (uint64_t seed = 1; seed <= 150; ++seed) playAtRandom(tiny.bytes, seed, false);
}

TEST(Endurance, takesAnyOrderOfCallsOnASourceThatRunsDry) {
    const TinyStream tiny(kStream);
    for (uint64_t seed = 1; seed <= 100; ++seed) playAtRandom(tiny.bytes, seed, true);
}

TEST(Endurance, takesAnyOrderOfCallsOnDamagedStreams) {
    const TinyStream tiny(kStream);
    for (uint64_t seed = 1; seed <= 150; ++seed) {
        std::vector<uint8_t> bytes = tiny.bytes;
        flipBits(bytes, 20, 12, seed);
        if (seed % 3 == 0) dropPieces(bytes, 20, 4, 30, seed);
        if (seed % 3 == 1) scribble(bytes, 20, 3, 10, seed);
        playAtRandom(bytes, seed, seed % 2 == 0);
    }
}

}  // namespace
}  // namespace tvktest
