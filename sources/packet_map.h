// SPDX-License-Identifier: BSD-2-Clause
// Which packet of a container each byte of a stream came in.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sources/abs_position.h"

namespace tvk::elementary {

struct MappedPacket {
    uint64_t start;   // position in the stream of its first byte
    size_t length;    // of its payload
    BytePlace place;  // in the file, of its first byte
    double time;      // presentation time in seconds as the packet tells it
    bool hasTime, isDecodingTime;
    bool isReordered, isDirect;  // it tells that the picture is decoded ahead of being shown, or when it is shown
};

// By rising position, without a gap.
struct PacketMap {
    MappedPacket *packets;
    size_t count, capacity;
};

// Adds a packet behind the last one. Those that end at or ahead of `keepFrom` may be dropped. False when out of memory.
bool addPacket(PacketMap &map, const MappedPacket &packet, uint64_t keepFrom);
void clearMap(PacketMap &map);
void closeMap(PacketMap &map);

// The packet that holds the byte at `position`; null when none does.
const MappedPacket *packetAt(const PacketMap &map, uint64_t position);

// Of the byte at `position`, or behind the last byte of the map when it lies there.
BytePlace placeAt(const PacketMap &map, uint64_t position);

}  // namespace tvk::elementary
