// SPDX-License-Identifier: BSD-2-Clause
// Setting the sizes of the ring of decoded frames, and looking into it.
#include "core/calls.h"
#include "core/handles.h"
#include "pipeline/ring.h"

namespace tvk {

int32_t setBufferSize(VideoStream *stream, int32_t forward, int32_t backward) {
    if (forward < 0 || backward < 0) return tvkErrInvalidArgument;
    destroyRing(stream);
    FrameRing &ring = stream->ring;
    ring.forwardSize = forward;
    ring.backwardSize = backward;
    ring.forwardFill = ring.backwardFill = 0;
    ring.ringState = ringEmpty;
    const int32_t refusal = checkKind(stream);
    return refusal ? refusal : reconfigure(stream);
}

int32_t getBufferSize(VideoStream *stream, uint32_t *forward, uint32_t *backward) {
    if (!forward || !backward) return tvkErrInvalidArgument;
    const FrameRing &ring = stream->ring;
    if (!ringWanted(ring)) return tvkErrBufferDisabled;
    *forward = static_cast<uint32_t>(ring.forwardSize);
    *backward = static_cast<uint32_t>(ring.backwardSize);
    return 0;
}

int32_t getBufferUtilization(VideoStream *stream, int32_t *forward, int32_t *backward) {
    if (!forward || !backward) return tvkErrInvalidArgument;
    const FrameRing &ring = stream->ring;
    if (!ringWanted(ring)) return tvkErrBufferDisabled;
    *forward = ring.forwardFill;
    *backward = ring.backwardFill;
    return 0;
}

int32_t getBufferedFrame(VideoStream *stream, int32_t index, VideoFrame **out) {
    if (!out) return tvkErrInvalidArgument;
    *out = nullptr;
    const FrameRing &ring = stream->ring;
    if (!ringWanted(ring)) return tvkErrBufferDisabled;
    if (!ring.ringCentre) return tvkErrBufferDisabled;
    if (index > ring.forwardFill || index < ring.backwardFill) return tvkErrFrameOutOfRange;
    // While the ring fills, the fill stands one place beyond the last frame.
    if (index > ring.forwardSize || index < -ring.backwardSize) return tvkErrFrameOutOfRange;
    if (!isFilled(ring.ringCentre[index])) return tvkErrFrameOutOfRange;
    *out = ring.ringCentre[index];
    return 0;
}

}  // namespace tvk
