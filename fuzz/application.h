// SPDX-License-Identifier: BSD-2-Clause
// An application made of the public calls: it opens bytes, steps, looks at each frame, and changes its mind in between.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "tvk.h"

namespace tvkfuzz {

enum class Loop : uint8_t { main, streamOrder, edit, binary };

// One thing that an application does between two steps. The meaning of its value is the action's own.
enum class Action : uint8_t {
    none,
    reduce,
    precision,
    threads,
    frameTypes,
    conversionType,
    memoryManager,
    userCallback,
    ringSizes,
    workMode,
    speed,
    flags,
    prescan,
    frameNumber,
    frameNumberEdit,
    frameNumberBinary,
    rate,
    rateEdit,
    time,
    absPosition,
    countFrames,
    lastFrameNumber,
    sequenceHeader,
    index,
    indexEdit,
    previousFrame,
    bufferedFrame,
    swapBuffer,
    frameList,
    facts,
    convert,
    duplicate
};
inline constexpr uint8_t kActions = 32;

struct Application {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    bool managed = false;
    bool watching = false;  // has a user callback
    int32_t result = 0;     // of the last step

    Application() = default;
    Application(const Application &) = delete;
    Application &operator=(const Application &) = delete;
    ~Application();

    // The bytes stay the caller's. False when the library refuses them.
    bool open(const uint8_t *bytes, size_t size, uint32_t flags);
    // The same with a source of its own, which is closed with it; null is refused.
    bool adopt(VideoSource *opened);
    // Reads every byte of the frame that comes, and ends the process when its record contradicts itself.
    const VideoFrame *step(Loop loop);
    void act(Action action, uint8_t value);
};

// Ends the process with a message, which is what a fuzzer takes for a finding.
[[noreturn]] void fail(const char *what);
// Read all that there is, for a memory checker to see.
void readBytes(const void *bytes, size_t size);
void readFrame(const VideoFrame &frame);

// Start codes 00 00 01 `code` in the bytes; any code when it is negative.
size_t countCodes(const uint8_t *bytes, size_t size, int32_t code);

// Lets allocations fail that are larger than `largest` bytes, or that would make more than `total` bytes together,
// until the object goes. One at a time.
struct MemoryLimit {
    MemoryLimit(size_t largest, size_t total);
    MemoryLimit(const MemoryLimit &) = delete;
    MemoryLimit &operator=(const MemoryLimit &) = delete;
    ~MemoryLimit();
};

}  // namespace tvkfuzz
