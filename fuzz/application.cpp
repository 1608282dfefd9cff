// SPDX-License-Identifier: BSD-2-Clause
// The application's buffers, callbacks and calls.
#include "fuzz/application.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "core/memory.h"
#include "tvk_source.h"

namespace tvkfuzz {
namespace {

std::atomic<size_t> largestAllocation, bytesLeft;

bool withinLimit(size_t size) {
    if (size > largestAllocation) return false;
    size_t left = bytesLeft;
    do
        if (size > left) return false;
    while (!bytesLeft.compare_exchange_weak(left, left - size));
    return true;
}

// Keeps the compiler from leaving out the reads that a memory checker is to see; the branch on their sum shows bytes
// that nobody has written.
std::atomic<uint32_t> sink;

}  // namespace

void fail(const char *what) {
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

void readBytes(const void *bytes, size_t size) {
    const uint8_t *p = static_cast<const uint8_t *>(bytes);
    uint32_t sum = 0;
    for (size_t i = 0; i < size; ++i) sum += p[i];
    if (sum & 1) sink.fetch_add(1, std::memory_order_relaxed);
}

static void readPlane(const VideoPlane &plane) {
    if (!plane.data) fail("a plane without data");
    if (plane.width < 1 || plane.height < 0 || plane.size < 0 || plane.stride < plane.width) fail("a plane's record");
    readBytes(plane.data, static_cast<size_t>(plane.size));
}

void readFrame(const VideoFrame &frame) {
    readPlane(frame.lumaPlane);
    readPlane(frame.chromaPlane);
    if (frame.userDataSize < 0 || static_cast<size_t>(frame.userDataSize) > sizeof frame.userData)
        fail("more user data than a frame holds");
    readBytes(frame.userData, static_cast<size_t>(frame.userDataSize));
}

namespace {

// The manager gets no pointer of its own. Slices are decoded for one application at a time.
Application *managedApplication = nullptr;
std::unique_ptr<uint8_t[]> outputBuffer;

size_t outputBytes(const Application &application, const VideoFrame &frame) {
    const size_t area = ((static_cast<size_t>(frame.lumaPlane.width) + 31) & ~size_t{31}) *
                        ((static_cast<size_t>(frame.lumaPlane.height) + 15) & ~size_t{15});
    uint32_t fourcc = 0;
    tvkGetVideoConversionType(application.stream, &fourcc);
    switch (fourcc & 0xFFFFFF5F) {
        case 0x32315659:  // YV12
            return area + area / 4 * 2;
        case 0x39555659:  // YVU9
            return area + area / 16 * 2;
        default:
            return area * 2;
    }
}

// A buffer of exactly the size that the layout has, so that a memory checker sees any write beside it.
int32_t manage(int32_t command, void *pointer) {
    if (!managedApplication || !pointer) return 0;
    VideoFrame *frame = static_cast<VideoFrame *>(pointer);
    if (command == 2) {
        outputBuffer.reset(new uint8_t[outputBytes(*managedApplication, *frame)]());
        frame->externalBuffer = outputBuffer.get();
    }
    if (command == 3) {
        frame->externalBuffer = nullptr;
        if (frame->bufferSlot >= 0) tvkSetMemoryAvailable(managedApplication->stream, frame->bufferSlot);
    }
    return 0;
}

int32_t watch(CallbackEvent *event) {
    if (event->eventCode == 13 && event->userData) readBytes(event->userData->buffer, event->userData->length);
    if (event->eventCode == 11) readBytes(event->macroblock, sizeof *event->macroblock);
    if (event->blockData) readBytes(event->blockData, 12 * 64 * sizeof *event->blockData);
    return 0;
}

void toggleManager(Application &a, uint8_t value) {
    a.managed = !a.managed;
    managedApplication = a.managed ? &a : nullptr;
    tvkSetMemoryManager(a.stream, a.managed ? manage : nullptr, 4 + value);
}

void toggleCallback(Application &a) {
    a.watching = !a.watching;
    tvkSetVideoUserCallback(a.stream, a.watching ? watch : nullptr, 7);
}

void changeSetting(Application &a, Action action, uint8_t value) {
    static int32_t list[] = {1, 2, 4, 5, 9, 14, 30, 100};
    constexpr uint32_t kConversions[] = {0x32595559, 0x59565955, 0x32315659, 0x39555659};
    switch (action) {
        case Action::reduce:
            tvkSetVideoSP_ReduceCoefficient(a.stream, 1 << value % 4);
            break;
        case Action::precision:
            tvkSetVideoSP_Precision(a.stream, value % 2 + 1);
            break;
        case Action::threads:
            tvkSetVideoSP_Threads(a.stream, value % 4);
            break;
        case Action::frameTypes:
            tvkSetVideoSP_FrameTypesToProcess(a.stream, value % 4);
            break;
        case Action::conversionType:
            tvkSetVideoConversionType(a.stream, kConversions[value % 4]);
            break;
        case Action::memoryManager:
            toggleManager(a, value);
            break;
        case Action::userCallback:
            toggleCallback(a);
            break;
        case Action::ringSizes:
            tvkSetVideoFrameBufferSize(a.stream, value & 3, value >> 2 & 1);
            break;
        case Action::workMode:
            tvkSetVideoWorkMode(a.stream, value % 4);
            break;
        case Action::speed:
            tvkSetVideoAdjustableSpeed(a.stream, value);
            break;
        case Action::flags:
            tvkSetVideoSP_Flags(a.stream, value);
            break;
        case Action::prescan:
            value & 2 ? tvkSetVideoSP_PrescanEdit(a.stream, value & 1) : tvkSetVideoSP_Prescan(a.stream, value & 1);
            break;
        case Action::frameList:
            tvkSetVideoSP_FrameList(a.stream, list, value + 1);
            break;
        default:
            break;
    }
}

void jumpToStoredPosition(Application &a, uint8_t value) {
    AbsPosition position = {{value, 0, value * 100u}};
    if (value < 6) tvkGetAbsVideoPosition(a.stream, &position);
    tvkSetAbsVideoPosition(a.stream, position);
}

void changePosition(Application &a, Action action, uint8_t value) {
    switch (action) {
        case Action::frameNumber:
            tvkSetVideoFrameNumber(a.stream, 2 * value - 1);
            break;
        case Action::frameNumberEdit:
            tvkSetVideoFrameNumberEdit(a.stream, 2 * value - 1);
            break;
        case Action::frameNumberBinary:
            tvkSetVideoFrameNumberBin(a.stream, 2 * value - 1);
            break;
        case Action::rate:
            tvkSetRateVideoPosition(a.stream, value / 6.0);
            break;
        case Action::rateEdit:
            tvkSetRateVideoPositionEdit(a.stream, value / 6.0);
            break;
        case Action::time:
            tvkSetTimeVideoPosition(a.stream, value / 20.0);
            break;
        case Action::absPosition:
            jumpToStoredPosition(a, value);
            break;
        default:
            break;
    }
}

void askFacts(Application &a, uint8_t value) {
    VideoStreamInfo info = {};
    if (tvkGetVideoStreamInfo(a.stream, &info) == 0 && info.keyFrames)
        readBytes(info.keyFrames, info.keyFrameCount * sizeof *info.keyFrames);
    double seconds = 0.0;
    tvkGetTimeVideoPosition(a.stream, &seconds);
    tvkGetRateVideoPosition(a.stream, &seconds);
    int32_t first = value, last = value + 3;
    tvkGetBinaryStartEnd(a.stream, &first, &last);
    uint32_t forward = 0;
    int32_t forwardFill = 0, backwardFill = 0;
    tvkGetVideoFrameBufferSize(a.stream, &forward, &forward);
    tvkGetVideoFrameBufferUtilization(a.stream, &forwardFill, &backwardFill);
}

void readThrough(Application &a, Action action, uint8_t value) {
    uint32_t number = 0;
    switch (action) {
        case Action::countFrames:
            tvkCountVideoFrames(a.stream, &number);
            break;
        case Action::lastFrameNumber:
            tvkGetLastFrameNumber(a.stream, &number);
            break;
        case Action::index:
            tvkCreateVideoIndexTable(a.stream);
            break;
        case Action::indexEdit:
            tvkCreateVideoIndexTableEdit(a.stream, 3 * value);
            break;
        case Action::swapBuffer:
            tvkSwapBuffer(a.stream);
            break;
        case Action::facts:
            askFacts(a, value);
            break;
        default:
            break;
    }
}

// Into buffers of exactly as many bytes as the call may use.
void convert(const VideoFrame &frame, uint8_t value) {
    constexpr int32_t kTargets[] = {15, 16, 24, 32, 0x32595559, 0x59565955, 0x32315659, 0x39555659};
    const int32_t stride = (4 * frame.lumaPlane.width + 15) & ~15;
    const size_t bytes = static_cast<size_t>(stride) * static_cast<size_t>(frame.lumaPlane.height);
    const std::unique_ptr<uint8_t[]> first(new uint8_t[bytes]), second(new uint8_t[bytes]), third(new uint8_t[bytes]);
    tvkConvertVideoFrameEx(&frame, kTargets[value % 8], first.get(), second.get(), third.get(), stride,
                           7 + value % 2 * 8);
}

void duplicate(const VideoFrame &frame) {
    VideoFrame *copy = nullptr;
    if (tvkDuplicateVideoFrame(&frame, &copy) != 0) return;
    readFrame(*copy);
    tvkCopyVideoFrame(&frame, copy);
    tvkDestroyVideoFrame(copy);
}

void lookAtFrame(Application &a, Action action, uint8_t value) {
    VideoFrame *frame = nullptr;
    switch (action) {
        case Action::sequenceHeader:
            tvkGetSequenceHeader(a.stream, &frame);
            break;
        case Action::previousFrame:
            tvkGetPrevVideoFrame(a.stream, &frame);
            break;
        case Action::bufferedFrame:
            tvkGetBufferedVideoFrame(a.stream, value - 3, &frame);
            break;
        case Action::convert:
        case Action::duplicate:
            tvkGetVideoFrame(a.stream, &frame);
            break;
        default:
            break;
    }
    if (!frame) return;
    readFrame(*frame);
    if (action == Action::convert) convert(*frame, value);
    if (action == Action::duplicate) duplicate(*frame);
}

}  // namespace

Application::~Application() {
    if (stream) tvkDestroyVideoStream(stream);
    if (source) tvkCloseSource(source);
    if (managedApplication == this) managedApplication = nullptr;
    outputBuffer.reset();
}

bool Application::open(const uint8_t *bytes, size_t size, uint32_t flags) {
    VideoSource *opened = nullptr;
    return tvkOpenMemorySourceEx(&opened, bytes, size, flags) == 0 && adopt(opened);
}

bool Application::adopt(VideoSource *opened) {
    source = opened;
    return source && tvkCreateVideoStream(&stream, source) == 0;
}

const VideoFrame *Application::step(Loop loop) {
    using Get = int32_t (*)(VideoStream *, VideoFrame **);
    constexpr Get kGets[] = {tvkGetNextVideoFrame, tvkGetNextVideoFrameStreamOrder, tvkGetNextVideoFrameEdit,
                             tvkGetNextVideoFrameBin};
    VideoFrame *frame = nullptr;
    result = kGets[static_cast<uint8_t>(loop)](stream, &frame);
    if ((result == 0) != (frame != nullptr)) fail("a result that contradicts its frame");
    if (frame) readFrame(*frame);
    return frame;
}

void Application::act(Action action, uint8_t value) {
    changeSetting(*this, action, value);
    changePosition(*this, action, value);
    readThrough(*this, action, value);
    lookAtFrame(*this, action, value);
}

size_t countCodes(const uint8_t *bytes, size_t size, int32_t code) {
    size_t count = 0;
    for (size_t i = 0; i + 4 <= size; ++i)
        count += bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1 && (code < 0 || bytes[i + 3] == code);
    return count;
}

MemoryLimit::MemoryLimit(size_t largest, size_t total) {
    largestAllocation = largest;
    bytesLeft = total;
    tvk::allocationHook = withinLimit;
}

MemoryLimit::~MemoryLimit() {
    tvk::allocationHook = nullptr;
}

}  // namespace tvkfuzz
