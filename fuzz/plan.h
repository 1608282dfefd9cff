// SPDX-License-Identifier: BSD-2-Clause
// What the fuzzers of coded bytes make of an input: settings, actions and a stream.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fuzz/application.h"

namespace tvkfuzz {

inline constexpr size_t kSettingBytes = 4;
// Sizes above these are refused as if the machine had no more: a fuzzer would do nothing but fill frames.
inline constexpr size_t kLargestAllocation = 6u << 20;
inline constexpr size_t kMostMemory = 192u << 20;

// Input: four bytes of settings, the number of actions being the low half of the fourth; the actions, one behind each
// of the first frames; coded bytes.
struct Plan {
    uint8_t settings[kSettingBytes];
    const uint8_t *actions;
    size_t actionCount;
    const uint8_t *stream;
    size_t streamSize;

    uint8_t reduceShift() const { return settings[0] & 3; }
    bool precise() const { return settings[0] & 4; }
    bool threaded() const { return settings[0] & 8; }
    uint8_t frameTypes() const { return settings[0] >> 4 & 3; }  // 0 leaves them
    bool throughFile() const { return settings[0] & 0x40; }
    bool watched() const { return settings[0] & 0x80; }
    uint8_t workMode() const { return settings[1] & 3; }
    Loop loop() const { return static_cast<Loop>(settings[1] >> 2 & 3); }
    bool managed() const { return settings[1] & 0x10; }
    uint8_t conversion() const { return settings[1] >> 5 & 3; }
    bool copied() const { return settings[1] & 0x80; }  // units into the decoder's buffer
    uint8_t jump() const { return settings[2] >> 5; }
};

// False when the input is too short.
bool planOf(Plan *plan, const uint8_t *data, size_t size);
void applySettings(Application &application, const Plan &plan);
// Steps to the end with the actions in between. A stream that is stepped and nothing else ends, after at most one frame
// a picture start code; the process ends when it does not.
void play(Application &application, const Plan &plan);

}  // namespace tvkfuzz
