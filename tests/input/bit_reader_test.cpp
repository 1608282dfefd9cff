// SPDX-License-Identifier: BSD-2-Clause
// Reading bits over words.
#include "input/bit_reader.h"

#include <gtest/gtest.h>

namespace {

using namespace tvk;

constexpr uint32_t kWords[4] = {0x89ABCDEF, 0x01234567, 0xFEDCBA98, 0};

BitReader readerAt(int32_t bitPosition) {
    return {kWords, kWords, bitPosition, 12};
}

TEST(BitReader, lastBitOfWordLeavesReaderAtTopOfNextWord) {
    BitReader r = readerAt(0);
    EXPECT_EQ(GetBits(r, 1) & 1, 1u);
    EXPECT_EQ(r.bitPosition, 31);
    EXPECT_EQ(r.wordPointer, kWords + 1);
}

TEST(BitReader, twentyNineBitsFromPositionThreeJoinTwoWords) {
    BitReader r = readerAt(3);
    EXPECT_EQ(GetBits(r, 29) & 0x1FFFFFFF, 0xFu << 25 | 0x01234567u >> 7);
    EXPECT_EQ(r.bitPosition, 6);
    EXPECT_EQ(r.wordPointer, kWords + 1);
}

TEST(BitReader, wholeWordAtPositionThirtyOneKeepsPosition) {
    BitReader r = readerAt(31);
    EXPECT_EQ(GetWord(r), 0x89ABCDEFu);
    EXPECT_EQ(r.bitPosition, 31);
    EXPECT_EQ(r.wordPointer, kWords + 1);
}

TEST(BitReader, wholeWordAtAnyPositionIsTheNextThirtyTwoBits) {
    const uint64_t joined = uint64_t{kWords[0]} << 32 | kWords[1];
    for (int32_t p = 0; p < 32; ++p) {
        BitReader r = readerAt(p);
        EXPECT_EQ(GetWord(r), static_cast<uint32_t>(joined >> (p + 1))) << p;
        EXPECT_EQ(r.bitPosition, p);
    }
}

TEST(BitReader, everyLengthAtEveryPositionIsTheBitsOfTheStream) {
    const uint64_t joined = uint64_t{kWords[0]} << 32 | kWords[1];
    for (int32_t p = 0; p < 32; ++p) {
        for (int32_t n = 1; n < 32; ++n) {
            BitReader r = readerAt(p);
            const uint32_t expected = static_cast<uint32_t>(joined >> (33 + p - n)) & ((1u << n) - 1);
            EXPECT_EQ(PeekBits(r, n), expected);
            EXPECT_EQ(r.bitPosition, p);
            EXPECT_EQ(getField(r, n), expected) << p << ' ' << n;
            EXPECT_EQ((r.wordPointer - kWords) * 32 + 31 - r.bitPosition, 31 - p + n);
        }
    }
}

TEST(BitReader, readingNoBitsMovesNothing) {
    BitReader r = readerAt(17);
    EXPECT_EQ(getField(r, 0), 0u);
    EXPECT_EQ(r.bitPosition, 17);
    EXPECT_EQ(r.wordPointer, kWords);
}

TEST(BitReader, givingBackAcrossWordBoundaryMovesBackOneWord) {
    BitReader r = {kWords, kWords + 1, 30, 12};
    UngetBits(r, 5);
    EXPECT_EQ(r.wordPointer, kWords);
    EXPECT_EQ(r.bitPosition, 3);
    UngetBits(r, 2);
    EXPECT_EQ(r.wordPointer, kWords);
    EXPECT_EQ(r.bitPosition, 5);
}

TEST(BitReader, bytePositionIsWhereItWasSet) {
    BitReader r = readerAt(31);
    for (uint32_t k = 0; k <= 12; ++k) {
        SetBytePosition(r, k);
        EXPECT_EQ(BytePosition(r), k);
        EXPECT_EQ(insideUnit(r), k < 12);
    }
}

TEST(BitReader, positionBehindTheBytesIsClampedToTheirEnd) {
    BitReader r = readerAt(31);
    SetBytePosition(r, 13);
    EXPECT_EQ(BytePosition(r), 12u);
    SetBytePosition(r, 0xFFFFFFFF);
    EXPECT_EQ(BytePosition(r), 12u);
}

TEST(BitReader, offsetOfLastStartCodeNeverLiesAheadOfTheUnit) {
    BitReader r = readerAt(31);
    SetBytePosition(r, 9);
    EXPECT_EQ(lastCodeOffset(r), 5u);
    SetBytePosition(r, 3);
    EXPECT_EQ(lastCodeOffset(r), 0u);
}

}  // namespace
