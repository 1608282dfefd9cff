// SPDX-License-Identifier: BSD-2-Clause
// How far a loaded unit is taken into the library's block: headers at once, slices when they are wanted.
#include <bit>

#include "input_fixture.h"

namespace {

using namespace tvk;
using namespace tvktest;

constexpr uint32_t kHeaders = 40, kSlices = 100'000, kSecondSlice = 5000, kUnitBytes = kHeaders + kSlices + 60;
constexpr uint32_t kGroup = kHeaders + kSlices;

// A picture header, an extension, two long slices, then a group and the next picture's code.
ScriptedRead longUnit(uint8_t first = 1) {
    return {
        .bytes = countingBytes(kUnitBytes, first),
        .table = {
            {0x1B5, 8}, {0x101, kHeaders}, {0x102, kHeaders + kSecondSlice}, {0x1B8, kGroup}, {0x100, kUnitBytes - 4}}};
}

// With a block that the library lends, and with one of the source.
struct Taking : InputTest, testing::WithParamInterface<int32_t> {
    void SetUp() override { open(GetParam()); }

    // The byte as countingBytes made it.
    uint32_t byteAt(uint32_t offset) const { return word(offset / 4) >> (24 - 8 * (offset % 4)) & 0xFF; }
    void expectTaken(uint32_t from, uint32_t to, uint8_t first = 1) {
        for (uint32_t i = from; i < to; ++i) ASSERT_EQ(byteAt(i), (first + i) & 0xFF) << i;
    }
};

TEST_P(Taking, walkOverHeadersLeavesTheSlicesAlone) {
    script = {longUnit()};
    for (int32_t code : {0x1B5, 0x101, 0x102, 0x1B8, 0x100}) EXPECT_EQ(NextStartCode(input), code);
    expectTaken(0, kHeaders + kHeaderReach);
    expectTaken(kGroup, kUnitBytes);
    // On a big-endian machine words lie as they come.
    if (std::endian::native == std::endian::little) {
        EXPECT_NE(byteAt(kHeaders + kSecondSlice), (1 + kHeaders + kSecondSlice) & 0xFF);
    }
}

TEST_P(Taking, whoWantsTheSlicesGetsThemAll) {
    script = {longUnit(), longUnit(9)};
    for (uint8_t first : {uint8_t{1}, uint8_t{9}}) {
        RefillUnit(input);
        takeOverSwapped(input);
        expectTaken(0, kUnitBytes, first);
        EXPECT_EQ(word((kUnitBytes + 3) / 4), 0u) << "zeros follow";
    }
}

TEST_P(Taking, headerAmongTheSlicesIsReadAsItIs) {
    script = {longUnit()};
    script[0].table.insert(script[0].table.begin() + 2, {0x1B5, kHeaders + 3001});
    for (int32_t code : {0x1B5, 0x101, 0x1B5}) EXPECT_EQ(NextStartCode(input), code);
    for (uint32_t i = 0; i < kHeaderReach - 4; ++i)
        ASSERT_EQ(getField(input->reader, 8), (1 + kHeaders + 3005 + i) & 0xFF);
}

TEST_P(Taking, everyUnitSizeEndsInZeros) {
    for (uint32_t size = kUnitBytes; size < kUnitBytes + 9; ++size) {
        script = {longUnit()};
        script[0].bytes = countingBytes(size);
        reads = 0;
        RefillUnit(input);
        EXPECT_EQ(byteAt(size - 1), size & 0xFF);
        for (uint32_t i = size; i < size + 12; ++i) EXPECT_EQ(byteAt(i), 0u) << size;
        takeOverSwapped(input);
        expectTaken(0, size);
        for (uint32_t i = size; i < size + 12; ++i) EXPECT_EQ(byteAt(i), 0u) << size;
    }
}

TEST_P(Taking, codedBytesComeWholeFromAUnitOfWhichHeadersWereTaken) {
    script = {longUnit()};
    std::vector<uint8_t> out(kUnitBytes);
    NextStartCode(input);
    EXPECT_EQ(CopyHeadOfUnit(input, out.data(), kUnitBytes), static_cast<int32_t>(kGroup));
    out.resize(kGroup);
    EXPECT_EQ(out, countingBytes(kGroup));
}

TEST_P(Taking, turnByTheApplicationReachesTheSlices) {
    script = {longUnit()};
    RefillUnit(input);
    swapLoadedUnit(input);
    EXPECT_EQ(std::memcmp(input->ownedBytes, countingBytes(kUnitBytes).data(), kUnitBytes - 4), 0);
    takeOverSwapped(input);
    expectTaken(0, kUnitBytes);
}

// The source's buffer is gone with its next read, the library's block may have moved.
TEST_P(Taking, noReadLeavesAnythingToBeTakenFromABufferThatIsGone) {
    script = {longUnit(), {.count = kAllOnes}, longUnit(), {}, longUnit()};
    for (int i = 0; i < 2; ++i) {
        EXPECT_GT(RefillUnit(input), 0);
        const int32_t without = RefillUnit(input);
        EXPECT_LT(without, 0);
        sourceBytes = {};
        takeOverSwapped(input);
        takeOverRaw(input);
    }
    EXPECT_GT(RefillUnit(input), 0);
    takeOverSwapped(input);
    expectTaken(0, kUnitBytes);
}

TEST_P(Taking, restIsTakenAheadOfTheBuffersEnd) {
    script = {longUnit()};
    RefillUnit(input);
    takeRest(input);
    sourceBytes = {};
    takeOverSwapped(input);
    expectTaken(0, kUnitBytes);
}

INSTANTIATE_TEST_SUITE_P(Buffers, Taking, testing::Values(0, 1),
                         [](const auto &info) { return info.param ? "OfTheSource" : "OfTheLibrary"; });

TEST_F(InputTest, growthMovesWhatIsNotTakenYet) {
    script = {longUnit(), {.bytes = countingBytes(8), .status = tvkErrBufferTooSmall}, {.count = kAllOnes}};
    RefillUnit(input);
    EXPECT_EQ(RefillUnit(input), kInputNeedData);
    takeOverSwapped(input);
    script = {longUnit(), {.bytes = {}, .status = tvkErrBufferTooSmall}, {.bytes = {}}};
    resetVideoInput(input);
    reads = 0;
    RefillUnit(input);
    EXPECT_EQ(RefillUnit(input), kInputEnded);
    takeOverSwapped(input);
    for (uint32_t i = 8; i < kUnitBytes / 4 - 1; ++i)
        ASSERT_EQ(word(i), ((4 * i + 1) & 0xFF) << 24 | ((4 * i + 2) & 0xFF) << 16 | ((4 * i + 3) & 0xFF) << 8 |
                               ((4 * i + 4) & 0xFF));
}

}  // namespace
