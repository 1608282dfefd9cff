// SPDX-License-Identifier: BSD-2-Clause
// The limits of the adjustable-speed loop, shared with the commands that move them.
#pragma once

#include <cstdint>

#include "core/stream.h"

namespace tvk {

// Of speedPLimit and speedBLimit: as many as there are.
inline constexpr int32_t kNoSpeedLimit = 0xFFFFFFF;

enum SpeedCommand : int32_t {
    speedIFrames = 1,
    speedUpToP = 2,
    speedUpToB = 3,
    speedAll = 4,
    speedFaster = 5,
    speedSlower = 6
};

}  // namespace tvk
