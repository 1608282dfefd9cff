// SPDX-License-Identifier: BSD-2-Clause
// Walking the start-code table, copying coded bytes, and the two byte orders of a loaded unit.
#include "input_fixture.h"

namespace {

using namespace tvk;
using namespace tvktest;

using StartCodes = InputTest;

// A unit of 30 bytes: 6 of a picture header, an extension, two slices, a group, the next picture code.
ScriptedRead pictureUnit() {
    return {.bytes = countingBytes(30), .table = {{0x1B5, 6}, {0x101, 10}, {0x102, 18}, {0x1B8, 22}, {0x100, 26}}};
}

std::vector<uint8_t> slice(const std::vector<uint8_t> &bytes, size_t from, size_t to) {
    return {bytes.begin() + static_cast<long>(from), bytes.begin() + static_cast<long>(to)};
}

TEST_F(StartCodes, comeInOrderWithTheReaderBehindEach) {
    script = {pictureUnit(), {.bytes = countingBytes(8), .table = {{0x1B7, 3}}}};
    const std::vector<std::pair<int32_t, uint32_t>> expected = {{0x1B5, 10}, {0x101, 14}, {0x102, 22},
                                                                {0x1B8, 26}, {0x100, 30}, {0x1B7, 7}};
    for (const auto &[code, position] : expected) {
        EXPECT_EQ(NextStartCode(input), code);
        EXPECT_EQ(BytePosition(input->reader), position);
    }
    EXPECT_EQ(NextStartCode(input), kInputEnded);
}

TEST_F(StartCodes, unitsWithoutACodeArePassedOver) {
    script = {{.bytes = {1, 2}}, {.bytes = {3}}, pictureUnit()};
    EXPECT_EQ(NextStartCode(input), 0x1B5);
    EXPECT_EQ(reads, 3u);
}

TEST_F(StartCodes, noDataYetIsPassedOnByTheWalk) {
    script = {{.count = kAllOnes}, pictureUnit()};
    EXPECT_EQ(NextStartCode(input), kInputNeedData);
    EXPECT_EQ(NextStartCode(input), 0x1B5);
}

TEST_F(StartCodes, codesNeverLookLikeFailures) {
    script = {{.bytes = {1, 2, 3, 4}, .table = {{0xFFFFFFFF, 0}}}};
    EXPECT_GE(NextStartCode(input), 0);
}

TEST_F(StartCodes, elementAheadOfTheFirstCodeStartsAtTheUnit) {
    script = {pictureUnit()};
    uint8_t out[64];
    EXPECT_EQ(CopyElement(input, out, sizeof out), 6);
    EXPECT_EQ(slice(countingBytes(30), 0, 6), std::vector<uint8_t>(out, out + 6));
    EXPECT_EQ(input->unit->currentEntry, 0);
    EXPECT_EQ(BytePosition(input->reader), 6u);
}

TEST_F(StartCodes, elementRunsFromTheLastCodeToTheNext) {
    script = {pictureUnit()};
    uint8_t out[64];
    NextStartCodeRaw(input);
    NextStartCodeRaw(input);
    EXPECT_EQ(CopyElement(input, out, sizeof out), 8);
    EXPECT_EQ(slice(countingBytes(30), 10, 18), std::vector<uint8_t>(out, out + 8));
    EXPECT_EQ(BytePosition(input->reader), 18u);
    EXPECT_EQ(NextStartCodeRaw(input), 0x102);
}

TEST_F(StartCodes, elementWithoutRoomMovesNothing) {
    script = {pictureUnit()};
    uint8_t out[8] = {};
    NextStartCodeRaw(input);
    NextStartCodeRaw(input);
    EXPECT_EQ(CopyElement(input, out, 7), 8);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(BytePosition(input->reader), 14u);
    EXPECT_EQ(CopyElement(input, out, 8), 8);
}

TEST_F(StartCodes, elementOfFallingOffsetsIsEmpty) {
    script = {{.bytes = countingBytes(16), .table = {{0x1B3, 12}, {0x1B5, 4}}}};
    uint8_t out[16];
    NextStartCodeRaw(input);
    EXPECT_EQ(CopyElement(input, out, sizeof out), 0);
}

TEST_F(StartCodes, elementBehindAUsedUpTableComesFromTheNextUnit) {
    script = {{.bytes = countingBytes(8), .table = {{0x100, 4}}}, pictureUnit()};
    uint8_t out[64];
    NextStartCodeRaw(input);
    EXPECT_EQ(CopyElement(input, out, sizeof out), 6);
    script.clear();
    input->unit->currentEntry = input->unit->entryCount;
    EXPECT_EQ(CopyElement(input, out, sizeof out), kInputEnded);
    EXPECT_EQ(CopyHeadOfUnit(input, out, sizeof out), kInputEnded);
}

TEST_F(StartCodes, headOfUnitEndsAtTheFirstHeaderBehindThePicture) {
    script = {pictureUnit()};
    uint8_t out[64];
    EXPECT_EQ(CopyHeadOfUnit(input, out, sizeof out), 22);
    EXPECT_EQ(slice(countingBytes(30), 0, 22), std::vector<uint8_t>(out, out + 22));
    EXPECT_EQ(BytePosition(input->reader), 22u);
    EXPECT_EQ(NextStartCodeRaw(input), 0x1B8);
}

TEST_F(StartCodes, headOfUnitWithoutAHeaderEndsAtTheLastCode) {
    script = {{.bytes = countingBytes(20), .table = {{0x101, 4}, {0x102, 8}, {0x1B7, 16}}}};
    uint8_t out[64];
    EXPECT_EQ(CopyHeadOfUnit(input, out, sizeof out), 16);
    EXPECT_EQ(NextStartCodeRaw(input), 0x1B7);
}

TEST_F(StartCodes, firstEntryIsNoEndOfAHead) {
    script = {{.bytes = countingBytes(20), .table = {{0x1B3, 0}, {0x1B8, 12}, {0x100, 16}}}};
    uint8_t out[64];
    EXPECT_EQ(CopyHeadOfUnit(input, out, sizeof out), 12);
}

TEST_F(StartCodes, headThatEndsAtTheCodeReadLastIsEmpty) {
    script = {pictureUnit()};
    uint8_t out[64];
    for (int i = 0; i < 4; ++i) NextStartCodeRaw(input);
    EXPECT_EQ(CopyHeadOfUnit(input, out, sizeof out), 0);
    EXPECT_EQ(input->unit->currentEntry, 4);
}

TEST_F(StartCodes, headWithoutRoomMovesNothing) {
    script = {pictureUnit()};
    uint8_t out[64] = {};
    EXPECT_EQ(CopyHeadOfUnit(input, out, 21), 22);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(input->unit->currentEntry, 0);
}

TEST_F(StartCodes, pictureCodeIsFourBytes) {
    uint8_t out[5] = {9, 9, 9, 9, 9};
    EXPECT_EQ(WritePictureCode(out), 4);
    EXPECT_EQ(std::memcmp(out, "\0\0\1\0\x9", 5), 0);
}

TEST_F(StartCodes, loadedUnitIsTurnedForWhoeverTakesItOver) {
    script = {pictureUnit()};
    uint8_t out[64];
    NextStartCode(input);
    EXPECT_EQ(CopyElement(input, out, sizeof out), 4);
    EXPECT_EQ(slice(countingBytes(30), 6, 10), std::vector<uint8_t>(out, out + 4));
    NextStartCode(input);
    EXPECT_EQ(getField(input->reader, 16), 0x0F10u);
}

// The application may turn the unit or forget to: both paths see what the stream says, up to the last byte.
TEST_F(StartCodes, turnsByTheApplicationShowNowhere) {
    for (int turns = 0; turns < 4; ++turns) {
        for (bool raw : {false, true}) {
            script = {pictureUnit()};
            reads = 0;
            resetVideoInput(input);
            raw ? RefillUnitRaw(input) : RefillUnit(input);
            for (int i = 0; i < turns; ++i) swapLoadedUnit(input);
            uint8_t out[64];
            EXPECT_EQ(CopyHeadOfUnit(input, out, sizeof out), 22);
            EXPECT_EQ(slice(countingBytes(30), 0, 22), std::vector<uint8_t>(out, out + 22));
            for (int i = 0; i < turns; ++i) swapLoadedUnit(input);
            takeOverSwapped(input);
            SetBytePosition(input->reader, 0);
            for (uint32_t i = 0; i < 30; ++i) ASSERT_EQ(getField(input->reader, 8), i + 1) << turns << raw;
        }
    }
}

TEST_F(StartCodes, applicationTurnsTheWordsUpToTheLastCode) {
    script = {pictureUnit()};
    RefillUnit(input);
    swapLoadedUnit(input);
    EXPECT_EQ(std::memcmp(input->unit->buffer, countingBytes(30).data(), 28), 0);
    EXPECT_EQ(word(7), 0x1D1E0000u);
    swapLoadedUnit(input);
    EXPECT_EQ(word(0), 0x01020304u);
    EXPECT_EQ(word(6), 0x191A1B1Cu);
}

TEST_F(StartCodes, turnWithNothingLoadedDoesNothing) {
    swapLoadedUnit(input);
    takeOverRaw(input);
    takeOverSwapped(input);
    EXPECT_EQ(input->byteCount, 0u);
}

TEST_F(StartCodes, borrowedBytesAreInFileOrderUntilGivenBack) {
    script = {{.bytes = countingBytes(11)}};
    RefillUnit(input);
    EXPECT_EQ(std::memcmp(borrowBytes(input, 3, 11), countingBytes(11).data() + 3, 8), 0);
    returnBytes(input, 3, 11);
    EXPECT_EQ(word(0), 0x01020304u);
    EXPECT_EQ(word(2), 0x090A0B00u);
}

TEST_F(StartCodes, resetLeavesNothingLoaded) {
    script = {pictureUnit(), pictureUnit()};
    NextStartCode(input);
    resetVideoInput(input);
    EXPECT_EQ(BytePosition(input->reader), 0u);
    EXPECT_EQ(input->reader.bitPosition, 31);
    EXPECT_EQ(GetWord(input->reader), 0u);
    EXPECT_EQ(NextStartCode(input), 0x1B5);
    EXPECT_EQ(reads, 2u);
}

}  // namespace
