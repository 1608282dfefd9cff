// SPDX-License-Identifier: BSD-2-Clause
// The walk along a unit's start-code table, and the copies of coded bytes between its entries.
#include <cstring>

#include "core/stream.h"
#include "input/unit_words.h"
#include "input/video_input.h"

namespace tvk {
namespace {

constexpr uint32_t kCodeBytes = 4;

bool beginsSlice(uint32_t code) {
    return code >= codeFirstSlice && code <= codeLastSlice;
}

// Leaves an entry to be read, with the unit in the form that `raw` tells. Units without an entry are passed over.
int32_t makeEntryReady(VideoInput *input, bool raw) {
    const PictureUnit *unit = input->unit;
    while (unit->currentEntry >= unit->entryCount) {
        const int32_t count = raw ? RefillUnitRaw(input) : RefillUnit(input);
        if (count < 0) return count;
    }
    if (raw || !input->swapped || input->turnedBytes != 0) takeOver(input, raw ? 0 : 1);
    return 0;
}

int32_t nextCode(VideoInput *input, bool raw) {
    const int32_t failure = makeEntryReady(input, raw);
    if (failure < 0) return failure;
    const int32_t entry = input->unit->currentEntry++;
    const uint32_t offset = boundedOffset(input, entry) + kCodeBytes;
    const uint32_t code = input->unit->startCodes[entry] & 0x7FFFFFFF;
    if (!beginsSlice(code)) takeHeaderAt(input, offset);
    SetBytePosition(input->reader, offset);
    return static_cast<int32_t>(code);
}

bool beginsHeaders(uint32_t code) {
    return code == codePicture || code == codeGroup || code == codeSequenceHeader;
}

// The entry behind the unit's picture: the lowest but the first that begins a header, else the last of all.
int32_t entryBehindPicture(const PictureUnit *unit) {
    for (int32_t i = 1; i < unit->entryCount; ++i)
        if (beginsHeaders(unit->startCodes[i])) return i;
    return unit->entryCount - 1;
}

}  // namespace

int32_t NextStartCode(VideoInput *input) {
    return nextCode(input, false);
}

int32_t NextStartCodeRaw(VideoInput *input) {
    return nextCode(input, true);
}

int32_t CopyElement(VideoInput *input, uint8_t *destination, uint32_t room) {
    const int32_t failure = makeEntryReady(input, true);
    if (failure < 0) return failure;
    const int32_t entry = input->unit->currentEntry;
    const uint32_t from = entry == 0 ? 0 : boundedOffset(input, entry - 1);
    const uint32_t to = boundedOffset(input, entry);
    const uint32_t length = to > from ? to - from : 0;
    if (length > room) return static_cast<int32_t>(length);
    if (length != 0) std::memcpy(destination, input->ownedBytes + from, length);
    SetBytePosition(input->reader, to);
    return static_cast<int32_t>(length);
}

int32_t CopyHeadOfUnit(VideoInput *input, uint8_t *destination, uint32_t room) {
    const int32_t failure = makeEntryReady(input, true);
    if (failure < 0) return failure;
    const int32_t entry = entryBehindPicture(input->unit);
    if (entry == input->unit->currentEntry - 1) return 0;
    const uint32_t length = boundedOffset(input, entry);
    if (length > room) return static_cast<int32_t>(length);
    input->unit->currentEntry = entry;
    SetBytePosition(input->reader, length);
    if (length != 0) std::memcpy(destination, input->ownedBytes, length);
    return static_cast<int32_t>(length);
}

int32_t WritePictureCode(uint8_t *destination) {
    constexpr uint8_t kCode[kCodeBytes] = {0, 0, 1, 0};
    std::memcpy(destination, kCode, kCodeBytes);
    return static_cast<int32_t>(kCodeBytes);
}

}  // namespace tvk
