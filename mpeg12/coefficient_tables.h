// SPDX-License-Identifier: BSD-2-Clause
// Coefficient codes in the form that the full-size coefficient decoders look them up: one load gives all there is.
#pragma once

#include <cstdint>

#include "mpeg12/vlc_codes.h"

namespace tvk {

// The length comes first, in the lowest byte of the entry's word: a shift by it needs no extraction.
struct CoefficientCode {
    uint8_t length;  // of the whole code with its sign bit, 2..17
    uint8_t step;    // run + 1, 1..32, or a mark of 0x80 and above
    int16_t level;   // intra: -40..40. Non-intra: 2 * level + sign of level, -81..81. 0 in the special entries.
};

enum CoefficientStep : uint8_t {
    stepSpecial = 0x80,  // the bit that all marks have in common
    stepEndOfBlock = 0x80,
    stepEscape = 0x81,
    stepInvalid = 0x82
};

inline constexpr int32_t kLongestCoefficientCode = 17;

// How many bits the next one or two run-level codes take, of those that `first` knows, where they lie within the next
// kCodePairBits bits. Reading on waits for this length alone; what the codes say is looked up beside it.
inline constexpr int32_t kCodePairBits = 12;
struct CodePairs {
    static constexpr int32_t kTwoShift = 7;      // of the bit that tells two codes; shifts by an entry do not see it
    alignas(64) uint8_t at[1 << kCodePairBits];  // 0: something else comes first
};

// An invalid code takes as many bits as the longest code of its table. No pattern of 9 bits from 8 upward is
// unassigned, in either table, so `first` holds no invalid entry.
struct CoefficientSet {
    alignas(64) CoefficientCode first[512];   // by the next 9 bits, when these are 8 or more
    alignas(64) CoefficientCode second[256];  // by the next 9 bits, 1 to 7, plus 8 times the 5 bits behind them
    alignas(64) CoefficientCode third[256];   // the 9 bits being 0: by the 8 bits behind them
    CodePairs pairs;
    CodeBits endOfBlock;
};

extern const CoefficientSet kCoefficientsNonIntra;  // B-14, levels doubled

// The first array for a non-intra block's first code, where a leading 1 and a sign are run 0 and level 1 or -1.
struct FirstCodes {
    alignas(64) CoefficientCode first[512];
    CodePairs pairs;  // such a code, and one behind it
};
extern const FirstCodes kFirstNonIntra;
extern const CoefficientSet kCoefficientsIntraB14;
extern const CoefficientSet kCoefficientsIntraB15;

inline constexpr int32_t kFirstArrayBits = 9;

// `next` holds the next 17 bits.
constexpr const CoefficientCode &findCoefficient(const CoefficientSet &set, uint32_t next) {
    const uint32_t head = next >> 8;
    if (head >= 8) return set.first[head];
    if (head != 0) return set.second[head + 8 * (next >> 3 & 31)];
    return set.third[next];
}

// What the next bits hold in whole codes, for a reader that wants none of their values: their bits together, up to and
// with an end of block. A length of 0: the first code is longer than the index, an escape or invalid.
struct CodeStep {
    uint8_t length;
    bool endOfBlock;
};

inline constexpr int32_t kCodeStepBits = 12;
struct CodeSteps {
    alignas(64) CodeStep at[1 << kCodeStepBits];
};
extern const CodeSteps kStepsB14, kStepsB15;

}  // namespace tvk
