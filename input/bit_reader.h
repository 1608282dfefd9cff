// SPDX-License-Identifier: BSD-2-Clause
// Reading bits of a loaded unit: 32-bit words in native order whose top bit is the first bit of the stream.
#pragma once

#include <cstdint>

namespace tvk {

// `wordPointer` addresses the word with the next unread bit, `bitPosition` is that bit's index counted from the least
// significant one: 31 is the top of the word. The position never rests at -1. Behind byteCount the words are zero, as
// many as any element consumes (kUnitPadding), and SetBytePosition clamps to byteCount.
struct BitReader {
    const uint32_t *bufferStart;
    const uint32_t *wordPointer;
    int32_t bitPosition;
    uint32_t byteCount;
};

// n from 0 to 31. Returned with whatever lay above the n bits still in the high part: callers mask.
inline uint32_t GetBits(BitReader &r, int32_t n) {
    const int32_t p = r.bitPosition - n;
    const uint32_t word = *r.wordPointer;
    if (p >= 0) {
        r.bitPosition = p;
        return word >> p >> 1;
    }
    ++r.wordPointer;
    r.bitPosition = p + 32;
    return word << (-p - 1) | *r.wordPointer >> (p + 32) >> 1;
}

// 32 bits; the bit position stays.
inline uint32_t GetWord(BitReader &r) {
    const int32_t p = r.bitPosition;
    const uint32_t head = p == 31 ? *r.wordPointer : *r.wordPointer & ((2u << p) - 1);
    ++r.wordPointer;
    return head << (31 - p) | *r.wordPointer >> p >> 1;
}

// n from 1 to 31, masked; consumes nothing.
inline uint32_t PeekBits(const BitReader &r, int32_t n) {
    BitReader copy = r;
    return GetBits(copy, n) & ((1u << n) - 1);
}

// n up to 32.
inline void UngetBits(BitReader &r, int32_t n) {
    r.bitPosition += n;
    if (r.bitPosition > 31) {
        r.bitPosition -= 32;
        --r.wordPointer;
    }
}

// Masked GetBits, for one field at a time.
inline uint32_t getField(BitReader &r, int32_t n) {
    return GetBits(r, n) & ((1u << n) - 1);
}

// n up to 8.
inline uint8_t getByte(BitReader &r, int32_t n) {
    return static_cast<uint8_t>(getField(r, n));
}

// Offset in the unit of the byte that holds the next bit.
inline uint32_t BytePosition(const BitReader &r) {
    return static_cast<uint32_t>((31 - r.bitPosition) / 8) + 4 * static_cast<uint32_t>(r.wordPointer - r.bufferStart);
}

inline void SetBytePosition(BitReader &r, uint32_t offset) {
    if (offset > r.byteCount) offset = r.byteCount;
    r.wordPointer = r.bufferStart + offset / 4;
    r.bitPosition = 31 - 8 * static_cast<int32_t>(offset % 4);
}

// Offset of the four bytes just read, such as a start code.
inline uint32_t lastCodeOffset(const BitReader &r) {
    const uint32_t position = BytePosition(r);
    return position < 4 ? 0 : position - 4;
}

// True while the next bit lies within the coded bytes.
inline bool insideUnit(const BitReader &r) {
    return BytePosition(r) < r.byteCount;
}

}  // namespace tvk
