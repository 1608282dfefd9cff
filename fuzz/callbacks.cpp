// SPDX-License-Identifier: BSD-2-Clause
// What callbacks may call while a step is running, and what has to be refused to them.
#include "fuzz/callbacks.h"

#include <atomic>
#include <iterator>

#include "fuzz/application.h"
#include "fuzz/calls.h"

namespace tvkfuzz {
namespace {

std::atomic<Caller *> attached{nullptr};
std::atomic<uint32_t> turn{0};

// May run beside a step, on any thread.
void callBeside(VideoStream *stream, uint32_t choice) {
    uint32_t word = 0, other = 0;
    int32_t number = 0, second = 0;
    double real = 0.0;
    AbsPosition position = {};
    VideoStreamInfo info = {};
    VideoFrame *frame = nullptr;
    switch (choice % 12) {
        case 0:
            tvkGetVideoStreamInfo(stream, &info);
            break;
        case 1:
            tvkGetVideoStreamType(stream, &word);
            break;
        case 2:
            tvkGetVideoDecoderID(stream, &word);
            break;
        case 3:
            tvkGetActiveVideoLayer(stream, &number);
            break;
        case 4:
            tvkGetAbsVideoPosition(stream, &position);
            break;
        case 5:
            tvkGetRateVideoPosition(stream, &real);
            break;
        case 6:
            tvkGetTimeVideoPosition(stream, &real);
            break;
        case 7:
            tvkIsVideoStreamIndexed(stream);
            break;
        case 8:
            tvkGetVideoFrameBufferSize(stream, &word, &other);
            tvkGetVideoFrameBufferUtilization(stream, &number, &second);
            tvkGetBufferedVideoFrame(stream, 0, &frame);
            break;
        case 9:
            tvkGetVideoSP_ReduceCoefficient(stream, &word);
            tvkGetVideoSP_Threads(stream, &word);
            tvkGetVideoWorkMode(stream, &word);
            break;
        case 10:
            tvkGetVideoConversionType(stream, &word);
            break;
        default:
            if (tvkCreateVideoFrame(stream, &frame) == 0) tvkDestroyVideoFrame(frame);
    }
}

// Everything else, of which some that would free what the step stands on.
void callAgainstTheRule(VideoStream *stream, uint32_t choice) {
    uint32_t word = 0;
    int32_t result = tvkErrBusy;
    VideoFrame *frame = nullptr;
    switch (choice % 8) {
        case 0:
            result = tvkDestroyVideoStream(stream);
            break;
        case 1:
            result = tvkGetNextVideoFrame(stream, &frame);
            break;
        case 2:
            result = tvkSetVideoFrameNumber(stream, 1);
            break;
        case 3:
            result = tvkSetVideoSP_ReduceCoefficient(stream, 2);
            break;
        case 4:
            result = tvkCountVideoFrames(stream, &word);
            break;
        case 5:
            result = tvkSetVideoFrameBufferSize(stream, 2, 2);
            break;
        case 6:
            result = tvkDisconnectVideoStream(stream);
            break;
        default:
            result = tvkCreateVideoIndexTable(stream);
    }
    if (result != tvkErrBusy) fail("a call within a step that is not refused");
}

}  // namespace

void attachCallbacks(Caller *caller) {
    attached = caller;
    turn = 0;
}

int32_t watchAndCall(CallbackEvent *event) {
    Caller *caller = attached;
    if (!caller || !caller->stream) return 0;
    const uint32_t choice = turn.fetch_add(1, std::memory_order_relaxed);
    if (event->eventCode == 13 && event->userData) readBytes(event->userData->buffer, event->userData->length);
    if (event->eventCode == 11) readBytes(event->macroblock, sizeof *event->macroblock);
    if (choice % 7) return 0;
    const bool decoding = event->eventCode == 10 || event->eventCode == 11 || event->eventCode == 14;
    if (decoding && choice % 3 == 0)
        callAgainstTheRule(caller->stream, choice / 21);
    else
        callBeside(caller->stream, choice / 7);
    return 0;
}

// Buffers stay until the end of the run: of several threads one may still be writing a picture that was given up.
int32_t manageAndCall(int32_t command, void *pointer) {
    Caller *caller = attached;
    if (!caller || !caller->stream || (command != 2 && command != 3)) return 0;
    VideoFrame &frame = *static_cast<VideoFrame *>(pointer);
    const uint32_t choice = turn.fetch_add(1, std::memory_order_relaxed);
    if (command == 3) {
        frame.externalBuffer = nullptr;
        if (choice % 3) tvkSetMemoryAvailable(caller->stream, frame.bufferSlot);
        return 0;
    }
    callBeside(caller->stream, choice);
    const size_t width = static_cast<size_t>(frame.lumaPlane.width + 31) & ~size_t{31};
    const size_t height = static_cast<size_t>(frame.lumaPlane.height + 15) & ~size_t{15};
    caller->buffers.emplace_back(new uint8_t[2 * width * height]());
    frame.externalBuffer = choice % 5 ? caller->buffers.back().get() : nullptr;
    return 0;
}

}  // namespace tvkfuzz
