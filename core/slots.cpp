// SPDX-License-Identifier: BSD-2-Clause
// Drawing and returning the memory manager's slots.
#include "core/slots.h"

#include <cstring>

namespace tvk {

void resetSlots(Callbacks &callbacks) {
    SlotTable &table = callbacks.slots;
    std::memset(table.used, 0, sizeof table.used);
    table.lastReleased = kNoSlot;
    table.nextSlot = 0;
    table.size = callbacks.memorySlots;
}

void followSlotCount(Callbacks &callbacks) {
    if (callbacks.memorySlots != callbacks.slots.size) resetSlots(callbacks);
}

int32_t drawSlot(SlotTable &table) {
    int32_t slot = table.nextSlot < table.size ? table.nextSlot : 0;
    for (int32_t tried = 0; tried < table.size; ++tried) {
        if (!table.used[slot] && slot != table.lastReleased) {
            table.used[slot] = 1;
            table.nextSlot = slot + 1;
            return slot;
        }
        if (++slot == table.size) slot = 0;
    }
    return kNoSlot;
}

bool returnSlot(SlotTable &table, int32_t slot) {
    if (slot < 0 || slot >= table.size) return false;
    table.used[slot] = 0;
    table.lastReleased = slot;
    return true;
}

}  // namespace tvk
