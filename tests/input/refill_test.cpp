// SPDX-License-Identifier: BSD-2-Clause
// Loading picture units: byte order, growth, stamps, sources that lie, own their buffer or have nothing yet.
#include "input_fixture.h"

namespace {

using namespace tvk;
using namespace tvktest;

using Refill = InputTest;

constexpr int32_t kFirst = 0x100000;

TEST_F(Refill, fiveBytesAreTwoTurnedWords) {
    script = {{.bytes = {1, 2, 3, 4, 5}}};
    EXPECT_EQ(RefillUnit(input), 5);
    EXPECT_EQ(word(0), 0x01020304u);
    EXPECT_EQ(word(1), 0x05000000u);
    EXPECT_EQ(word(2), 0u);
}

TEST_F(Refill, fourBytesAreOneTurnedWord) {
    script = {{.bytes = countingBytes(12)}, {.bytes = {1, 2, 3, 4}}};
    RefillUnit(input);
    EXPECT_EQ(RefillUnit(input), 4);
    EXPECT_EQ(word(0), 0x01020304u);
    EXPECT_EQ(word(1), 0u) << "bytes of an earlier unit never show";
    EXPECT_EQ(word(2), 0u);
}

TEST_F(Refill, readerStandsOnFirstBitAndTableOnFirstEntry) {
    script = {{.bytes = countingBytes(8), .table = {{0x1B3, 0}, {0x100, 4}}}, {.bytes = countingBytes(8)}};
    RefillUnit(input);
    NextStartCode(input);
    EXPECT_EQ(input->unit->currentEntry, 1);
    RefillUnit(input);
    EXPECT_EQ(input->unit->currentEntry, 0);
    EXPECT_EQ(BytePosition(input->reader), 0u);
    EXPECT_EQ(input->reader.bitPosition, 31);
}

TEST_F(Refill, zerosFollowTheLastByte) {
    script = {{.bytes = std::vector<uint8_t>(4096, 0xFF)}, {.bytes = {0xFF}}};
    RefillUnit(input);
    RefillUnit(input);
    for (uint32_t i = 1; i < kUnitPadding / 4; ++i) ASSERT_EQ(word(i), 0u);
}

TEST_F(Refill, rawFormKeepsFileOrder) {
    script = {{.bytes = {1, 2, 3, 4, 5}}};
    EXPECT_EQ(RefillUnitRaw(input), 5);
    EXPECT_EQ(std::memcmp(input->ownedBytes, "\1\2\3\4\5\0\0\0", 8), 0);
}

TEST_F(Refill, unitThatFitsAfterOneDoublingIsTheSumOfBothReads) {
    script = {{.bytes = countingBytes(kFirst), .status = tvkErrBufferTooSmall}, {.bytes = countingBytes(500, 7)}};
    EXPECT_EQ(RefillUnit(input), kFirst + 500);
    EXPECT_EQ(resumeOffsets, (std::vector<int32_t>{0, kFirst}));
    EXPECT_EQ(capacities, (std::vector<int32_t>{kFirst, 2 * kFirst}));
    EXPECT_EQ(input->unit->capacity, 2 * kFirst);
    EXPECT_EQ(input->unit->resumeOffset, 0);
    EXPECT_EQ(word(0), 0x01020304u);
    EXPECT_EQ(word(kFirst / 4), 0x0708090Au);
    RefillUnit(input);
    EXPECT_EQ(capacities.back(), 2 * kFirst) << "capacity once grown is kept";
}

TEST_F(Refill, thirdDoublingEndsTheInputThoughItsReadSucceeds) {
    const ScriptedRead tooSmall = {.bytes = countingBytes(16), .status = tvkErrBufferTooSmall};
    script = {tooSmall, tooSmall, tooSmall, {.bytes = countingBytes(16), .table = {{0x100, 0}}}};
    EXPECT_EQ(RefillUnit(input), kInputEnded);
    EXPECT_EQ(reads, 4u);
    EXPECT_EQ(capacities.back(), 8 * kFirst);
    EXPECT_EQ(input->unit->entryCount, 0) << "a unit that was given up leaves no start codes";
}

TEST_F(Refill, endlessGrowthStopsAtOneBlockSize) {
    script.assign(20, {.bytes = countingBytes(16), .status = tvkErrBufferTooSmall});
    for (int i = 0; i < 5; ++i) EXPECT_EQ(RefillUnit(input), kInputEnded);
    EXPECT_EQ(input->ownedCapacity, 8u * kFirst);
}

TEST_F(Refill, growthWithoutMemoryEndsTheInput) {
    script = {{.bytes = countingBytes(16)}, {.bytes = countingBytes(16), .status = tvkErrBufferTooSmall}};
    RefillUnit(input);
    allocationHook = [](size_t) { return false; };
    EXPECT_EQ(RefillUnit(input), kInputEnded);
    allocationHook = nullptr;
    EXPECT_EQ(input->ownedCapacity, static_cast<uint32_t>(kFirst));
    script.push_back({.bytes = {9, 8, 7, 6}});
    EXPECT_EQ(RefillUnit(input), 4);
    EXPECT_EQ(word(0), 0x09080706u);
}

TEST_F(Refill, noBytesEndTheInputAndLeaveTheReader) {
    script = {{.bytes = countingBytes(16), .table = {{0x1B3, 0}, {0x100, 8}}}};
    NextStartCode(input);
    EXPECT_EQ(RefillUnit(input), kInputEnded);
    EXPECT_EQ(BytePosition(input->reader), 4u);
    EXPECT_EQ(RefillUnitRaw(input), kInputEnded);
    EXPECT_EQ(RefillUnitNoJump(input), kInputEnded);
}

TEST_F(Refill, statusBesideABufferTooSmallIsNotLookedAt) {
    script = {{.bytes = {1, 2, 3, 4}, .status = -7777}};
    EXPECT_EQ(RefillUnit(input), 4);
}

TEST_F(Refill, noDataYetChangesNothing) {
    script = {{.bytes = countingBytes(16), .timeStamp = 2.5, .table = {{0x1B3, 0}, {0x100, 8}}}, {.count = kAllOnes}};
    NextStartCode(input);
    EXPECT_EQ(RefillUnit(input), kInputNeedData);
    EXPECT_EQ(input->byteCount, 16u);
    EXPECT_EQ(input->unit->currentEntry, 1);
    EXPECT_EQ(BytePosition(input->reader), 4u);
    EXPECT_EQ(frames().timeStampQueued, 0u);
    EXPECT_EQ(NextStartCode(input), 0x100);
}

TEST_F(Refill, noDataYetInTheMiddleOfGrowthGoesOnWhereItStood) {
    script = {{.bytes = countingBytes(kFirst), .status = tvkErrBufferTooSmall, .timeStamp = 1.0},
              {.count = kAllOnes},
              {.count = kAllOnes},
              {.bytes = countingBytes(8, 7), .timeStamp = 1.0, .table = {{0x100, kFirst}}}};
    EXPECT_EQ(RefillUnit(input), kInputNeedData);
    EXPECT_EQ(PeekBits(input->reader, 31), 0u) << "half a unit is not read from";
    EXPECT_EQ(RefillUnit(input), kInputNeedData);
    EXPECT_EQ(RefillUnit(input), kFirst + 8);
    EXPECT_EQ(resumeOffsets, (std::vector<int32_t>{0, kFirst, kFirst, kFirst}));
    EXPECT_EQ(word(0), 0x01020304u);
    EXPECT_EQ(word(kFirst / 4), 0x0708090Au);
    EXPECT_EQ(frames().timeStampQueued, 0u) << "the stamp of one unit is taken once";
}

TEST_F(Refill, resetForgetsAReadThatWaits) {
    script = {{.bytes = countingBytes(kFirst), .status = tvkErrBufferTooSmall}, {.count = kAllOnes}, {.bytes = {1}}};
    RefillUnit(input);
    resetVideoInput(input);
    EXPECT_EQ(RefillUnit(input), 1);
    EXPECT_EQ(resumeOffsets.back(), 0);
}

TEST_F(Refill, rawFormWaitsAndSearchDoesNot) {
    script = {{.count = kAllOnes}, {.count = kAllOnes}};
    EXPECT_EQ(RefillUnitRaw(input), kInputNeedData);
    EXPECT_EQ(RefillUnitNoJump(input), kInputEnded);
}

TEST_F(Refill, minusOneIsNoStamp) {
    frames().streamClock = 3.0;
    script = {{.bytes = {1}, .timeStamp = -1.0}};
    RefillUnit(input);
    EXPECT_EQ(frames().streamClock, 3.0);
    EXPECT_EQ(frames().timeStampPending, 0u);
    EXPECT_EQ(frames().timeStampQueued, 0u);
}

TEST_F(Refill, zeroIsAStamp) {
    frames().streamClock = 3.0;
    script = {{.bytes = {1}, .timeStamp = 0.0}};
    RefillUnit(input);
    EXPECT_EQ(frames().streamClock, 0.0);
    EXPECT_EQ(frames().timeStampPending, 1u);
}

TEST_F(Refill, secondStampIsQueuedAndThirdOverwritesIt) {
    script = {{.bytes = {1}, .timeStamp = 1.0}, {.bytes = {1}, .timeStamp = 2.0}, {.bytes = {1}, .timeStamp = 3.0}};
    RefillUnit(input);
    RefillUnit(input);
    EXPECT_EQ(frames().streamClock, 1.0);
    EXPECT_EQ(frames().timeStampQueued, 1u);
    EXPECT_EQ(frames().queuedTimeStamp, 2.0);
    RefillUnit(input);
    EXPECT_EQ(frames().streamClock, 1.0);
    EXPECT_EQ(frames().queuedTimeStamp, 3.0);
}

TEST_F(Refill, rawFormAndSearchReplaceTheClockAndLeaveTheFlags) {
    frames().timeStampPending = 1;
    script = {{.bytes = {1}, .timeStamp = 4.0}, {.bytes = {1}, .timeStamp = 5.0}, {.bytes = {1}}};
    RefillUnitRaw(input);
    EXPECT_EQ(frames().streamClock, 4.0);
    RefillUnitNoJump(input);
    EXPECT_EQ(frames().streamClock, 5.0);
    RefillUnitRaw(input);
    EXPECT_EQ(frames().streamClock, 5.0);
    EXPECT_EQ(frames().timeStampPending, 1u);
    EXPECT_EQ(frames().timeStampQueued, 0u);
}

TEST_F(Refill, stampOfAReadThatEndsIsTaken) {
    script = {{.bytes = {}, .timeStamp = 6.0}};
    EXPECT_EQ(RefillUnit(input), kInputEnded);
    EXPECT_EQ(frames().streamClock, 6.0);
}

TEST_F(Refill, countAboveTheRoomIsClamped) {
    script = {{.bytes = {1, 2, 3, 4}, .count = 0x7FFFFFF0}};
    EXPECT_EQ(RefillUnit(input), kFirst);
    EXPECT_EQ(word(kFirst / 4), 0u);
}

TEST_F(Refill, tableIsBounded) {
    script = {{.bytes = countingBytes(64)}};
    static PictureUnit lies = {};
    lies.entryCount = 5000;
    lies.firstSlice = 4000;
    lies.sliceCount = 1 << 30;
    lies.lastSlice = 1 << 30;
    source.readUnit = [](VideoSource *, uint32_t, PictureUnit *unit, uint32_t *byteCount) {
        unit->entryCount = lies.entryCount;
        unit->firstSlice = lies.firstSlice;
        unit->sliceCount = lies.sliceCount;
        unit->lastSlice = lies.lastSlice;
        for (uint32_t &offset : unit->startOffsets) offset = 0xFFFFFFFC;
        for (uint32_t &code : unit->startCodes) code = 0xFFFFFFFF;
        *byteCount = 7;
        return 0;
    };
    RefillUnit(input);
    EXPECT_EQ(input->unit->entryCount, 4096);
    EXPECT_EQ(input->unit->firstSlice, 4000);
    EXPECT_EQ(input->unit->sliceCount, 96);
    EXPECT_EQ(input->unit->lastSlice, 4095);
    EXPECT_GE(NextStartCode(input), 0);
    EXPECT_LE(BytePosition(input->reader), 7u);
    lies.entryCount = lies.firstSlice = lies.sliceCount = lies.lastSlice = -(1 << 30);
    RefillUnit(input);
    EXPECT_EQ(input->unit->entryCount, 0);
    EXPECT_EQ(input->unit->firstSlice, 0);
    EXPECT_EQ(input->unit->sliceCount, 0);
    EXPECT_EQ(input->unit->lastSlice, -1);
}

TEST_F(Refill, sourceBufferIsNeitherWrittenNorReadBehindItsCount) {
    open(1);
    EXPECT_EQ(input->unit->buffer, nullptr);
    for (size_t n : {1u, 2u, 3u, 4u, 5u, 1000u}) {
        script = {{.bytes = countingBytes(n)}};
        reads = 0;
        EXPECT_EQ(RefillUnit(input), static_cast<int32_t>(n));
        EXPECT_EQ(sourceBytes, countingBytes(n));
        EXPECT_EQ(word(0) >> 24, 1u);
        EXPECT_EQ(word(static_cast<uint32_t>((n + 3) / 4)), 0u);
    }
}

TEST_F(Refill, sourceBufferMayHoldTheLargestUnitAndNoMore) {
    open(1);
    script = {{.bytes = countingBytes(kLargestUnitCapacity)}, {.bytes = countingBytes(kLargestUnitCapacity + 1)}};
    EXPECT_EQ(RefillUnit(input), static_cast<int32_t>(kLargestUnitCapacity));
    EXPECT_EQ(RefillUnit(input), kInputEnded);
}

TEST_F(Refill, sourceBufferThatIsTooSmallEndsTheInput) {
    open(1);
    script = {{.bytes = countingBytes(8), .status = tvkErrBufferTooSmall}};
    EXPECT_EQ(RefillUnit(input), kInputEnded);
    EXPECT_EQ(reads, 1u);
}

TEST_F(Refill, sourceBufferThatIsMissingEndsTheInput) {
    open(1);
    source.readUnit = [](VideoSource *, uint32_t, PictureUnit *unit, uint32_t *byteCount) {
        unit->buffer = nullptr;
        *byteCount = 100;
        return 0;
    };
    EXPECT_EQ(RefillUnit(input), kInputEnded);
}

TEST_F(Refill, everyFailedAllocationOfCreationLeavesNothing) {
    static int allowed;
    for (int n = 0; n < 3; ++n) {
        allowed = n;
        allocationHook = [](size_t) { return allowed-- > 0; };
        EXPECT_EQ(createVideoInput(stream.get(), 0), nullptr);
    }
    allocationHook = nullptr;
}

TEST_F(Refill, stepsAllocateNothing) {
    script.assign(10, {.bytes = countingBytes(1000), .table = {{0x100, 4}}});
    RefillUnit(input);
    const uint64_t before = allocationCount;
    for (int i = 0; i < 8; ++i) NextStartCode(input);
    EXPECT_EQ(allocationCount, before);
}

}  // namespace
