// SPDX-License-Identifier: BSD-2-Clause
// A VideoSource over bytes in memory that logs every call and can be told to fail, to stall or to lie.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "tvk.h"

namespace tvktest {

enum class Slot {
    readUnit,
    describe,
    getAbsPosition,
    seekAbsPosition,
    getRatePosition,
    seekRatePosition,
    seekTimePosition,
    getParameter,
    setParameter,
    openClose
};

// One call as the source saw it; members that a slot does not have stay zero.
struct SourceCall {
    Slot slot;
    uint32_t decoderId = 0;  // openClose: the value behind the pointer on entry
    uint32_t number = 0;     // parameter number, unit offset, or operation of openClose
    double value = 0;        // rate or seconds of a seek, the value of setParameter as a number
    AbsPosition position = {};
    int32_t result = 0;

    bool is(Slot s) const { return slot == s; }
    bool is(Slot s, uint32_t n) const { return slot == s && number == n; }
};

// What one readUnit shall do in place of an ordinary read.
enum class ReadPlan {
    ordinary,
    needData,       // a count of all ones, nothing taken
    noBytes,        // the end of the data
    failWithCode,   // FakeSource::readError with no bytes
    countTooLarge,  // a count above what was written
};

struct FakeSource {
    VideoSource table;  // first, so that the callbacks find their record

    // What the source holds and says.
    std::vector<uint8_t> bytes;             // the elementary stream
    std::map<uint64_t, double> timeStamps;  // by the byte a unit starts at; no entry means -1.0
    StreamDescription description = {1, 1, 1, 0, 1, 0, nullptr};
    std::vector<VideoLayer> layers = {{480, 0, 1}};
    uint32_t issuedId = 77;                  // what openClose(1) writes
    bool ownsBuffer = false;                 // parameter 8
    int32_t bitRate = 0;                     // parameter 11
    uint64_t totalSize = 0;                  // parameter 14; 0 means the size of `bytes`
    uint64_t identity = 0x1122334455667788;  // parameter 0
    int32_t activeLayer = 0;                 // parameter 9
    double secondsPerByte = 0.001;           // seekTimePosition

    // Failures.
    std::map<Slot, int32_t> failures;               // the slot always returns this
    std::map<uint32_t, int32_t> parameterFailures;  // getParameter and setParameter by number
    std::vector<ReadPlan> readPlan;                 // one entry for each read to come; ordinary behind its end
    int32_t readError = -3999;
    int32_t openResult = 0, closeResult = 0;
    int32_t failDescribeFrom = -1;  // describe fails from this call on, counted from 0
    int32_t describeError = -3998;
    int64_t callsToFailure = -1;  // the call after so many fails with callError; negative: none
    int32_t callError = -3997;

    // What happened.
    std::vector<SourceCall> log;
    uint64_t position = 0;           // the byte that the next unit starts at
    uint64_t unitStart = 0;          // the byte that the last unit started at
    std::vector<uint8_t> ownedUnit;  // exact size, so that a read behind the last byte shows under a sanitizer
    size_t reads = 0;
    int32_t describes = 0;

    FakeSource() { fillTable(); }
    explicit FakeSource(std::vector<uint8_t> stream) : bytes(std::move(stream)) { fillTable(); }
    FakeSource(const FakeSource &) = delete;
    FakeSource &operator=(const FakeSource &) = delete;

    VideoSource *source() { return &table; }

    size_t count(Slot slot) const {
        return static_cast<size_t>(
            std::count_if(log.begin(), log.end(), [slot](const SourceCall &call) { return call.slot == slot; }));
    }
    size_t count(Slot slot, uint32_t number) const {
        return static_cast<size_t>(
            std::count_if(log.begin(), log.end(), [=](const SourceCall &call) { return call.is(slot, number); }));
    }
    // The last call of a slot, or null.
    const SourceCall *last(Slot slot) const {
        for (auto call = log.rbegin(); call != log.rend(); ++call)
            if (call->slot == slot) return &*call;
        return nullptr;
    }

  private:
    static FakeSource &self(VideoSource *source) { return *reinterpret_cast<FakeSource *>(source); }

    int32_t record(SourceCall call) {
        if (const auto failure = failures.find(call.slot); failure != failures.end()) call.result = failure->second;
        if (callsToFailure >= 0 && callsToFailure-- == 0) call.result = callError;
        log.push_back(call);
        return call.result;
    }

    uint64_t sizeInBytes() const { return totalSize ? totalSize : bytes.size(); }

    void fillTable() {
        std::memset(&table, 0, sizeof table);
        table.readUnit = readUnit;
        table.describe = describe;
        table.getAbsPosition = getAbsPosition;
        table.seekAbsPosition = seekAbsPosition;
        table.getRatePosition = getRatePosition;
        table.seekRatePosition = seekRatePosition;
        table.seekTimePosition = seekTimePosition;
        table.getParameter = getParameter;
        table.setParameter = setParameter;
        table.openClose = openClose;
    }

