// SPDX-License-Identifier: BSD-2-Clause
// Two walks through one stream, and whether the same came of both: what the differential fuzzers are made of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/plan.h"

namespace tvkfuzz {

// The calls that a walk makes, of one build of the library.
struct Decoder {
    decltype(&tvkCreateVideoStream) create;
    decltype(&tvkDestroyVideoStream) destroy;
    decltype(&tvkGetNextVideoFrame) gets[4];  // by Loop
    decltype(&tvkGetVideoFrame) current;
    decltype(&tvkSetVideoSP_Precision) precision;
    decltype(&tvkSetVideoSP_ReduceCoefficient) reduce;
    decltype(&tvkSetVideoSP_Threads) threads;
    decltype(&tvkSetVideoSP_FrameTypesToProcess) frameTypes;
    decltype(&tvkSetVideoWorkMode) workMode;
    decltype(&tvkSetVideoConversionType) conversionType;
    decltype(&tvkSetMemoryManager) memoryManager;
    decltype(&tvkSetMemoryAvailable) memoryAvailable;
    decltype(&tvkSetVideoUserCallback) userCallback;
    decltype(&tvkSetRateVideoPosition) rate;
    decltype(&tvkSetRateVideoPositionEdit) rateEdit;
    decltype(&tvkCreateVideoIndexTable) index;
    decltype(&tvkSetVideoFrameNumber) frameNumber;
};
extern const Decoder kLinkedDecoder;

struct WalkSettings {
    uint8_t reduceShift = 0, frameTypes = 0, workMode = 0, conversion = 0, jump = 0;
    int32_t threads = 1;
    bool precise = false;
    bool managed = false;  // macroblocks go to a buffer of the application too
    bool watched = false;  // has a user callback
    Loop loop = Loop::main;
};
// Work mode 2 becomes 0: it needs a list.
WalkSettings walkSettingsOf(const Plan &plan);

// What a step gave.
struct Outcome {
    int32_t result, frameNumber, streamNumber, codingType;
    uint64_t time;             // bits of presentationTime
    uint64_t picture, output;  // digests of all stored samples, and of the application's buffer
    bool operator==(const Outcome &) const = default;
};

struct Walk {
    std::vector<Outcome> outcomes;
};

// Steps to the end, with the plan's jump behind the second step. A step that found no data is made again and leaves no
// outcome. The source stays the caller's. Memory is limited as for all fuzzers.
Walk walk(const Decoder &decoder, VideoSource *source, const WalkSettings &settings);
// The same over bytes in memory.
Walk walk(const Decoder &decoder, const Plan &plan, const WalkSettings &settings);

uint64_t digest(const void *bytes, size_t size, uint64_t seed);
// End the process at the first difference.
void demandEqual(const Walk &a, const Walk &b);

}  // namespace tvkfuzz
