// SPDX-License-Identifier: BSD-2-Clause
// Byte order of a loaded unit: the reader wants words whose top bit is the stream's first, coded bytes are copied in
// file order.
#include "input/unit_words.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tvk {
namespace {

constexpr uint32_t kNothing[kUnitPadding / 4] = {};

// Two words at once: the bytes of eight reversed, the halves changed back.
uint64_t swappedPair(uint64_t pair) {
    return std::rotl(__builtin_bswap64(pair), 32);
}

// Stores the bytes from..to of `given` in the block as swapped words. Both are multiples of 4, and `given` ends with
// byteCount: of its last word only the bytes that are there are read.
void takeSwapped(VideoInput *input, uint32_t from, uint32_t to) {
    if (from >= to) return;
    const uint32_t ownWords = std::min(to, input->byteCount & ~3u);
    const uint8_t *in = input->given;
    uint8_t *out = input->ownedBytes;
    if (in == out || std::endian::native != std::endian::little) {
        if (in != out) std::memcpy(out + from, in + from, std::min(to, input->byteCount) - from);
        swapWords(out, from, to);
        return;
    }
    uint32_t at = from;
    for (; at + 8 <= ownWords; at += 8) {
        uint64_t pair;
        std::memcpy(&pair, in + at, 8);
        pair = swappedPair(pair);
        std::memcpy(out + at, &pair, 8);
    }
    for (; at < to; at += 4) {
        uint32_t word = 0;
        std::memcpy(&word, in + at, std::min(input->byteCount - at, 4u));
        word = __builtin_bswap32(word);
        std::memcpy(out + at, &word, 4);
    }
}

bool allTaken(const VideoInput *input) {
    return input->takenHead >= input->takenTail;
}

void noteAllTaken(VideoInput *input) {
    input->takenHead = input->takenTail = wholeWords(input->byteCount);
    input->given = input->ownedBytes;
}

}  // namespace

void swapWords(uint8_t *block, uint32_t from, uint32_t to) {
    if constexpr (std::endian::native != std::endian::little) return;
    uint32_t at = from;
    for (; at + 8 <= to; at += 8) {
        uint64_t pair;
        std::memcpy(&pair, block + at, 8);
        pair = swappedPair(pair);
        std::memcpy(block + at, &pair, 8);
    }
    if (at == to) return;
    uint32_t *last = reinterpret_cast<uint32_t *>(block + at);
    *last = __builtin_bswap32(*last);
}

void takeOver(VideoInput *input, uint32_t swapped) {
    if (input->turnedBytes != 0) {
        swapWords(input->ownedBytes, 0, input->turnedBytes);
        input->turnedBytes = 0;
    }
    takeRest(input);
    if (input->swapped == swapped) return;
    swapWords(input->ownedBytes, 0, wholeWords(input->byteCount));
    input->swapped = swapped;
}

void takeRest(VideoInput *input) {
    if (allTaken(input)) return;
    takeSwapped(input, input->takenHead, input->takenTail);
    noteAllTaken(input);
}

void takeOverSwapped(VideoInput *input) {
    takeOver(input, 1);
}

void takeOverRaw(VideoInput *input) {
    takeOver(input, 0);
}

void swapLoadedUnit(VideoInput *input) {
    const PictureUnit *unit = input->unit;
    takeRest(input);
    if (input->turnedBytes == 0 && unit->entryCount != 0) {
        input->turnedBytes = wholeWords(boundedOffset(input, unit->entryCount - 1));
        swapWords(input->ownedBytes, 0, input->turnedBytes);
        return;
    }
    swapWords(input->ownedBytes, 0, input->turnedBytes);
    input->turnedBytes = 0;
}

const uint8_t *borrowBytes(VideoInput *input, uint32_t from, uint32_t to) {
    swapWords(input->ownedBytes, from & ~3u, wholeWords(to));
    return input->ownedBytes + from;
}

void returnBytes(VideoInput *input, uint32_t from, uint32_t to) {
    swapWords(input->ownedBytes, from & ~3u, wholeWords(to));
}

void presentUnit(VideoInput *input, const uint8_t *given, uint32_t byteCount) {
    std::memset(input->ownedBytes + byteCount, 0, kUnitPadding);
    input->byteCount = byteCount;
    input->turnedBytes = 0;
    input->given = given;
    const uint32_t *words = reinterpret_cast<const uint32_t *>(input->ownedBytes);
    input->reader = {words, words, 31, byteCount};
}

void forgetRest(VideoInput *input) {
    noteAllTaken(input);
}

void takeRaw(VideoInput *input) {
    if (input->given != input->ownedBytes) std::memcpy(input->ownedBytes, input->given, input->byteCount);
    input->swapped = 0;
    noteAllTaken(input);
}

void takeHeaders(VideoInput *input) {
    const PictureUnit *unit = input->unit;
    const uint32_t whole = wholeWords(input->byteCount);
    uint32_t head = whole, tail = whole;
    if (unit->sliceCount > 0 && unit->lastSlice >= unit->firstSlice) {
        head = std::min(wholeWords(boundedOffset(input, unit->firstSlice) + kHeaderReach), whole);
        if (unit->lastSlice + 1 < unit->entryCount) tail = boundedOffset(input, unit->lastSlice + 1) & ~3u;
    }
    input->swapped = 1;
    input->takenHead = head;
    input->takenTail = std::max(head, tail);
    takeSwapped(input, 0, head);
    takeSwapped(input, input->takenTail, whole);
    if (allTaken(input)) noteAllTaken(input);
}

void takeHeaderAt(VideoInput *input, uint32_t offset) {
    if (offset >= input->takenTail) return;
    if (offset + kHeaderReach > input->takenHead) takeRest(input);
}

void presentNothing(VideoInput *input) {
    input->unit->entryCount = 0;
    input->unit->currentEntry = 0;
    input->byteCount = 0;
    input->swapped = 1;
    noteAllTaken(input);
    input->turnedBytes = 0;
    input->reader = {kNothing, kNothing, 31, 0};
}

}  // namespace tvk
