// SPDX-License-Identifier: BSD-2-Clause
// What is known of a block's coefficients, and so which form of a transform reads it.
#pragma once

#include <cstdint>

namespace tvk {

enum class BlockForm : uint8_t {
    full,
    low,    // rows 0..3 and columns 0..3 alone are read
    single  // nothing but value 0; gives what both other forms give
};

}  // namespace tvk
