// SPDX-License-Identifier: BSD-2-Clause
// Breaks streams in ways that broadcast and cut files have.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "stream_writer/random.h"

namespace tvktest {

// Flips bits at random places from `first` on.
inline void flipBits(std::vector<uint8_t> &bytes, size_t first, uint32_t count, uint64_t seed) {
    if (first >= bytes.size()) return;
    Random random(seed);
    const uint32_t room = static_cast<uint32_t>(bytes.size() - first);
    for (uint32_t i = 0; i < count; ++i) {
        uint8_t &byte = bytes[first + random.below(room)];
        byte = static_cast<uint8_t>(byte ^ 1u << random.below(8));
    }
}

// Takes pieces of up to `longest` bytes out.
inline void dropPieces(std::vector<uint8_t> &bytes, size_t first, uint32_t count, uint32_t longest, uint64_t seed) {
    Random random(seed);
    for (uint32_t i = 0; i < count && first < bytes.size(); ++i) {
        const size_t at = first + random.below(static_cast<uint32_t>(bytes.size() - first));
        const size_t end = at + 1 + random.below(longest);
        bytes.erase(bytes.begin() + static_cast<ptrdiff_t>(at),
                    end < bytes.size() ? bytes.begin() + static_cast<ptrdiff_t>(end) : bytes.end());
    }
}

// Copies pieces of up to `longest` bytes once more behind themselves.
inline void doublePieces(std::vector<uint8_t> &bytes, uint32_t count, uint32_t longest, uint64_t seed) {
    Random random(seed);
    for (uint32_t i = 0; i < count; ++i) {
        const size_t at = random.below(static_cast<uint32_t>(bytes.size()));
        const size_t end = std::min(bytes.size(), at + 1 + random.below(longest));
        const std::vector<uint8_t> piece(bytes.begin() + static_cast<ptrdiff_t>(at),
                                         bytes.begin() + static_cast<ptrdiff_t>(end));
        bytes.insert(bytes.begin() + static_cast<ptrdiff_t>(end), piece.begin(), piece.end());
    }
}

// The head of one stream, the tail of another, both cut anywhere, and a part of the first again: sizes and formats
// change behind a torn picture.
inline std::vector<uint8_t> splice(const std::vector<uint8_t> &a, const std::vector<uint8_t> &b, uint64_t seed) {
    Random random(seed);
    std::vector<uint8_t> bytes(a.begin(), a.begin() + random.range(1, static_cast<int32_t>(a.size())));
    bytes.insert(bytes.end(), b.begin() + random.below(static_cast<uint32_t>(b.size())), b.end());
    bytes.insert(bytes.end(), a.begin(), a.begin() + static_cast<ptrdiff_t>(a.size() / 4));
    return bytes;
}

// Puts random bytes over pieces of up to `longest` bytes, start codes as they may fall.
inline void scribble(std::vector<uint8_t> &bytes, size_t first, uint32_t count, uint32_t longest, uint64_t seed) {
    Random random(seed);
    for (uint32_t i = 0; i < count && first < bytes.size(); ++i) {
        const size_t at = first + random.below(static_cast<uint32_t>(bytes.size() - first));
        const size_t end = at + 1 + random.below(longest);
        for (size_t j = at; j < end && j < bytes.size(); ++j) bytes[j] = static_cast<uint8_t>(random.below(256));
    }
}

}  // namespace tvktest
