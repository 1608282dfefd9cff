// SPDX-License-Identifier: BSD-2-Clause
// Making and unmaking a stream.
#include <cstring>
#include <type_traits>

#include "core/callbacks.h"
#include "core/calls.h"
#include "core/handles.h"
#include "core/memory.h"
#include "core/slots.h"
#include "core/source_calls.h"
#include "core/speed.h"
#include "input/video_input.h"
#include "mpeg12/worker.h"
#include "pipeline/frame.h"
#include "syntax/headers.h"

namespace tvk {

namespace {

static_assert(std::is_trivially_copyable_v<VideoStream>);

// Zeroes a block that is freed next: the compiler must not leave it out, stale handles are told by it.
void wipe(VideoStream *stream) {
    std::memset(stream, 0, sizeof *stream);
    asm volatile("" : : "r"(stream) : "memory");
}

void wipeAndFree(VideoStream *stream) {
    wipe(stream);
    release(stream);
}

// One video stream, of a kind that is known.
int32_t checkDescription(const StreamDescription &description) {
    if (description.videoStreamCount == 0) return tvkErrWrongDecoderKind;
    if (description.layerKind > 2 || description.videoStreamCount != 1) return tvkErrStreamLayout;
    return 0;
}

int32_t askOwnBuffer(VideoStream *stream) {
    uint32_t ownBuffer = 0;
    const int32_t result = sourceParameter(stream, parameterOwnBuffer, &ownBuffer);
    return result >= 0 && ownBuffer != 0 ? 1 : 0;
}

void setDefaults(VideoStream *stream) {
    stream->frames.framesPerSecond = 30.0f;
    stream->headers.blocksPerMacroblock = 6;
    stream->ring.ringFollowsSeek = 1;
    stream->ring.ringState = 1;

    Settings &settings = stream->settings;
    settings.speedLevel = 3;
    settings.speedPLimit = kNoSpeedLimit;
    settings.speedBLimit = kNoSpeedLimit;
    settings.lastListFrame = -1;

    constexpr uint32_t kYuy2 = 0x32595559;
    setConversionType(stream, kYuy2);
    setStatus(stream, statusIdle);
}

// Each setting is followed by its reconfiguration, as if the application had made it. With no callback and no call
// running, none can refuse.
void applyDefaultSettings(VideoStream *stream) {
    stream->settings.reduceCoefficient = 1;
    reconfigure(stream);
    stream->settings.frameTypesToProcess = 3;
    reconfigure(stream);
    stream->settings.precision = 2;
    reconfigure(stream);
    stream->settings.workMode = 0;
    reconfigure(stream);
}

// Everything between opening the source and the choice of a layer.
int32_t buildStream(VideoStream *stream, VideoSource *source, int32_t ownBuffer) {
    // This forgets the number that the source issued: sources were always called with 0 from here on, and accept it.
    std::memset(stream, 0, sizeof *stream);
    stream->magic = kStreamMagic;
    stream->source = source;
    if (!replaceWorkers(stream, 1)) return tvkErrOutOfMemory;
    stream->input = createVideoInput(stream, ownBuffer);
    if (!stream->input) return tvkErrOutOfMemory;
    // Before the precision has a value, so the matrices get the layout of the fast transform.
    initialiseHeaders(stream);
    setDefaults(stream);
    applyDefaultSettings(stream);
    stream->input->source = source;
    stream->input->decoderId = stream->decoderId;
    stream->connected = 1;
    return selectDefaultLayer(stream);
}

void destroyFrames(VideoStream *stream) {
    for (VideoFrame *&frame : stream->frames.workFrame) {
        destroyFrame(frame);
        frame = nullptr;
    }
    destroyRetiredFrames(stream);
    destroyRing(stream);
    FramePipeline &frames = stream->frames;
    frames.forwardRef = frames.backwardRef = frames.currentFrame = frames.deliveredFrame = nullptr;
}

// All that the stream owns but its own block.
int32_t teardown(VideoStream *stream) {
    if (readStatus(stream) == statusBusy) return tvkErrBusy;
    destroyVideoInput(stream->input);
    stream->input = nullptr;
    destroyWorkers(stream);
    if (stream->callbacks.memoryManager) stream->callbacks.memoryManager(memoryDestroy, stream->frames.workFrame);
    destroyFrames(stream);
    stream->callbacks.slots = {};
    freeIndex(stream->index);
    return 0;
}

// The stream open at its source and built, not known as a handle yet; null with a code otherwise.
int32_t constructStream(VideoStream **out, VideoSource *source) {
    VideoStream *stream = allocateArray<VideoStream>(1);
    if (!stream) return tvkErrOutOfMemory;
    stream->source = source;
    const int32_t opened = connectSource(stream);
    if (opened < 0) {
        release(stream);
        return opened;
    }
    const int32_t built = buildStream(stream, source, askOwnBuffer(stream));
    if (built != 0) {
        teardown(stream);
        wipeAndFree(stream);
        return built;
    }
    *out = stream;
    return 0;
}

}  // namespace

int32_t createStream(VideoStream **out, VideoSource *source) {
    if (!out || !source) return tvkErrInvalidArgument;
    *out = nullptr;
    StreamDescription description = {};
    const int32_t described = source->describe(source, &description);
    if (described != 0) return described;
    const int32_t refusal = checkDescription(description);
    if (refusal != 0) return refusal;

    VideoStream *stream = nullptr;
    const int32_t constructed = constructStream(&stream, source);
    if (constructed != 0) return constructed;
    if (!registerHandle(stream)) {
        teardown(stream);
        wipeAndFree(stream);
        return tvkErrOutOfMemory;
    }
    stream->decoderKind = 1;
    *out = stream;
    return 0;
}

int32_t destroyStream(VideoStream *stream) {
    disconnectSource(stream);
    const int32_t result = teardown(stream);
    if (result != 0) return result;
    unregisterHandle(stream);
    wipeAndFree(stream);
    return 0;
}

}  // namespace tvk
