// SPDX-License-Identifier: BSD-2-Clause
// Byte positions in the three words of an AbsPosition.
#pragma once

#include <algorithm>
#include <cstdint>

#include "tvk.h"

namespace tvk::elementary {

// Where a byte of the video stands: the byte of the file at which its packet begins, and the byte within the packet's
// payload. In an elementary stream the whole file is one packet's payload by bytes: every byte has offset 0.
struct BytePlace {
    uint64_t packet, offset;
};

// The decoder compares positions by the 32-bit sum of words 1 and 2 and takes all zero for none. The measure of a place
// is packet + offset, which rises along a stream as payloads are no longer than the packets that carry them. The sum is
// the measure itself up to 3 GiB and counts steps of 64 KiB from there on; it stays below 2^32, without a carry, for
// all measures below 64 TiB. How the sum is split is free: word 1 is the offset, its low 31 bits, which are never more
// than the sum. Word 0 holds what is left of the measure below a step, a mark above it, and the rest of the offset.
inline constexpr uint64_t kExactPositions = 0xC0000000;
inline constexpr uint32_t kPositionMark = 0x10000;
inline constexpr uint64_t kPositionLimit = uint64_t{1} << 46;
inline constexpr int kLowOffsetBits = 31, kHighOffsetShift = 17;
static_assert(kExactPositions + (kPositionLimit - kExactPositions) / 0x10000 <= 0xFFFFFFFF);
static_assert(kPositionLimit >> kLowOffsetBits << kHighOffsetShift <= uint64_t{1} << 32);

// packet + offset is below kPositionLimit.
inline AbsPosition toAbsPosition(BytePlace place) {
    const uint64_t measure = place.packet + place.offset;
    const uint64_t exact = std::min(measure, kExactPositions);
    const uint64_t rest = measure - exact;
    const uint32_t sum = static_cast<uint32_t>(exact + (rest >> 16));
    const uint32_t low = static_cast<uint32_t>(place.offset & ((uint64_t{1} << kLowOffsetBits) - 1));
    const uint32_t high = static_cast<uint32_t>(place.offset >> kLowOffsetBits << kHighOffsetShift);
    return {{high | kPositionMark | static_cast<uint32_t>(rest & 0xFFFF), low, sum - low}};
}

// False for words that toAbsPosition makes of no place.
inline bool fromAbsPosition(const AbsPosition &words, BytePlace &place) {
    const uint64_t sum = uint64_t{words.words[1]} + words.words[2];
    const uint64_t exact = std::min(sum, kExactPositions);
    const uint64_t measure = exact + ((sum - exact) << 16) + (words.words[0] & 0xFFFF);
    place.offset = words.words[1] | uint64_t{words.words[0] >> kHighOffsetShift} << kLowOffsetBits;
    if (measure >= kPositionLimit || place.offset > measure) return false;
    place.packet = measure - place.offset;
    const AbsPosition again = toAbsPosition(place);
    return std::equal(again.words, again.words + 3, words.words);
}

}  // namespace tvk::elementary
