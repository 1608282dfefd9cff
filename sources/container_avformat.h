// SPDX-License-Identifier: BSD-2-Clause
// The state of a container that libavformat takes apart.
#pragma once

#include "sources/container_demuxer.h"

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
}

namespace tvk::elementary {

// Packets that were read to find out what there is.
struct QueuedPacket {
    AVPacket *packet;
    QueuedPacket *next;
};

struct Demuxer {
    RawBytes *raw;
    ContentKind kind;
    AVFormatContext *context;
    AVIOContext *io;
    uint64_t ioPosition;
    bool metEnd;  // a read found no more bytes
    AVPacket *packet;
    bool held;   // the packet is still to be given
    bool fresh;  // nothing has been given yet; from then on firstPosition is known
    uint64_t firstPosition;
    QueuedPacket *queue, **queueEnd;
    ContainerTrack tracks[kMostTracks];
    int streams[kMostTracks];  // libavformat's numbers of them
    int trackCount, chosen;
    // Packets at one place of the file that have been given, and the payload's bytes in them.
    uint64_t runPosition, runEnd;
    uint32_t runPackets;
    bool waiting;  // a growing file ended; its size then
    uint64_t sizeAtEnd;
};

}  // namespace tvk::elementary
