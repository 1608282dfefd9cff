// SPDX-License-Identifier: BSD-2-Clause
// The three working frames: when they are replaced, and how they take turns.
#pragma once

#include <cstdint>

#include "core/stream.h"

namespace tvk {

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
