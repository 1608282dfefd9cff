// SPDX-License-Identifier: BSD-2-Clause
// Presentation times and the hand-over of a finished frame.
#pragma once

#include <cstdint>

#include "core/stream.h"

namespace tvk {

inline constexpr double kNoTime = -1.0;

// The time of a new frame, written into currentFrame.
void timeFromStamps(VideoStream *stream);
void timeFromChangedClock(VideoStream *stream);

// Both mark deliveredFrame as delivered and tell where the input stands.
void deliverByStamp(VideoStream *stream);
void deliverByClock(VideoStream *stream);

}  // namespace tvk
