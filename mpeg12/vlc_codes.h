// SPDX-License-Identifier: BSD-2-Clause
// The variable-length codes of the slice layer, as ISO/IEC 13818-2 Annex B prints them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "mpeg12/vlc_tables.h"

namespace tvk {

struct CodeBits {
    uint16_t code;   // right-aligned
    uint8_t length;  // 1 to 16, a coefficient's sign bit not counted
};

// Reads the standard's notation: digits in groups of four.
constexpr CodeBits codeBits(const char *text) {
    CodeBits bits{0, 0};
    for (; *text != '\0'; ++text) {
        if (*text == ' ') continue;
        bits.code = static_cast<uint16_t>(bits.code * 2 + (*text == '1' ? 1 : 0));
        ++bits.length;
    }
    return bits;
}

struct VlcCode {
    CodeBits bits;
    int16_t value;
    constexpr VlcCode() : bits{0, 0}, value(0) {}
    constexpr VlcCode(CodeBits b, int32_t v) : bits(b), value(static_cast<int16_t>(v)) {}
    constexpr VlcCode(const char *text, int32_t v) : VlcCode(codeBits(text), v) {}
};

// A coefficient's code without its sign bit.
struct RunLevelCode {
    CodeBits bits;
    uint8_t run;
    uint8_t level;
    constexpr RunLevelCode(const char *text, uint8_t r, uint8_t l) : bits(codeBits(text)), run(r), level(l) {}
};

namespace codes {

// B-1. macroblock_stuffing (0000 0001 111) is left out: the macroblock loop skips it, and in MPEG-2 it is invalid.
inline constexpr VlcCode kMacroblockIncrement[] = {
    {"1", 1},
    {"011", 2},
    {"010", 3},
    {"0011", 4},
    {"0010", 5},
    {"0001 1", 6},
    {"0001 0", 7},
    {"0000 111", 8},
    {"0000 110", 9},
    {"0000 1011", 10},
    {"0000 1010", 11},
    {"0000 1001", 12},
    {"0000 1000", 13},
    {"0000 0111", 14},
    {"0000 0110", 15},
    {"0000 0101 11", 16},
    {"0000 0101 10", 17},
    {"0000 0101 01", 18},
    {"0000 0101 00", 19},
    {"0000 0100 11", 20},
    {"0000 0100 10", 21},
    {"0000 0100 011", 22},
    {"0000 0100 010", 23},
    {"0000 0100 001", 24},
    {"0000 0100 000", 25},
    {"0000 0011 111", 26},
    {"0000 0011 110", 27},
    {"0000 0011 101", 28},
    {"0000 0011 100", 29},
    {"0000 0011 011", 30},
    {"0000 0011 010", 31},
    {"0000 0011 001", 32},
    {"0000 0011 000", 33},
    {"0000 0001 000", kMacroblockEscape},
};

// B-2.
inline constexpr VlcCode kMacroblockTypeI[] = {
    {"1", typeIntra},
    {"01", typeQuant | typeIntra},
};

// B-3.
inline constexpr VlcCode kMacroblockTypeP[] = {
    {"1", typeForward | typePattern},
    {"01", typePattern},
    {"001", typeForward},
    {"0001 1", typeIntra},
    {"0001 0", typeQuant | typeForward | typePattern},
    {"0000 1", typeQuant | typePattern},
    {"0000 01", typeQuant | typeIntra},
};

// B-4.
inline constexpr VlcCode kMacroblockTypeB[] = {
    {"10", typeForward | typeBackward},
    {"11", typeForward | typeBackward | typePattern},
    {"010", typeBackward},
    {"011", typeBackward | typePattern},
    {"0010", typeForward},
    {"0011", typeForward | typePattern},
    {"0001 1", typeIntra},
    {"0001 0", typeQuant | typeForward | typeBackward | typePattern},
    {"0000 11", typeQuant | typeForward | typePattern},
    {"0000 10", typeQuant | typeBackward | typePattern},
    {"0000 01", typeQuant | typeIntra},
};

// B-5.
inline constexpr VlcCode kMacroblockTypeISpatial[] = {
    {"1", typePattern | typeClassFour},
    {"01", typeQuant | typePattern | typeClassFour},
    {"0011", typeIntra},
    {"0010", typeQuant | typeIntra},
    {"0001", typeClassFour},
};

inline constexpr uint32_t kWeighted = typeWeightFlag | typeClassOneToThree;

// B-6.
inline constexpr VlcCode kMacroblockTypePSpatial[] = {
    {"10", typeForward | typePattern},
    {"011", typeForward | typePattern | kWeighted},
    {"0000 100", typePattern},
    {"0001 11", typePattern | kWeighted},
    {"0010", typeForward},
    {"0000 111", typeIntra},
    {"0011", typeForward | kWeighted},
    {"010", typeQuant | typeForward | typePattern},
    {"0001 00", typeQuant | typePattern},
    {"0000 110", typeQuant | typeIntra},
    {"11", typeQuant | typeForward | typePattern | kWeighted},
    {"0001 01", typeQuant | typePattern | kWeighted},
    {"0001 10", kWeighted},
    {"0000 011", typePattern | typeClassFour},
    {"0000 010", typeQuant | typePattern | typeClassFour},
    {"0000 101", typeClassFour},
};

// B-7.
inline constexpr VlcCode kMacroblockTypeBSpatial[] = {
    {"10", typeForward | typeBackward},
    {"11", typeForward | typeBackward | typePattern},
    {"010", typeBackward},
    {"011", typeBackward | typePattern},
    {"0010", typeForward},
    {"0011", typeForward | typePattern},
    {"0001 10", typeBackward | kWeighted},
    {"0001 11", typeBackward | typePattern | kWeighted},
    {"0001 00", typeForward | kWeighted},
    {"0001 01", typeForward | typePattern | kWeighted},
    {"0000 110", typeIntra},
    {"0000 111", typeQuant | typeForward | typeBackward | typePattern},
    {"0000 100", typeQuant | typeForward | typePattern},
    {"0000 101", typeQuant | typeBackward | typePattern},
    {"0000 0100", typeQuant | typeIntra},
    {"0000 0101", typeQuant | typeForward | typePattern | kWeighted},
    {"0000 0110 0", typeQuant | typeBackward | typePattern | kWeighted},
    {"0000 0111 0", typeClassFour},
    {"0000 0110 1", typeQuant | typePattern | typeClassFour},
    {"0000 0111 1", typePattern | typeClassFour},
};

// B-8.
inline constexpr VlcCode kMacroblockTypeSnr[] = {
    {"1", typePattern},
    {"01", typeQuant | typePattern},
    {"001", 0},
};

// B-9.
inline constexpr VlcCode kCodedBlockPattern[] = {
    {"111", 60},         {"1101", 4},         {"1100", 8},         {"1011", 16},        {"1010", 32},
    {"1001 1", 12},      {"1001 0", 48},      {"1000 1", 20},      {"1000 0", 40},      {"0111 1", 28},
    {"0111 0", 44},      {"0110 1", 52},      {"0110 0", 56},      {"0101 1", 1},       {"0101 0", 61},
    {"0100 1", 2},       {"0100 0", 62},      {"0011 11", 24},     {"0011 10", 36},     {"0011 01", 3},
    {"0011 00", 63},     {"0010 111", 5},     {"0010 110", 9},     {"0010 101", 17},    {"0010 100", 33},
    {"0010 011", 6},     {"0010 010", 10},    {"0010 001", 18},    {"0010 000", 34},    {"0001 1111", 7},
    {"0001 1110", 11},   {"0001 1101", 19},   {"0001 1100", 35},   {"0001 1011", 13},   {"0001 1010", 49},
    {"0001 1001", 21},   {"0001 1000", 41},   {"0001 0111", 14},   {"0001 0110", 50},   {"0001 0101", 22},
    {"0001 0100", 42},   {"0001 0011", 15},   {"0001 0010", 51},   {"0001 0001", 23},   {"0001 0000", 43},
    {"0000 1111", 25},   {"0000 1110", 37},   {"0000 1101", 26},   {"0000 1100", 38},   {"0000 1011", 29},
    {"0000 1010", 45},   {"0000 1001", 53},   {"0000 1000", 57},   {"0000 0111", 30},   {"0000 0110", 46},
    {"0000 0101", 54},   {"0000 0100", 58},   {"0000 0011 1", 31}, {"0000 0011 0", 47}, {"0000 0010 1", 55},
    {"0000 0010 0", 59}, {"0000 0001 1", 27}, {"0000 0001 0", 39}, {"0000 0000 1", 0},
};

// B-10.
inline constexpr VlcCode kMotionCode[] = {
    {"1", 0},
    {"010", 1},
    {"011", -1},
    {"0010", 2},
    {"0011", -2},
    {"0001 0", 3},
    {"0001 1", -3},
    {"0000 110", 4},
    {"0000 111", -4},
    {"0000 1010", 5},
    {"0000 1011", -5},
    {"0000 1000", 6},
    {"0000 1001", -6},
    {"0000 0110", 7},
    {"0000 0111", -7},
    {"0000 0101 10", 8},
    {"0000 0101 11", -8},
    {"0000 0101 00", 9},
    {"0000 0101 01", -9},
    {"0000 0100 10", 10},
    {"0000 0100 11", -10},
    {"0000 0100 010", 11},
    {"0000 0100 011", -11},
    {"0000 0100 000", 12},
    {"0000 0100 001", -12},
    {"0000 0011 110", 13},
    {"0000 0011 111", -13},
    {"0000 0011 100", 14},
    {"0000 0011 101", -14},
    {"0000 0011 010", 15},
    {"0000 0011 011", -15},
    {"0000 0011 000", 16},
    {"0000 0011 001", -16},
};

// B-11.
inline constexpr VlcCode kDmVector[] = {
    {"0", 0},
    {"10", 1},
    {"11", -1},
};

// B-12.
inline constexpr VlcCode kDcSizeLuminance[] = {
    {"100", 0},    {"00", 1},      {"01", 2},       {"101", 3},       {"110", 4},          {"1110", 5},
    {"1111 0", 6}, {"1111 10", 7}, {"1111 110", 8}, {"1111 1110", 9}, {"1111 1111 0", 10}, {"1111 1111 1", 11},
};

// B-13.
inline constexpr VlcCode kDcSizeChrominance[] = {
    {"00", 0},      {"01", 1},       {"10", 2},        {"110", 3},         {"1110", 4},          {"1111 0", 5},
    {"1111 10", 6}, {"1111 110", 7}, {"1111 1110", 8}, {"1111 1111 0", 9}, {"1111 1111 10", 10}, {"1111 1111 11", 11},
};

inline constexpr CodeBits kEndOfBlockB14 = codeBits("10");
inline constexpr CodeBits kEndOfBlockB15 = codeBits("0110");
inline constexpr CodeBits kCoefficientEscape = codeBits("0000 01");

// Codes that stand in B-14 alone. The first coefficient of a non-intra block has a code of its own, "1s" for run 0 and
// level 1, that the coefficient decoders test by hand.
inline constexpr RunLevelCode kRunLevelsB14[] = {
    {"11", 0, 1},
    {"011", 1, 1},
    {"0100", 0, 2},
    {"0101", 2, 1},
    {"0010 1", 0, 3},
    {"0011 0", 4, 1},
    {"0001 10", 1, 2},
    {"0001 01", 6, 1},
    {"0001 00", 7, 1},
    {"0000 110", 0, 4},
    {"0000 100", 2, 2},
    {"0000 111", 8, 1},
    {"0000 101", 9, 1},
    {"0010 0110", 0, 5},
    {"0010 0001", 0, 6},
    {"0010 0101", 1, 3},
    {"0010 0100", 3, 2},
    {"0010 0111", 10, 1},
    {"0010 0011", 11, 1},
    {"0010 0010", 12, 1},
    {"0010 0000", 13, 1},
    {"0000 0010 10", 0, 7},
    {"0000 0011 00", 1, 4},
    {"0000 0010 11", 2, 3},
    {"0000 0011 11", 4, 2},
    {"0000 0010 01", 5, 2},
    {"0000 0011 10", 14, 1},
    {"0000 0011 01", 15, 1},
    {"0000 0010 00", 16, 1},
    {"0000 0001 1101", 0, 8},
    {"0000 0001 1000", 0, 9},
    {"0000 0001 0011", 0, 10},
    {"0000 0001 0000", 0, 11},
    {"0000 0001 1011", 1, 5},
    {"0000 0001 0100", 2, 4},
    {"0000 0000 1101 0", 0, 12},
    {"0000 0000 1100 1", 0, 13},
    {"0000 0000 1100 0", 0, 14},
    {"0000 0000 1011 1", 0, 15},
};

// Codes that stand in B-15 alone.
inline constexpr RunLevelCode kRunLevelsB15[] = {
    {"10", 0, 1},           {"010", 1, 1},           {"110", 0, 2},
    {"0010 1", 2, 1},       {"0111", 0, 3},          {"0001 10", 4, 1},
    {"0011 0", 1, 2},       {"0000 110", 6, 1},      {"0000 100", 7, 1},
    {"1110 0", 0, 4},       {"0000 111", 2, 2},      {"0000 101", 8, 1},
    {"1111 000", 9, 1},     {"1110 1", 0, 5},        {"0001 01", 0, 6},
    {"1111 001", 1, 3},     {"0010 0110", 3, 2},     {"1111 010", 10, 1},
    {"0010 0001", 11, 1},   {"0010 0101", 12, 1},    {"0010 0100", 13, 1},
    {"0001 00", 0, 7},      {"0010 0111", 1, 4},     {"1111 1100", 2, 3},
    {"1111 1101", 4, 2},    {"0000 0010 0", 5, 2},   {"0000 0010 1", 14, 1},
    {"0000 0011 1", 15, 1}, {"0000 0011 01", 16, 1}, {"1111 011", 0, 8},
    {"1111 100", 0, 9},     {"0010 0011", 0, 10},    {"0010 0010", 0, 11},
    {"0010 0000", 1, 5},    {"0000 0011 00", 2, 4},  {"1111 1010", 0, 12},
    {"1111 1011", 0, 13},   {"1111 1110", 0, 14},    {"1111 1111", 0, 15},
};

// Codes that B-14 and B-15 share.
inline constexpr RunLevelCode kRunLevelsShared[] = {
    {"0011 1", 3, 1},
    {"0001 11", 5, 1},
    {"0000 0001 1100", 3, 3},
    {"0000 0001 0010", 4, 3},
    {"0000 0001 1110", 6, 2},
    {"0000 0001 0101", 7, 2},
    {"0000 0001 0001", 8, 2},
    {"0000 0001 1111", 17, 1},
    {"0000 0001 1010", 18, 1},
    {"0000 0001 1001", 19, 1},
    {"0000 0001 0111", 20, 1},
    {"0000 0001 0110", 21, 1},
    {"0000 0000 1011 0", 1, 6},
    {"0000 0000 1010 1", 1, 7},
    {"0000 0000 1010 0", 2, 5},
    {"0000 0000 1001 1", 3, 4},
    {"0000 0000 1001 0", 5, 3},
    {"0000 0000 1000 1", 9, 2},
    {"0000 0000 1000 0", 10, 2},
    {"0000 0000 1111 1", 22, 1},
    {"0000 0000 1111 0", 23, 1},
    {"0000 0000 1110 1", 24, 1},
    {"0000 0000 1110 0", 25, 1},
    {"0000 0000 1101 1", 26, 1},
    {"0000 0000 0111 11", 0, 16},
    {"0000 0000 0111 10", 0, 17},
    {"0000 0000 0111 01", 0, 18},
    {"0000 0000 0111 00", 0, 19},
    {"0000 0000 0110 11", 0, 20},
    {"0000 0000 0110 10", 0, 21},
    {"0000 0000 0110 01", 0, 22},
    {"0000 0000 0110 00", 0, 23},
    {"0000 0000 0101 11", 0, 24},
    {"0000 0000 0101 10", 0, 25},
    {"0000 0000 0101 01", 0, 26},
    {"0000 0000 0101 00", 0, 27},
    {"0000 0000 0100 11", 0, 28},
    {"0000 0000 0100 10", 0, 29},
    {"0000 0000 0100 01", 0, 30},
    {"0000 0000 0100 00", 0, 31},
    {"0000 0000 0011 000", 0, 32},
    {"0000 0000 0010 111", 0, 33},
    {"0000 0000 0010 110", 0, 34},
    {"0000 0000 0010 101", 0, 35},
    {"0000 0000 0010 100", 0, 36},
    {"0000 0000 0010 011", 0, 37},
    {"0000 0000 0010 010", 0, 38},
    {"0000 0000 0010 001", 0, 39},
    {"0000 0000 0010 000", 0, 40},
    {"0000 0000 0011 111", 1, 8},
    {"0000 0000 0011 110", 1, 9},
    {"0000 0000 0011 101", 1, 10},
    {"0000 0000 0011 100", 1, 11},
    {"0000 0000 0011 011", 1, 12},
    {"0000 0000 0011 010", 1, 13},
    {"0000 0000 0011 001", 1, 14},
    {"0000 0000 0001 0011", 1, 15},
    {"0000 0000 0001 0010", 1, 16},
    {"0000 0000 0001 0001", 1, 17},
    {"0000 0000 0001 0000", 1, 18},
    {"0000 0000 0001 0100", 6, 3},
    {"0000 0000 0001 1010", 11, 2},
    {"0000 0000 0001 1001", 12, 2},
    {"0000 0000 0001 1000", 13, 2},
    {"0000 0000 0001 0111", 14, 2},
    {"0000 0000 0001 0110", 15, 2},
    {"0000 0000 0001 0101", 16, 2},
    {"0000 0000 0001 1111", 27, 1},
    {"0000 0000 0001 1110", 28, 1},
    {"0000 0000 0001 1101", 29, 1},
    {"0000 0000 0001 1100", 30, 1},
    {"0000 0000 0001 1011", 31, 1},
};

// 111 run and level pairs each, as the standard has them.
static_assert(std::size(kRunLevelsB14) + std::size(kRunLevelsShared) == 111);
static_assert(std::size(kRunLevelsB15) + std::size(kRunLevelsShared) == 111);

}  // namespace codes
}  // namespace tvk
