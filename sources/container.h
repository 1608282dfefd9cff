// SPDX-License-Identifier: BSD-2-Clause
// The video stream of a container file: its packets joined to a stream, its places in the file, its time stamps.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sources/abs_position.h"
#include "sources/container_demuxer.h"
#include "sources/container_stamps.h"
#include "sources/elementary_source.h"
#include "sources/packet_map.h"

namespace tvk::elementary {

// Positions of the stream count its own bytes, from where it was taken up last. They mean nothing beyond the next seek;
// what lasts are the places in the file that the map tells for them.
struct Container {
    Demuxer *demuxer;
    ContentKind kind;
    PacketMap map;           // the packets that the window shows, and some before
    ContainerPacket packet;  // the one that the window is filled from
    size_t packetTaken;
    uint64_t filled;  // position of the next byte that the packets give
    bool fromStart;   // position 0 is the stream's first byte
    // Headers that the container keeps apart from its packets stand ahead of them, at place 0 of the file, where they
    // are needed: when the first packet has none.
    bool needsHead, headPending;
    ContainerPacket peeked;  // the first packet, looked at when opening
    bool hasPeeked;
    StampState stamps;      // as of the end of the last whole unit
    StampState unitStamps;  // as of the end of the unit last begun
    double firstTime;       // of the file, in seconds; -1.0 before one has been seen
};

// Takes over nothing but the source's bytes: on failure they are still the caller's to close.
int32_t openContainer(ElementarySource &source, ContentKind kind);
void closeContainer(ElementarySource &source);

// Seeks. On failure the source stands where it stood.
int32_t takeUpContainer(ElementarySource &source);  // at the stream's start
int32_t seekContainerPlace(ElementarySource &source, const BytePlace &place);
int32_t seekContainerRate(ElementarySource &source, double rate);
int32_t seekContainerTime(ElementarySource &source, double seconds);

// The place of a byte of the stream that is not behind the unit last read.
BytePlace placeInContainer(ElementarySource &source, uint64_t position);

// Length of the file by its time stamps; 0.0 when they do not tell.
double containerSeconds(ElementarySource &source);

// Chooses another of the file's video streams, which then begins at its start.
int32_t chooseContainerLayer(ElementarySource &source, int32_t layer);

}  // namespace tvk::elementary
