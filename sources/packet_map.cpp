// SPDX-License-Identifier: BSD-2-Clause
// Which packet of a container each byte of a stream came in.
#include "sources/packet_map.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace tvk::elementary {
namespace {

constexpr size_t kFirstCapacity = 64;

uint64_t endOf(const MappedPacket &packet) {
    return packet.start + packet.length;
}

void dropBefore(PacketMap &map, uint64_t position) {
    const MappedPacket *end = map.packets + map.count;
    const MappedPacket *kept =
        std::find_if(map.packets, map.packets + map.count,
                     [position](const MappedPacket &packet) { return endOf(packet) > position; });
    map.count = static_cast<size_t>(end - kept);
    if (map.count != 0) std::memmove(map.packets, kept, map.count * sizeof *kept);
}

}  // namespace

bool addPacket(PacketMap &map, const MappedPacket &packet, uint64_t keepFrom) {
    if (map.count == map.capacity) {
        if (map.count != 0) dropBefore(map, keepFrom);
        // More than half full even so, it would be full again soon.
        if (map.count >= map.capacity / 2) {
            const size_t capacity = std::max(map.capacity * 2, kFirstCapacity);
            void *grown = std::realloc(map.packets, capacity * sizeof(MappedPacket));
            if (grown == nullptr) return false;
            map.packets = static_cast<MappedPacket *>(grown);
            map.capacity = capacity;
        }
    }
    map.packets[map.count++] = packet;
    return true;
}

void clearMap(PacketMap &map) {
    map.count = 0;
}

void closeMap(PacketMap &map) {
    std::free(map.packets);
    map = {};
}

const MappedPacket *packetAt(const PacketMap &map, uint64_t position) {
    const MappedPacket *end = map.packets + map.count;
    const MappedPacket *found =
        std::upper_bound(map.packets, map.packets + map.count, position,
                         [](uint64_t at, const MappedPacket &packet) { return at < endOf(packet); });
    return found != end && found->start <= position ? found : nullptr;
}

BytePlace placeAt(const PacketMap &map, uint64_t position) {
    const MappedPacket *packet = packetAt(map, position);
    if (packet == nullptr && map.count != 0) packet = &map.packets[map.count - 1];
    if (packet == nullptr) return {0, 0};
    const uint64_t inside = position > packet->start ? position - packet->start : 0;
    return {packet->place.packet, packet->place.offset + std::min<uint64_t>(inside, packet->length)};
}

}  // namespace tvk::elementary
