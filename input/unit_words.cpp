// SPDX-License-Identifier: BSD-2-Clause
// Byte order of a loaded unit: the reader wants words whose top bit is the stream's first, coded bytes are copied in
// file order.
#include "input/unit_words.h"

#include <bit>
#include <cstring>

namespace tvk {
namespace {

constexpr uint32_t kNothing[kUnitPadding / 4] = {};

}  // namespace

void swapWords(uint8_t *block, uint32_t from, uint32_t to) {
    if constexpr (std::endian::native != std::endian::little) return;
    uint32_t *words = reinterpret_cast<uint32_t *>(block);
    for (uint32_t i = from / 4; i < to / 4; ++i) words[i] = __builtin_bswap32(words[i]);
}

void takeOver(VideoInput *input, uint32_t swapped) {
    if (input->turnedBytes != 0) {
        swapWords(input->ownedBytes, 0, input->turnedBytes);
        input->turnedBytes = 0;
    }
    if (input->swapped == swapped) return;
    swapWords(input->ownedBytes, 0, wholeWords(input->byteCount));
    input->swapped = swapped;
}

void takeOverSwapped(VideoInput *input) {
    takeOver(input, 1);
}

void takeOverRaw(VideoInput *input) {
    takeOver(input, 0);
}

void swapLoadedUnit(VideoInput *input) {
    const PictureUnit *unit = input->unit;
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

void presentUnit(VideoInput *input, uint32_t byteCount) {
    std::memset(input->ownedBytes + byteCount, 0, kUnitPadding);
    input->byteCount = byteCount;
    input->swapped = 0;
    input->turnedBytes = 0;
    const uint32_t *words = reinterpret_cast<const uint32_t *>(input->ownedBytes);
    input->reader = {words, words, 31, byteCount};
}

void presentNothing(VideoInput *input) {
    input->unit->entryCount = 0;
    input->unit->currentEntry = 0;
    input->byteCount = 0;
    input->swapped = 1;
    input->turnedBytes = 0;
    input->reader = {kNothing, kNothing, 31, 0};
}

}  // namespace tvk
