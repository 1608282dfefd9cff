// SPDX-License-Identifier: BSD-2-Clause
// The slice layer's bit reader: a 64-bit window over the unit's words.
#pragma once

#include <cstdint>

#include "core/inline.h"
#include "input/bit_reader.h"

namespace tvk {

// The next unread bit is bit 63 of `window`. `valid` bits of it are stream bits, those below are zero.
// After refill() at least 32 bits are valid, more than any single element but a matrix takes.
struct BitWindow {
    uint64_t window;
    int32_t valid;
    const uint32_t *next;  // the first word not in the window yet
};

// A copy to work on in registers, and back. Member by member: a copy of the whole record would be read with loads that
// are wider than the stores just made, and would wait for these to reach the cache.
TVK_INLINE BitWindow copyOf(const BitWindow &b) {
    return {b.window, b.valid, b.next};
}
TVK_INLINE void putBack(BitWindow &to, const BitWindow &b) {
    to.window = b.window;
    to.valid = b.valid;
    to.next = b.next;
}

// A word is taken when fewer than 32 bits are valid. Where it pays the compiler makes a branch of it: a foretold one
// keeps the word out of the chain from code to code.
TVK_INLINE void refill(BitWindow &b) {
    const uint64_t word = *b.next;
    const bool take = b.valid < 32;
    b.window |= take ? word << ((32 - b.valid) & 63) : 0;
    b.next += take ? 1 : 0;
    b.valid += take ? 32 : 0;
}

// n from 1 to 32.
TVK_INLINE uint32_t peek(const BitWindow &b, int32_t n) {
    return static_cast<uint32_t>(b.window >> (64 - n));
}

TVK_INLINE void skip(BitWindow &b, int32_t n) {
    b.window <<= n & 63;
    b.valid -= n;
}

// n from 1 to 32; the window must hold them.
TVK_INLINE uint32_t take(BitWindow &b, int32_t n) {
    const uint32_t value = peek(b, n);
    skip(b, n);
    return value;
}

// n from 0 to 31, without a branch where none is foretold.
TVK_INLINE uint32_t takeOrNone(BitWindow &b, int32_t n) {
    const auto value = static_cast<uint32_t>(b.window >> 1 >> (63 - n));
    skip(b, n);
    return value;
}

inline void openWindow(BitWindow &b, const BitReader &r) {
    b.next = r.wordPointer;
    b.window = static_cast<uint64_t>(*b.next++) << 32;
    b.valid = 32;
    skip(b, 31 - r.bitPosition);
    refill(b);
}

// True once all coded words of the unit were taken into the window and used up; kUnitPadding zero bytes follow them.
inline bool exhausted(const BitWindow &b, const BitReader &r) {
    return b.next > r.bufferStart + (r.byteCount + 3) / 4 + 1;
}

}  // namespace tvk
