// SPDX-License-Identifier: BSD-2-Clause
// The code lists as the tests walk them: one flat list per lookup table, signs included.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "mpeg12/vlc_codes.h"
#include "mpeg12/vlc_tables.h"

namespace tvk::test {

struct FlatCode {
    uint32_t code;
    int32_t length;
    int32_t value;
};

struct FlatCoefficient {
    uint32_t code;
    int32_t length;
    int32_t run;
    int32_t level;
};

template <size_t N>
std::vector<FlatCode> flatten(const VlcCode (&list)[N]) {
    std::vector<FlatCode> flat;
    for (const VlcCode &c : list) flat.push_back({c.bits.code, c.bits.length, c.value});
    return flat;
}

// The codes of the tables ahead of the coefficients'.
inline std::vector<FlatCode> codeList(int32_t table) {
    switch (table) {
        case vlcMacroblockIncrement:
            return flatten(codes::kMacroblockIncrement);
        case vlcMacroblockTypeI:
            return flatten(codes::kMacroblockTypeI);
        case vlcMacroblockTypeP:
            return flatten(codes::kMacroblockTypeP);
        case vlcMacroblockTypeB:
            return flatten(codes::kMacroblockTypeB);
        case vlcMacroblockTypeISpatial:
            return flatten(codes::kMacroblockTypeISpatial);
        case vlcMacroblockTypePSpatial:
            return flatten(codes::kMacroblockTypePSpatial);
        case vlcMacroblockTypeBSpatial:
            return flatten(codes::kMacroblockTypeBSpatial);
        case vlcMacroblockTypeSnr:
            return flatten(codes::kMacroblockTypeSnr);
        case vlcCodedBlockPattern:
            return flatten(codes::kCodedBlockPattern);
        case vlcMotionCode:
            return flatten(codes::kMotionCode);
        case vlcDmVector:
            return flatten(codes::kDmVector);
        case vlcDcSizeLuminance:
            return flatten(codes::kDcSizeLuminance);
        case vlcDcSizeChrominance:
            return flatten(codes::kDcSizeChrominance);
        default:
            return {};
    }
}

inline void appendSigned(std::vector<FlatCoefficient> &flat, const RunLevelCode &c) {
    flat.push_back({c.bits.code * 2u, c.bits.length + 1, c.run, c.level});
    flat.push_back({c.bits.code * 2u + 1, c.bits.length + 1, c.run, -c.level});
}

// Every run and level with both signs; end of block and escape are not in it.
inline std::vector<FlatCoefficient> coefficientList(bool tableOne) {
    std::vector<FlatCoefficient> flat;
    if (tableOne) {
        for (const RunLevelCode &c : codes::kRunLevelsB15) appendSigned(flat, c);
    } else {
        for (const RunLevelCode &c : codes::kRunLevelsB14) appendSigned(flat, c);
    }
    for (const RunLevelCode &c : codes::kRunLevelsShared) appendSigned(flat, c);
    return flat;
}

inline CodeBits endOfBlock(bool tableOne) {
    return tableOne ? codes::kEndOfBlockB15 : codes::kEndOfBlockB14;
}

// All codes of a coefficient table with the packed values of its lookup form.
inline std::vector<FlatCode> packedCoefficientList(bool tableOne) {
    std::vector<FlatCode> flat;
    for (const FlatCoefficient &c : coefficientList(tableOne)) flat.push_back({c.code, c.length, c.level * 32 + c.run});
    const CodeBits end = endOfBlock(tableOne);
    flat.push_back({end.code, end.length, kCoefficientEndOfBlock});
    flat.push_back({codes::kCoefficientEscape.code, codes::kCoefficientEscape.length, kCoefficientEscapeValue});
    return flat;
}

}  // namespace tvk::test
