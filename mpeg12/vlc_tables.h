// SPDX-License-Identifier: BSD-2-Clause
// The fifteen lookup tables of the slice layer's variable-length codes, computed by the compiler.
#pragma once

#include <cstdint>

namespace tvk {

enum VlcTable : int32_t {
    vlcMacroblockIncrement,
    vlcMacroblockTypeI,
    vlcMacroblockTypeP,
    vlcMacroblockTypeB,
    vlcMacroblockTypeISpatial,
    vlcMacroblockTypePSpatial,
    vlcMacroblockTypeBSpatial,
    vlcMacroblockTypeSnr,
    vlcCodedBlockPattern,
    vlcMotionCode,
    vlcDmVector,
    vlcDcSizeLuminance,
    vlcDcSizeChrominance,
    vlcCoefficientsB14,
    vlcCoefficientsB15,
    vlcTableCount
};

inline constexpr int32_t kMacroblockEscape = -1;

// Bits of a macroblock_type value. The class column of the scalable tables is 0 for class 0, classOneToThree for
// classes 1 to 3 and classFour for class 4.
enum MacroblockTypeFlag : uint32_t {
    typeQuant = 0x80,
    typeForward = 0x40,
    typeBackward = 0x20,
    typePattern = 0x10,
    typeIntra = 0x08,
    typeWeightFlag = 0x04,
    typeClassFour = 0x02,
    typeClassOneToThree = 0x01,
    typeClassMask = 0x03
};

struct VlcLayout {
    int32_t width;      // bits that index the first level
    int32_t words;      // of the whole table
    int32_t subTables;  // one for each first-level prefix of a code longer than `width`
};

// A table is its width word n, 2^n first-level entries and one word more, then the sub-tables in the order of their
// prefixes, each again a width word m, 2^m entries and one word more.
//
// An entry is value * 16 + length field. A length field of 0 marks a link: the value is the index of a sub-table's
// width word, counted from the table's start. Otherwise, in the first thirteen tables, it is the number of code bits
// used at this level. In the two coefficient tables the value is level * 32 + run, the sign bit being part of the code,
// and the length field is 10 less the code's bits at the first level, 9 less the code's bits beyond the first level in
// a sub-table, which is read from the 8 bits behind the first 9.
inline constexpr VlcLayout kVlcLayout[vlcTableCount] = {
    {4, 152, 2},  {2, 6, 0},   {6, 66, 0}, {6, 66, 0},  {4, 18, 0},    {7, 130, 0}, {9, 514, 0}, {3, 10, 0},
    {4, 110, 10}, {5, 110, 2}, {2, 6, 0},  {9, 514, 0}, {10, 1026, 0}, {9, 866, 8}, {9, 860, 8},
};

inline constexpr int16_t kInvalidEntry = 0x7FF1;
inline constexpr int32_t kInvalidCode = 2047;  // the value of kInvalidEntry
inline constexpr int32_t kCoefficientEndOfBlock = 0;
inline constexpr int32_t kCoefficientEscapeValue = 2046;  // level 63, run 30

// First word of a table in the array that holds all of them back to back.
constexpr int32_t vlcTableStart(int32_t table) {
    int32_t start = 0;
    for (int32_t i = 0; i < table; ++i) start += kVlcLayout[i].words;
    return start;
}

inline constexpr int32_t kVlcWordCount = vlcTableStart(vlcTableCount);
static_assert(kVlcWordCount == 4454);

struct VlcWords {
    alignas(64) int16_t word[kVlcWordCount];
};
extern const VlcWords kVlcWords;

// The codes that most macroblocks have, once more in tables of a single level, as wide as the longest code: which of
// them has a link is a branch that cannot be foretold. Entries as above.
inline constexpr int32_t kFlatBits = 11, kFlatPatternBits = 9;
struct FlatTables {
    alignas(64) int16_t codedBlockPattern[1 << kFlatPatternBits];
    alignas(64) int16_t motionCode[1 << kFlatBits];
    alignas(64) int16_t macroblockIncrement[1 << kFlatBits];
};
extern const FlatTables kFlatTables;

inline const int16_t *vlcTable(VlcTable table) {
    return kVlcWords.word + vlcTableStart(table);
}

}  // namespace tvk
