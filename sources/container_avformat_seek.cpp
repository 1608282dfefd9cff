// SPDX-License-Identifier: BSD-2-Clause
// Going to packets by their place in the file. What libavformat's seeks land on is taken for a guess alone.
#ifdef TVK_HAVE_LIBAVFORMAT
#include <algorithm>
#include <cmath>

#include "sources/container_avformat.h"

namespace tvk::elementary {
namespace {

// Reads on to the packet at exactly `position`, and holds it. False when it has been passed or is not there.
bool landOn(Demuxer &demuxer, uint64_t position) {
    while (readChosen(demuxer)) {
        if (demuxer.packet->pos < 0) continue;
        const uint64_t found = static_cast<uint64_t>(demuxer.packet->pos);
        if (found == position) {
            demuxer.held = true;
            return true;
        }
        if (found > position) return false;
    }
    return false;
}

bool seekByte(Demuxer &demuxer, uint64_t byte) {
    dropState(demuxer);
    return av_seek_frame(demuxer.context, -1, static_cast<int64_t>(byte), AVSEEK_FLAG_BYTE) >= 0;
}

bool seekStamp(Demuxer &demuxer, int64_t stamp, int flags) {
    dropState(demuxer);
    return av_seek_frame(demuxer.context, demuxer.streams[demuxer.chosen], stamp, flags) >= 0;
}

bool seekStart(Demuxer &demuxer) {
    // Streams that the container does not list keep their numbers only in a context that has met them.
    return seeksByByte(demuxer) ? seekByte(demuxer, 0) : reopen(demuxer);
}

// Program and transport streams: the byte is where a packet begins.

bool seekPacketByByte(Demuxer &demuxer, uint64_t position) {
    constexpr uint64_t kSaferDistance = 0x100000;
    if (seekByte(demuxer, position) && landOn(demuxer, position)) return true;
    return position > kSaferDistance && seekByte(demuxer, position - kSaferDistance) && landOn(demuxer, position);
}

// Matroska, AVI, QuickTime: libavformat has a table of packets or, in Matroska, of clusters.

// The last entry that begins at or ahead of a byte; -1 without one.
int entryBefore(const Demuxer &demuxer, uint64_t byte) {
    AVStream *stream = streamOf(demuxer);
    int low = 0, high = avformat_index_get_entries_count(stream);
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (static_cast<uint64_t>(avformat_index_get_entry(stream, middle)->pos) <= byte) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low - 1;
}

bool seekEntry(Demuxer &demuxer, int entry) {
    const AVIndexEntry *found = avformat_index_get_entry(streamOf(demuxer), entry);
    if (found == nullptr) return false;
    const bool clusters = demuxer.kind == ContentKind::matroska;
    return seekStamp(demuxer, found->timestamp, AVSEEK_FLAG_BACKWARD | (clusters ? 0 : AVSEEK_FLAG_ANY));
}

bool seekPacketByEntry(Demuxer &demuxer, uint64_t position) {
    int back = 0;
    for (int entry = entryBefore(demuxer, position); entry >= 0; entry -= back) {
        if (seekEntry(demuxer, entry) && landOn(demuxer, position)) return true;
        back = back * 2 + 1;
    }
    return false;
}

// MXF: the table is not to be seen, but frames can be asked for by their number in display order. It is their place in
// coded order that rises with the place in the file; the two differ by a few frames.

bool seekUnit(Demuxer &demuxer, int64_t unit) {
    return seekStamp(demuxer, unit, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
}

// The place of a frame; false when it cannot be told.
bool placeOfUnit(Demuxer &demuxer, int64_t unit, uint64_t &position) {
    if (!seekUnit(demuxer, unit) || !readChosen(demuxer) || demuxer.packet->pos < 0) return false;
    position = static_cast<uint64_t>(demuxer.packet->pos);
    return true;
}

// About the last frame that begins at or ahead of a byte. Frames are of like sizes, so their number goes with the byte;
// where that does not help the halves are tried.
int64_t unitBefore(Demuxer &demuxer, uint64_t byte) {
    constexpr int kMostTries = 64, kByShare = 6;
    int64_t low = 0, high = std::max<int64_t>(streamOf(demuxer)->duration, 1);
    uint64_t lowByte = 0, highByte = std::max(demuxer.raw->size, byte + 1);
    for (int i = 0; i < kMostTries && high - low > 1; ++i) {
        const double share = static_cast<double>(byte - lowByte) / static_cast<double>(highByte - lowByte);
        const int64_t guess =
            i < kByShare ? low + static_cast<int64_t>(share * static_cast<double>(high - low)) : low + (high - low) / 2;
        const int64_t unit = std::clamp(guess, low + 1, high - 1);
        uint64_t position = highByte;
        if (!placeOfUnit(demuxer, unit, position) || position > byte) {
            high = unit;
            highByte = std::max(byte + 1, std::min(highByte, position));
        } else {
            low = unit;
            lowByte = position;
        }
    }
    return low;
}

bool seekPacketByUnit(Demuxer &demuxer, uint64_t position) {
    int64_t back = 0;
    for (int64_t unit = unitBefore(demuxer, position); unit >= 0; unit -= back) {
        if (seekUnit(demuxer, unit) && landOn(demuxer, position)) return true;
        back = back * 2 + 1;
    }
    // Without a table, as while the file is being written, frames are found by their bytes.
    return seekByte(demuxer, position) && landOn(demuxer, position);
}

}  // namespace

bool seeksByByte(const Demuxer &demuxer) {
    return demuxer.kind == ContentKind::program || demuxer.kind == ContentKind::transport;
}

void chooseTrack(Demuxer &demuxer, int number) {
    number = std::clamp(number, 0, demuxer.trackCount - 1);
    if (number == demuxer.chosen) return;
    demuxer.chosen = number;
    discardOthers(demuxer);
    if (!demuxer.fresh && !demuxer.raw->sequential) demuxer.fresh = seekStart(demuxer);
}

bool seekFirstPacket(Demuxer &demuxer) {
    if (demuxer.fresh) return true;
    demuxer.waiting = false;
    if (demuxer.raw->sequential) return false;
    return seeksByByte(demuxer) ? seekPacketByByte(demuxer, demuxer.firstPosition) : reopen(demuxer);
}

// Any way of going near is good as long as the packets from there on come without a gap up to the one that is wanted;
// that it is the one is seen by its place. Should all fail there is the way from the very start.
bool seekPacket(Demuxer &demuxer, uint64_t position) {
    demuxer.waiting = false;
    if (demuxer.raw->sequential) return false;
    const auto seek = seeksByByte(demuxer)               ? seekPacketByByte
                      : demuxer.kind == ContentKind::mxf ? seekPacketByUnit
                                                         : seekPacketByEntry;
    return seek(demuxer, position) || (seekStart(demuxer) && landOn(demuxer, position));
}

bool seekNear(Demuxer &demuxer, uint64_t byte) {
    demuxer.waiting = false;
    if (demuxer.raw->sequential) return false;
    if (seeksByByte(demuxer)) return seekByte(demuxer, byte);
    if (demuxer.kind == ContentKind::mxf) {
        return seekUnit(demuxer, unitBefore(demuxer, byte)) || seekByte(demuxer, byte);
    }
    const int entry = entryBefore(demuxer, byte);
    return entry < 0 ? reopen(demuxer) : seekEntry(demuxer, entry);
}

bool seekAhead(Demuxer &demuxer, double time) {
    demuxer.waiting = false;
    if (demuxer.raw->sequential || seeksByByte(demuxer)) return false;
    const double stamp = time / av_q2d(streamOf(demuxer)->time_base);
    if (!(std::abs(stamp) < 9e15)) return false;
    return seekStamp(demuxer, static_cast<int64_t>(stamp), AVSEEK_FLAG_BACKWARD);
}

}  // namespace tvk::elementary
#endif
