// SPDX-License-Identifier: BSD-2-Clause
// The coefficient sets against the code lists, and the two lookup forms against each other.
#include "mpeg12/coefficient_tables.h"

#include <map>
#include <set>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "mpeg12/code_lists.h"

namespace tvk::test {
namespace {

struct NamedSet {
    const char *name;
    const CoefficientSet *set;
    bool tableOne;
    bool doubled;
};

const NamedSet kSets[] = {
    {"non-intra", &kCoefficientsNonIntra, false, true},
    {"intra, B-14", &kCoefficientsIntraB14, false, false},
    {"intra, B-15", &kCoefficientsIntraB15, true, false},
};

int32_t expectedLevel(int32_t level, bool doubled) {
    if (!doubled) return level;
    return level < 0 ? 2 * level - 1 : 2 * level + 1;
}

TEST(CoefficientSets, everyCodeWithBothSignsGivesItsRunAndLevelWhateverFollows) {
    for (const NamedSet &s : kSets) {
        for (const FlatCoefficient &c : coefficientList(s.tableOne)) {
            const uint32_t spare = 17u - static_cast<uint32_t>(c.length);
            for (uint32_t tail = 0; tail < 1u << spare; ++tail) {
                const CoefficientCode &found = findCoefficient(*s.set, (c.code << spare) + tail);
                ASSERT_EQ(found.level, expectedLevel(c.level, s.doubled)) << s.name << " run " << c.run;
                ASSERT_EQ(found.step, c.run + 1) << s.name << " level " << c.level;
                ASSERT_EQ(found.length, c.length) << s.name << " level " << c.level;
            }
        }
    }
}

TEST(CoefficientSets, endOfBlockAndEscapeAreMarked) {
    for (const NamedSet &s : kSets) {
        const uint32_t end = s.tableOne ? 6u << 13 : 2u << 15;
        EXPECT_EQ(findCoefficient(*s.set, end).step, stepEndOfBlock) << s.name;
        EXPECT_EQ(findCoefficient(*s.set, end).length, s.tableOne ? 4 : 2) << s.name;
        EXPECT_EQ(findCoefficient(*s.set, 1u << 11).step, stepEscape) << s.name;
        EXPECT_EQ(findCoefficient(*s.set, 1u << 11).length, 6) << s.name;
    }
}

TEST(CoefficientSets, unassignedPatternsTakeTheLongestCodesBits) {
    for (const NamedSet &s : kSets) {
        const auto list = packedCoefficientList(s.tableOne);
        for (uint32_t next17 = 0; next17 < 1u << 17; ++next17) {
            bool assigned = false;
            for (const FlatCode &c : list) assigned = assigned || next17 >> (17 - c.length) == c.code;
            const CoefficientCode &found = findCoefficient(*s.set, next17);
            ASSERT_EQ(found.step == stepInvalid, !assigned) << s.name << " bits " << next17;
            ASSERT_TRUE(assigned || found.length == 17);
        }
    }
}

TEST(CoefficientSets, shortestLookupNeverMeetsAnInvalidCode) {
    for (const NamedSet &s : kSets)
        for (uint32_t head = 8; head < 512; ++head) EXPECT_NE(s.set->first[head].step, stepInvalid) << s.name;
}

TEST(CoefficientSets, marksAreToldFromStepsByOneBit) {
    for (const NamedSet &s : kSets) {
        for (uint32_t next17 = 0; next17 < 1u << 17; ++next17) {
            const CoefficientCode &c = findCoefficient(*s.set, next17);
            if (c.step & stepSpecial) {
                ASSERT_EQ(c.level, 0);
            } else {
                ASSERT_NE(c.level, 0);
                ASSERT_GE(c.step, 1);
                ASSERT_LE(c.step, 32);
            }
            ASSERT_GE(c.length, 2);
            ASSERT_LE(c.length, 17);
        }
    }
}

// The largest level that each run has a code for, the same in both of the standard's tables.
TEST(CoefficientSets, levelsOfEachRunAreThoseOfTheStandard) {
    std::map<int32_t, int32_t> largest = {{0, 40}, {1, 18}, {2, 5}, {3, 4}, {4, 3}, {5, 3}, {6, 3}};
    for (int32_t run = 7; run <= 16; ++run) largest[run] = 2;
    for (int32_t run = 17; run <= 31; ++run) largest[run] = 1;
    for (const bool tableOne : {false, true}) {
        std::set<std::pair<int32_t, int32_t>> seen;
        for (const FlatCoefficient &c : coefficientList(tableOne))
            EXPECT_TRUE(seen.insert({c.run, c.level}).second) << "run " << c.run << " level " << c.level;
        for (const auto &[run, most] : largest)
            for (int32_t level = 1; level <= most; ++level) {
                EXPECT_EQ(seen.count({run, level}), 1u) << "run " << run << " level " << level;
                EXPECT_EQ(seen.count({run, -level}), 1u) << "run " << run << " level " << -level;
            }
        EXPECT_EQ(seen.size(), 222u);
    }
}

// The obvious form: whole codes one by one as long as they fit.
TEST(CodeSteps, holdAsManyWholeCodesAsFitUpToAnEndOfBlock) {
    const std::pair<const CodeSteps *, const CoefficientSet *> kPairs[] = {{&kStepsB14, &kCoefficientsIntraB14},
                                                                           {&kStepsB15, &kCoefficientsIntraB15}};
    for (const auto &[steps, set] : kPairs) {
        for (uint32_t index = 0; index < 1U << kCodeStepBits; ++index) {
            const CodeStep step = steps->at[index];
            int32_t used = 0;
            bool ended = false;
            while (!ended && used < kCodeStepBits) {
                // The same first code whatever follows the index: it lies within it.
                const uint32_t left = index << (32 - kCodeStepBits + used);
                const uint32_t ones = 0xFFFFFFFFU >> (kCodeStepBits - used);
                const CoefficientCode &zeros = findCoefficient(*set, left >> 15);
                const CoefficientCode &filled = findCoefficient(*set, (left | ones) >> 15);
                if (&zeros != &filled && (zeros.length != filled.length || zeros.step != filled.step)) break;
                if (zeros.length > kCodeStepBits - used || zeros.step == stepEscape) break;
                used += zeros.length;
                ended = zeros.step == stepEndOfBlock;
            }
            ASSERT_EQ(step.length, used) << index;
            ASSERT_EQ(step.endOfBlock, ended) << index;
        }
    }
}

// The code that an index of kCodePairBits bits holds from bit `used` on, whatever follows the index. None where that
// matters, and for anything but a run-level code that the first array knows.
const CoefficientCode *runLevelWithin(const CoefficientCode (&first)[512], uint32_t index, int32_t used) {
    const uint32_t left = index << (32 - kCodePairBits + used);
    const uint32_t ones = 0xFFFFFFFFU >> (kCodePairBits - used);
    const CoefficientCode &zeros = first[left >> 23], &filled = first[(left | ones) >> 23];
    const bool same = zeros.length == filled.length && zeros.step == filled.step && zeros.level == filled.level;
    return same && !(zeros.step & stepSpecial) && zeros.length <= kCodePairBits - used ? &zeros : nullptr;
}

TEST(CodePairs, reachAsFarAsTheRunLevelCodesWithinTheirIndex) {
    struct Case {
        const CodePairs &pairs;
        const CoefficientCode (&start)[512];
        const CoefficientSet &set;
    };
    const Case cases[] = {
        {kCoefficientsIntraB14.pairs, kCoefficientsIntraB14.first, kCoefficientsIntraB14},
        {kCoefficientsIntraB15.pairs, kCoefficientsIntraB15.first, kCoefficientsIntraB15},
        {kCoefficientsNonIntra.pairs, kCoefficientsNonIntra.first, kCoefficientsNonIntra},
        {kFirstNonIntra.pairs, kFirstNonIntra.first, kCoefficientsNonIntra},
    };
    for (const Case &c : cases)
        for (uint32_t index = 0; index < 1U << kCodePairBits; ++index) {
            const CoefficientCode *first = runLevelWithin(c.start, index, 0);
            const CoefficientCode *second = first ? runLevelWithin(c.set.first, index, first->length) : nullptr;
            const int32_t length = (first ? first->length : 0) + (second ? second->length : 0);
            ASSERT_EQ(c.pairs.at[index], length + (second ? 1 << CodePairs::kTwoShift : 0)) << index;
        }
}

}  // namespace
}  // namespace tvk::test
