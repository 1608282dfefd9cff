// SPDX-License-Identifier: BSD-2-Clause
// Computes the lookup tables from the standard's code lists.
#include "mpeg12/vlc_tables.h"

#include <cstddef>
#include <iterator>

#include "mpeg12/vlc_codes.h"

namespace tvk {
namespace {

constexpr int32_t kSubTableBits = 8;  // bits behind the first level that a coefficient sub-table is read from

struct TableBuilder {
    VlcWords words{};
    int32_t start = 0;  // of the table under construction
    int32_t width = 0;
    bool remainder = false;               // the coefficient tables' length field
    uint8_t extraWidth[1 << 10] = {};     // per first-level prefix: the longest code's bits beyond the first level
    int16_t subTableStart[1 << 10] = {};  // 0: none
};

// Pass one for one code: how wide its prefix's sub-table must be.
constexpr void measure(TableBuilder &b, CodeBits bits) {
    const int32_t extra = bits.length - b.width;
    if (extra <= 0) return;
    uint8_t &widest = b.extraWidth[bits.code >> extra];
    if (widest < extra) widest = static_cast<uint8_t>(extra);
}

// Lays the sub-tables out and returns the table's size.
constexpr int32_t layOut(TableBuilder &b) {
    int32_t next = (1 << b.width) + 2;
    for (int32_t prefix = 0; prefix < 1 << b.width; ++prefix) {
        if (b.extraWidth[prefix] == 0) continue;
        b.subTableStart[prefix] = static_cast<int16_t>(next);
        next += (1 << b.extraWidth[prefix]) + 2;
    }
    for (int32_t i = 0; i < next; ++i) b.words.word[b.start + i] = kInvalidEntry;
    b.words.word[b.start] = static_cast<int16_t>(b.width);
    return next;
}

constexpr void fill(int16_t *entries, int32_t width, int32_t code, int32_t length, int32_t value, int32_t lengthField) {
    const int32_t spare = width - length;
    for (int32_t i = 0; i < 1 << spare; ++i)
        entries[(code << spare) + i] = static_cast<int16_t>(value * 16 + lengthField);
}

// Pass two for one code.
constexpr void enter(TableBuilder &b, CodeBits bits, int32_t value) {
    int16_t *table = b.words.word + b.start;
    const int32_t extra = bits.length - b.width;
    if (extra <= 0) {
        fill(table + 1, b.width, bits.code, bits.length, value, b.remainder ? 1 - extra : bits.length);
        return;
    }
    const int32_t prefix = bits.code >> extra;
    const int32_t sub = b.subTableStart[prefix];
    table[1 + prefix] = static_cast<int16_t>(sub * 16);
    table[sub] = b.extraWidth[prefix];
    fill(table + sub + 1, b.extraWidth[prefix], bits.code & ((1 << extra) - 1), extra, value,
         b.remainder ? kSubTableBits + 1 - extra : extra);
}

constexpr void begin(TableBuilder &b, VlcTable table) {
    b.start = vlcTableStart(table);
    b.width = kVlcLayout[table].width;
    b.remainder = table >= vlcCoefficientsB14;
    for (uint8_t &e : b.extraWidth) e = 0;
    for (int16_t &s : b.subTableStart) s = 0;
}

// The declared layout holds the size that the codes ask for.
constexpr bool fits(VlcTable table, const TableBuilder &b, int32_t words) {
    int32_t subTables = 0;
    for (const int16_t s : b.subTableStart) subTables += s != 0;
    return words == kVlcLayout[table].words && subTables == kVlcLayout[table].subTables;
}

template <size_t N>
constexpr bool add(TableBuilder &b, VlcTable table, const VlcCode (&list)[N]) {
    begin(b, table);
    for (const VlcCode &c : list) measure(b, c.bits);
    const int32_t words = layOut(b);
    for (const VlcCode &c : list) enter(b, c.bits, c.value);
    return fits(table, b, words);
}

constexpr CodeBits withSign(CodeBits bits, uint32_t sign) {
    return {static_cast<uint16_t>(bits.code * 2 + sign), static_cast<uint8_t>(bits.length + 1)};
}

constexpr void enterRunLevel(TableBuilder &b, const RunLevelCode &c) {
    enter(b, withSign(c.bits, 0), c.level * 32 + c.run);
    enter(b, withSign(c.bits, 1), -c.level * 32 + c.run);
}

template <size_t N>
constexpr bool addCoefficients(TableBuilder &b, VlcTable table, const RunLevelCode (&own)[N], CodeBits endOfBlock) {
    begin(b, table);
    for (const RunLevelCode &c : own) measure(b, withSign(c.bits, 0));
    for (const RunLevelCode &c : codes::kRunLevelsShared) measure(b, withSign(c.bits, 0));
    const int32_t words = layOut(b);
    enter(b, endOfBlock, kCoefficientEndOfBlock);
    enter(b, codes::kCoefficientEscape, kCoefficientEscapeValue);
    for (const RunLevelCode &c : own) enterRunLevel(b, c);
    for (const RunLevelCode &c : codes::kRunLevelsShared) enterRunLevel(b, c);
    return fits(table, b, words);
}

struct BuiltTables {
    VlcWords words;
    bool fit;
};

constexpr BuiltTables buildTables() {
    using namespace codes;
    TableBuilder b;
    bool fit = add(b, vlcMacroblockIncrement, kMacroblockIncrement);
    fit = add(b, vlcMacroblockTypeI, kMacroblockTypeI) && fit;
    fit = add(b, vlcMacroblockTypeP, kMacroblockTypeP) && fit;
    fit = add(b, vlcMacroblockTypeB, kMacroblockTypeB) && fit;
    fit = add(b, vlcMacroblockTypeISpatial, kMacroblockTypeISpatial) && fit;
    fit = add(b, vlcMacroblockTypePSpatial, kMacroblockTypePSpatial) && fit;
    fit = add(b, vlcMacroblockTypeBSpatial, kMacroblockTypeBSpatial) && fit;
    fit = add(b, vlcMacroblockTypeSnr, kMacroblockTypeSnr) && fit;
    fit = add(b, vlcCodedBlockPattern, kCodedBlockPattern) && fit;
    fit = add(b, vlcMotionCode, kMotionCode) && fit;
    fit = add(b, vlcDmVector, kDmVector) && fit;
    fit = add(b, vlcDcSizeLuminance, kDcSizeLuminance) && fit;
    fit = add(b, vlcDcSizeChrominance, kDcSizeChrominance) && fit;
    fit = addCoefficients(b, vlcCoefficientsB14, kRunLevelsB14, kEndOfBlockB14) && fit;
    fit = addCoefficients(b, vlcCoefficientsB15, kRunLevelsB15, kEndOfBlockB15) && fit;
    return {b.words, fit};
}

template <size_t entries, size_t N>
constexpr void fillFlat(int16_t (&table)[entries], int32_t width, const VlcCode (&list)[N]) {
    for (int16_t &entry : table) entry = kInvalidEntry;
    for (const VlcCode &c : list) fill(table, width, c.bits.code, c.bits.length, c.value, c.bits.length);
}

constexpr FlatTables buildFlatTables() {
    FlatTables flat{};
    fillFlat(flat.codedBlockPattern, kFlatPatternBits, codes::kCodedBlockPattern);
    fillFlat(flat.motionCode, kFlatBits, codes::kMotionCode);
    fillFlat(flat.macroblockIncrement, kFlatBits, codes::kMacroblockIncrement);
    return flat;
}

constexpr BuiltTables kBuilt = buildTables();
static_assert(kBuilt.fit);

}  // namespace

constexpr VlcWords kVlcWords = kBuilt.words;
constexpr FlatTables kFlatTables = buildFlatTables();

}  // namespace tvk
