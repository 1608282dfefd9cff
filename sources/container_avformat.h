// SPDX-License-Identifier: BSD-2-Clause
// The state of a container that libavformat takes apart, and the steps that its files share.
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
    bool metEnd;   // a read found no more bytes
    bool inOrder;  // libavformat is told that it cannot seek
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

inline AVStream *streamOf(const Demuxer &demuxer) {
    return demuxer.context->streams[demuxer.streams[demuxer.chosen]];
}

// Program and transport streams have no list at their front that could be relied on.
bool listsItsStreams(ContentKind kind);
// Of these a packet can be asked for by its byte.
bool seeksByByte(const Demuxer &demuxer);

// Opens libavformat's part of the demuxer; reopen does so again, for the same stream.
int32_t openContext(Demuxer &demuxer);
void closeContext(Demuxer &demuxer);
bool reopen(Demuxer &demuxer);
// The streams that are not wanted cost nothing then.
void discardOthers(Demuxer &demuxer);

// The next packet of any stream, in demuxer.packet. False at the end.
bool readAny(Demuxer &demuxer);
// The next packet of the chosen stream that holds anything.
bool readChosen(Demuxer &demuxer);
// Puts the packet behind those that wait to be read again.
bool queuePacket(Demuxer &demuxer);
// Forgets what has been read ahead, since reading goes on elsewhere.
void dropState(Demuxer &demuxer);

}  // namespace tvk::elementary
