// SPDX-License-Identifier: BSD-2-Clause
// The three working frames: when they are replaced, and how they take turns.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/stream.h"

namespace tvk {

// Working frames that others have replaced, newest first.
struct RetiredFrames {
    RetiredFrames *next;
    VideoFrame *frame[3];
};

// Sets behind the newest one are freed as far as all of them together take more than this: a stream that changes its
// size all the time would fill the machine with what nobody may read any more.
inline constexpr size_t kMostRetiredBytes = size_t{256} << 20;
size_t retiredBytes(const RetiredFrames *set);

// At every picture, before its header is parsed: the working frames, the ring, the slot table and the macroblock
// geometry follow the sequence and the settings. On failure nothing has changed, and pictures that the frames do not
// fit are passed over.
int32_t checkWorkingSet(VideoStream *stream);

// True while the working frames exist and are of the size and format that the headers tell. A header that comes
// between a picture's header and its slices makes it false.
bool workingSetFits(const VideoStream *stream);

// Once per frame, before it is decoded: counts the picture, gives it a record and puts the anchor before it up for
// delivery. A frame of a type above `highestDelivered` is not put up.
void rotateFrames(VideoStream *stream, uint32_t highestDelivered);

// What the record's luma block holds as a picture; coded bytes may have left another value in lumaPlane.size.
int32_t pictureSize(const VideoPlane &luma);

}  // namespace tvk
