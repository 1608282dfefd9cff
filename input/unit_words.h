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

// A unit of `byteCount` bytes in file order at `given`, the block or a buffer of the source, of which nothing is taken
// yet: sets the padding behind it and the reader on its first byte. One of the takes below has to follow.
void presentUnit(VideoInput *input, const uint8_t *given, uint32_t byteCount);
// What is not taken yet counts as taken, with whatever stands in the block.
void forgetRest(VideoInput *input);
// All of it in file order.
void takeRaw(VideoInput *input);
// Its headers in swapped form: what stands ahead of the slices and behind them.
void takeHeaders(VideoInput *input);
// Makes kHeaderReach bytes from `offset` on stand in the block, in swapped form. Slow where no header is to be
// expected.
void takeHeaderAt(VideoInput *input, uint32_t offset);
// Nothing is loaded: the reader stands on zeros outside the block.
void presentNothing(VideoInput *input);

// The table's offset at `entry`, within the unit.
inline uint32_t boundedOffset(const VideoInput *input, int32_t entry) {
    const uint32_t offset = input->unit->startOffsets[entry];
    return offset < input->byteCount ? offset : input->byteCount;
}

}  // namespace tvk
