// SPDX-License-Identifier: BSD-2-Clause
// The words of the input's block: bounds, byte order, what the reader stands on. Within the input layer only.
#pragma once

#include <cstdint>

#include "input/video_input.h"

namespace tvk {

// Up to the end of the word that holds the last of `bytes`; the padding makes that word whole.
inline uint32_t wholeWords(uint32_t bytes) {
    return (bytes + 3) & ~3u;
}

// Reverses the bytes of each word from byte `from` up to byte `to`, both multiples of 4.
void swapWords(uint8_t *block, uint32_t from, uint32_t to);

// Gives all words of the loaded unit one form, whatever was turned before.
void takeOver(VideoInput *input, uint32_t swapped);

// Sets the padding behind `byteCount` bytes of the block, which are in file order, and the reader on the first.
void presentUnit(VideoInput *input, uint32_t byteCount);
// Nothing is loaded: the reader stands on zeros outside the block.
void presentNothing(VideoInput *input);

// The table's offset at `entry`, within the unit.
inline uint32_t boundedOffset(const VideoInput *input, int32_t entry) {
    const uint32_t offset = input->unit->startOffsets[entry];
    return offset < input->byteCount ? offset : input->byteCount;
}

}  // namespace tvk
