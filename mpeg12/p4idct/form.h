// SPDX-License-Identifier: BSD-2-Clause
// Blocks by their forms, as the transforms take them.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "mpeg12/block_form.h"

namespace tvk {

// A block as a reduced-size transform takes it. Its rows of 8 are on 16-byte bounds, `rowValues` apart.
struct BlockSource {
    const int16_t *values;
    BlockForm form;
    ptrdiff_t rowValues;

    const int16_t *row(ptrdiff_t i) const { return values + i * rowValues; }
};

// Bit 31 - i of a mask.
inline bool blockBit(uint32_t mask, int32_t i) {
    return (mask << i >> 31) != 0;
}

inline constexpr uint32_t kLumaBlocks = 0xF0000000;

// What the two masks say of the blocks in `blocks`; each of them is in one of the three.
struct BlocksByForm {
    uint32_t single, low, full;

    BlocksByForm(uint32_t blocks, uint32_t singleMask, uint32_t lowMask)
        : single(blocks & singleMask), low(blocks & lowMask & ~singleMask), full(blocks & ~lowMask & ~singleMask) {}
};

// one(i) or two(i, j) for each block of a mask, in twos as long as there are two.
template <class One, class Two>
inline void inTwos(uint32_t mask, One one, Two two) {
    const auto take = [&mask] {
        const int32_t i = std::countl_zero(mask);
        mask ^= 0x80000000U >> i;
        return i;
    };
    while (mask != 0) {
        const int32_t i = take();
        if (mask == 0)
            one(i);
        else
            two(i, take());
    }
}

}  // namespace tvk
