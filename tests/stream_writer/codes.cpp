// SPDX-License-Identifier: BSD-2-Clause
// Writes the elements of the macroblock layer that have variable-length codes.
#include "stream_writer/codes.h"

#include <cstddef>
#include <cstdlib>

namespace tvktest {
namespace {

using tvk::CodeBits;
using tvk::RunLevelCode;
using tvk::VlcCode;
namespace codes = tvk::codes;

void put(BitWriter &w, CodeBits bits) {
    w.put(bits.length, bits.code);
}

template <size_t N>
const VlcCode *find(const VlcCode (&list)[N], int32_t value) {
    for (const VlcCode &c : list)
        if (c.value == value) return &c;
    return nullptr;
}

template <size_t N>
void putValue(BitWriter &w, const VlcCode (&list)[N], int32_t value) {
    const VlcCode *code = find(list, value);
    if (code == nullptr) std::abort();  // a test asked for what the syntax cannot say
    put(w, code->bits);
}

const VlcCode *findType(uint32_t pictureType, uint32_t type) {
    const int32_t value = static_cast<int32_t>(type);
    if (pictureType == kPictureI) return find(codes::kMacroblockTypeI, value);
    if (pictureType == kPictureP) return find(codes::kMacroblockTypeP, value);
    return find(codes::kMacroblockTypeB, value);
}

template <size_t N>
const RunLevelCode *findRunLevel(const RunLevelCode (&list)[N], const RunLevel &c) {
    for (const RunLevelCode &code : list)
        if (code.run == c.run && code.level == std::abs(c.level)) return &code;
    return nullptr;
}

const RunLevelCode *findCode(CoefficientTable table, const RunLevel &c) {
    const RunLevelCode *own =
        table == CoefficientTable::b14 ? findRunLevel(codes::kRunLevelsB14, c) : findRunLevel(codes::kRunLevelsB15, c);
    return own ? own : findRunLevel(codes::kRunLevelsShared, c);
}

void putEscape(BitWriter &w, bool mpeg2, const RunLevel &c) {
    put(w, codes::kCoefficientEscape);
    w.put(6, static_cast<uint32_t>(c.run));
    const uint32_t level = static_cast<uint32_t>(c.level);
    if (mpeg2) {
        w.put(12, level & 0xFFF);
    } else if (std::abs(c.level) < 128) {
        w.put(8, level & 0xFF);
    } else {
        w.put(8, c.level < 0 ? 0x80 : 0).put(8, level & 0xFF);
    }
}

}  // namespace

void putIncrement(BitWriter &w, uint32_t increment) {
    for (; increment > 33; increment -= 33) putValue(w, codes::kMacroblockIncrement, tvk::kMacroblockEscape);
    putValue(w, codes::kMacroblockIncrement, static_cast<int32_t>(increment));
}

void putStuffing(BitWriter &w) {
    w.put(11, 15);
}

void putMacroblockType(BitWriter &w, uint32_t pictureType, uint32_t type) {
    const VlcCode *code = findType(pictureType, type);
    if (code == nullptr) std::abort();
    put(w, code->bits);
}

bool hasMacroblockType(uint32_t pictureType, uint32_t type) {
    return findType(pictureType, type) != nullptr;
}

void putCodedBlockPattern(BitWriter &w, uint32_t pattern) {
    putValue(w, codes::kCodedBlockPattern, static_cast<int32_t>(pattern));
}

void putDmVector(BitWriter &w, int32_t value) {
    putValue(w, codes::kDmVector, value);
}

void putMotionDelta(BitWriter &w, uint32_t fCode, int32_t value, int32_t predictor) {
    const int32_t scale = 1 << (fCode - 1);
    int32_t delta = value - predictor;
    if (delta < -16 * scale) delta += 32 * scale;
    if (delta >= 16 * scale) delta -= 32 * scale;
    const int32_t magnitude = std::abs(delta) + scale - 1;
    const int32_t code = delta == 0 ? 0 : magnitude >> (fCode - 1);
    putValue(w, codes::kMotionCode, delta < 0 ? -code : code);
    if (code != 0) w.put(fCode - 1, static_cast<uint32_t>(magnitude & (scale - 1)));
}

void putDcDifference(BitWriter &w, bool luma, int32_t difference) {
    uint32_t size = 0;
    while (std::abs(difference) >> size) ++size;
    const int32_t value = static_cast<int32_t>(size);
    if (luma) {
        putValue(w, codes::kDcSizeLuminance, value);
    } else {
        putValue(w, codes::kDcSizeChrominance, value);
    }
    w.put(size, static_cast<uint32_t>(difference < 0 ? difference - 1 : difference));
}

void putCoefficient(BitWriter &w, CoefficientTable table, bool mpeg2, bool first, const RunLevel &c) {
    const uint32_t sign = c.level < 0;
    if (first && !c.escape && c.run == 0 && std::abs(c.level) == 1) {
        w.put(1, 1).put(1, sign);
        return;
    }
    const RunLevelCode *code = c.escape ? nullptr : findCode(table, c);
    if (code == nullptr) {
        putEscape(w, mpeg2, c);
    } else {
        put(w, code->bits);
        w.put(1, sign);
    }
}

void putEndOfBlock(BitWriter &w, CoefficientTable table) {
    put(w, table == CoefficientTable::b14 ? codes::kEndOfBlockB14 : codes::kEndOfBlockB15);
}

bool lacksCode(CoefficientTable table, const RunLevel &c) {
    return findCode(table, c) == nullptr;
}

}  // namespace tvktest
