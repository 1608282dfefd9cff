// SPDX-License-Identifier: BSD-2-Clause
// Frame records: creation, copies, destruction. Serves working frames, the ring and the application's own records.
#pragma once

#include <cstdint>

#include "tvk.h"

namespace tvk {

// Width and height in samples. *frame is null on failure; tvkErrOutOfMemory also for planes beyond 31 bits.
int32_t createFrame(VideoFrame **frame, int32_t width, int32_t height, int32_t chromaFormat);
// A frame that fits the stream's present pictures: what tvkCreateVideoFrame does behind its handle check.
int32_t createFrameForStream(const VideoStream *stream, VideoFrame **frame);
int32_t copyFrame(const VideoFrame *source, VideoFrame *target);
int32_t duplicateFrame(const VideoFrame *source, VideoFrame **target);
// Ignores null.
void destroyFrame(VideoFrame *frame);
// Coded bytes may outgrow the luma block: makes room for `bytes`, keeping what is there. False when out of memory.
bool growLumaBlock(VideoFrame *frame, uint32_t bytes);

}  // namespace tvk
