// SPDX-License-Identifier: BSD-2-Clause
// Pieces of the shipped clips with bytes flipped, dropped, doubled, cut off, scribbled over and spliced: one stream and
// one way to decode it for each number.
#pragma once

#include <cstdint>

#include "clips.h"
#include "fuzz/application.h"

namespace tvktest {

struct DamagedClip {
    Bytes bytes;
    int32_t precision;    // 1 at full size alone
    uint8_t reduceShift;  // 0 to 3
    uint8_t threads;
    tvkfuzz::Loop loop;
    uint32_t sourceFlags;
};

DamagedClip damagedClip(uint64_t variant);

}  // namespace tvktest
