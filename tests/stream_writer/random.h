// SPDX-License-Identifier: BSD-2-Clause
// Random numbers that are the same on every machine.
#pragma once

#include <cstdint>

namespace tvktest {

struct Random {
    uint64_t state;

    explicit Random(uint64_t seed) : state(seed) {}

    // splitmix64
    uint64_t next() {
        state += 0x9E3779B97F4A7C15u;
        uint64_t z = state;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
        z = (z ^ z >> 27) * 0x94D049BB133111EBu;
        return z ^ z >> 31;
    }

    // 0 to n - 1; n at least 1.
    uint32_t below(uint32_t n) { return static_cast<uint32_t>((next() >> 32) * n >> 32); }
    // low to high, both included.
    int32_t range(int32_t low, int32_t high) {
        return low + static_cast<int32_t>(below(static_cast<uint32_t>(high - low) + 1));
    }
    bool chance(uint32_t percent) { return below(100) < percent; }
    bool coin() { return (next() >> 63) != 0; }
};

}  // namespace tvktest
