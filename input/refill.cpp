// SPDX-License-Identifier: BSD-2-Clause
// Loading the next picture unit: the source's read, growth of the block, time stamp, bounds of the table, byte order.
#include <algorithm>
#include <bit>
#include <cstring>

#include "core/memory.h"
#include "core/stream.h"
#include "input/unit_words.h"
#include "input/video_input.h"

namespace tvk {
namespace {

constexpr uint32_t kNoDataYet = 0xFFFFFFFF;
constexpr uint64_t kNoTimeStamp = std::bit_cast<uint64_t>(-1.0);
constexpr int32_t kTableEntries = 4096;

struct RefillRules {
    bool swap;            // words for the bit reader, else bytes in file order
    bool waitForData;     // else a source without data counts as ended
    bool queueTimeStamp;  // a stamp waits behind one that is not used up, else it replaces the clock
};

struct UnitRead {
    int32_t status;
    uint32_t count;
};

// The source fills the table; nothing that follows may leave it, whatever the source wrote.
void boundTable(PictureUnit *unit) {
    unit->entryCount = std::clamp(unit->entryCount, 0, kTableEntries);
    unit->firstSlice = std::clamp(unit->firstSlice, 0, unit->entryCount);
    unit->sliceCount = std::clamp(unit->sliceCount, 0, unit->entryCount - unit->firstSlice);
    unit->lastSlice = std::clamp(unit->lastSlice, -1, unit->entryCount - 1);
    unit->currentEntry = std::clamp(unit->currentEntry, 0, unit->entryCount);
}

UnitRead readOnce(VideoInput *input, uint32_t resumeOffset) {
    PictureUnit *unit = input->unit;
    if (!input->ownBuffer) {
        unit->buffer = input->ownedBytes;
        unit->capacity = static_cast<int32_t>(input->ownedCapacity);
    }
    // The buffer that the last unit was left in may go away with this call. What is not taken by now is not wanted: the
    // next unit's turn has come.
    if (input->ownBuffer) forgetRest(input);
    unit->resumeOffset = static_cast<int32_t>(resumeOffset);
    UnitRead read = {0, 0};
    read.status = input->source->readUnit(input->source, input->decoderId, unit, &read.count);
    unit->resumeOffset = 0;
    boundTable(unit);
    return read;
}

void takeTimeStamp(VideoStream *stream, double stamp, bool queue) {
    if (std::bit_cast<uint64_t>(stamp) == kNoTimeStamp) return;
    FramePipeline &frames = stream->frames;
    if (queue && frames.timeStampPending) {
        frames.timeStampQueued = 1;
        frames.queuedTimeStamp = stamp;
        return;
    }
    frames.streamClock = stamp;
    if (queue) frames.timeStampPending = 1;
}

// Keeps the bytes; the reader moves along with the block when it stands on it.
bool growBlock(VideoInput *input, uint32_t capacity) {
    const bool moveReader = input->byteCount != 0;
    const ptrdiff_t wordIndex = input->reader.wordPointer - input->reader.bufferStart;
    void *grown = reallocate(input->ownedBytes, size_t{capacity} + kUnitPadding);
    if (!grown) return false;
    if (input->given == input->ownedBytes) input->given = static_cast<uint8_t *>(grown);
    input->ownedBytes = static_cast<uint8_t *>(grown);
    const uint32_t oldEnd = input->ownedCapacity + kUnitPadding;
    std::memset(input->ownedBytes + oldEnd, 0, capacity - input->ownedCapacity);
    input->ownedCapacity = capacity;
    if (moveReader) {
        input->reader.bufferStart = reinterpret_cast<const uint32_t *>(input->ownedBytes);
        input->reader.wordPointer = input->reader.bufferStart + wordIndex;
    }
    return true;
}

// Bytes in the block after `count` more; a source may claim more than there is room for.
uint32_t addCount(const VideoInput *input, uint32_t total, uint32_t count) {
    const uint64_t sum = uint64_t{total} + count;
    return static_cast<uint32_t>(std::min<uint64_t>(sum, input->ownedCapacity));
}

// Remembers how far a growing read came, so that no byte is asked for twice.
int32_t suspendRead(VideoInput *input, uint32_t total, bool waitForData) {
    if (total != 0) presentNothing(input);
    if (!waitForData) return kInputEnded;
    input->partialBytes = total;
    return kInputNeedData;
}

// Part of a unit came that cannot be used: its table is void, the next start code comes from the next unit.
int32_t abandonRead(VideoInput *input) {
    input->unit->entryCount = 0;
    input->unit->currentEntry = 0;
    return kInputEnded;
}

// Reads one unit into the library's own block; the byte count, kInputEnded or kInputNeedData.
int32_t readIntoBlock(VideoInput *input, const RefillRules &rules) {
    uint32_t total = input->partialBytes;
    const bool resumed = total != 0;
    input->partialBytes = 0;
    UnitRead read = readOnce(input, total);
    if (read.count == kNoDataYet) return suspendRead(input, total, rules.waitForData);
    if (!resumed) takeTimeStamp(input->stream, input->unit->timeStamp, rules.queueTimeStamp);
    total = addCount(input, total, read.count);
    while (read.status == tvkErrBufferTooSmall) {
        // A unit that needs more than kLargestUnitCapacity ends the input even when the last read holds all of it.
        if (input->ownedCapacity > kLargestUnitCapacity) return abandonRead(input);
        if (!growBlock(input, 2 * input->ownedCapacity)) return abandonRead(input);
        read = readOnce(input, total);
        if (read.count == kNoDataYet) return suspendRead(input, total, rules.waitForData);
        total = addCount(input, total, read.count);
        if (input->ownedCapacity > kLargestUnitCapacity) return abandonRead(input);
    }
    return total == 0 ? kInputEnded : static_cast<int32_t>(total);
}

// The same from a buffer of the source, which stays there until it is copied: the padding and the turned words need
// room of our own.
int32_t readFromSource(VideoInput *input, const RefillRules &rules) {
    const UnitRead read = readOnce(input, 0);
    if (read.count == kNoDataYet) return suspendRead(input, 0, rules.waitForData);
    takeTimeStamp(input->stream, input->unit->timeStamp, rules.queueTimeStamp);
    if (read.count == 0) return kInputEnded;
    if (read.status == tvkErrBufferTooSmall || !input->unit->buffer) return abandonRead(input);
    if (read.count > kLargestUnitCapacity) return abandonRead(input);
    uint32_t capacity = input->ownedCapacity;
    while (capacity < read.count) capacity *= 2;
    if (capacity != input->ownedCapacity && !growBlock(input, capacity)) return abandonRead(input);
    return static_cast<int32_t>(read.count);
}

int32_t refill(VideoInput *input, const RefillRules &rules) {
    const int32_t count = input->ownBuffer ? readFromSource(input, rules) : readIntoBlock(input, rules);
    if (count < 0) {
        // The reader stays where it stood, so the padding that it relies on must be whole, whatever a read wrote. The
        // unit's last word is left, its bytes may stand in either order.
        if (input->byteCount != 0) std::memset(input->ownedBytes + wholeWords(input->byteCount), 0, kUnitPadding);
        return count;
    }
    presentUnit(input, input->ownBuffer ? input->unit->buffer : input->ownedBytes, static_cast<uint32_t>(count));
    input->unit->currentEntry = 0;
    if (rules.swap)
        takeHeaders(input);
    else
        takeRaw(input);
    return count;
}

}  // namespace

int32_t RefillUnit(VideoInput *input) {
    return refill(input, {.swap = true, .waitForData = true, .queueTimeStamp = true});
}

int32_t RefillUnitRaw(VideoInput *input) {
    return refill(input, {.swap = false, .waitForData = true, .queueTimeStamp = false});
}

int32_t RefillUnitNoJump(VideoInput *input) {
    return refill(input, {.swap = true, .waitForData = false, .queueTimeStamp = false});
}

}  // namespace tvk
