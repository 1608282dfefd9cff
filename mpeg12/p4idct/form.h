// SPDX-License-Identifier: BSD-2-Clause
// What is known of a block's coefficients, and so which form of a transform reads it.
#pragma once

#include <cstdint>

namespace tvk {

enum class BlockForm {
    full,
    low,    // rows 0..3 and columns 0..3 alone are read
    single  // nothing but value 0; gives what both other forms give
};

// Bit 31 - i of a mask.
inline bool blockBit(uint32_t mask, int32_t i) {
    return (mask << i >> 31) != 0;
}

}  // namespace tvk
