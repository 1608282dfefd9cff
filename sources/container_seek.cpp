// SPDX-License-Identifier: BSD-2-Clause
// Going to places of a container: exactly, by share and by time.
#include <algorithm>
#include <cmath>

#include "sources/container.h"
#include "sources/unit_table.h"

namespace tvk::elementary {
namespace {

uint64_t measureOf(const BytePlace &place) {
    return place.packet + place.offset;
}

// The demuxer stands elsewhere: what is known of the bytes before is void, and the next one is at position 0.
void forget(ElementarySource &source, bool fromStart) {
    Container &container = *source.container;
    container.packet = {};
    container.packetTaken = 0;
    container.filled = 0;
    container.fromStart = fromStart;
    container.headPending = fromStart && container.needsHead;
    container.hasPeeked = false;
    clearMap(container.map);
    emptyWindow(source.window);
    restartStamps(container.stamps);
    moveTo(source, 0);
}

bool windowHas(const ByteWindow &window, uint64_t from, uint64_t to) {
    return from >= window.start && to <= window.start + window.length;
}

// Takes reading up at `position`, the byte of `packet` or of one behind it.
void goOnAt(ElementarySource &source, uint64_t packetStart, uint64_t position) {
    Container &container = *source.container;
    restartStamps(container.stamps);
    passOver(container.stamps, source.window, container.map, packetStart, position);
    moveTo(source, position);
}

// A place that the window still shows.
bool findInWindow(ElementarySource &source, const BytePlace &place) {
    Container &container = *source.container;
    for (size_t i = 0; i < container.map.count; ++i) {
        const MappedPacket &packet = container.map.packets[i];
        if (packet.place.packet != place.packet || place.offset < packet.place.offset) continue;
        const uint64_t inside = place.offset - packet.place.offset;
        if (inside >= packet.length || !windowHas(source.window, packet.start, packet.start + inside + 1)) continue;
        goOnAt(source, packet.start, packet.start + inside);
        return true;
    }
    return false;
}

// Whether the packets at `place.packet` reach to `place.offset`, now that their bytes up to `target` have been met.
bool reaches(ElementarySource &source, const BytePlace &place, uint64_t target) {
    const uint8_t *bytes;
    viewBytes(source.window, target, 1, bytes);
    const PacketMap &map = source.container->map;
    for (size_t i = 0; i < map.count; ++i) {
        const MappedPacket &packet = map.packets[i];
        if (packet.place.packet != place.packet) continue;
        if (place.offset >= packet.place.offset && place.offset - packet.place.offset <= packet.length) return true;
    }
    return false;
}

// The demuxer stands at the first packet of the place.
bool takeUpPlace(ElementarySource &source, const BytePlace &place) {
    const uint8_t *bytes;
    viewBytes(source.window, 0, 1, bytes);
    const PacketMap &map = source.container->map;
    if (map.count == 0 || map.packets[0].place.packet != place.packet) return false;
    if (place.offset < map.packets[0].place.offset) return false;
    const uint64_t target = place.offset - map.packets[0].place.offset;
    goOnAt(source, 0, target);
    return reaches(source, place, target);
}

bool goTo(ElementarySource &source, const BytePlace &place) {
    Container &container = *source.container;
    if (container.needsHead && place.packet == 0) {
        if (!seekFirstPacket(*container.demuxer)) return false;
        forget(source, true);
    } else {
        if (!seekPacket(*container.demuxer, place.packet)) return false;
        forget(source, false);
    }
    return takeUpPlace(source, place);
}

// Where the source stands, to come back to.
BytePlace currentPlace(ElementarySource &source) {
    return placeInContainer(source, source.next);
}

struct Entry {
    BytePlace place;
    bool found, isHeader;
};

// The first header at or behind the byte `target` of the file in what follows from here, or for want of one within
// reach the first picture; with `last` the last picture.
Entry searchEntry(ElementarySource &source, uint64_t target, bool last) {
    Entry entry = {{0, 0}, false, false};
    uint64_t from = 0, near = UINT64_MAX;
    for (FoundCode found; findCodeFrom(source.window, from, kEndUnknown, found); from = found.position + 4) {
        if (!isEntryHeader(found.code) && found.code != kCodePicture) continue;
        const BytePlace place = placeAt(source.container->map, found.position);
        if (!last && measureOf(place) < target) continue;
        if (near == UINT64_MAX) near = found.position + kEntrySearchBytes;
        if (!last && entry.found && found.position >= near) break;
        if (!last && isEntryHeader(found.code)) return {place, true, true};
        if (found.code == kCodePicture && (last || !entry.found)) entry = {place, true, false};
    }
    return entry;
}

// The last picture of the file, searched for in ever longer pieces of its end.
Entry searchLast(ElementarySource &source) {
    const uint64_t size = source.raw.size;
    for (uint64_t distance = 0x40000;; distance *= 4) {
        const bool whole = distance >= size;
        Demuxer &demuxer = *source.container->demuxer;
        if (whole ? !seekFirstPacket(demuxer) : !seekNear(demuxer, size - distance)) return {{0, 0}, false, false};
        forget(source, whole);
        const Entry entry = searchEntry(source, 0, true);
        if (entry.found || whole) return entry;
    }
}

int32_t seekNearEntry(ElementarySource &source, uint64_t target) {
    const BytePlace before = currentPlace(source);
    Container &container = *source.container;
    Entry entry = {{0, 0}, false, false};
    if (seekNear(*container.demuxer, target)) {
        forget(source, false);
        entry = searchEntry(source, target, false);
    }
    if (!entry.found) entry = searchLast(source);
    if (entry.found && seekContainerPlace(source, entry.place) == 0) return 0;
    goTo(source, before);
    return entry.found ? tvkSourceErrBadPosition : tvkSourceErrRead;
}

// The presentation time of a packet, or for want of one the time of decoding; NaN without either.
double timeOf(const ElementarySource &source, const ContainerPacket &packet) {
    const double time = std::isnan(packet.presentationTime) ? packet.decodingTime : packet.presentationTime;
    return stampsWrap(*source.container->demuxer) ? unwrapped(time, source.container->firstTime) : time;
}

// The time that the first packet near a byte tells; NaN when none does.
double timeNear(ElementarySource &source, uint64_t byte) {
    constexpr int kMostPackets = 512;
    Demuxer &demuxer = *source.container->demuxer;
    if (!seekNear(demuxer, byte)) return NAN;
    ContainerPacket packet;
    double time = NAN;
    for (int i = 0; i < kMostPackets && std::isnan(time) && nextPacket(demuxer, packet); ++i) {
        time = timeOf(source, packet);
    }
    return time;
}

// Goes to a packet ahead of the time, by the file's table or by halving.
bool seekAheadOf(ElementarySource &source, double wanted) {
    constexpr uint64_t kCloseEnough = 0x4000;
    Demuxer &demuxer = *source.container->demuxer;
    if (seekAhead(demuxer, wanted)) return true;
    uint64_t low = 0, high = source.raw.size;
    while (high - low > kCloseEnough) {
        const uint64_t middle = low + (high - low) / 2;
        const double time = timeNear(source, middle);
        (time <= wanted ? low : high) = middle;  // no time at all: behind the last packet
    }
    return seekNear(demuxer, low);
}

// The byte of the first packet from there on that is not ahead of the time; the file's size when there is none.
uint64_t byteOfTime(ElementarySource &source, double wanted) {
    if (!seekAheadOf(source, wanted)) return source.raw.size;
    ContainerPacket packet;
    while (nextPacket(*source.container->demuxer, packet)) {
        if (timeOf(source, packet) >= wanted) return packet.position;
    }
    return source.raw.size;
}

// Seconds from the first time to one frame behind the last; of a demuxer of its own, so that reading goes on
// undisturbed.
double measureSeconds(ElementarySource &source, Demuxer &demuxer) {
    const uint64_t size = source.raw.size;
    for (uint64_t distance = 0x100000;; distance *= 4) {
        const bool whole = distance >= size;
        if (whole ? !seekFirstPacket(demuxer) : !seekNear(demuxer, size - distance)) return 0.0;
        double last = -1.0, step = 0.0;
        ContainerPacket packet;
        while (nextPacket(demuxer, packet)) {
            if (std::isnan(packet.presentationTime)) continue;
            const double time = unwrapped(packet.presentationTime, source.container->firstTime);
            const double distanceToLast = std::abs(time - last);
            if (last >= 0.0 && distanceToLast > 0.0 && (step <= 0.0 || distanceToLast < step)) step = distanceToLast;
            last = std::max(last, time);
        }
        if (last >= 0.0) return last - source.container->firstTime + step;
        if (whole) return 0.0;
    }
}

}  // namespace

BytePlace placeInContainer(ElementarySource &source, uint64_t position) {
    if (source.container->map.count == 0) {
        const uint8_t *bytes;
        viewBytes(source.window, position, 1, bytes);
    }
    return placeAt(source.container->map, position);
}

int32_t takeUpContainer(ElementarySource &source) {
    Container &container = *source.container;
    if (container.fromStart && (container.filled == 0 || windowHas(source.window, 0, 1))) {
        restartStamps(container.stamps);
        moveTo(source, 0);
        return 0;
    }
    const bool peeked = container.hasPeeked;
    if (!peeked && !seekFirstPacket(*container.demuxer)) {
        return source.raw.sequential ? tvkSourceErrNoSeek : tvkSourceErrRead;
    }
    forget(source, true);
    container.hasPeeked = peeked;
    return 0;
}

int32_t seekContainerPlace(ElementarySource &source, const BytePlace &place) {
    if (findInWindow(source, place)) return 0;
    if (source.raw.sequential) return tvkSourceErrNoSeek;
    if (measureOf(place) > source.raw.size) return tvkSourceErrBadPosition;
    const BytePlace before = currentPlace(source);
    if (goTo(source, place)) return 0;
    goTo(source, before);
    return tvkSourceErrBadPosition;
}

int32_t seekContainerRate(ElementarySource &source, double rate) {
    if (rate <= 0.0) return takeUpContainer(source);
    if (source.raw.sequential) return tvkSourceErrNoSeek;
    const double size = static_cast<double>(source.raw.size);
    return seekNearEntry(source, std::min(static_cast<uint64_t>(rate * size), source.raw.size));
}

int32_t seekContainerTime(ElementarySource &source, double seconds) {
    if (seconds <= 0.0) return takeUpContainer(source);
    if (source.raw.sequential) return tvkSourceErrNoSeek;
    Container &container = *source.container;
    if (container.firstTime < 0.0) return tvkSourceErrNoTime;
    const BytePlace before = currentPlace(source);
    const uint64_t byte = byteOfTime(source, container.firstTime + seconds);
    forget(source, false);
    if (seekNearEntry(source, byte) == 0) return 0;
    goTo(source, before);
    return tvkSourceErrRead;
}

double containerSeconds(ElementarySource &source) {
    const double stated = statedSeconds(*source.container->demuxer);
    if (stated > 0.0 || source.raw.sequential || source.container->firstTime < 0.0) return stated;
    Demuxer *demuxer;
    if (openDemuxer(&demuxer, source.raw, source.container->kind) != 0) return 0.0;
    chooseTrack(*demuxer, chosenTrack(*source.container->demuxer));
    const double seconds = measureSeconds(source, *demuxer);
    closeDemuxer(demuxer);
    return seconds;
}

}  // namespace tvk::elementary
