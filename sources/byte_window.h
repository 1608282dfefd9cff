// SPDX-License-Identifier: BSD-2-Clause
// The bytes of a stream by their position: all of a memory block, or a sliding piece of a file.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tvk::elementary {

// The largest unit that the decoder takes, so the longest run of bytes that is ever wanted in one piece.
inline constexpr size_t kLargestUnit = 0x400000;

// Reading goes through pread and a block of our own. A mapping would save one copy of the coded bytes, a few
// percent of the time of a scan and nothing of a decode, but a file that shrinks under a mapping kills the process.
struct ByteWindow {
    const uint8_t *bytes;  // of position `start`
    uint64_t start;
    size_t length;
    uint64_t size;    // of the whole stream, as it was at opening
    uint8_t *block;   // null when the stream is in memory
    int file;         // -1 when the stream is in memory
    int32_t failure;  // why the last viewBytes gave less than it could have: 0 or a source code
};

bool openMemoryWindow(ByteWindow &window, const uint8_t *bytes, uint64_t size);
// Takes over the file. False when out of memory.
bool openFileWindow(ByteWindow &window, int file, uint64_t size);
void closeWindow(ByteWindow &window);

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
