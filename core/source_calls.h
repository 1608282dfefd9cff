// SPDX-License-Identifier: BSD-2-Clause
// The calls that the library makes into the stream's source.
#pragma once

#include <cstdint>

#include "core/stream.h"
#include "tvk.h"

namespace tvk {

enum SourceParameter : uint32_t {
    parameterIdentity = 0,     // 8 bytes
    parameterOwnBuffer = 8,    // uint32
    parameterActiveLayer = 9,  // int32
    parameterMultiplexRate = 11,
    parameterVideoRate = 12,
    parameterTotalSize = 14  // two words, high word first
};

// Life of the connection.
int32_t connectSource(VideoStream *stream);
int32_t disconnectSource(VideoStream *stream);
// Picks the first usable layer, 480 without one, and tells the source.
int32_t selectDefaultLayer(VideoStream *stream);

// Each tells the source the video bit rate first, and leaves nothing loaded. The result is the seek's.
int32_t seekAbs(VideoStream *stream, const AbsPosition &position);
int32_t seekRate(VideoStream *stream, double rate);
int32_t seekTime(VideoStream *stream, double seconds);

// Offset in the unit of the byte that holds the next bit to read.
uint32_t readOffset(const VideoStream *stream);
// Rate of the unit's last start code, the picture's that follows; -1.0 for a null stream or an empty table.
double ratePositionOfPicture(VideoStream *stream);
int32_t ratePositionAt(VideoStream *stream, uint32_t unitOffset, double *out);
int32_t ratePositionOfReader(VideoStream *stream, double *out);
int32_t absPositionOfReader(VideoStream *stream, AbsPosition *out);

int32_t sourceParameter(VideoStream *stream, uint32_t number, void *out);
// Total size in bytes, 0 when the source does not tell; its status.
struct TotalSize {
    uint32_t high, low;
};
int32_t totalSize(VideoStream *stream, TotalSize *out);

// Frames of the whole stream by size and bit rate, 0 when unknown. The first form takes the bit rate that fits the
// container, the second the sequence header's.
uint32_t estimateFramesOfContainer(VideoStream *stream);
uint32_t estimateFramesOfSequence(VideoStream *stream);

}  // namespace tvk
