// SPDX-License-Identifier: BSD-2-Clause
// The operations of the source in front, all of them handed on.
#include "fuzz/stalling_source.h"

namespace tvkfuzz {
namespace {

StallingSource &front(VideoSource *source) {
    return *reinterpret_cast<StallingSource *>(source);
}

int32_t readUnit(VideoSource *source, uint32_t id, PictureUnit *unit, uint32_t *byteCount) {
    StallingSource &s = front(source);
    const bool stalls = s.stallsNow();
    ++s.reads;
    if (stalls) {
        *byteCount = 0xFFFFFFFF;
        return 0;
    }
    const int32_t result = s.inner->readUnit(s.inner, id, unit, byteCount);
    if (unit->resumeOffset == 0) ++s.units;
    unit->timeStamp = s.stamped && s.units % 5 ? 0.04 * static_cast<double>(s.units) : -1.0;
    return result;
}

int32_t describe(VideoSource *source, StreamDescription *out) {
    return front(source).inner->describe(front(source).inner, out);
}

int32_t getAbsPosition(VideoSource *source, uint32_t id, uint32_t unitOffset, AbsPosition *out) {
    return front(source).inner->getAbsPosition(front(source).inner, id, unitOffset, out);
}

int32_t seekAbsPosition(VideoSource *source, uint32_t id, const AbsPosition *position) {
    return front(source).inner->seekAbsPosition(front(source).inner, id, position);
}

int32_t getRatePosition(VideoSource *source, uint32_t id, uint32_t unitOffset, double *out) {
    return front(source).inner->getRatePosition(front(source).inner, id, unitOffset, out);
}

int32_t seekRatePosition(VideoSource *source, uint32_t id, const double *rate) {
    return front(source).inner->seekRatePosition(front(source).inner, id, rate);
}

int32_t seekTimePosition(VideoSource *source, uint32_t id, const double *seconds) {
    return front(source).inner->seekTimePosition(front(source).inner, id, seconds);
}

int32_t getParameter(VideoSource *source, uint32_t id, uint32_t number, void *out) {
    return front(source).inner->getParameter(front(source).inner, id, number, out);
}

int32_t setParameter(VideoSource *source, uint32_t id, uint32_t number, const void *value) {
    return front(source).inner->setParameter(front(source).inner, id, number, value);
}

int32_t openClose(VideoSource *source, uint32_t *id, uint32_t operation) {
    return front(source).inner->openClose(front(source).inner, id, operation);
}

}  // namespace

StallingSource::StallingSource(VideoSource *behind, const uint8_t *stalls, size_t size, bool stamps)
    : table(), inner(behind), pattern(stalls), patternSize(size), stamped(stamps) {
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

bool StallingSource::stallsNow() {
    if (!pattern || patternSize == 0) return false;
    const uint8_t byte = pattern[reads / 8 % patternSize];
    const bool stalls = (byte >> reads % 8 & 1) && stallsInARow < 3 && stallsLeft > 0;
    stallsInARow = stalls ? stallsInARow + 1 : 0;
    stallsLeft -= stalls;
    return stalls;
}

}  // namespace tvkfuzz
