// SPDX-License-Identifier: BSD-2-Clause
// Packets of the chosen stream, one after the other.
#ifdef TVK_HAVE_LIBAVFORMAT
#include <cstdlib>
#include <limits>

#include "sources/container_avformat.h"

namespace tvk::elementary {
namespace {

// Errors in a row, each behind what could not be read, before a file counts as ended.
constexpr int kMostErrors = 4096;

double seconds(int64_t stamp, const AVStream &stream) {
    return stamp == AV_NOPTS_VALUE ? std::numeric_limits<double>::quiet_NaN()
                                   : static_cast<double>(stamp) * av_q2d(stream.time_base);
}

// Tells of the packet that has been read what the source needs. Pieces at the same place continue each other.
void present(Demuxer &demuxer, ContainerPacket &packet) {
    const AVPacket &from = *demuxer.packet;
    const uint64_t position = from.pos < 0 ? demuxer.runPosition : static_cast<uint64_t>(from.pos);
    const bool continues = demuxer.runPackets != 0 && position == demuxer.runPosition;
    const uint64_t offset = continues ? demuxer.runEnd : 0;
    demuxer.runPackets = continues ? demuxer.runPackets + 1 : 1;
    demuxer.runPosition = position;
    demuxer.runEnd = offset + static_cast<uint64_t>(from.size);
    const AVStream &stream = *demuxer.context->streams[from.stream_index];
    packet = {from.data, static_cast<size_t>(from.size), position,
              offset,    seconds(from.pts, stream),      seconds(from.dts, stream)};
}

// Takes reading up behind the last packet that was given, before which a number of packets at its place were given too.
bool takeUpBehind(Demuxer &demuxer, uint64_t position, uint32_t packets) {
    if (packets == 0) return seekFirstPacket(demuxer);
    if (!seekPacket(demuxer, position)) return false;
    ContainerPacket packet;
    for (uint32_t i = 0; i < packets; ++i) {
        if (!readChosen(demuxer)) return false;
        present(demuxer, packet);
    }
    return true;
}

// Goes on where a growing file ended when it was read last. What libavformat knows of the file's length and of its
// packets has to be read anew.
bool resume(Demuxer &demuxer) {
    refreshSize(*demuxer.raw);
    if (demuxer.raw->growing && demuxer.raw->size == demuxer.sizeAtEnd) return false;
    const uint64_t position = demuxer.runPosition;
    const uint32_t packets = demuxer.runPackets;
    const bool found = (seeksByByte(demuxer) || reopen(demuxer)) && takeUpBehind(demuxer, position, packets);
    demuxer.runPosition = position;
    demuxer.runPackets = packets;
    return found;
}

}  // namespace

bool queuePacket(Demuxer &demuxer) {
    QueuedPacket *queued = static_cast<QueuedPacket *>(std::calloc(1, sizeof(QueuedPacket)));
    if (queued == nullptr) return false;
    queued->packet = av_packet_alloc();
    if (queued->packet == nullptr) {
        std::free(queued);
        return false;
    }
    av_packet_move_ref(queued->packet, demuxer.packet);
    *demuxer.queueEnd = queued;
    demuxer.queueEnd = &queued->next;
    return true;
}

bool popQueue(Demuxer &demuxer) {
    QueuedPacket *queued = demuxer.queue;
    if (queued == nullptr) return false;
    demuxer.queue = queued->next;
    if (demuxer.queue == nullptr) demuxer.queueEnd = &demuxer.queue;
    av_packet_unref(demuxer.packet);
    av_packet_move_ref(demuxer.packet, queued->packet);
    av_packet_free(&queued->packet);
    std::free(queued);
    return true;
}

void clearQueue(Demuxer &demuxer) {
    while (popQueue(demuxer)) {
    }
    av_packet_unref(demuxer.packet);
}

bool readAny(Demuxer &demuxer) {
    for (int errors = 0; errors < kMostErrors; ++errors) {
        av_packet_unref(demuxer.packet);
        const int result = av_read_frame(demuxer.context, demuxer.packet);
        if (result >= 0) return true;
        if (result == AVERROR_EOF || result == AVERROR(ENOMEM)) return false;
        if (avio_feof(demuxer.io)) return false;
    }
    return false;
}

bool readChosen(Demuxer &demuxer) {
    const int wanted = demuxer.streams[demuxer.chosen];
    for (;;) {
        if (demuxer.held) {
            demuxer.held = false;
            return true;
        }
        demuxer.metEnd = false;
        if (!popQueue(demuxer) && !readAny(demuxer)) return false;
        // What was cut off by the end of what has been written so far comes again when there is more.
        if (demuxer.metEnd && demuxer.raw->growing) return false;
        if (demuxer.packet->stream_index == wanted && demuxer.packet->size > 0) return true;
    }
}

void dropState(Demuxer &demuxer) {
    clearQueue(demuxer);
    demuxer.held = false;
    demuxer.runPackets = 0;
}

bool nextPacket(Demuxer &demuxer, ContainerPacket &packet) {
    if (demuxer.waiting) {
        demuxer.waiting = false;
        const uint64_t runEnd = demuxer.runEnd;
        if (!resume(demuxer)) {
            demuxer.waiting = true;
            return false;
        }
        demuxer.runEnd = runEnd;
    }
    if (readChosen(demuxer)) {
        present(demuxer, packet);
        if (demuxer.fresh) demuxer.firstPosition = packet.position;
        demuxer.fresh = false;
        return true;
    }
    demuxer.waiting = demuxer.raw->growing;
    demuxer.sizeAtEnd = demuxer.raw->size;
    return false;
}

}  // namespace tvk::elementary
#endif
