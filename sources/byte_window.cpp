// SPDX-License-Identifier: BSD-2-Clause
// Sliding over a file, and searching along the slide.
#include "sources/byte_window.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "sources/start_code_scan.h"

namespace tvk::elementary {
namespace {

// Small enough that a piece is still in the second-level cache when it is searched.
constexpr size_t kReadPiece = 0x40000;
constexpr size_t kWantedMost = kLargestUnit + 64;
constexpr size_t kBlockBytes = kWantedMost + kReadPiece;

// Bytes between the front of the block and the window's first.
size_t slideOf(const ByteWindow &window) {
    return static_cast<size_t>(window.bytes - window.block);
}

// Makes the window begin at `position`, keeping what it has from there on. The block's front is taken again only when
// less has to be moved than has been passed, so that many small fills cost one move in all.
void moveTo(ByteWindow &window, uint64_t position, size_t wanted) {
    const bool inside = position >= window.start && position - window.start < window.length;
    if (!inside) {
        window.bytes = window.block;
        window.length = 0;
    } else {
        const size_t passed = static_cast<size_t>(position - window.start);
        window.bytes += passed;
        window.length -= passed;
        const size_t slide = slideOf(window);
        const bool full = window.capacity - slide < wanted;
        if (slide != 0 && (full || slide >= window.length)) {
            std::memmove(window.block, window.bytes, window.length);
            window.bytes = window.block;
        }
    }
    window.start = position;
}

// Appends a piece of the stream. False at an error or when there is no more.
bool readPiece(ByteWindow &window, size_t wanted) {
    const size_t used = slideOf(window) + window.length;
    const size_t room = std::min(std::max(wanted - window.length, kReadPiece), window.capacity - used);
    const uint64_t position = window.start + window.length;
    const size_t got = room == 0 ? 0 : window.fill(window, position, window.block + used, room);
    window.length += got;
    return got != 0;
}

// A growing file has no last byte yet.
uint64_t sizeOf(const RawBytes &raw) {
    return raw.growing ? kEndUnknown : raw.size;
}

size_t fillFromRaw(ByteWindow &window, uint64_t position, uint8_t *into, size_t room) {
    RawBytes &raw = *static_cast<RawBytes *>(window.origin);
    const size_t got = readBytes(raw, position, into, room, window.failure);
    window.size = sizeOf(raw);
    return got;
}

bool openBlock(ByteWindow &window, size_t capacity) {
    window = {};
    window.block = static_cast<uint8_t *>(std::malloc(capacity));
    window.capacity = capacity;
    window.bytes = window.block;
    window.size = kEndUnknown;
    return window.block != nullptr;
}

}  // namespace

bool openRawWindow(ByteWindow &window, RawBytes &raw) {
    if (raw.file < 0) {
        if (raw.size > static_cast<uint64_t>(PTRDIFF_MAX)) return false;
        window = {};
        window.bytes = raw.memory;
        window.length = static_cast<size_t>(raw.size);
        window.size = raw.size;
        return true;
    }
    // Of a file shorter than the block only its own size is ever filled.
    const bool fits = !raw.growing && raw.size < kBlockBytes;
    if (!openBlock(window, fits ? static_cast<size_t>(raw.size) + 1 : kBlockBytes)) return false;
    window.size = sizeOf(raw);
    window.fill = fillFromRaw;
    window.origin = &raw;
    return true;
}

bool openFilledWindow(ByteWindow &window, size_t (*fill)(ByteWindow &, uint64_t, uint8_t *, size_t), void *origin) {
    if (!openBlock(window, kBlockBytes)) return false;
    window.fill = fill;
    window.origin = origin;
    return true;
}

void closeWindow(ByteWindow &window) {
    std::free(window.block);
    window = {};
}

void emptyWindow(ByteWindow &window) {
    if (window.block == nullptr) return;
    window.bytes = window.block;
    window.start = 0;
    window.length = 0;
}

size_t viewBytes(ByteWindow &window, uint64_t position, size_t wanted, const uint8_t *&bytes) {
    window.failure = 0;
    bytes = nullptr;
    if (position >= window.size) return 0;
    wanted = std::min(wanted, kWantedMost);
    const uint64_t left = window.size - position;
    if (window.block == nullptr) {
        bytes = window.bytes + position;
        return static_cast<size_t>(left);
    }
    if (left < wanted) wanted = static_cast<size_t>(left);
    const bool inside = position >= window.start && position - window.start < window.length;
    if (!inside || window.length - static_cast<size_t>(position - window.start) < wanted) {
        moveTo(window, position, wanted);
        while (window.length < wanted && readPiece(window, wanted)) {
        }
    }
    if (position - window.start >= window.length) return 0;
    const size_t offset = static_cast<size_t>(position - window.start);
    bytes = window.bytes + offset;
    return window.length - offset;
}

bool findCodeFrom(ByteWindow &window, uint64_t from, uint64_t limit, FoundCode &found) {
    while (from < limit && limit - from >= kStartCodeBytes) {
        const uint8_t *bytes;
        size_t count = viewBytes(window, from, kStartCodeBytes, bytes);
        if (count > limit - from) count = static_cast<size_t>(limit - from);
        if (count < kStartCodeBytes) return false;
        const uint8_t *hit = findStartCode(bytes, bytes + count);
        if (hit != bytes + count) {
            found = {from + static_cast<uint64_t>(hit - bytes), 0x100u + hit[3]};
            return true;
        }
        from += count - (kStartCodeBytes - 1);
    }
    return false;
}

}  // namespace tvk::elementary
