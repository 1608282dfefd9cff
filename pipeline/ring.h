// SPDX-License-Identifier: BSD-2-Clause
// The ring of decoded frames around the current one.
#pragma once

#include <cstdint>

#include "core/stream.h"

namespace tvk {

enum RingState : int32_t { ringEmpty = 1, ringFillingForward, ringFillingBackward, ringFull, ringDraining };

inline bool ringWanted(const FrameRing &ring) {
    return ring.forwardSize != 0 || ring.backwardSize != 0;
}

// A record counts as filled from the first copy on. One that failed to be made is null, as is one that fell off while
// the ring drained.
inline bool isFilled(const VideoFrame *frame) {
    return frame && frame->frameState != 0;
}

// Destroys the old ring and makes one of the sizes asked for. A ring that existed takes these sizes with it, so it
// goes away for good.
void buildRing(VideoStream *stream);
// At a seek: nothing in it is near the new position. Only when the ring follows seeks.
void emptyRing(FrameRing &ring);

// A stepping call with a ring wanted.
int32_t stepThroughRing(VideoStream *stream, StepFunction step);

}  // namespace tvk