    // The end of the unit that starts at `start`: right behind the next picture start code, or the end of the stream.
    uint64_t unitEnd(uint64_t start) const {
        for (uint64_t i = start; i + 4 <= bytes.size(); ++i)
            if (bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1 && bytes[i + 3] == 0) return i + 4;
        return bytes.size();
    }

    // The table entries of the whole unit `start`..`end`.
    void fillCodes(PictureUnit *unit, uint64_t start, uint64_t end) const {
        int32_t n = 0;
        unit->firstSlice = unit->lastSlice = unit->sliceCount = 0;
        for (uint64_t i = start; i + 4 <= end && n < 4096; ++i) {
            if (bytes[i] != 0 || bytes[i + 1] != 0 || bytes[i + 2] != 1) continue;
            const uint32_t code = 0x100u + bytes[i + 3];
            unit->startCodes[n] = code;
            unit->startOffsets[n] = static_cast<uint32_t>(i - start);
            if (code >= 0x101 && code <= 0x1AF) {
                if (!unit->sliceCount) unit->firstSlice = n;
                unit->lastSlice = n;
                ++unit->sliceCount;
            }
            ++n;
        }
        unit->entryCount = n;
    }

    static int32_t readUnit(VideoSource *source, uint32_t decoderId, PictureUnit *unit, uint32_t *byteCount) {
        FakeSource &s = self(source);
        const ReadPlan plan = s.reads < s.readPlan.size() ? s.readPlan[s.reads] : ReadPlan::ordinary;
        ++s.reads;
        SourceCall call{Slot::readUnit};
        call.decoderId = decoderId;
        call.number = static_cast<uint32_t>(unit->resumeOffset);
        if (plan == ReadPlan::needData) {
            *byteCount = 0xFFFFFFFF;
            return s.record(call);
        }
        if (plan == ReadPlan::failWithCode) call.result = s.readError;
        if (plan != ReadPlan::ordinary && plan != ReadPlan::countTooLarge) {
            *byteCount = 0;
            return s.record(call);
        }
        const uint64_t resume = static_cast<uint64_t>(unit->resumeOffset);
        if (resume == 0) s.unitStart = s.position;
        const uint64_t end = s.unitEnd(s.unitStart);
        uint64_t take = end - s.position;
        if (s.ownsBuffer) {
            s.ownedUnit.assign(s.bytes.begin() + static_cast<int64_t>(s.unitStart),
                               s.bytes.begin() + static_cast<int64_t>(end));
            s.ownedUnit.shrink_to_fit();
            unit->buffer = s.ownedUnit.data();
        } else {
            const uint64_t room = static_cast<uint64_t>(unit->capacity) - resume;
            if (take > room) {
                take = room;
                call.result = tvkErrBufferTooSmall;
            }
            if (take) std::memcpy(unit->buffer + resume, s.bytes.data() + s.position, take);
        }
        s.position += take;
        s.fillCodes(unit, s.unitStart, end);
        const auto stamp = s.timeStamps.find(s.unitStart);
        unit->timeStamp = stamp == s.timeStamps.end() ? -1.0 : stamp->second;
        *byteCount = static_cast<uint32_t>(take);
        if (plan == ReadPlan::countTooLarge) *byteCount = 0x7FFFFFF0;
        return s.record(call);
    }

    static int32_t describe(VideoSource *source, StreamDescription *out) {
        FakeSource &s = self(source);
        SourceCall call{Slot::describe};
        call.number = out->layerCapacity;
        if (s.failDescribeFrom >= 0 && s.describes >= s.failDescribeFrom) call.result = s.describeError;
        ++s.describes;
        const StreamDescription asked = *out;
        *out = s.description;
        out->layers = asked.layers;
        out->layerCapacity = asked.layerCapacity;
        out->layerCount = static_cast<uint32_t>(s.layers.size());
        if (asked.layers)
            std::copy_n(s.layers.begin(), std::min<size_t>(s.layers.size(), asked.layerCapacity), asked.layers);
        return s.record(call);
    }

    // A position is the byte, split in two words, and a mark that keeps byte 0 from being all zero.
    static int32_t getAbsPosition(VideoSource *source, uint32_t decoderId, uint32_t unitOffset, AbsPosition *out) {
        FakeSource &s = self(source);
        const uint64_t at = s.unitStart + unitOffset;
        SourceCall call{Slot::getAbsPosition};
        call.decoderId = decoderId;
        call.number = unitOffset;
        call.position = {{1, static_cast<uint32_t>(at >> 32), static_cast<uint32_t>(at)}};
        const int32_t result = s.record(call);
        if (result >= 0) *out = call.position;
        return result;
    }

