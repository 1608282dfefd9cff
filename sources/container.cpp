// SPDX-License-Identifier: BSD-2-Clause
// Packets of a container joined to the stream that the window shows.
#include "sources/container.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "sources/start_code_scan.h"
#include "sources/unit_table.h"

namespace tvk::elementary {
namespace {

// The packet's presentation time, or for want of one the time at which it is to be decoded.
void takeTime(Container &container, const ContainerPacket &packet, MappedPacket &mapped) {
    mapped.isDecodingTime = std::isnan(packet.presentationTime);
    const double time = mapped.isDecodingTime ? packet.decodingTime : packet.presentationTime;
    mapped.hasTime = !std::isnan(time);
    mapped.isReordered = packet.decodingTime < packet.presentationTime;
    mapped.isDirect = packet.decodingTime >= packet.presentationTime;
    if (!mapped.hasTime) return;
    if (container.firstTime < 0.0) container.firstTime = std::max(time, 0.0);
    mapped.time = stampsWrap(*container.demuxer) ? unwrapped(time, container.firstTime) : time;
}

bool nextOf(Container &container, ContainerPacket &packet) {
    if (container.headPending) {
        container.headPending = false;
        packet = {nullptr, 0, 0, 0, NAN, NAN};
        packet.bytes = headOfTrack(*container.demuxer, packet.size);
        if (packet.bytes != nullptr) return true;
    }
    if (container.hasPeeked) {
        container.hasPeeked = false;
        packet = container.peeked;
        return true;
    }
    return nextPacket(*container.demuxer, packet);
}

bool takePacket(ElementarySource &source) {
    Container &container = *source.container;
    if (!nextOf(container, container.packet)) {
        container.packet = {};
        container.packetTaken = 0;
        return false;
    }
    container.packetTaken = 0;
    MappedPacket mapped = {};
    mapped.start = container.filled;
    mapped.length = container.packet.size;
    mapped.place = {container.packet.position, container.packet.offset};
    takeTime(container, container.packet, mapped);
    if (addPacket(container.map, mapped, std::min(source.unitStart, source.window.start))) return true;
    // Unmapped bytes would have no place in the file: the packet waits for whoever asks next.
    container.peeked = container.packet;
    container.hasPeeked = true;
    container.packet = {};
    source.window.failure = tvkErrOutOfMemory;
    return false;
}

size_t fillFromPackets(ByteWindow &window, uint64_t position, uint8_t *into, size_t room) {
    ElementarySource &source = *static_cast<ElementarySource *>(window.origin);
    Container &container = *source.container;
    if (position < container.filled) return 0;
    for (;;) {
        if (container.packetTaken == container.packet.size && !takePacket(source)) return 0;
        const size_t left = container.packet.size - container.packetTaken;
        const size_t passed = static_cast<size_t>(std::min<uint64_t>(position - container.filled, left));
        const size_t count = std::min(left - passed, room);
        if (count != 0) std::memcpy(into, container.packet.bytes + container.packetTaken + passed, count);
        container.packetTaken += passed + count;
        container.filled += passed + count;
        if (count != 0) return count;
    }
}

// Whether a picture begins in the packet without a sequence header ahead of it.
bool lacksHeader(const ContainerPacket &packet) {
    const uint8_t *end = packet.bytes + packet.size;
    for (const uint8_t *at = packet.bytes; (at = findStartCode(at, end)) != end; at += kStartCodeBytes) {
        if (at[3] == (kCodeSequenceHeader & 0xFF)) return false;
        if (at[3] == (kCodePicture & 0xFF)) return true;
    }
    return false;
}

void lookAtFirst(Container &container) {
    container.hasPeeked = nextPacket(*container.demuxer, container.peeked);
    if (!container.hasPeeked) return;
    size_t size;
    container.needsHead = headOfTrack(*container.demuxer, size) != nullptr && lacksHeader(container.peeked);
    MappedPacket first = {};
    takeTime(container, container.peeked, first);
}

}  // namespace

int32_t openContainer(ElementarySource &source, ContentKind kind) {
    Container *container = static_cast<Container *>(std::calloc(1, sizeof(Container)));
    if (container == nullptr) return tvkErrOutOfMemory;
    container->kind = kind;
    container->firstTime = -1.0;
    container->fromStart = true;
    initStamps(container->stamps);
    const int32_t failure = openDemuxer(&container->demuxer, source.raw, kind);
    if (failure != 0 || !openFilledWindow(source.window, fillFromPackets, &source)) {
        closeDemuxer(container->demuxer);
        std::free(container);
        return failure != 0 ? failure : tvkErrOutOfMemory;
    }
    source.container = container;
    source.activeLayer = trackOf(*container->demuxer, chosenTrack(*container->demuxer)).layer;
    lookAtFirst(*container);
    container->headPending = container->needsHead;
    return 0;
}

void closeContainer(ElementarySource &source) {
    if (source.container == nullptr) return;
    closeDemuxer(source.container->demuxer);
    closeMap(source.container->map);
    std::free(source.container);
    source.container = nullptr;
}

int32_t chooseContainerLayer(ElementarySource &source, int32_t layer) {
    Container &container = *source.container;
    Demuxer &demuxer = *container.demuxer;
    for (int i = 0; i < trackCount(demuxer); ++i) {
        if (trackOf(demuxer, i).layer != layer) continue;
        if (i == chosenTrack(demuxer)) return 0;
        if (source.raw.sequential && container.filled != 0) return tvkSourceErrNoSeek;
        chooseTrack(demuxer, i);
        source.activeLayer = layer;
        container.firstTime = -1.0;
        initStamps(container.stamps);
        container.fromStart = false;  // what the window holds is of another stream
        lookAtFirst(container);
        return takeUpContainer(source);
    }
    return tvkErrPositionOutOfRange;
}

}  // namespace tvk::elementary
