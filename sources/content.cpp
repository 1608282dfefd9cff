// SPDX-License-Identifier: BSD-2-Clause
// Recognising a stream, finding entry points in it, measuring its rate.
#include "sources/content.h"

#include <algorithm>

#include "sources/unit_table.h"
#include "tvk_source.h"

namespace tvk::elementary {
namespace {

constexpr uint64_t kProbeBytes = 0x1000000;
constexpr uint64_t kEntrySearchBytes = 0x400000;
constexpr uint64_t kMeasureBytes = 0x200000;
constexpr size_t kFingerprintBlock = 4096;

// Transport packets begin with 47 every 188 bytes, or every 192 behind four bytes of arrival time.
bool looksLikeTransport(ByteWindow &window) {
    constexpr size_t kPackets = 6;
    const uint8_t *bytes;
    const size_t count = viewBytes(window, 0, 192 * kPackets, bytes);
    const auto syncs = [&](size_t first, size_t distance) {
        if (count < first + distance * (kPackets - 1) + 1) return false;
        for (size_t i = 0; i < kPackets; ++i) {
            if (bytes[first + i * distance] != 0x47) return false;
        }
        return true;
    };
    return syncs(0, 188) || syncs(4, 192);
}

// A pack header of either standard by the fixed bits behind its code, or a packet of a video stream at the very front.
bool beginsMultiplex(ByteWindow &window, const FoundCode &found) {
    constexpr uint32_t kCodePack = 0x1BA;
    if (found.position == 0 && found.code >= 0x1E0 && found.code <= 0x1EF) return true;
    const uint8_t *bytes;
    if (found.code != kCodePack || viewBytes(window, found.position, 5, bytes) < 5) return false;
    return (bytes[4] & 0xC4) == 0x44 || (bytes[4] & 0xF1) == 0x21;
}

bool isEntryHeader(uint32_t code) {
    return code == kCodeSequenceHeader || code == kCodeGroup;
}

bool lastPictureOf(ByteWindow &window, uint64_t &position) {
    uint64_t from = window.size > kEntrySearchBytes ? window.size - kEntrySearchBytes : 0;
    bool any = false;
    for (FoundCode found; findCodeFrom(window, from, window.size, found); from = found.position + 4) {
        if (found.code != kCodePicture) continue;
        position = found.position;
        any = true;
    }
    return any;
}

// Frames per second of the header at `position`; 0.0 for a code that the standards reserve.
double frameRateOf(ByteWindow &window, uint64_t position) {
    constexpr double kRates[16] = {
        0, 24000.0 / 1001, 24, 25, 30000.0 / 1001, 30, 50, 60000.0 / 1001, 60, 0, 0, 0, 0, 0, 0, 0};
    const uint8_t *bytes;
    return viewBytes(window, position, 8, bytes) < 8 ? 0.0 : kRates[bytes[7] & 15];
}

// A picture coding extension that says its picture is one field of a frame.
bool isFieldPicture(ByteWindow &window, const FoundCode &found) {
    constexpr uint32_t kPictureCodingExtension = 8;
    const uint8_t *bytes;
    if (found.code != kCodeExtension || viewBytes(window, found.position, 7, bytes) < 7) return false;
    return bytes[4] >> 4 == kPictureCodingExtension && (bytes[6] & 3) != 3;
}

uint64_t mixed(uint64_t hash, uint64_t byte) {
    return (hash ^ byte) * 0x100000001B3u;  // FNV-1a
}

}  // namespace

int32_t checkContent(ByteWindow &window) {
    if (window.size == 0) return tvkSourceErrEmpty;
    if (looksLikeTransport(window)) return tvkSourceErrMultiplexed;
    uint64_t from = 0;
    for (FoundCode found; findCodeFrom(window, from, kProbeBytes, found); from = found.position + 4) {
        if (found.code == kCodeSequenceHeader) return 0;
        if (beginsMultiplex(window, found)) return tvkSourceErrMultiplexed;
    }
    return window.failure != 0 ? window.failure : tvkSourceErrNoVideo;
}

int32_t findEntryPoint(ByteWindow &window, uint64_t position, uint64_t &entry) {
    const uint64_t near = std::min(position, window.size) + kEntrySearchBytes;
    uint64_t from = position;
    entry = window.size;
    for (FoundCode found; findCodeFrom(window, from, window.size, found); from = found.position + 4) {
        if (found.position >= near && entry != window.size) break;
        if (isEntryHeader(found.code)) {
            entry = found.position;
            return 0;
        }
        if (found.code == kCodePicture) entry = std::min(entry, found.position);
    }
    if (entry == window.size && window.failure == 0) lastPictureOf(window, entry);
    return entry == window.size ? window.failure : 0;
}

bool fingerprint(ByteWindow &window, uint64_t &value) {
    uint64_t hash = 0xCBF29CE484222325u;
    for (int shift = 0; shift < 64; shift += 8) hash = mixed(hash, window.size >> shift & 0xFF);
    const uint64_t size = window.size;
    const uint64_t tail = size > kFingerprintBlock ? size - kFingerprintBlock : 0;
    for (const uint64_t position : {uint64_t{0}, std::min(size / 2, tail), tail}) {
        const uint8_t *bytes;
        const size_t count = std::min(viewBytes(window, position, kFingerprintBlock, bytes), kFingerprintBlock);
        if (count < std::min<uint64_t>(kFingerprintBlock, size - position)) return false;
        for (size_t i = 0; i < count; ++i) hash = mixed(hash, bytes[i]);
    }
    value = hash;
    return true;
}

double measureBitRate(ByteWindow &window) {
    uint64_t from = 0, firstPicture = 0, lastPicture = 0;
    double framesPerSecond = 0.0, frames = 0.0, framesBeforeLast = 0.0;
    for (FoundCode found; findCodeFrom(window, from, kMeasureBytes, found); from = found.position + 4) {
        if (found.code == kCodeSequenceHeader && framesPerSecond <= 0.0) {
            framesPerSecond = frameRateOf(window, found.position);
        }
        if (found.code == kCodePicture) {
            framesBeforeLast = frames;
            if (frames <= 0.0) firstPicture = found.position;
            lastPicture = found.position;
            frames += 1.0;
        }
        if (frames > 0.0 && isFieldPicture(window, found)) frames -= 0.5;
    }
    if (framesBeforeLast <= 0.0) return 0.0;
    return static_cast<double>(lastPicture - firstPicture) * 8.0 * framesPerSecond / framesBeforeLast;
}

}  // namespace tvk::elementary