    static int32_t seekAbsPosition(VideoSource *source, uint32_t decoderId, const AbsPosition *position) {
        FakeSource &s = self(source);
        SourceCall call{Slot::seekAbsPosition};
        call.decoderId = decoderId;
        call.position = *position;
        const int32_t result = s.record(call);
        if (result == 0) s.seekByte((static_cast<uint64_t>(position->words[1]) << 32) + position->words[2]);
        return result;
    }

    static int32_t getRatePosition(VideoSource *source, uint32_t decoderId, uint32_t unitOffset, double *out) {
        FakeSource &s = self(source);
        SourceCall call{Slot::getRatePosition};
        call.decoderId = decoderId;
        call.number = unitOffset;
        call.value =
            s.bytes.empty() ? 0.0 : static_cast<double>(s.unitStart + unitOffset) / static_cast<double>(s.bytes.size());
        const int32_t result = s.record(call);
        if (result == 0) *out = call.value;
        return result;
    }

    // Lands on the first sequence header, group or picture start code at or behind the byte.
    static int32_t seekRatePosition(VideoSource *source, uint32_t decoderId, const double *rate) {
        FakeSource &s = self(source);
        SourceCall call{Slot::seekRatePosition};
        call.decoderId = decoderId;
        call.value = *rate;
        const int32_t result = s.record(call);
        if (result == 0) s.seekHeader(*rate * static_cast<double>(s.bytes.size()));
        return result;
    }

    static int32_t seekTimePosition(VideoSource *source, uint32_t decoderId, const double *seconds) {
        FakeSource &s = self(source);
        SourceCall call{Slot::seekTimePosition};
        call.decoderId = decoderId;
        call.value = *seconds;
        const int32_t result = s.record(call);
        if (result == 0) s.seekHeader(*seconds / s.secondsPerByte);
        return result;
    }

    void seekByte(uint64_t byte) { position = unitStart = std::min<uint64_t>(byte, bytes.size()); }

    void seekHeader(double byte) {
        uint64_t i = byte >= static_cast<double>(bytes.size()) ? bytes.size() : static_cast<uint64_t>(byte);
        for (; i + 4 <= bytes.size() && i > 0; ++i) {
            const bool prefix = bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1;
            if (prefix && (bytes[i + 3] == 0xB3 || bytes[i + 3] == 0xB8 || bytes[i + 3] == 0x00)) break;
        }
        seekByte(i + 4 > bytes.size() ? bytes.size() : i);
    }

    static int32_t getParameter(VideoSource *source, uint32_t decoderId, uint32_t number, void *out) {
        FakeSource &s = self(source);
        SourceCall call{Slot::getParameter};
        call.decoderId = decoderId;
        call.number = number;
        if (const auto failure = s.parameterFailures.find(number); failure != s.parameterFailures.end())
            call.result = failure->second;
        const int32_t result = s.record(call);
        if (result != 0) return result;
        for (size_t i = 0; number == 0 && i < 8; ++i)
            static_cast<uint8_t *>(out)[i] = static_cast<uint8_t>(s.identity >> 8 * i);
        if (number == 8) *static_cast<uint32_t *>(out) = s.ownsBuffer ? 1 : 0;
        if (number == 9) *static_cast<int32_t *>(out) = s.activeLayer;
        if (number == 11) *static_cast<int32_t *>(out) = s.bitRate;
        if (number == 14) {
            static_cast<uint32_t *>(out)[0] = static_cast<uint32_t>(s.sizeInBytes() >> 32);
            static_cast<uint32_t *>(out)[1] = static_cast<uint32_t>(s.sizeInBytes());
        }
        return 0;
    }

    static int32_t setParameter(VideoSource *source, uint32_t decoderId, uint32_t number, const void *value) {
        FakeSource &s = self(source);
        SourceCall call{Slot::setParameter};
        call.decoderId = decoderId;
        call.number = number;
        if (number == 9) s.activeLayer = *static_cast<const int32_t *>(value);
        if (number == 9 || number == 12) call.value = *static_cast<const int32_t *>(value);
        if (const auto failure = s.parameterFailures.find(number); failure != s.parameterFailures.end())
            call.result = failure->second;
        return s.record(call);
    }

    static int32_t openClose(VideoSource *source, uint32_t *decoderId, uint32_t operation) {
        FakeSource &s = self(source);
        SourceCall call{Slot::openClose};
        call.decoderId = *decoderId;
        call.number = operation;
        call.result = operation == 1 ? s.openResult : s.closeResult;
        if (operation == 1 && call.result >= 0) *decoderId = s.issuedId;
        if (operation == 1 && call.result == 0) s.seekByte(0);
        return s.record(call);
    }
};

}  // namespace tvktest
