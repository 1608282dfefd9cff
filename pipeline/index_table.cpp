// SPDX-License-Identifier: BSD-2-Clause
// The index table itself: allocation, growth, one picture at a time, closing.
#include "pipeline/index_table.h"

#include <algorithm>
#include <cstring>

#include "core/calls.h"
#include "core/memory.h"

namespace tvk {

namespace {

constexpr uint32_t kLargestCapacity = 1u << 28;

template <class T>
bool makeArray(T *&array, uint32_t count) {
    array = allocateArray<T>(std::max<uint32_t>(count, 1));
    return array != nullptr;
}

template <class T>
bool growArray(T *&array, uint32_t count, uint32_t grown) {
    auto *block = static_cast<T *>(reallocate(array, size_t{grown} * sizeof(T)));
    if (!block) return false;
    std::memset(block + count, 0, size_t{grown - count} * sizeof(T));
    array = block;
    return true;
}

template <class T>
void freeArray(T *&array) {
    release(array);
    array = nullptr;
}

bool growEntries(VideoIndexTable &index) {
    const uint32_t from = index.entryCapacity;
    const uint32_t to = from == 0 ? kPlainEntries : 2 * from;
    if (to > kLargestCapacity) return false;
    const bool grown = growArray(index.displayNumbers, from, to) && growArray(index.streamNumbers, from, to) &&
                       growArray(index.entryTimes, from, to) && growArray(index.sequencePositions, from, to) &&
                       growArray(index.matrixPositions, from, to) && growArray(index.picturePositions, from, to) &&
                       growArray(index.groupPositions, from, to);
    if (grown) index.entryCapacity = to;
    return grown;
}

bool growFrames(VideoIndexTable &index) {
    const uint32_t from = index.frameCapacity;
    const uint32_t to = 2 * from;
    if (to > kLargestCapacity) return false;
    const bool grown = growArray(index.frameTypes, from, to) && growArray(index.displayMap, from, to) &&
                       growArray(index.rootFrames, from, to);
    if (grown) index.frameCapacity = to;
    return grown;
}

// A table that a file has filled has no spare slot.
bool hasSpareEntry(VideoIndexTable &index) {
    return index.entryCount < index.entryCapacity || growEntries(index);
}

void inherit(AbsPosition *positions, uint32_t entry) {
    if (entry > 0 && isNoPosition(positions[entry])) positions[entry] = positions[entry - 1];
}

// The one place that looks inside a position: these two words rise along the stream.
uint64_t measure(const AbsPosition &position) {
    return uint64_t{position.words[1]} + position.words[2];
}

bool addEntry(VideoIndexTable &index, const IndexedPicture &picture) {
    const uint32_t entry = index.entryCount;
    index.picturePositions[entry] = picture.position;
    index.streamNumbers[entry] = static_cast<int32_t>(picture.number);
    index.entryTimes[entry] = picture.clock;
    inherit(index.sequencePositions, entry);
    // A sequence header behind the matrix extension has made it void.
    if (measure(index.matrixPositions[entry]) < measure(index.sequencePositions[entry]))
        index.matrixPositions[entry] = {};
    inherit(index.groupPositions, entry);
    ++index.entryCount;
    return index.entryCount < index.entryCapacity || growEntries(index);
}

void show(VideoIndexTable &index, uint32_t number) {
    index.displayMap[++index.displayCount] = static_cast<int32_t>(number);
}

// An anchor is shown behind the B pictures that follow it in coded order, so it waits for the next one.
void placeInDisplayOrder(VideoIndexTable &index, const IndexedPicture &picture) {
    if (picture.type == pictureB) {
        show(index, picture.number);
    } else if (picture.type == pictureI || picture.type == pictureP) {
        showPendingAnchor(index);
        index.pendingAnchor = picture.number;
    }
}

void noteDependencies(VideoIndexTable &index, const IndexedPicture &picture) {
    if (picture.type < pictureI || picture.type > pictureB) return;
    if (picture.type != pictureB) index.previousIFrame = index.latestIFrame;
    if (picture.type == pictureI) index.latestIFrame = picture.number;
    const bool fromLatest = picture.type == pictureP || picture.closedGroup;
    index.frameTypes[picture.number] = static_cast<int32_t>(picture.type);
    index.rootFrames[picture.number] = static_cast<int32_t>(fromLatest ? index.latestIFrame : index.previousIFrame);
}

// One step of growth serves a walk that counts pictures one by one; a number far out belongs to a walk that jumped,
// and such a table is useless.
bool hasRoomForFrame(VideoIndexTable &index, uint32_t number) {
    if (number >= kLargestCapacity) return false;
    if (std::max(number, index.displayCount) + 2 >= index.frameCapacity && !growFrames(index)) return false;
    return std::max(number, index.displayCount) + 2 < index.frameCapacity;
}

bool addToTable(VideoIndexTable &index, const IndexedPicture &picture) {
    if (!hasSpareEntry(index)) return false;
    const bool edit = hasEditArrays(index);
    if (edit && !hasRoomForFrame(index, picture.number)) return false;
    const bool anchor = picture.type == pictureI || picture.type == pictureP;
    if (anchor && index.entryCount > 0 && index.displayNumbers[index.entryCount - 1] == 0)
        index.displayNumbers[index.entryCount - 1] = static_cast<int32_t>(picture.number - 1);
    if (edit) placeInDisplayOrder(index, picture);
    if (picture.type == pictureI && !addEntry(index, picture)) return false;
    if (edit) noteDependencies(index, picture);
    return true;
}

uint32_t longestGroup(const VideoIndexTable &index) {
    if (index.entryCount < 2) return index.frameCount;
    int64_t longest = 0;
    for (uint32_t i = 1; i < index.entryCount; ++i)
        longest = std::max(longest, int64_t{index.displayNumbers[i]} - index.displayNumbers[i - 1]);
    return static_cast<uint32_t>(longest);
}

}  // namespace

bool allocateEntries(VideoIndexTable &index, uint32_t entries) {
    freeEntries(index);
    const bool made = makeArray(index.displayNumbers, entries) && makeArray(index.streamNumbers, entries) &&
                      makeArray(index.entryTimes, entries) && makeArray(index.sequencePositions, entries) &&
                      makeArray(index.matrixPositions, entries) && makeArray(index.picturePositions, entries) &&
                      makeArray(index.groupPositions, entries);
    if (!made) {
        freeEntries(index);
        return false;
    }
    index.entryCapacity = entries;
    return true;
}

bool allocateIndex(VideoIndexTable &index, uint32_t entries, uint32_t frames) {
    freeIndex(index);
    bool made = allocateEntries(index, entries);
    if (made && frames > 0) {
        made = makeArray(index.frameTypes, frames) && makeArray(index.displayMap, frames) &&
               makeArray(index.rootFrames, frames);
        index.frameCapacity = frames;
    }
    if (!made) freeIndex(index);
    return made;
}

void freeEntries(VideoIndexTable &index) {
    freeArray(index.displayNumbers);
    freeArray(index.streamNumbers);
    freeArray(index.entryTimes);
    freeArray(index.sequencePositions);
    freeArray(index.matrixPositions);
    freeArray(index.picturePositions);
    freeArray(index.groupPositions);
    index.entryCapacity = index.entryCount = 0;
}

void freeIndex(VideoIndexTable &index) {
    freeEntries(index);
    freeArray(index.frameTypes);
    freeArray(index.displayMap);
    freeArray(index.rootFrames);
    release(index.editScan);
    index = {};
}

void noteSequenceHeader(VideoIndexTable &index, const AbsPosition &position) {
    if (!hasSpareEntry(index)) return;
    index.sequencePositions[index.entryCount] = position;
    index.matrixPositions[index.entryCount] = {};
}

void noteMatrix(VideoIndexTable &index, const AbsPosition &position) {
    if (hasSpareEntry(index)) index.matrixPositions[index.entryCount] = position;
}

void noteGroup(VideoIndexTable &index, const AbsPosition &position) {
    if (hasSpareEntry(index)) index.groupPositions[index.entryCount] = position;
}

bool addPicture(VideoIndexTable &index, const IndexedPicture &picture) {
    if (addToTable(index, picture)) return true;
    freeIndex(index);
    return false;
}

void showPendingAnchor(VideoIndexTable &index) {
    if (index.pendingAnchor == 0) return;
    show(index, index.pendingAnchor);
    index.pendingAnchor = 0;
}

void closeIndex(VideoIndexTable &index, const VideoStream *walked) {
    const FramePipeline &frames = walked->frames;
    if (frames.pictureCounter == 0) return;
    const uint32_t entries = index.entryCount;
    if (entries > 0 && index.displayNumbers[entries - 1] == 0)
        index.displayNumbers[entries - 1] = static_cast<int32_t>(frames.pictureCounter);
    index.indexed = 1;
    index.frameCount = frames.pictureCounter;
    index.indexStreamType = walked->streamType;
    index.indexWidth = frames.builtWidth;
    index.indexHeight = frames.builtHeight;
    index.indexChromaFormat = walked->headers.sequenceExtension.chromaFormat;
    index.indexDuration = static_cast<float>(frames.streamClock);
    index.indexBitRate = walked->headers.sequence.bitRate;
    index.maxGroupLength = longestGroup(index);
}

uint32_t entryForFrame(const VideoIndexTable &index, int32_t number) {
    uint32_t found = 0;
    for (uint32_t i = 0; i < index.entryCount && index.displayNumbers[i] <= number; ++i) found = i;
    return found;
}

}  // namespace tvk
