// SPDX-License-Identifier: BSD-2-Clause
// User data: what the callback sees, and what is kept for the frame.
#include "core/memory.h"
#include "header_fixture.h"

namespace {

using namespace tvk;
using namespace tvktest;

struct UserData : HeaderTest {
    UserData() { headers().userDataLevel = 3; }

    // Parses a block that `lead` bytes of other elements and a start code precede and a start code follows.
    void gather(const std::vector<uint8_t> &block, size_t lead = 0) {
        BitWriter bits;
        bits.append(std::vector<uint8_t>(lead, 0x77)).startCode(0x1B2).append(block).startCode(0x100);
        load(bits);
        SetBytePosition(stream->input->reader, static_cast<uint32_t>(lead + 4));
        gatherUserData(stream.get());
    }
    std::vector<uint8_t> kept() {
        return {headers().userDataBuffer, headers().userDataBuffer + headers().userDataLength};
    }
};

std::vector<uint8_t> bytesOf(size_t n, uint8_t value) {
    return std::vector<uint8_t>(n, value);
}

TEST_F(UserData, callbackSeesTheBytesAtAnyAlignmentAndLength) {
    const std::vector<uint8_t> eight = {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17};
    for (size_t lead = 0; lead < 4; ++lead) {
        for (int32_t length = 0; length <= 8; ++length) {
            const std::vector<uint8_t> block(eight.begin(), eight.begin() + length);
            gather(block, lead);
            EXPECT_EQ(events.back().eventCode, 13u);
            EXPECT_EQ(eventUserData, block) << lead << ' ' << length;
            EXPECT_EQ(PeekBits(stream->input->reader, 24), 1u) << "the prefix is left for the next code";
        }
    }
    EXPECT_EQ(stream->counters.userDataBlocks, 36u);
    EXPECT_EQ(worker->event.userData, nullptr);
}

TEST_F(UserData, unitReadsAsBeforeAfterwards) {
    gather({1, 2, 3, 4, 5, 6}, 3);
    BitReader &r = stream->input->reader;
    SetBytePosition(r, 0);
    for (uint32_t expected : {0x77, 0x77, 0x77, 0, 0, 1, 0xB2, 1, 2, 3, 4, 5, 6, 0, 0, 1, 0})
        EXPECT_EQ(getField(r, 8), expected);
}

TEST_F(UserData, zerosAheadOfThePrefixBelongToTheBlock) {
    gather({9, 0, 0});
    EXPECT_EQ(eventUserData, (std::vector<uint8_t>{9, 0, 0}));
}

TEST_F(UserData, unitWithoutAnotherCodeEndsTheBlock) {
    load(BitWriter().put(24, 0x0A0B0C));
    gatherUserData(stream.get());
    EXPECT_EQ(eventUserData, (std::vector<uint8_t>{10, 11, 12}));
    load(BitWriter().put(24, 0));
    gatherUserData(stream.get());
    EXPECT_EQ(eventUserData, (std::vector<uint8_t>{0, 0, 0}));
}

TEST_F(UserData, pictureLevelBlocksAreKeptWithAStartCodeBetween) {
    gather({1, 2});
    EXPECT_EQ(kept(), (std::vector<uint8_t>{1, 2}));
    gather({3});
    EXPECT_EQ(kept(), (std::vector<uint8_t>{1, 2, 0, 0, 1, 0xB2, 3}));
}

TEST_F(UserData, otherLevelsAreToldButNotKept) {
    for (uint32_t level : {0u, 1u, 2u}) {
        headers().userDataLevel = level;
        gather({1, 2, 3});
        EXPECT_EQ(eventUserData.size(), 3u);
        EXPECT_EQ(headers().userDataLength, 0u);
    }
}

TEST_F(UserData, blockThatWouldReachTheLimitIsDroppedWithItsSeparator) {
    gather(bytesOf(65535, 5));
    EXPECT_EQ(headers().userDataLength, 0u);
    EXPECT_EQ(eventUserData.size(), 65535u);
    gather(bytesOf(100, 6));
    gather(bytesOf(65435, 7));
    EXPECT_EQ(kept(), bytesOf(100, 6));
}

TEST_F(UserData, largestTotalFitsWithItsSeparator) {
    gather(bytesOf(65534, 5));
    EXPECT_EQ(kept(), bytesOf(65534, 5));
    headers().userDataLength = 0;
    gather(bytesOf(1, 5));
    gather(bytesOf(65533, 6));
    EXPECT_EQ(headers().userDataLength, 65538u);
    EXPECT_EQ(kept().back(), 6);
    gather({});
    EXPECT_EQ(headers().userDataLength, 65538u);
}

TEST_F(UserData, nothingIsAllocated) {
    gather(bytesOf(5000, 1));
    const uint64_t before = allocationCount;
    gather(bytesOf(50000, 1));
    EXPECT_EQ(allocationCount, before);
}

}  // namespace
