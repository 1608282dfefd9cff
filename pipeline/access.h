// SPDX-License-Identifier: BSD-2-Clause
// Jumps: the input moved to where decoding can start, and the roll forward from there to a frame.
#pragma once

#include <cstdint>

#include "core/stream.h"

namespace tvk {

// Decodes what `target` depends on and delivers it. Cannot go back: tvkErrFrameOutOfRange.
int32_t rollForward(VideoStream *stream, int32_t target);
int32_t rollForwardEdit(VideoStream *stream, int32_t target);

// Nothing of the old position is left in the working frames. The ring is emptied if it follows seeks, and the slots
// are freed.
void clearPipeline(VideoStream *stream);
// The same with the ring and the slots left alone.
void clearFrames(VideoStream *stream);

// Puts the input before the entry's I picture with the headers that it depends on parsed.
int32_t moveToEntry(VideoStream *stream, uint32_t entry);
// The same before the entry's group, for coded bytes.
int32_t moveToGroup(VideoStream *stream, uint32_t entry);

// To a frame number for the ring's own use: ring and slots are left alone.
int32_t reposition(VideoStream *stream, int32_t number);

// What a jump leaves behind when a loop in it ended early: the stream is not busy with it any more.
int32_t endJump(VideoStream *stream, int32_t result);

}  // namespace tvk
