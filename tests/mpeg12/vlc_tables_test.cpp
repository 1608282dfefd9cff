// SPDX-License-Identifier: BSD-2-Clause
// The lookup tables against the code lists: layout, every word, every code, every unassigned pattern.
#include "mpeg12/vlc_tables.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "mpeg12/code_lists.h"
#include "mpeg12/vlc.h"

namespace tvk::test {
namespace {

std::vector<FlatCode> listOf(int32_t table) {
    if (table >= vlcCoefficientsB14) return packedCoefficientList(table == vlcCoefficientsB15);
    return codeList(table);
}

BitWindow windowOf(uint64_t bits) {
    BitWindow b{};
    b.window = bits;
    b.valid = 64;
    return b;
}

// The code that a string of 17 bits begins with, found by comparing with each code of the list.
const FlatCode *matchByList(const std::vector<FlatCode> &list, uint32_t next17) {
    for (const FlatCode &c : list)
        if (next17 >> (17 - c.length) == c.code) return &c;
    return nullptr;
}

// 17-bit patterns that begin with no code.
int32_t unassignedPatterns(const std::vector<FlatCode> &list) {
    int32_t left = 1 << 17;
    for (const FlatCode &c : list) left -= 1 << (17 - c.length);
    return left;
}

std::vector<int32_t> lengthsOf(const std::vector<FlatCode> &list) {
    std::vector<int32_t> counts(18);
    for (const FlatCode &c : list) ++counts[static_cast<size_t>(c.length)];
    return counts;
}

TEST(VlcCodes, noCodeBeginsAnother) {
    for (int32_t table = 0; table < vlcTableCount; ++table) {
        const auto list = listOf(table);
        for (const FlatCode &a : list)
            for (const FlatCode &b : list) {
                if (&a == &b || a.length > b.length) continue;
                EXPECT_NE(b.code >> (b.length - a.length), a.code) << "table " << table << " value " << a.value;
            }
    }
}

// What the standard leaves unassigned, in patterns of 17 bits.
TEST(VlcCodes, onlyTheStandardsGapsAreUnassigned) {
    const std::map<int32_t, int32_t> gaps = {
        {vlcMacroblockIncrement, 23 << 6},  // below 0000 0011 000 but the escape; stuffing is among them
        {vlcMacroblockTypeI, 1 << 15},
        {vlcMacroblockTypeP, 1 << 11},
        {vlcMacroblockTypeB, 1 << 11},
        {vlcMacroblockTypeISpatial, 1 << 13},
        {vlcMacroblockTypePSpatial, 1 << 11},
        {vlcMacroblockTypeBSpatial, 1 << 11},
        {vlcMacroblockTypeSnr, 1 << 14},
        {vlcCodedBlockPattern, 1 << 8},
        {vlcMotionCode, 24 << 6},  // below 0000 0011 000
        {vlcDmVector, 0},
        {vlcDcSizeLuminance, 0},
        {vlcDcSizeChrominance, 0},
        {vlcCoefficientsB14, 1 << 5},                          // 0000 0000 0000
        {vlcCoefficientsB15, (1 << 5) + (4 << 4) + (6 << 5)},  // and ten codes that B-15 has moved to shorter ones
    };
    for (const auto &[table, patterns] : gaps) EXPECT_EQ(unassignedPatterns(listOf(table)), patterns) << table;
}

TEST(VlcCodes, valuesAreTheElementsWholeRange) {
    const std::map<int32_t, std::pair<int32_t, int32_t>> ranges = {
        {vlcCodedBlockPattern, {0, 63}}, {vlcMotionCode, {-16, 16}},      {vlcDmVector, {-1, 1}},
        {vlcDcSizeLuminance, {0, 11}},   {vlcDcSizeChrominance, {0, 11}},
    };
    for (const auto &[table, range] : ranges) {
        std::set<int32_t> seen;
        for (const FlatCode &c : codeList(table)) EXPECT_TRUE(seen.insert(c.value).second);
        EXPECT_EQ(*seen.begin(), range.first);
        EXPECT_EQ(*seen.rbegin(), range.second);
        EXPECT_EQ(static_cast<int32_t>(seen.size()), range.second - range.first + 1);
    }
    std::set<int32_t> increments;
    for (const FlatCode &c : codeList(vlcMacroblockIncrement)) increments.insert(c.value);
    EXPECT_EQ(increments.size(), 34u);
    EXPECT_EQ(*increments.begin(), kMacroblockEscape);
    EXPECT_EQ(*increments.rbegin(), 33);
    EXPECT_EQ(increments.count(0), 0u);
}

TEST(VlcCodes, typesOfEachPictureHaveTheirMacroblockModesOnce) {
    const std::map<int32_t, size_t> sizes = {
        {vlcMacroblockTypeI, 2},        {vlcMacroblockTypeP, 7},         {vlcMacroblockTypeB, 11},
        {vlcMacroblockTypeISpatial, 5}, {vlcMacroblockTypePSpatial, 16}, {vlcMacroblockTypeBSpatial, 20},
        {vlcMacroblockTypeSnr, 3},
    };
    for (const auto &[table, size] : sizes) {
        std::set<int32_t> seen;
        for (const FlatCode &c : codeList(table)) {
            EXPECT_TRUE(seen.insert(c.value).second) << "table " << table << " value " << c.value;
            const uint32_t type = static_cast<uint32_t>(c.value);
            EXPECT_TRUE(!(type & typeIntra) || (type | typeQuant) == (typeIntra | typeQuant));
            EXPECT_TRUE(!(type & typeQuant) || (type & (typeIntra | typePattern)));
            EXPECT_EQ((type & typeWeightFlag) != 0, (type & typeClassOneToThree) != 0);
        }
        EXPECT_EQ(seen.size(), size) << "table " << table;
    }
}

TEST(VlcCodes, lengthsCountAsInTheStandard) {
    using Counts = std::vector<int32_t>;
    EXPECT_EQ(lengthsOf(codeList(vlcMacroblockIncrement)),
              (Counts{0, 1, 0, 2, 2, 2, 0, 2, 6, 0, 6, 13, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(lengthsOf(codeList(vlcCodedBlockPattern)),
              (Counts{0, 0, 0, 1, 4, 12, 4, 8, 28, 7, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(lengthsOf(codeList(vlcMotionCode)), (Counts{0, 1, 0, 2, 2, 2, 0, 2, 6, 0, 6, 12, 0, 0, 0, 0, 0, 0}));
    // Signs counted, beside end of block (2 or 4 bits) and escape (6).
    EXPECT_EQ(lengthsOf(packedCoefficientList(false)),
              (Counts{0, 0, 1, 2, 2, 4, 7, 8, 8, 16, 0, 16, 0, 32, 32, 32, 32, 32}));
    EXPECT_EQ(lengthsOf(packedCoefficientList(true)),
              (Counts{0, 0, 0, 2, 5, 2, 11, 8, 18, 28, 6, 4, 0, 20, 24, 32, 32, 32}));
}

TEST(VlcTables, everyTableStandsWhereItsNeighbourEnds) {
    for (int32_t table = 0; table < vlcTableCount; ++table) {
        const VlcLayout &layout = kVlcLayout[table];
        const int16_t *words = vlcTable(static_cast<VlcTable>(table));
        EXPECT_EQ(words, kVlcWords.word + vlcTableStart(table));
        EXPECT_EQ(words[0], layout.width);
        // The width words of the sub-tables chain through to the table's last word.
        int32_t next = (1 << layout.width) + 2;
        int32_t subTables = 0;
        while (next < layout.words) {
            EXPECT_EQ(words[next - 1], kInvalidEntry);
            next += (1 << words[next]) + 2;
            ++subTables;
        }
        EXPECT_EQ(next, layout.words) << "table " << table;
        EXPECT_EQ(subTables, layout.subTables) << "table " << table;
        EXPECT_EQ(words[layout.words - 1], kInvalidEntry);
    }
    EXPECT_EQ(vlcTableStart(vlcTableCount), 4454);
}

TEST(VlcTables, linksLeadToTheSubTablesInOrderOfPrefixes) {
    for (int32_t table = 0; table < vlcTableCount; ++table) {
        const int16_t *words = vlcTable(static_cast<VlcTable>(table));
        int32_t next = (1 << kVlcLayout[table].width) + 2;
        for (int32_t prefix = 0; prefix < 1 << words[0]; ++prefix) {
            const int32_t entry = words[1 + prefix];
            if ((entry & 15) != 0) continue;
            EXPECT_EQ(entry >> 4, next) << "table " << table << " prefix " << prefix;
            for (int32_t i = 0; i < 1 << words[next]; ++i) EXPECT_NE(words[next + 1 + i] & 15, 0);
            next += (1 << words[next]) + 2;
        }
        EXPECT_EQ(next, kVlcLayout[table].words);
    }
}

// Every string of 17 bits, so every word of every table that a code can reach and every one that none reaches.
TEST(VlcTables, everyBitPatternDecodesAsTheListSays) {
    for (int32_t table = 0; table < vlcCoefficientsB14; ++table) {
        const auto list = codeList(table);
        for (uint32_t next17 = 0; next17 < 1u << 17; ++next17) {
            BitWindow b = windowOf(static_cast<uint64_t>(next17) << 47);
            const int32_t value = DecodeVlc(b, vlcTable(static_cast<VlcTable>(table)));
            const FlatCode *code = matchByList(list, next17);
            if (code == nullptr) {
                ASSERT_EQ(value, kInvalidCode) << "table " << table << " bits " << next17;
            } else {
                ASSERT_EQ(value, code->value) << "table " << table << " bits " << next17;
                ASSERT_EQ(b.valid, 64 - code->length);
                ASSERT_EQ(b.window, static_cast<uint64_t>(next17) << 47 << code->length);
            }
        }
    }
}

// Behind an invalid code the window's position is of no use, so that only valid ones are compared to the bit.
template <int32_t bits>
void expectFlatAsGeneral(const int16_t *flat, VlcTable table) {
    for (uint32_t next = 0; next < 1u << bits; ++next) {
        BitWindow general = windowOf(static_cast<uint64_t>(next) << (64 - bits));
        BitWindow own = general;
        const int32_t value = DecodeVlc(general, vlcTable(table));
        ASSERT_EQ(decodeFlat<bits>(own, flat), value) << next;
        if (value == kInvalidCode) continue;
        ASSERT_EQ(own.window, general.window) << next;
        ASSERT_EQ(own.valid, general.valid) << next;
    }
}

TEST(VlcTables, singleLevelTablesDecodeAsTheGeneralOnes) {
    expectFlatAsGeneral<kFlatBits>(kFlatTables.motionCode, vlcMotionCode);
    expectFlatAsGeneral<kFlatBits>(kFlatTables.macroblockIncrement, vlcMacroblockIncrement);
    expectFlatAsGeneral<kFlatPatternBits>(kFlatTables.codedBlockPattern, vlcCodedBlockPattern);
}

TEST(VlcTables, stuffingIsInvalidAsAnIncrement) {
    BitWindow b = windowOf(15ull << 53);
    EXPECT_EQ(DecodeVlc(b, vlcTable(vlcMacroblockIncrement)), kInvalidCode);
}

TEST(VlcTables, invalidEntryHasALengthSoThatItIsNoLink) {
    EXPECT_EQ(kInvalidEntry, 32753);
    EXPECT_EQ(kInvalidEntry >> 4, kInvalidCode);
    EXPECT_NE(kInvalidEntry & 15, 0);
}

TEST(VlcTables, everyCoefficientPatternDecodesAsTheListSays) {
    for (const bool tableOne : {false, true}) {
        const auto list = packedCoefficientList(tableOne);
        const int16_t *table = vlcTable(tableOne ? vlcCoefficientsB15 : vlcCoefficientsB14);
        for (uint32_t next17 = 0; next17 < 1u << 17; ++next17) {
            int32_t entry = table[1 + (next17 >> 8)];
            int32_t length = 10 - (entry & 15);
            if ((entry & 15) == 0) {
                const int16_t *sub = table + (entry >> 4);
                entry = sub[1 + ((next17 & 255) >> (8 - sub[0]))];
                length = 9 + 9 - (entry & 15);
            }
            const FlatCode *code = matchByList(list, next17);
            if (code == nullptr) {
                ASSERT_EQ(entry, kInvalidEntry) << "bits " << next17;
            } else {
                ASSERT_EQ(entry >> 4, code->value) << "bits " << next17;
                ASSERT_EQ(length, code->length) << "bits " << next17;
            }
        }
    }
}

// The decoders index the two DC size tables at the first level alone.
TEST(VlcTables, dcSizesNeedOneLookup) {
    for (const VlcTable table : {vlcDcSizeLuminance, vlcDcSizeChrominance}) {
        const int16_t *words = vlcTable(table);
        for (int32_t i = 0; i < 1 << words[0]; ++i) {
            EXPECT_NE(words[1 + i] & 15, 0);
            EXPECT_NE(words[1 + i], kInvalidEntry);
        }
    }
}

}  // namespace
}  // namespace tvk::test
