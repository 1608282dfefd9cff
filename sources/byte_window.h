// SPDX-License-Identifier: BSD-2-Clause
// The bytes of a stream by their position: all of a memory block, or a piece that slides over what a file holds.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sources/raw_bytes.h"

namespace tvk::elementary {

// The largest unit that the decoder takes, so the longest run of bytes that is ever wanted in one piece.
inline constexpr size_t kLargestUnit = 0x400000;

struct ByteWindow {
    const uint8_t *bytes;  // of position `start`
    uint64_t start;
    size_t length;
    uint64_t size;    // of the whole stream; kEndUnknown where only reading tells
    uint8_t *block;   // null when the stream is in memory
    size_t capacity;  // of the block
    int32_t failure;  // why the last viewBytes gave less than it could have: 0 or a source code
    // Gives up to `room` bytes of the stream from `position` on, which is where the last ones ended unless the window
    // has been moved. 0 at the end, or with `failure` set.
    size_t (*fill)(ByteWindow &window, uint64_t position, uint8_t *into, size_t room);
    void *origin;  // what fill reads
};

// The window over an elementary stream. The bytes stay where they are and have to outlive it. False when out of
// memory, or when a memory block is larger than memory can be.
bool openRawWindow(ByteWindow &window, RawBytes &raw);
// A window that is filled by `fill` alone.
bool openFilledWindow(ByteWindow &window, size_t (*fill)(ByteWindow &, uint64_t, uint8_t *, size_t), void *origin);
void closeWindow(ByteWindow &window);

// Forgets what it holds: what was read before is no longer what stands there. The next fill may be at 0.
void emptyWindow(ByteWindow &window);

// Makes `wanted` bytes (at most kLargestUnit + 64) from `position` on stand in one piece at `bytes`. Returns how many
// do: more than wanted when they are there anyway, fewer only at the end of the stream or with `failure` set. The piece
// is valid until the next call.
size_t viewBytes(ByteWindow &window, uint64_t position, size_t wanted, const uint8_t *&bytes);

struct FoundCode {
    uint64_t position;
    uint32_t code;  // 0x100 added
};

// The first start code that lies wholly in [from, limit). False when there is none or reading fails.
bool findCodeFrom(ByteWindow &window, uint64_t from, uint64_t limit, FoundCode &found);

}  // namespace tvk::elementary
