// SPDX-License-Identifier: BSD-2-Clause
// The start-code table of a unit while it is being filled.
#pragma once

#include <cstdint>

#include "tvk.h"

namespace tvk::elementary {

inline constexpr uint32_t kCodePicture = 0x100;
inline constexpr uint32_t kCodeSequenceHeader = 0x1B3;
inline constexpr uint32_t kCodeExtension = 0x1B5;
inline constexpr uint32_t kCodeSequenceEnd = 0x1B7;
inline constexpr uint32_t kCodeGroup = 0x1B8;

inline constexpr int32_t kTableEntries = 4096;
// The last entry is kept for the picture that ends the unit, and a few more for the headers ahead of it, so that
// a picture of too many slices loses slices and nothing else.
inline constexpr int32_t kTableEntriesBelowPicture = kTableEntries - 1;
inline constexpr int32_t kTableEntriesBelowHeaders = kTableEntries - 64;

// No more slices are to be listed: they belong to no picture of this unit.
struct TableState {
    bool slicesClosed;
};

inline bool isSliceCode(uint32_t code) {
    return code >= 0x101 && code <= 0x1AF;
}

// Empties the table. `withoutSlices` for a unit that carries on a picture whose first slices have been delivered.
void beginTable(PictureUnit &unit, TableState &state, bool withoutSlices);

// Enters a code. The slices of the table are always one unbroken run: the decoder takes the whole run at its first
// entry and goes on behind its last, so a slice listed elsewhere would be taken for one more picture.
void listCode(PictureUnit &unit, TableState &state, uint32_t code, uint32_t offset);

}  // namespace tvk::elementary
