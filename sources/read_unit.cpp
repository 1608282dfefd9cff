// SPDX-License-Identifier: BSD-2-Clause
// Cutting the stream into units and handing them over.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "sources/container.h"
#include "sources/elementary_source.h"
#include "sources/start_code_scan.h"
#include "sources/unit_table.h"

namespace tvk::elementary {
namespace {

struct Cut {
    size_t length;
    bool insidePicture;  // what follows belongs to a picture whose slices this unit lists
    bool complete;       // more bytes would not make it longer
};

constexpr uint32_t kNoDataYet = 0xFFFFFFFF;

// Measures the unit at `start` and fills its table: up to and with the next picture start code. A unit that has none
// within kLargestUnit bytes is cut there, ahead of a start code that the cut would split.
Cut cutUnit(ElementarySource &source, uint64_t start, PictureUnit &unit) {
    constexpr size_t kStraddle = kStartCodeBytes - 1;
    constexpr size_t kReach = kLargestUnit + kStraddle;
    TableState state;
    beginTable(unit, state, source.insidePicture);
    size_t searched = 0, available = 0, before;
    do {
        before = available;
        const uint8_t *bytes;
        available = std::min(viewBytes(source.window, start, std::min(before + 1, kReach), bytes), kReach);
        const uint8_t *end = bytes + available;
        while (available - searched >= kStartCodeBytes) {
            const uint8_t *hit = findStartCode(bytes + searched, end);
            if (hit == end) {
                searched = available - kStraddle;
                break;
            }
            const size_t offset = static_cast<size_t>(hit - bytes);
            searched = offset + kStartCodeBytes;
            if (searched > kLargestUnit) {
                return {std::min(offset, kLargestUnit), source.insidePicture || unit.sliceCount > 0, true};
            }
            listCode(unit, state, 0x100u + hit[3], static_cast<uint32_t>(offset));
            if (hit[3] == 0) return {searched, false, true};
        }
    } while (available > before && available < kReach && available < source.window.size - start);
    return {std::min(available, kLargestUnit), source.insidePicture || unit.sliceCount > 0, available == kReach};
}

int32_t giveOwnBuffer(ElementarySource &source, PictureUnit &unit, const uint8_t *bytes, uint32_t *byteCount) {
    uint8_t *buffer = static_cast<uint8_t *>(std::malloc(source.unitLength));
    if (buffer == nullptr) return tvkErrOutOfMemory;
    std::memcpy(buffer, bytes, source.unitLength);
    std::free(source.unitBuffer);
    source.unitBuffer = buffer;
    unit.buffer = buffer;
    unit.capacity = static_cast<int32_t>(source.unitLength);
    source.taken = source.unitLength;
    *byteCount = static_cast<uint32_t>(source.unitLength);
    return 0;
}

// The unit where it stands: in memory that is read only, or in the window, which moves at the next read or seek alone.
int32_t lend(ElementarySource &source, PictureUnit &unit, const uint8_t *bytes, uint32_t *byteCount) {
    unit.buffer = const_cast<uint8_t *>(bytes);
    unit.capacity = static_cast<int32_t>(source.unitLength);
    source.taken = source.unitLength;
    *byteCount = static_cast<uint32_t>(source.unitLength);
    return 0;
}

// The part of the unit that is still to be given, as far as the caller's buffer goes.
int32_t fillCallersBuffer(ElementarySource &source, PictureUnit &unit, const uint8_t *bytes, uint32_t *byteCount) {
    if (unit.buffer == nullptr || unit.capacity < 0) return tvkErrInvalidArgument;
    const size_t capacity = static_cast<size_t>(unit.capacity);
    const size_t room = capacity > source.taken ? capacity - source.taken : 0;
    const size_t count = std::min(room, source.unitLength - source.taken);
    if (count > 0) std::memcpy(unit.buffer + source.taken, bytes + source.taken, count);
    source.taken += count;
    *byteCount = static_cast<uint32_t>(count);
    return source.taken < source.unitLength ? tvkErrBufferTooSmall : 0;
}

// The times of the packets, given to the pictures.
void stamp(ElementarySource &source, const PictureUnit &unit) {
    source.unitTime = -1.0;
    if (source.container == nullptr) return;
    Container &container = *source.container;
    container.unitStamps = container.stamps;
    source.unitTime =
        stampUnit(container.unitStamps, source.window, container.map, unit, source.unitStart, source.unitLength);
}

// Makes the unit at `next` the current one. False without a byte, or with part of a unit that is still being written;
// then the last unit stays, so that offsets into it keep their positions while the decoder drains its frames.
bool beginUnit(ElementarySource &source, PictureUnit &unit) {
    const uint8_t *first;
    if (viewBytes(source.window, source.next, 1, first) == 0) return false;
    const Cut cut = cutUnit(source, source.next, unit);
    if (!cut.complete && source.raw.growing) return false;
    source.unitStart = source.next;
    source.unitLength = cut.length;
    source.cutInsidePicture = cut.insidePicture;
    source.taken = 0;
    stamp(source, unit);
    return true;
}

// There is no unit now. A table that has been begun is void.
int32_t withoutUnit(ElementarySource &source, PictureUnit &unit, uint32_t *byteCount) {
    if (!source.raw.growing || source.window.failure != 0) return source.window.failure;
    unit.entryCount = 0;
    unit.sliceCount = 0;
    *byteCount = kNoDataYet;
    return 0;
}

}  // namespace

int32_t readUnit(VideoSource *table, uint32_t, PictureUnit *unit, uint32_t *byteCount) {
    if (table == nullptr || unit == nullptr || byteCount == nullptr) return tvkErrInvalidArgument;
    ElementarySource &source = *sourceOf(table);
    *byteCount = 0;
    if (source.closed) return tvkSourceErrClosed;

    // A caller that gave up half a unit, and so asks for a fresh one, gets it again from its start.
    const bool resumed = source.unfinished && unit->resumeOffset > 0;
    if (resumed && static_cast<size_t>(unit->resumeOffset) != source.taken) return tvkErrInvalidArgument;
    if (!resumed && !beginUnit(source, *unit)) return withoutUnit(source, *unit, byteCount);

    const uint8_t *bytes;
    if (viewBytes(source.window, source.unitStart, source.unitLength, bytes) < source.unitLength) {
        return source.window.failure;
    }
    const auto give = source.flags & tvkSourceOwnsBuffer    ? giveOwnBuffer
                      : source.flags & tvkSourceFillsBuffer ? fillCallersBuffer
                                                            : lend;
    const int32_t status = give(source, *unit, bytes, byteCount);
    unit->timeStamp = source.unitTime;
    source.unfinished = status == tvkErrBufferTooSmall;
    if (status == 0) {
        source.next = source.unitStart + source.unitLength;
        source.insidePicture = source.cutInsidePicture;
        if (source.container != nullptr) source.container->stamps = source.container->unitStamps;
    }
    return status;
}

}  // namespace tvk::elementary
