// SPDX-License-Identifier: BSD-2-Clause
// Walks through a stream by any build's calls.
#include "fuzz/walk.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tvk_source.h"

namespace tvkfuzz {
namespace {

constexpr size_t kMostSteps = 300;
constexpr size_t kMostWaits = 100000;
constexpr size_t kEndsInARow = 4;

int32_t watch(CallbackEvent *) {
    return 0;
}

struct Output {
    const Decoder *decoder;
    VideoStream *stream;
    uint8_t conversion;
    std::vector<uint8_t> buffer;
};
Output output;

int32_t manage(int32_t command, void *pointer) {
    if (command != 2 && command != 3) return 0;
    VideoFrame &frame = *static_cast<VideoFrame *>(pointer);
    if (command == 2) {
        const size_t width = static_cast<size_t>(frame.lumaPlane.width + 31) & ~size_t{31};
        const size_t height = static_cast<size_t>(frame.lumaPlane.height + 15) & ~size_t{15};
        output.buffer.resize(2 * width * height);
        frame.externalBuffer = output.buffer.data();
    } else {
        frame.externalBuffer = nullptr;
        if (frame.bufferSlot >= 0) output.decoder->memoryAvailable(output.stream, frame.bufferSlot);
    }
    return 0;
}

uint64_t digestPlane(const VideoPlane &plane, uint64_t seed) {
    return digest(plane.data, static_cast<size_t>(plane.size), seed);
}

Outcome outcomeOf(int32_t result, const VideoFrame *frame, Loop loop) {
    Outcome outcome = {result, 0, 0, 0, 0, 0, digest(output.buffer.data(), output.buffer.size(), 1)};
    if (!frame) return outcome;
    outcome.picture = digestPlane(frame->lumaPlane, 2);
    if (loop == Loop::binary) return outcome;  // no other member means anything
    outcome.picture = digestPlane(frame->chromaPlane, outcome.picture);
    outcome.frameNumber = frame->frameNumber;
    outcome.streamNumber = frame->streamNumber;
    outcome.codingType = frame->pictureCodingType;
    outcome.time = std::bit_cast<uint64_t>(frame->presentationTime);
    return outcome;
}

void apply(const Decoder &decoder, VideoStream *stream, const WalkSettings &settings) {
    constexpr uint32_t kConversions[] = {0x32595559, 0x59565955, 0x32315659, 0x39555659};
    if (settings.precise) decoder.precision(stream, 1);
    decoder.reduce(stream, 1 << settings.reduceShift);
    decoder.threads(stream, settings.threads);
    if (settings.frameTypes) decoder.frameTypes(stream, settings.frameTypes);
    decoder.workMode(stream, settings.workMode);
    decoder.conversionType(stream, kConversions[settings.conversion]);
    if (settings.managed) decoder.memoryManager(stream, manage, 8);
    if (settings.watched) decoder.userCallback(stream, watch, 0);
}

// Makes a call again for as long as its source has no data.
template <class Call>
int32_t persist(Call call) {
    for (size_t waits = 0;; ++waits) {
        const int32_t result = call();
        if (result != tvkErrNeedData) return result;
        if (waits == kMostWaits) fail("a call that never finds data");
    }
}

// A jump that finds no data starts anew with the next call.
int32_t jump(const Decoder &decoder, VideoStream *stream, uint8_t kind) {
    switch (kind) {
        case 1:
            return persist([&] { return decoder.rate(stream, 0.4); });
        case 2:
            return persist([&] { return decoder.rateEdit(stream, 0.4); });
        case 3:
            return persist([&] { return decoder.rate(stream, 0.0); });
        case 4:
            decoder.index(stream);
            return persist([&] { return decoder.frameNumber(stream, 4); });
        default:
            return 0;
    }
}

void stepThrough(Walk &walk, const Decoder &decoder, VideoStream *stream, const WalkSettings &settings) {
    size_t ends = 0;
    for (size_t step = 0; ends < kEndsInARow && step < kMostSteps; ++step) {
        VideoFrame *frame = nullptr;
        if (step == 2 && settings.jump) {
            const int32_t result = jump(decoder, stream, settings.jump);
            decoder.current(stream, &frame);
            walk.outcomes.push_back(outcomeOf(result, frame, Loop::main));
        }
        const auto get = decoder.gets[static_cast<uint8_t>(settings.loop)];
        const int32_t result = persist([&] { return get(stream, &frame); });
        walk.outcomes.push_back(outcomeOf(result, result == 0 ? frame : nullptr, settings.loop));
        ends = result == 0 ? 0 : ends + 1;
    }
}

[[noreturn]] void report(const Walk &a, const Walk &b, size_t at) {
    std::fprintf(stderr, "%zu and %zu outcomes, different from %zu on\n", a.outcomes.size(), b.outcomes.size(), at);
    for (const Walk *walk : {&a, &b}) {
        if (at >= walk->outcomes.size()) continue;
        const Outcome &o = walk->outcomes[at];
        std::fprintf(stderr, "result %d, frame %d, coded %d, type %d, time %llx, picture %llx, output %llx\n", o.result,
                     o.frameNumber, o.streamNumber, o.codingType, static_cast<unsigned long long>(o.time),
                     static_cast<unsigned long long>(o.picture), static_cast<unsigned long long>(o.output));
    }
    std::abort();
}

}  // namespace

const Decoder kLinkedDecoder = {
    tvkCreateVideoStream,
    tvkDestroyVideoStream,
    {tvkGetNextVideoFrame, tvkGetNextVideoFrameStreamOrder, tvkGetNextVideoFrameEdit, tvkGetNextVideoFrameBin},
    tvkGetVideoFrame,
    tvkSetVideoSP_Precision,
    tvkSetVideoSP_ReduceCoefficient,
    tvkSetVideoSP_Threads,
    tvkSetVideoSP_FrameTypesToProcess,
    tvkSetVideoWorkMode,
    tvkSetVideoConversionType,
    tvkSetMemoryManager,
    tvkSetMemoryAvailable,
    tvkSetVideoUserCallback,
    tvkSetRateVideoPosition,
    tvkSetRateVideoPositionEdit,
    tvkCreateVideoIndexTable,
    tvkSetVideoFrameNumber,
};

WalkSettings walkSettingsOf(const Plan &plan) {
    WalkSettings settings;
    settings.reduceShift = plan.reduceShift();
    settings.precise = plan.precise();
    settings.frameTypes = plan.frameTypes();
    settings.workMode = plan.workMode() == 1 ? 1 : 0;
    settings.conversion = plan.conversion();
    settings.managed = plan.managed();
    settings.jump = plan.jump();
    settings.loop = plan.loop();
    return settings;
}

Walk walk(const Decoder &decoder, VideoSource *source, const WalkSettings &settings) {
    const MemoryLimit limit(kLargestAllocation, kMostMemory);
    Walk result;
    VideoStream *stream = nullptr;
    if (decoder.create(&stream, source) != 0) return result;
    output = {&decoder, stream, settings.conversion, {}};
    apply(decoder, stream, settings);
    stepThrough(result, decoder, stream, settings);
    decoder.destroy(stream);
    output = {};
    return result;
}

Walk walk(const Decoder &decoder, const Plan &plan, const WalkSettings &settings) {
    VideoSource *source = nullptr;
    const uint32_t flags = tvkSourceAnyContent | (plan.copied() ? uint32_t{tvkSourceFillsBuffer} : 0);
    if (tvkOpenMemorySourceEx(&source, plan.stream, plan.streamSize, flags) != 0) return {};
    Walk result = walk(decoder, source, settings);
    tvkCloseSource(source);
    return result;
}

// Eight bytes at a time: digests of all planes are most of a walk's work.
uint64_t digest(const void *bytes, size_t size, uint64_t seed) {
    const uint8_t *p = static_cast<const uint8_t *>(bytes);
    uint64_t hash = seed;
    for (; size >= 8; p += 8, size -= 8) {
        uint64_t word;
        std::memcpy(&word, p, sizeof word);
        hash = (hash ^ word) * 0x9E3779B97F4A7C15u;
        hash ^= hash >> 29;
    }
    for (; size > 0; ++p, --size) hash = (hash ^ *p) * 0x100000001B3u;
    return hash;
}

void demandEqual(const Walk &a, const Walk &b) {
    const size_t both = std::min(a.outcomes.size(), b.outcomes.size());
    for (size_t i = 0; i < both; ++i)
        if (a.outcomes[i] != b.outcomes[i]) report(a, b, i);
    if (a.outcomes.size() != b.outcomes.size()) report(a, b, both);
}

}  // namespace tvkfuzz
