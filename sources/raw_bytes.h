// SPDX-License-Identifier: BSD-2-Clause
// The bytes that a source was opened on, by their position: a memory block, a file, or a pipe that is read once.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tvk::elementary {

// Reading goes through pread into a buffer of our own. A mapping would save one copy of the coded bytes, a third of the
// time of an index scan and nothing of a decode, but a file that shrinks under a mapping kills the process. Who can
// rule that out maps the file and opens the mapped bytes as memory.
struct RawBytes {
    const uint8_t *memory;  // null when there is a file
    int file;               // -1 in memory
    uint64_t size;          // kEndUnknown for a pipe until its end has been met
    bool sequential;        // a pipe: every byte comes once
    bool growing;           // what lies behind the end may still come
    // Of a pipe: its bytes so far, for as long as it is not settled what it holds; afterwards what is still unread.
    uint8_t *head;
    size_t headLength, headCapacity;
    bool keepHead;
    uint64_t pipePosition;
};

inline constexpr uint64_t kEndUnknown = UINT64_MAX;

void openMemoryBytes(RawBytes &raw, const uint8_t *bytes, uint64_t size);
// Takes over the descriptor. Of a pipe everything read is kept until keepHead is cleared.
void openFileBytes(RawBytes &raw, int file, uint64_t size);
void openPipeBytes(RawBytes &raw, int file);
void closeBytes(RawBytes &raw);

// Reads up to `room` bytes from `position` on, fewer where the bytes end. 0 at the end, or with `failure` set to
// a code. A pipe gives only what lies ahead of it or in its head.
size_t readBytes(RawBytes &raw, uint64_t position, uint8_t *into, size_t room, int32_t &failure);

// Looks whether a growing file has grown.
void refreshSize(RawBytes &raw);

}  // namespace tvk::elementary
