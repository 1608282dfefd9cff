// SPDX-License-Identifier: BSD-2-Clause
// Reading memory, files and pipes by position.
#include "sources/raw_bytes.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tvk_source.h"

namespace tvk::elementary {
namespace {

// What is looked at before it is settled what a pipe holds: as far as a sequence header is searched for, and a little.
constexpr size_t kHeadMost = 0x1100000;
constexpr size_t kHeadFirst = 0x10000;

size_t readFile(RawBytes &raw, uint64_t position, uint8_t *into, size_t room, int32_t &failure) {
    if (raw.growing && position + room > raw.size) refreshSize(raw);
    if (position >= raw.size) return 0;
    const uint64_t left = raw.size - position;
    const size_t asked = left < room ? static_cast<size_t>(left) : room;
    ssize_t got;
    do {
        got = pread(raw.file, into, asked, static_cast<off_t>(position));
    } while (got < 0 && errno == EINTR);
    if (got > 0) return static_cast<size_t>(got);
    failure = got < 0 ? tvkSourceErrRead : tvkSourceErrFileChanged;
    return 0;
}

// A pipe opened without blocking is waited for.
ssize_t readSome(int file, uint8_t *into, size_t room) {
    for (;;) {
        const ssize_t got = read(file, into, room);
        if (got >= 0) return got;
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            pollfd ready = {file, POLLIN, 0};
            poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            return -1;
        }
    }
}

// The next bytes of the pipe. 0 at its end.
size_t readPipe(RawBytes &raw, uint8_t *into, size_t room, int32_t &failure) {
    const ssize_t got = readSome(raw.file, into, room);
    if (got > 0) {
        raw.pipePosition += static_cast<uint64_t>(got);
        return static_cast<size_t>(got);
    }
    if (got < 0) failure = tvkSourceErrRead;
    raw.size = raw.pipePosition;
    return 0;
}

// False also when it has what a head may have.
bool growHead(RawBytes &raw, int32_t &failure) {
    if (raw.headLength < raw.headCapacity) return true;
    if (raw.headCapacity >= kHeadMost) return false;
    const size_t capacity = std::clamp(raw.headCapacity * 2, kHeadFirst, kHeadMost);
    void *grown = std::realloc(raw.head, capacity);
    if (grown == nullptr) {
        failure = tvkErrOutOfMemory;
        return false;
    }
    raw.head = static_cast<uint8_t *>(grown);
    raw.headCapacity = capacity;
    return true;
}

void dropHead(RawBytes &raw) {
    std::free(raw.head);
    raw.head = nullptr;
    raw.headLength = raw.headCapacity = 0;
}

// Copies what the head has from `position` on; the head goes when the last of it has been taken for good.
size_t readHead(RawBytes &raw, uint64_t position, uint8_t *into, size_t room) {
    const size_t offset = static_cast<size_t>(position);
    const size_t count = std::min(room, raw.headLength - offset);
    std::memcpy(into, raw.head + offset, count);
    if (!raw.keepHead && offset + count == raw.headLength) dropHead(raw);
    return count;
}

size_t readSequential(RawBytes &raw, uint64_t position, uint8_t *into, size_t room, int32_t &failure) {
    while (raw.keepHead && position >= raw.headLength && raw.pipePosition < raw.size && growHead(raw, failure)) {
        const size_t space = raw.headCapacity - raw.headLength;
        const size_t got = readPipe(raw, raw.head + raw.headLength, space, failure);
        raw.headLength += got;
        if (got == 0) return 0;
    }
    if (position < raw.headLength) return readHead(raw, position, into, room);
    if (raw.keepHead) return 0;
    dropHead(raw);
    if (position != raw.pipePosition) {
        failure = tvkSourceErrNoSeek;
        return 0;
    }
    return raw.pipePosition < raw.size ? readPipe(raw, into, room, failure) : 0;
}

}  // namespace

void openMemoryBytes(RawBytes &raw, const uint8_t *bytes, uint64_t size) {
    raw = {};
    raw.memory = bytes;
    raw.file = -1;
    raw.size = size;
}

void openFileBytes(RawBytes &raw, int file, uint64_t size) {
    raw = {};
    raw.file = file;
    raw.size = size;
}

void openPipeBytes(RawBytes &raw, int file) {
    raw = {};
    raw.file = file;
    raw.size = kEndUnknown;
    raw.sequential = true;
    raw.keepHead = true;
}

void closeBytes(RawBytes &raw) {
    std::free(raw.head);
    if (raw.file >= 0) close(raw.file);
    raw = {};
    raw.file = -1;
}

size_t readBytes(RawBytes &raw, uint64_t position, uint8_t *into, size_t room, int32_t &failure) {
    if (raw.sequential) return readSequential(raw, position, into, room, failure);
    if (raw.file >= 0) return readFile(raw, position, into, room, failure);
    if (raw.memory == nullptr || position >= raw.size) return 0;
    const size_t count = static_cast<size_t>(std::min<uint64_t>(raw.size - position, room));
    std::memcpy(into, raw.memory + position, count);
    return count;
}

void refreshSize(RawBytes &raw) {
    struct stat facts;
    if (!raw.growing || raw.file < 0 || raw.sequential || fstat(raw.file, &facts) != 0) return;
    if (facts.st_size > 0) raw.size = std::max(raw.size, static_cast<uint64_t>(facts.st_size));
}

}  // namespace tvk::elementary
