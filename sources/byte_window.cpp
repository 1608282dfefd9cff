// SPDX-License-Identifier: BSD-2-Clause
// Sliding over a file, and searching along the slide.
#include "sources/byte_window.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

#include "sources/start_code_scan.h"
#include "tvk_source.h"

namespace tvk::elementary {
namespace {

// Small enough that a piece is still in the second-level cache when it is searched and copied.
constexpr size_t kReadPiece = 0x40000;
constexpr size_t kWantedMost = kLargestUnit + 64;
constexpr size_t kBlockBytes = kWantedMost + kReadPiece;

// Keeps what the block has from `position` on and puts it at its front.
void moveToFront(ByteWindow &window, uint64_t position) {
    size_t kept = 0;
    if (position >= window.start && position - window.start < window.length) {
        const size_t skipped = static_cast<size_t>(position - window.start);
        kept = window.length - skipped;
        if (skipped != 0) std::memmove(window.block, window.block + skipped, kept);
    }
    window.start = position;
    window.length = kept;
}

// Appends up to `room` bytes of the file. False at an error or when the file gives no more.
bool readPiece(ByteWindow &window, size_t room) {
    const uint64_t position = window.start + window.length;
    const uint64_t left = window.size - position;
    const size_t asked = left < room ? static_cast<size_t>(left) : room;
    ssize_t got;
    do {
        got = pread(window.file, window.block + window.length, asked, static_cast<off_t>(position));
    } while (got < 0 && errno == EINTR);
    if (got <= 0) {
        window.failure = got < 0 ? tvkSourceErrRead : tvkSourceErrFileChanged;
        return false;
    }
    window.length += static_cast<size_t>(got);
    return true;
}

}  // namespace

bool openMemoryWindow(ByteWindow &window, const uint8_t *bytes, uint64_t size) {
    if (size > static_cast<uint64_t>(PTRDIFF_MAX)) return false;
    window = {bytes, 0, static_cast<size_t>(size), size, nullptr, -1, 0};
    return true;
}

bool openFileWindow(ByteWindow &window, int file, uint64_t size) {
    // Of a file shorter than the block only its own size is ever filled.
    const size_t capacity = size < kBlockBytes ? static_cast<size_t>(size) + 1 : kBlockBytes;
    uint8_t *block = static_cast<uint8_t *>(std::malloc(capacity));
    if (block == nullptr) return false;
    window = {block, 0, 0, size, block, file, 0};
    return true;
}

void closeWindow(ByteWindow &window) {
    std::free(window.block);
    if (window.file >= 0) close(window.file);
    window = {nullptr, 0, 0, 0, nullptr, -1, 0};
}

size_t viewBytes(ByteWindow &window, uint64_t position, size_t wanted, const uint8_t *&bytes) {
    window.failure = 0;
    bytes = nullptr;
    if (position >= window.size) return 0;
    const uint64_t left = window.size - position;
    wanted = std::min({wanted, kWantedMost, left < kWantedMost ? static_cast<size_t>(left) : kWantedMost});
    const bool inside = position >= window.start && position - window.start < window.length;
    if (!inside || window.length - static_cast<size_t>(position - window.start) < wanted) {
        // Only a file comes here: in memory the window is the whole stream.
        moveToFront(window, position);
        while (window.length < wanted && readPiece(window, std::max(wanted - window.length, kReadPiece))) {
        }
    }
    const size_t offset = static_cast<size_t>(position - window.start);
    bytes = window.bytes + offset;
    return window.length - offset;
}

bool findCodeFrom(ByteWindow &window, uint64_t from, uint64_t limit, FoundCode &found) {
    limit = std::min(limit, window.size);
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
