// SPDX-License-Identifier: BSD-2-Clause
// Where a source stands, and moving it: by position, share and time.
#include <algorithm>

#include "sources/abs_position.h"
#include "sources/container.h"
#include "sources/content.h"
#include "sources/elementary_source.h"

namespace tvk::elementary {
namespace {

// The mark of a variable rate in an MPEG-1 sequence header, 3FFFF in units of 400 bits per second.
constexpr uint32_t kVariableRate = 0x3FFFF * 400;

// The position of a byte of the unit last read. Offsets behind its end stand for its end.
uint64_t positionInUnit(const ElementarySource &source, uint32_t unitOffset) {
    return source.unitStart + std::min<uint64_t>(unitOffset, source.unitLength);
}

// The same in the file, as the decoder is told it.
BytePlace placeInUnit(ElementarySource &source, uint32_t unitOffset) {
    const uint64_t position = positionInUnit(source, unitOffset);
    return source.container != nullptr ? placeInContainer(source, position) : BytePlace{position, 0};
}

// A pipe is read once: only what is still in the window can be gone back to.
bool canReach(const ElementarySource &source, uint64_t position) {
    if (!source.raw.sequential) return true;
    const ByteWindow &window = source.window;
    return position == window.start + window.length ||
           (position >= window.start && position - window.start < window.length);
}

// `bytes` is not negative; a share of the stream's size above 1.0 stands for its end.
int32_t moveToEntryPoint(ElementarySource &source, double bytes) {
    if (bytes <= 0.0) return moveToStart(source);
    if (source.raw.sequential) return tvkSourceErrNoSeek;
    const uint64_t size = source.raw.size;
    const uint64_t position = bytes < static_cast<double>(size) ? static_cast<uint64_t>(bytes) : size;
    uint64_t entry;
    const int32_t failure = findEntryPoint(source.window, size, position, entry);
    if (failure == 0) moveTo(source, entry);
    return failure;
}

}  // namespace

int32_t moveToStart(ElementarySource &source) {
    if (source.container != nullptr) return takeUpContainer(source);
    if (!canReach(source, 0)) return tvkSourceErrNoSeek;
    moveTo(source, 0);
    return 0;
}

void moveTo(ElementarySource &source, uint64_t position) {
    source.next = position;
    source.unitStart = position;
    source.unitLength = 0;
    source.taken = 0;
    source.unfinished = false;
    source.insidePicture = false;
}

int32_t getAbsPosition(VideoSource *table, uint32_t, uint32_t unitOffset, AbsPosition *out) {
    if (table == nullptr || out == nullptr) return tvkErrInvalidArgument;
    *out = toAbsPosition(placeInUnit(*sourceOf(table), unitOffset));
    return 0;
}

int32_t seekAbsPosition(VideoSource *table, uint32_t, const AbsPosition *position) {
    if (table == nullptr || position == nullptr) return tvkErrInvalidArgument;
    ElementarySource &source = *sourceOf(table);
    BytePlace target;
    if (!fromAbsPosition(*position, target)) return tvkSourceErrBadPosition;
    if (source.container != nullptr) return seekContainerPlace(source, target);
    if (target.offset != 0 || target.packet > source.raw.size) return tvkSourceErrBadPosition;
    if (!canReach(source, target.packet)) return tvkSourceErrNoSeek;
    moveTo(source, target.packet);
    return 0;
}

int32_t getRatePosition(VideoSource *table, uint32_t, uint32_t unitOffset, double *out) {
    if (table == nullptr || out == nullptr) return tvkErrInvalidArgument;
    ElementarySource &source = *sourceOf(table);
    // Of a pipe nobody knows how much is to come.
    const uint64_t size = source.raw.size == kEndUnknown ? 0 : std::max<uint64_t>(source.raw.size, 1);
    const BytePlace place = placeInUnit(source, unitOffset);
    const uint64_t measure = std::min(place.packet + place.offset, size);
    *out = size == 0 ? 0.0 : static_cast<double>(measure) / static_cast<double>(size);
    return 0;
}

int32_t seekRatePosition(VideoSource *table, uint32_t, const double *rate) {
    if (table == nullptr || rate == nullptr) return tvkErrInvalidArgument;
    if (!(*rate >= 0.0 && *rate <= 1.0)) return tvkErrPositionOutOfRange;
    ElementarySource &source = *sourceOf(table);
    if (source.container != nullptr) return seekContainerRate(source, *rate);
    return moveToEntryPoint(source, *rate * static_cast<double>(source.raw.size));
}

int32_t seekTimePosition(VideoSource *table, uint32_t, const double *seconds) {
    if (table == nullptr || seconds == nullptr) return tvkErrInvalidArgument;
    if (!(*seconds >= 0.0)) return tvkErrPositionOutOfRange;
    ElementarySource &source = *sourceOf(table);
    if (source.container != nullptr) return seekContainerTime(source, *seconds);
    double bitRate = source.bitRate == kVariableRate ? 0.0 : source.bitRate;
    if (source.raw.sequential && *seconds > 0.0) return tvkSourceErrNoSeek;
    if (bitRate <= 0.0 && *seconds > 0.0) {
        bitRate = measureBitRate(source.window);
        if (bitRate <= 0.0) return tvkSourceErrNoTime;
    }
    return moveToEntryPoint(source, *seconds * bitRate / 8.0);
}

}  // namespace tvk::elementary
