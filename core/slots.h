// SPDX-License-Identifier: BSD-2-Clause
// The table of output slots that the memory manager's pictures are numbered by.
#pragma once

#include <cstdint>

#include "core/stream.h"

namespace tvk {

inline constexpr int32_t kNoSlot = -1;
inline constexpr int32_t kFewestSlots = 4;
inline constexpr int32_t kMostSlots = 256;

// All slots free; the size is taken from the setting.
void resetSlots(Callbacks &callbacks);
// Before each picture: a changed count of slots resets the table.
void followSlotCount(Callbacks &callbacks);
// The next free slot that was not returned last, or kNoSlot.
int32_t drawSlot(SlotTable &table);
// False when the slot is outside the table.
bool returnSlot(SlotTable &table, int32_t slot);

}  // namespace tvk
