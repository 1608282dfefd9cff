// SPDX-License-Identifier: BSD-2-Clause
// An input over a source of scripted units, one after the other, whose tables say what the test wants.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "core/memory.h"
#include "core/stream.h"
#include "input/video_input.h"

namespace tvktest {

// One answer of readUnit.
struct ScriptedRead {
    std::vector<uint8_t> bytes = {};
    int32_t status = 0;
    double timeStamp = -1.0;
    std::vector<std::pair<uint32_t, uint32_t>> table = {};  // code, offset
    uint32_t count = 0xFFFFFFFE;                            // what is claimed; this value stands for the bytes' number
};

inline constexpr uint32_t kAllOnes = 0xFFFFFFFF;

struct InputTest : testing::Test {
    VideoSource source = {};
    std::unique_ptr<VideoStream> stream = std::make_unique<VideoStream>();
    tvk::VideoInput *input = nullptr;
    static inline InputTest *current;

    std::vector<ScriptedRead> script;  // behind its end: no bytes
    size_t reads = 0;
    std::vector<int32_t> resumeOffsets, capacities;
    std::vector<uint8_t> sourceBytes;  // exact size, as a source that owns its buffer hands them out

    InputTest() {
        current = this;
        source.readUnit = readUnit;
        stream->source = &source;
        open(0);
    }
    ~InputTest() override {
        tvk::allocationHook = nullptr;
        tvk::destroyVideoInput(input);
    }

    void open(int32_t ownBuffer) {
        tvk::destroyVideoInput(input);
        input = tvk::createVideoInput(stream.get(), ownBuffer);
        ASSERT_NE(input, nullptr);
    }

    uint32_t word(uint32_t i) const { return input->reader.bufferStart[i]; }
    tvk::FramePipeline &frames() { return stream->frames; }

    static int32_t readUnit(VideoSource *, uint32_t, PictureUnit *unit, uint32_t *byteCount) {
        return current->answer(unit, byteCount);
    }

    // The run from the first slice of the table to the last.
    static void nameSlices(PictureUnit &unit) {
        unit.firstSlice = unit.lastSlice = unit.sliceCount = 0;
        for (int32_t i = 0; i < unit.entryCount; ++i) {
            if (unit.startCodes[i] < 0x101 || unit.startCodes[i] > 0x1AF) continue;
            if (unit.sliceCount == 0) unit.firstSlice = i;
            unit.lastSlice = i;
            unit.sliceCount = i + 1 - unit.firstSlice;
        }
    }

    int32_t answer(PictureUnit *unit, uint32_t *byteCount) {
        resumeOffsets.push_back(unit->resumeOffset);
        capacities.push_back(unit->capacity);
        const ScriptedRead read = reads < script.size() ? script[reads] : ScriptedRead{};
        ++reads;
        *byteCount = read.count == 0xFFFFFFFE ? static_cast<uint32_t>(read.bytes.size()) : read.count;
        if (*byteCount == kAllOnes) return 0;
        unit->timeStamp = read.timeStamp;
        if (input->ownBuffer) {
            sourceBytes = read.bytes;
            sourceBytes.shrink_to_fit();
            unit->buffer = sourceBytes.data();
        } else if (!read.bytes.empty()) {
            std::memcpy(unit->buffer + unit->resumeOffset, read.bytes.data(), read.bytes.size());
        }
        unit->entryCount = static_cast<int32_t>(read.table.size());
        for (size_t i = 0; i < read.table.size(); ++i) {
            unit->startCodes[i] = read.table[i].first;
            unit->startOffsets[i] = read.table[i].second;
        }
        nameSlices(*unit);
        return read.status;
    }
};

inline std::vector<uint8_t> countingBytes(size_t n, uint8_t first = 1) {
    std::vector<uint8_t> bytes(n);
    for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<uint8_t>(first + i);
    return bytes;
}

}  // namespace tvktest
