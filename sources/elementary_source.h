// SPDX-License-Identifier: BSD-2-Clause
// A video elementary stream as a VideoSource: its state and its operations.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sources/byte_window.h"
#include "tvk_source.h"

namespace tvk::elementary {

struct ElementarySource {
    VideoSource table;  // first, so that the table's address is the source's
    ByteWindow window;
    uint64_t next;       // where the next fresh read begins
    uint64_t unitStart;  // of the unit last read, or of the one to come after a seek
    size_t unitLength;
    size_t taken;           // bytes of it that the caller's buffer had room for so far
    bool unfinished;        // the caller is to come back for the rest
    bool insidePicture;     // `next` lies within a picture whose slices have been listed, in a unit that had to be cut
    bool cutInsidePicture;  // the same of the end of the unit last read
    bool closed;            // disconnected by the decoder
    uint32_t flags;         // tvkSourceOwnsBuffer
    uint8_t *unitBuffer;    // with tvkSourceOwnsBuffer
    uint32_t bitRate;       // parameter 12
    int32_t activeLayer;
};

inline ElementarySource *sourceOf(VideoSource *table) {
    return reinterpret_cast<ElementarySource *>(table);
}

// Fills in the operations.
void initSource(ElementarySource &source, uint32_t flags);

// Every later read begins at `position`.
void moveTo(ElementarySource &source, uint64_t position);

int32_t readUnit(VideoSource *table, uint32_t decoderId, PictureUnit *unit, uint32_t *byteCount);

int32_t getAbsPosition(VideoSource *table, uint32_t decoderId, uint32_t unitOffset, AbsPosition *out);
int32_t seekAbsPosition(VideoSource *table, uint32_t decoderId, const AbsPosition *position);
int32_t getRatePosition(VideoSource *table, uint32_t decoderId, uint32_t unitOffset, double *out);
int32_t seekRatePosition(VideoSource *table, uint32_t decoderId, const double *rate);
int32_t seekTimePosition(VideoSource *table, uint32_t decoderId, const double *seconds);

}  // namespace tvk::elementary
