// SPDX-License-Identifier: BSD-2-Clause
// Decoding of one variable-length code from the slice layer's bit window.
#pragma once

#include <cstdint>

#include "mpeg12/bit_window.h"
#include "mpeg12/vlc_tables.h"

namespace tvk {

// The code's value, or kInvalidCode, after which the window's position is of no use. `table` is one of those ahead of
// the coefficient tables; their longest code has 11 bits, which the window must hold.
TVK_INLINE int32_t DecodeVlc(BitWindow &b, const int16_t *table) {
    const int32_t width = table[0];
    int32_t entry = table[1 + peek(b, width)];
    if ((entry & 15) == 0) {  // a link; sub-tables hold none
        skip(b, width);
        const int16_t *level = table + (entry >> 4);
        entry = level[1 + peek(b, level[0])];
    }
    skip(b, entry & 15);
    return entry >> 4;
}

// The same from one of the tables without links.
template <VlcTable t>
TVK_INLINE int32_t decodeOneLevel(BitWindow &b) {
    static_assert(kVlcLayout[t].subTables == 0);
    const int32_t entry = vlcTable(t)[1 + peek(b, kVlcLayout[t].width)];
    skip(b, entry & 15);
    return entry >> 4;
}

// The same from a table of one level that the next `bits` bits index.
template <int32_t bits>
TVK_INLINE int32_t decodeFlat(BitWindow &b, const int16_t *table) {
    const int32_t entry = table[peek(b, bits)];
    skip(b, entry & 15);
    return entry >> 4;
}

TVK_INLINE int32_t DecodeMotionCode(BitWindow &b) {
    return decodeFlat<kFlatBits>(b, kFlatTables.motionCode);
}

}  // namespace tvk
