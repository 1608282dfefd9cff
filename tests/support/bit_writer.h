// SPDX-License-Identifier: BSD-2-Clause
// Writes coded bytes bit by bit, the first bit into the top of the first byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tvktest {

struct BitWriter {
    std::vector<uint8_t> bytes;
    uint32_t usedBits = 0;  // of the last byte; 0 when the next bit opens a new one

    // The low n bits of value, n from 0 to 32.
    BitWriter &put(uint32_t n, uint32_t value) {
        for (uint32_t i = n; i-- > 0;) putBit(value >> i & 1);
        return *this;
    }

    // Zero bits up to the next byte boundary.
    BitWriter &align() {
        usedBits = 0;
        return *this;
    }

    BitWriter &byte(uint32_t value) {
        align();
        bytes.push_back(static_cast<uint8_t>(value));
        return *this;
    }

    BitWriter &append(const std::vector<uint8_t> &more) {
        align();
        bytes.insert(bytes.end(), more.begin(), more.end());
        return *this;
    }

    // Aligned 00 00 01 and the code's low byte; codes may be given with or without 0x100.
    BitWriter &startCode(uint32_t code) { return byte(0).byte(0).byte(1).byte(code & 0xFF); }

    size_t size() const { return bytes.size(); }

  private:
    void putBit(uint32_t bit) {
        if (usedBits == 0) bytes.push_back(0);
        bytes.back() = static_cast<uint8_t>(bytes.back() | bit << (7 - usedBits));
        usedBits = (usedBits + 1) & 7;
    }
};

}  // namespace tvktest
