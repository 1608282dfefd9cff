// SPDX-License-Identifier: BSD-2-Clause
// Streams, files and a reader for the tests of the sources.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "sources/abs_position.h"
#include "tvk_source.h"

namespace tvk::test {

using Bytes = std::vector<uint8_t>;

inline void append(Bytes &bytes, std::initializer_list<int> more) {
    for (int value : more) bytes.push_back(static_cast<uint8_t>(value));
}

// A start code by its value with 0x100 added, and `filler` bytes that hold no zero.
inline void appendCode(Bytes &bytes, uint32_t code, size_t filler = 0) {
    append(bytes, {0, 0, 1, static_cast<int>(code & 0xFF)});
    for (size_t i = 0; i < filler; ++i) bytes.push_back(static_cast<uint8_t>(0x10 + i % 0xE0));
}

// The length of the first unit of makeStream.
inline constexpr uint64_t kHeadBytes = 34;

// Sequence header of 25 frames a second, extension and group, then pictures of `slices` slices each.
inline Bytes makeStream(int pictures, int slices, size_t sliceBytes) {
    Bytes bytes;
    appendCode(bytes, 0x1B3);
    append(bytes, {0x16, 0x01, 0x20, 0x13, 0x40, 0x40, 0x20, 0x40});
    appendCode(bytes, 0x1B5, 6);
    appendCode(bytes, 0x1B8, 4);
    for (int i = 0; i < pictures; ++i) {
        appendCode(bytes, 0x100, 4);
        for (int slice = 0; slice < slices; ++slice)
            appendCode(bytes, static_cast<uint32_t>(0x101 + slice), sliceBytes);
    }
    appendCode(bytes, 0x1B7);
    return bytes;
}

struct TempFile {
    std::string path;
    int file;

    explicit TempFile(const Bytes &bytes = {}) {
        const char *folder = std::getenv("TMPDIR");
        path = std::string(folder != nullptr ? folder : "/tmp") + "/tvk_source_XXXXXX";
        file = mkstemp(path.data());
        write(0, bytes);
    }
    TempFile(const TempFile &) = delete;
    ~TempFile() {
        close(file);
        unlink(path.c_str());
    }
    void write(uint64_t position, const Bytes &bytes) {
        ASSERT_EQ(pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(position)),
                  static_cast<ssize_t>(bytes.size()));
    }
    void resize(uint64_t size) { ASSERT_EQ(ftruncate(file, static_cast<off_t>(size)), 0); }
};

struct Unit {
    int32_t status = 0;
    uint64_t start = 0;
    Bytes bytes;
    std::vector<uint32_t> codes, offsets;
    int32_t firstSlice = 0, lastSlice = 0, sliceCount = 0;
    double time = -1.0;
    bool noData = false;  // nothing yet, in a growing file
};

// A source with a caller behind it that keeps to the protocol of the decoder.
struct Source {
    VideoSource *table = nullptr;
    std::unique_ptr<PictureUnit> unit = std::make_unique<PictureUnit>();
    Bytes buffer;
    bool owns = false;
    bool stamped = false;  // its units may carry times

    static Source ofFile(const std::string &path, uint32_t flags = tvkSourceFillsBuffer) {
        Source source;
        EXPECT_EQ(tvkOpenFileSourceEx(&source.table, path.c_str(), flags), 0);
        source.owns = (flags & tvkSourceFillsBuffer) == 0;
        return source;
    }
    static Source ofMemory(const Bytes &bytes, uint32_t flags = tvkSourceFillsBuffer) {
        Source source;
        EXPECT_EQ(tvkOpenMemorySourceEx(&source.table, bytes.data(), bytes.size(), flags), 0);
        source.owns = (flags & tvkSourceFillsBuffer) == 0;
        return source;
    }
    Source() : buffer(0x400000) {}
    Source(Source &&other) noexcept
        : table(std::exchange(other.table, nullptr)),
          unit(std::move(other.unit)),
          buffer(std::move(other.buffer)),
          owns(other.owns),
          stamped(other.stamped) {}
    ~Source() {
        if (table != nullptr) tvkCloseSource(table);
    }

    // One read into the current buffer, no growth.
    int32_t readOnce(uint32_t &count) {
        if (!owns) {
            unit->buffer = buffer.data();
            unit->capacity = static_cast<int32_t>(buffer.size());
        }
        count = 0;
        return table->readUnit(table, 0, unit.get(), &count);
    }

    Unit read() {
        uint32_t count;
        unit->timeStamp = 7.0;
        unit->resumeOffset = 0;
        Unit result;
        result.status = readOnce(count);
        uint32_t total = count;
        while (result.status == tvkErrBufferTooSmall) {
            unit->resumeOffset = static_cast<int32_t>(total);
            buffer.resize(buffer.size() * 2);
            result.status = readOnce(count);
            total += count;
            unit->resumeOffset = 0;
        }
        result.noData = total == 0xFFFFFFFF;
        if (total == 0 || result.noData) return result;
        if (!stamped) {
            EXPECT_EQ(unit->timeStamp, -1.0);
        }
        result.time = unit->timeStamp;
        result.start = absolute(0);
        result.bytes.assign(unit->buffer, unit->buffer + total);
        result.codes.assign(unit->startCodes, unit->startCodes + unit->entryCount);
        result.offsets.assign(unit->startOffsets, unit->startOffsets + unit->entryCount);
        result.firstSlice = unit->firstSlice;
        result.lastSlice = unit->lastSlice;
        result.sliceCount = unit->sliceCount;
        return result;
    }

    std::vector<Unit> readAll() {
        std::vector<Unit> units;
        for (Unit next = read(); !next.bytes.empty(); next = read()) units.push_back(std::move(next));
        return units;
    }

    AbsPosition position(uint32_t offset) {
        AbsPosition words;
        EXPECT_EQ(table->getAbsPosition(table, 0, offset, &words), 0);
        return words;
    }
    // The byte that a position of an elementary stream names.
    uint64_t absolute(uint32_t offset) {
        tvk::elementary::BytePlace place = {0, 0};
        EXPECT_TRUE(tvk::elementary::fromAbsPosition(position(offset), place));
        return place.packet + place.offset;
    }
    double rate(uint32_t offset) {
        double value = -1.0;
        EXPECT_EQ(table->getRatePosition(table, 0, offset, &value), 0);
        return value;
    }
    int32_t seekAbs(AbsPosition words) { return table->seekAbsPosition(table, 0, &words); }
    int32_t seekRate(double value) { return table->seekRatePosition(table, 0, &value); }
    int32_t seekTime(double value) { return table->seekTimePosition(table, 0, &value); }
};

inline Bytes joined(const std::vector<Unit> &units) {
    Bytes all;
    for (const Unit &unit : units) all.insert(all.end(), unit.bytes.begin(), unit.bytes.end());
    return all;
}

}  // namespace tvk::test
