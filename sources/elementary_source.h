// SPDX-License-Identifier: BSD-2-Clause
// A video stream as a VideoSource: the state and the operations that are the same wherever its bytes come from.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sources/byte_window.h"
#include "sources/raw_bytes.h"
#include "tvk_source.h"

namespace tvk::elementary {

struct Container;

struct ElementarySource {
    VideoSource table;  // first, so that the table's address is the source's
    RawBytes raw;       // what was opened
    ByteWindow window;  // the video stream's bytes by their position in it, the same as the file's without a container
    Container *container;  // null when the file is the stream
    uint64_t next;         // where the next fresh read begins
    uint64_t unitStart;    // of the unit last read, or of the one to come after a seek
    size_t unitLength;
    size_t taken;           // bytes of it that the caller's buffer had room for so far
    bool unfinished;        // the caller is to come back for the rest
    bool insidePicture;     // `next` lies within a picture whose slices have been listed, in a unit that had to be cut
    bool cutInsidePicture;  // the same of the end of the unit last read
    bool closed;            // disconnected by the decoder
    double unitTime;        // of the unit last read: its time stamp, or -1.0
    uint32_t flags;         // of the opening call
    uint8_t *unitBuffer;    // with tvkSourceOwnsBuffer
    uint32_t bitRate;       // parameter 12
    int32_t activeLayer;
};

inline constexpr int32_t kFirstLayer = 480;
inline constexpr int32_t kLastLayer = 495;

inline ElementarySource *sourceOf(VideoSource *table) {
    return reinterpret_cast<ElementarySource *>(table);
}

// Fills in the operations.
void initSource(ElementarySource &source, uint32_t flags);

// Every later read begins at `position` of the video stream.
void moveTo(ElementarySource &source, uint64_t position);

int32_t readUnit(VideoSource *table, uint32_t decoderId, PictureUnit *unit, uint32_t *byteCount);

int32_t getAbsPosition(VideoSource *table, uint32_t decoderId, uint32_t unitOffset, AbsPosition *out);
int32_t seekAbsPosition(VideoSource *table, uint32_t decoderId, const AbsPosition *position);
int32_t getRatePosition(VideoSource *table, uint32_t decoderId, uint32_t unitOffset, double *out);
int32_t seekRatePosition(VideoSource *table, uint32_t decoderId, const double *rate);
int32_t seekTimePosition(VideoSource *table, uint32_t decoderId, const double *seconds);

// Brings the source back to the start of its stream.
int32_t moveToStart(ElementarySource &source);

}  // namespace tvk::elementary
