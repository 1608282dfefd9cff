// SPDX-License-Identifier: BSD-2-Clause
// Computes the coefficient decoders' lookup sets from the standard's code lists.
#include "mpeg12/coefficient_tables.h"

#include <cstddef>

#include "mpeg12/vlc_codes.h"

namespace tvk {
namespace {

// Enters a code of 2 to 17 bits at every index that begins with it.
constexpr void enter(CoefficientSet &set, uint32_t code, int32_t length, int32_t level, uint8_t step) {
    const CoefficientCode entry{static_cast<uint8_t>(length), step, static_cast<int16_t>(level)};
    if (length <= 9) {
        for (uint32_t i = 0; i < 1u << (9 - length); ++i) set.first[(code << (9 - length)) + i] = entry;
    } else if (length <= 14) {
        const uint32_t head = code >> (length - 9);
        const uint32_t tail = (code << (14 - length)) & 31;
        for (uint32_t i = 0; i < 1u << (14 - length); ++i) set.second[head + 8 * (tail + i)] = entry;
    } else {
        for (uint32_t i = 0; i < 1u << (17 - length); ++i) set.third[(code << (17 - length)) + i] = entry;
    }
}

constexpr void enterRunLevel(CoefficientSet &set, const RunLevelCode &c, bool doubled) {
    const int32_t level = doubled ? 2 * c.level + 1 : c.level;
    const uint8_t step = static_cast<uint8_t>(c.run + 1);
    enter(set, c.bits.code * 2u, c.bits.length + 1, level, step);
    enter(set, c.bits.code * 2u + 1, c.bits.length + 1, -level, step);
}

// The length of the run-level code at the head of `known` bits, bit 11 being the first; 0 where there is none.
constexpr int32_t runLevelLength(const CoefficientCode (&first)[512], uint32_t bits, int32_t known) {
    const uint32_t head = (bits & ((1U << kCodePairBits) - 1)) >> (kCodePairBits - kFirstArrayBits);
    const CoefficientCode &code = first[head];
    return (code.step & stepSpecial) || code.length > known ? 0 : code.length;
}

// `start` is for the first of the two codes.
constexpr CodePairs buildPairs(const CoefficientCode (&start)[512], const CoefficientCode (&first)[512]) {
    CodePairs pairs{};
    for (uint32_t i = 0; i < 1U << kCodePairBits; ++i) {
        const int32_t one = runLevelLength(start, i, kCodePairBits);
        const int32_t two = one == 0 ? 0 : runLevelLength(first, i << one, kCodePairBits - one);
        pairs.at[i] = static_cast<uint8_t>((one + two) | (two != 0) << CodePairs::kTwoShift);
    }
    return pairs;
}

template <size_t N>
constexpr CoefficientSet buildSet(const RunLevelCode (&own)[N], CodeBits endOfBlock, bool doubled) {
    CoefficientSet set{};
    const CoefficientCode invalid{kLongestCoefficientCode, stepInvalid, 0};
    for (CoefficientCode &c : set.first) c = invalid;
    for (CoefficientCode &c : set.second) c = invalid;
    for (CoefficientCode &c : set.third) c = invalid;
    set.endOfBlock = endOfBlock;
    enter(set, endOfBlock.code, endOfBlock.length, 0, stepEndOfBlock);
    enter(set, codes::kCoefficientEscape.code, codes::kCoefficientEscape.length, 0, stepEscape);
    for (const RunLevelCode &c : own) enterRunLevel(set, c, doubled);
    for (const RunLevelCode &c : codes::kRunLevelsShared) enterRunLevel(set, c, doubled);
    set.pairs = buildPairs(set.first, set.first);
    return set;
}

constexpr FirstCodes buildFirstNonIntra(const CoefficientSet &set) {
    FirstCodes codes{};
    for (uint32_t i = 0; i < 256; ++i) codes.first[i] = set.first[i];
    for (uint32_t i = 256; i < 512; ++i) codes.first[i] = {2, 1, static_cast<int16_t>(i < 384 ? 3 : -3)};
    codes.pairs = buildPairs(codes.first, set.first);
    return codes;
}

constexpr CodeStep stepOf(const CoefficientSet &set, uint32_t bits) {
    CodeStep step{};
    while (!step.endOfBlock) {
        // The zeros behind the bits that are left belong to no code that is not longer than these.
        const uint32_t left = bits << step.length & ((1U << kCodeStepBits) - 1);
        const CoefficientCode &code = findCoefficient(set, left << (kLongestCoefficientCode - kCodeStepBits));
        if (step.length + code.length > kCodeStepBits || code.step == stepEscape) break;
        step.length = static_cast<uint8_t>(step.length + code.length);
        step.endOfBlock = code.step == stepEndOfBlock;
    }
    return step;
}

constexpr CodeSteps buildSteps(const CoefficientSet &set) {
    CodeSteps steps{};
    for (uint32_t i = 0; i < 1U << kCodeStepBits; ++i) steps.at[i] = stepOf(set, i);
    return steps;
}

}  // namespace

constexpr CoefficientSet kCoefficientsNonIntra = buildSet(codes::kRunLevelsB14, codes::kEndOfBlockB14, true);
constexpr FirstCodes kFirstNonIntra = buildFirstNonIntra(kCoefficientsNonIntra);
constexpr CoefficientSet kCoefficientsIntraB14 = buildSet(codes::kRunLevelsB14, codes::kEndOfBlockB14, false);
constexpr CoefficientSet kCoefficientsIntraB15 = buildSet(codes::kRunLevelsB15, codes::kEndOfBlockB15, false);

constexpr CodeSteps kStepsB14 = buildSteps(kCoefficientsIntraB14);
constexpr CodeSteps kStepsB15 = buildSteps(kCoefficientsIntraB15);

}  // namespace tvk
