// SPDX-License-Identifier: BSD-2-Clause
// The checks that every exported call runs on its handle before anything else.
#pragma once

#include <atomic>
#include <cstdint>

#include "core/stream.h"
#include "tvk.h"

namespace tvk {

// The live handles. A pointer is looked up before it is read, so that a wild one is refused and never touched. Lookup
// takes no lock and may run beside creation and destruction of other handles.
bool registerHandle(VideoStream *stream);  // false when out of memory
void unregisterHandle(VideoStream *stream);
bool isLiveHandle(const VideoStream *stream);

// Calls of check M read the status while a stepping call on another thread writes it.
inline uint32_t readStatus(const VideoStream *stream) {
    return std::atomic_ref<uint32_t>(const_cast<VideoStream *>(stream)->status).load(std::memory_order_relaxed);
}

inline void setStatus(VideoStream *stream, StreamStatus status) {
    std::atomic_ref<uint32_t>(stream->status).store(status, std::memory_order_relaxed);
}

// Whether a step is running, or a jump, a scan or a search: callbacks are called in all of them, and the source is.
bool isBusy(const VideoStream *stream);

// Each gives 0 or the code of refusal. M: a live handle. A: M, and no such call is running on it.
int32_t checkM(const VideoStream *stream);
int32_t checkA(const VideoStream *stream);

// K: the handle is of the MPEG-1/2 family. Two calls have a code of their own for it.
inline int32_t checkKind(const VideoStream *stream, int32_t refusal = tvkErrWrongDecoderKind) {
    return stream->decoderKind == 1 || stream->decoderKind == 2 ? 0 : refusal;
}

inline int32_t checkMK(const VideoStream *stream) {
    const int32_t refusal = checkM(stream);
    return refusal ? refusal : checkKind(stream);
}

inline int32_t checkAK(const VideoStream *stream) {
    const int32_t refusal = checkA(stream);
    return refusal ? refusal : checkKind(stream);
}

// Check AK, then the call, and whatever it calls back into is refused what would pull the stream away under it.
template <class... Parameters, class... Arguments>
int32_t runAlone(VideoStream *stream, int32_t (*call)(VideoStream *, Parameters...), Arguments &&...arguments) {
    const int32_t refusal = checkAK(stream);
    if (refusal) return refusal;
    const std::atomic_ref<uint32_t> running(stream->callRunning);
    running.store(1, std::memory_order_relaxed);
    const int32_t result = call(stream, arguments...);
    running.store(0, std::memory_order_relaxed);
    return result;
}

}  // namespace tvk
