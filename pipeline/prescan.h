// SPDX-License-Identifier: BSD-2-Clause
// The index table made while a frame loop walks the stream anyway.
#pragma once

#include "core/stream.h"

namespace tvk {

// At loop entry: makes the table that was asked for, in its edit strength or the plain one. Without memory the
// request is forgotten.
void openPrescan(VideoStream *stream, bool edit);

inline bool prescanActive(const VideoStream *stream) {
    return !stream->index.indexed && stream->index.prescanRequested && stream->index.entryCapacity != 0;
}

// While active. The input stands behind the start code.
void prescanSequenceHeader(VideoStream *stream);
void prescanGroup(VideoStream *stream);
// A new frame's header was read, its start code stood at frames.pictureStart, and it is not counted yet.
void prescanNewFrame(VideoStream *stream);

// A sequence end completes an edit table at once.
void closePrescanAtSequenceEnd(VideoStream *stream);
// At the end of the stream.
void finishPrescan(VideoStream *stream);

}  // namespace tvk
