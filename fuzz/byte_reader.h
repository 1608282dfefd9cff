// SPDX-License-Identifier: BSD-2-Clause
// An input as a row of choices. Behind its end all choices are 0.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tvkfuzz {

struct ByteReader {
    const uint8_t *at, *end;

    ByteReader(const uint8_t *data, size_t size) : at(data), end(data + size) {}

    size_t left() const { return static_cast<size_t>(end - at); }
    uint8_t byte() { return at == end ? 0 : *at++; }
    uint32_t word(uint32_t bytes) {
        uint32_t value = 0;
        for (uint32_t i = 0; i < bytes; ++i) value |= uint32_t{byte()} << 8 * i;
        return value;
    }
    // low to high, both included; one byte of the input.
    uint32_t range(uint32_t low, uint32_t high) { return low + byte() % (high - low + 1); }
    bool flag() { return byte() & 1; }
};

}  // namespace tvkfuzz
