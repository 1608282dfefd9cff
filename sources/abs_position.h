// SPDX-License-Identifier: BSD-2-Clause
// Byte positions in the three words of an AbsPosition.
#pragma once

#include <algorithm>
#include <cstdint>

#include "tvk.h"

namespace tvk::elementary {

// The decoder compares positions by the 32-bit sum of words 1 and 2 and takes all zero for none. So the sum is the
// position itself up to 3 GiB and counts steps of 64 KiB from there on, and word 0 holds what is left below a step,
// with a mark above it: sum = word 2 + word 1, position = word 2 + 65536 * word 1 + low half of word 0. The sum
// stays below 2^32, without a carry, for all positions below 64 TiB.
inline constexpr uint64_t kExactPositions = 0xC0000000;
inline constexpr uint32_t kPositionMark = 0x10000;
inline constexpr uint64_t kPositionLimit = uint64_t{1} << 46;
static_assert(kExactPositions + (kPositionLimit - kExactPositions) / 0x10000 <= 0xFFFFFFFF);

inline AbsPosition toAbsPosition(uint64_t position) {
    const uint64_t exact = std::min(position, kExactPositions);
    const uint64_t rest = position - exact;
    return {{kPositionMark | static_cast<uint32_t>(rest & 0xFFFF), static_cast<uint32_t>(rest >> 16),
             static_cast<uint32_t>(exact)}};
}

// False for words that toAbsPosition makes of no position.
inline bool fromAbsPosition(const AbsPosition &words, uint64_t &position) {
    position = words.words[2] + (uint64_t{words.words[1]} << 16) + (words.words[0] & 0xFFFF);
    const AbsPosition again = toAbsPosition(position);
    return position < kPositionLimit && std::equal(again.words, again.words + 3, words.words);
}

}  // namespace tvk::elementary
