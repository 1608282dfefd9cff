// SPDX-License-Identifier: BSD-2-Clause
// The slice layer's bit reader: a 64-bit window over the unit's words.
#pragma once

#include <cstdint>

#include "input/bit_reader.h"

namespace tvk {

// The next unread bit is bit 63 of `window`. `valid` bits of it are stream bits, those below are zero.
// After refill() at least 32 bits are valid, more than any single element but a matrix takes.
struct BitWindow {
    uint64_t window;
    const uint32_t *next;  // the first word not in the window yet
    const uint32_t *end;   // first word behind the unit's coded bytes; kUnitPadding zero bytes follow
    int32_t valid;
};

// A word is taken when fewer than 32 bits are valid; written without a branch, since refills follow no pattern.
inline void refill(BitWindow &b) {
    const uint64_t word = *b.next;
    const bool take = b.valid < 32;
    b.window |= take ? word << ((32 - b.valid) & 63) : 0;
    b.next += take ? 1 : 0;
    b.valid += take ? 32 : 0;
}

inline uint32_t peek(const BitWindow &b, int32_t n) {
    return static_cast<uint32_t>(b.window >> (64 - n));
}

inline void skip(BitWindow &b, int32_t n) {
    b.window <<= n;
    b.valid -= n;
}

// n from 1 to 32; the window must hold them.
inline uint32_t take(BitWindow &b, int32_t n) {
    const uint32_t value = peek(b, n);
    skip(b, n);
    return value;
}

inline void openWindow(BitWindow &b, const BitReader &r) {
    b.next = r.wordPointer;
    b.end = r.bufferStart + (r.byteCount + 3) / 4;
    b.window = static_cast<uint64_t>(*b.next++) << 32;
    b.valid = 32;
    skip(b, 31 - r.bitPosition);
    refill(b);
}

// True once all coded words were taken into the window and used up.
inline bool exhausted(const BitWindow &b) {
    return b.next > b.end + 1;
}

}  // namespace tvk
