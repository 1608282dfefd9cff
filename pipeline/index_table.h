// SPDX-License-Identifier: BSD-2-Clause
// The index table itself: allocation, growth, one picture at a time, closing. Scan, prescan and file fill it.
#pragma once

#include <cstdint>

#include "core/stream.h"

namespace tvk {

inline constexpr uint32_t kPlainEntries = 1000;
inline constexpr uint32_t kEditEntries = 2000;
inline constexpr uint32_t kEditFrames = 10000;

// A complete table that is there; `indexed` alone outlives a failed read of a file.
inline bool hasIndex(const VideoIndexTable &index) {
    return index.indexed && index.displayNumbers;
}

inline bool hasEditArrays(const VideoIndexTable &index) {
    return index.frameCapacity != 0;
}

inline bool isNoPosition(const AbsPosition &position) {
    return position.words[0] == 0 && position.words[1] == 0 && position.words[2] == 0;
}

// Throws away what was there. `frames` above 0 makes the edit arrays too. False leaves an empty record.
bool allocateIndex(VideoIndexTable &index, uint32_t entries, uint32_t frames);
// The seven arrays of a plain table with at least one element each, entryCapacity telling `entries`.
bool allocateEntries(VideoIndexTable &index, uint32_t entries);
void freeEntries(VideoIndexTable &index);

// The slots behind the last entry gather what headers come before the next I picture.
void noteSequenceHeader(VideoIndexTable &index, const AbsPosition &position);
void noteMatrix(VideoIndexTable &index, const AbsPosition &position);
void noteGroup(VideoIndexTable &index, const AbsPosition &position);

struct IndexedPicture {
    uint32_t number;  // in coded order, from 1
    uint32_t type;
    bool closedGroup;
    double clock;
    AbsPosition position;
};

// The first picture of a frame. False when the table could not grow and was thrown away.
bool addPicture(VideoIndexTable &index, const IndexedPicture &picture);

// A sequence end shows the anchor that waits.
void showPendingAnchor(VideoIndexTable &index);
// Makes the table complete with the facts of the stream that was walked; one without a picture stays as it is.
void closeIndex(VideoIndexTable &index, const VideoStream *walked);

// The last entry, walking from the first, whose I frame is displayed at or before `number`; 0 when none is.
uint32_t entryForFrame(const VideoIndexTable &index, int32_t number);

}  // namespace tvk
