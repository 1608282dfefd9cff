// SPDX-License-Identifier: BSD-2-Clause
// Presentation times of pictures.
#include "sources/container_stamps.h"

#include <algorithm>
#include <cmath>

#include "sources/content.h"
#include "sources/start_code_scan.h"
#include "sources/unit_table.h"

namespace tvk::elementary {
namespace {

constexpr double kNoTime = -1.0;
constexpr double kNearSeconds = 1.0;
constexpr double kWrapSeconds = 8589934592.0 / 90000.0;
enum PictureType : uint32_t { typeI = 1, typeP = 2, typeB = 3 };

// What a picture's headers tell of how it is shown.
struct PictureFacts {
    uint32_t type;
    bool isField;
    bool repeatsField;  // shown half a period longer, or in progressive sequences one or two periods
    bool topFieldFirst;
};

bool beginsAccessUnit(uint32_t code) {
    return isEntryHeader(code) || code == kCodePicture;
}

// `at` is the byte behind the picture's start code.
PictureFacts readPictureHeader(const uint8_t *at, size_t size) {
    return {size < 2 ? 0u : at[1] >> 3 & 7u, false, false, false};
}

// `at` is the byte behind an extension's start code.
void readCodingExtension(const uint8_t *at, size_t size, PictureFacts &facts) {
    constexpr uint32_t kPictureCoding = 8, kFramePicture = 3;
    if (size < 5 || at[0] >> 4 != kPictureCoding) return;
    facts.isField = (at[2] & 3) != kFramePicture;
    facts.topFieldFirst = (at[3] & 0x80) != 0;
    // Without progressive_frame the flag says nothing.
    facts.repeatsField = (at[3] & 2) != 0 && (at[4] & 0x80) != 0 && !facts.isField;
}

void readSequenceHeader(StampState &state, const uint8_t *at, size_t size) {
    if (size < 4) return;
    const double rate = frameRateOfCode(at[3] & 15u);
    if (rate > 0.0) state.framePeriod = 1.0 / rate;
    state.progressiveSequence = true;  // MPEG-1, until an extension says otherwise
    state.lowDelay = false;
    state.fieldPending = false;
}

void readSequenceExtension(StampState &state, const uint8_t *at, size_t size) {
    constexpr uint32_t kSequence = 1;
    if (size < 6 || at[0] >> 4 != kSequence) return;
    state.progressiveSequence = (at[1] & 8) != 0;
    state.lowDelay = (at[5] & 0x80) != 0;
    const uint32_t n = at[5] >> 5 & 3u, d = at[5] & 31u;
    state.framePeriod *= (d + 1.0) / (n + 1.0);
}

// Frame periods for which the picture's frame is shown.
double periodsOf(const StampState &state, const PictureFacts &facts) {
    if (!facts.repeatsField) return 1.0;
    if (!state.progressiveSequence) return 1.5;
    return facts.topFieldFirst ? 3.0 : 2.0;
}

// Half a period is added by the decoder to the clock of a frame that repeats a field, ahead of giving it to
// the frame; so such a frame's stamp comes half a period early. In progressive sequences it does so for threefold
// frames.
double decodersLead(const StampState &state, const PictureFacts &facts) {
    const bool adds = facts.repeatsField && (!state.progressiveSequence || facts.topFieldFirst);
    return adds ? state.framePeriod / 2 : 0.0;
}

// Periods that the B pictures behind `position` are shown, up to the next picture of another type.
double periodsOfFollowingB(const StampState &state, ByteWindow &window, uint64_t unitStart, uint64_t position) {
    constexpr size_t kHeadBytes = 16;
    double periods = 0.0;
    PictureFacts facts = {};
    bool inPicture = false, secondField = false;
    const auto count = [&] {
        if (inPicture && facts.type == typeB) {
            periods += facts.isField ? 0.5 : periodsOf(state, facts);
            secondField = facts.isField && !secondField;
        }
    };
    uint64_t from = position;
    while (from + kHeadBytes < unitStart + kLargestUnit) {
        // Always seen from the unit's start on, so that the window keeps the unit.
        const uint8_t *bytes;
        const size_t wanted = static_cast<size_t>(from - unitStart) + kHeadBytes;
        const size_t available = viewBytes(window, unitStart, wanted, bytes);
        FoundCode found;
        if (available < wanted || !findCodeFrom(window, from, unitStart + available, found)) {
            if (available < wanted) break;
            from = unitStart + available - 3;
            continue;
        }
        const size_t offset = static_cast<size_t>(found.position - unitStart);
        if (viewBytes(window, unitStart, offset + kHeadBytes, bytes) < offset + kHeadBytes) break;
        const uint8_t *at = bytes + offset + 4;
        if (found.code == kCodePicture) {
            count();
            facts = readPictureHeader(at, kHeadBytes - 4);
            inPicture = true;
            if (facts.type != typeB) return periods;
        } else if (found.code == kCodeExtension && inPicture) {
            readCodingExtension(at, kHeadBytes - 4, facts);
        }
        from = found.position + 4;
    }
    count();
    return periods;
}

// Takes note of a start code at `position`.
void meetCode(StampState &state, const PacketMap &map, uint32_t code, uint64_t position) {
    if (isSliceCode(code)) {
        state.inHeaders = false;
        return;
    }
    if (!beginsAccessUnit(code)) return;
    if (!state.inHeaders) {
        state.inHeaders = true;
        state.accessUnit = position;
    }
    if (code != kCodePicture) return;
    state.inHeaders = false;
    state.pictureAhead = true;
    state.told = state.doubtful = false;
    // A packet's time is that of the first picture that begins in it, counted by the first header of the picture or, as
    // some multiplexers have it, by its picture header. They differ where a packet ends between the two.
    for (const uint64_t start : {state.accessUnit, position}) {
        const MappedPacket *packet = packetAt(map, start);
        if (packet == nullptr || !packet->hasTime || packet->start == state.usedPacket) continue;
        state.told = true;
        state.doubtful = start != state.accessUnit;
        state.toldBy = packet->start;
        state.toldTime = packet->time;
        state.isDecodingTime = packet->isDecodingTime;
        state.isReordered = packet->isReordered;
        state.isDirect = packet->isDirect;
        if (!state.doubtful) state.usedPacket = packet->start;
        return;
    }
}

// When an I or P frame is shown, going by the frames around it.
double anchorByClock(const StampState &state, double following) {
    return state.nextTime + following * state.framePeriod;
}

double timeAnchor(StampState &state, ByteWindow &window, uint64_t start, uint64_t behind, double periods) {
    if (state.hasAnchor) {
        state.nextTime = state.anchorTime + state.anchorPeriods * state.framePeriod;
        state.running = true;
    }
    const bool counts = !state.told || state.doubtful || state.isDecodingTime || state.isDirect;
    const double following = counts ? periodsOfFollowingB(state, window, start, behind) : 0.0;
    if (state.told && state.running) {
        const double off = std::abs(state.toldTime - anchorByClock(state, following));
        if (state.doubtful) state.told = off < state.framePeriod / 2;
        // A frame that others are shown ahead of cannot be shown when it is decoded. Some multiplexers give a packet
        // the time of the picture that ends in it; where the clock is far off it has jumped.
        const bool misplaced = state.isDirect && following > 0.0;
        if (misplaced && off < kNearSeconds) state.told = false;
    }
    if (!state.told && !state.running) return kNoTime;
    double time = state.told ? state.toldTime : anchorByClock(state, following);
    // Decoded ahead of the frames that are shown first, and of the one period by which all are shown late.
    if (state.told && state.isDecodingTime) time += (following + (state.lowDelay ? 0.0 : 1.0)) * state.framePeriod;
    state.hasAnchor = true;
    state.anchorTime = time;
    state.anchorPeriods = periods;
    return time;
}

// A B picture is shown when it is decoded. A packet that tells two times means another picture, which it holds too.
double timeB(StampState &state, double periods) {
    if (state.told && state.isReordered && state.running) {
        state.usedPacket = state.toldBy;
        state.told = false;
    }
    if (state.told && state.doubtful && state.running) {
        state.told = std::abs(state.toldTime - state.nextTime) < state.framePeriod / 2;
    }
    if (!state.told && !state.running) return kNoTime;
    const double time = state.told ? state.toldTime : state.nextTime;
    state.nextTime = time + periods * state.framePeriod;
    state.running = true;
    return time;
}

// The picture at the head of the unit: its start code ended the unit before.
double stampPicture(StampState &state, ByteWindow &window, const PictureUnit &unit, const uint8_t *bytes,
                    uint64_t start, size_t length) {
    if (!state.pictureAhead) return kNoTime;
    state.pictureAhead = false;
    PictureFacts facts = readPictureHeader(bytes, length);
    for (int32_t i = 0; i < unit.entryCount && !isSliceCode(unit.startCodes[i]); ++i) {
        const size_t at = unit.startOffsets[i] + size_t{4};
        if (unit.startCodes[i] == kCodeExtension && at < length) readCodingExtension(bytes + at, length - at, facts);
    }
    const bool second = facts.isField && state.fieldPending;
    state.fieldPending = facts.isField && !second;
    if (second) {
        if (state.told) state.usedPacket = state.toldBy;
        return kNoTime;
    }
    const double periods = periodsOf(state, facts);
    const bool isB = facts.type == typeB;
    // Its own start code ends the unit when a picture follows.
    const uint64_t following = start + (length > kStartCodeBytes ? length - kStartCodeBytes : 0);
    const double time = isB ? timeB(state, periods) : timeAnchor(state, window, start, following, periods);
    if (state.told) state.usedPacket = state.toldBy;
    return time < 0.0 ? kNoTime : std::max(time - decodersLead(state, facts), 0.0);
}

}  // namespace

void initStamps(StampState &state) {
    state = {};
    restartStamps(state);
}

void restartStamps(StampState &state) {
    const StampState kept = state;
    state = {};
    state.usedPacket = kNoPacket;
    state.framePeriod = kept.framePeriod;
    state.progressiveSequence = kept.progressiveSequence;
    state.lowDelay = kept.lowDelay;
}

void passOver(StampState &state, ByteWindow &window, const PacketMap &map, uint64_t from, uint64_t to) {
    for (FoundCode found; findCodeFrom(window, from, to, found); from = found.position + 4) {
        meetCode(state, map, found.code, found.position);
        // Its own unit is not read: what it was told is used up.
        if (found.code == kCodePicture && state.told) state.usedPacket = state.toldBy;
    }
    // The picture itself is ahead only when its header is the next thing to be read.
    state.pictureAhead = false;
}

double stampUnit(StampState &state, ByteWindow &window, const PacketMap &map, const PictureUnit &unit, uint64_t start,
                 size_t length) {
    const uint8_t *bytes;
    if (viewBytes(window, start, length, bytes) < length) return kNoTime;
    // Pictures ahead of the first sequence header are not decoded. The decoder would give their times to later ones.
    if (state.framePeriod <= 0.0) state.pictureAhead = false;
    const double time = stampPicture(state, window, unit, bytes, start, length);
    // Reading ahead may have moved the bytes.
    if (viewBytes(window, start, length, bytes) < length) return time;
    for (int32_t i = 0; i < unit.entryCount; ++i) {
        const uint32_t code = unit.startCodes[i];
        const size_t offset = unit.startOffsets[i], at = offset + 4;
        meetCode(state, map, code, start + offset);
        if (at > length) continue;
        if (code == kCodeSequenceHeader) readSequenceHeader(state, bytes + at, length - at);
        if (code == kCodeExtension) readSequenceExtension(state, bytes + at, length - at);
    }
    return time;
}

double unwrapped(double time, double reference) {
    // What lies a minute or more ahead of the first time has wrapped; less can be the disorder of coded pictures.
    constexpr double kDisorder = 60.0;
    return reference >= 0.0 && time < reference - kDisorder ? time + kWrapSeconds : time;
}

}  // namespace tvk::elementary
