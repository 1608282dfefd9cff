// SPDX-License-Identifier: BSD-2-Clause
// Recognising a stream, finding entry points in it, measuring its rate.
#include "sources/content.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "sources/unit_table.h"
#include "tvk_source.h"

namespace tvk::elementary {
namespace {

constexpr uint64_t kProbeBytes = 0x1000000;
constexpr uint64_t kMeasureBytes = 0x200000;
constexpr size_t kFingerprintBlock = 4096;

// Transport packets begin with 47 every 188 bytes; every 192 behind four bytes of arrival time, every 204 ahead of a
// checksum. A recording may begin within a packet.
bool looksLikeTransport(ByteWindow &window) {
    constexpr size_t kPackets = 6, kLargestPacket = 204;
    const uint8_t *bytes;
    const size_t count = viewBytes(window, 0, kLargestPacket * (kPackets + 1), bytes);
    const auto syncs = [&](size_t first, size_t distance) {
        if (count < first + distance * (kPackets - 1) + 1) return false;
        for (size_t i = 0; i < kPackets; ++i) {
            if (bytes[first + i * distance] != 0x47) return false;
        }
        return true;
    };
    for (const size_t distance : {188u, 192u, 204u}) {
        for (size_t first = 0; first < distance; ++first) {
            if (syncs(first, distance)) return true;
        }
    }
    return false;
}

// A pack header of either standard by the fixed bits behind its code, or a packet of a video stream at the very front.
bool beginsMultiplex(ByteWindow &window, const FoundCode &found) {
    constexpr uint32_t kCodePack = 0x1BA;
    if (found.position == 0 && found.code >= 0x1E0 && found.code <= 0x1EF) return true;
    const uint8_t *bytes;
    if (found.code != kCodePack || viewBytes(window, found.position, 5, bytes) < 5) return false;
    return (bytes[4] & 0xC4) == 0x44 || (bytes[4] & 0xF1) == 0x21;
}

// Formats that say at their front what they are.
bool recogniseFront(ByteWindow &window, ContentKind &kind) {
    constexpr size_t kFront = 16;
    const uint8_t *bytes;
    if (viewBytes(window, 0, kFront, bytes) < kFront) return false;
    const auto has = [&](size_t at, std::string_view text) {
        return std::memcmp(bytes + at, text.data(), text.size()) == 0;
    };
    if (has(0, "\x1A\x45\xDF\xA3")) {
        kind = ContentKind::matroska;
    } else if (has(0, "RIFF") && has(8, "AVI")) {
        kind = ContentKind::avi;
    } else if (has(0, "\x06\x0E\x2B\x34\x02\x05\x01\x01\x0D\x01\x02")) {
        kind = ContentKind::mxf;
    } else if (has(4, "ftyp") || has(4, "moov") || has(4, "mdat") || has(4, "wide") || has(4, "free") ||
               has(4, "skip")) {
        kind = ContentKind::mov;
    } else {
        return false;
    }
    return true;
}

// A program stream that begins within a packet shows video first. Video alone has no codes of packs at all.
bool packsFollow(ByteWindow &window, uint64_t position) {
    constexpr uint64_t kReach = 0x10000;
    constexpr int kEnough = 2;
    int packs = 0;
    uint64_t from = position;
    for (FoundCode found; packs < kEnough && findCodeFrom(window, from, position + kReach, found);) {
        packs += beginsMultiplex(window, found);
        from = found.position + 4;
    }
    return packs == kEnough;
}

bool lastPictureOf(ByteWindow &window, uint64_t size, uint64_t &position) {
    uint64_t from = size > kEntrySearchBytes ? size - kEntrySearchBytes : 0;
    bool any = false;
    for (FoundCode found; findCodeFrom(window, from, size, found); from = found.position + 4) {
        if (found.code != kCodePicture) continue;
        position = found.position;
        any = true;
    }
    return any;
}

double frameRateOf(ByteWindow &window, uint64_t position) {
    const uint8_t *bytes;
    return viewBytes(window, position, 8, bytes) < 8 ? 0.0 : frameRateOfCode(bytes[7] & 15u);
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

bool isEntryHeader(uint32_t code) {
    return code == kCodeSequenceHeader || code == kCodeGroup;
}

double frameRateOfCode(uint32_t code) {
    constexpr double kRates[9] = {0, 24000.0 / 1001, 24, 25, 30000.0 / 1001, 30, 50, 60000.0 / 1001, 60};
    return code < std::size(kRates) ? kRates[code] : 0.0;
}

int32_t recognise(ByteWindow &window, ContentKind &kind) {
    const uint8_t *first;
    if (viewBytes(window, 0, 1, first) == 0) return window.failure != 0 ? window.failure : tvkSourceErrEmpty;
    if (recogniseFront(window, kind)) return 0;
    if (looksLikeTransport(window)) {
        kind = ContentKind::transport;
        return 0;
    }
    uint64_t from = 0;
    for (FoundCode found; findCodeFrom(window, from, kProbeBytes, found); from = found.position + 4) {
        const bool multiplexed = beginsMultiplex(window, found);
        if (!multiplexed && found.code != kCodeSequenceHeader) continue;
        kind = multiplexed || packsFollow(window, found.position) ? ContentKind::program : ContentKind::elementary;
        return 0;
    }
    return window.failure != 0 ? window.failure : tvkSourceErrNoVideo;
}

int32_t findEntryPoint(ByteWindow &window, uint64_t size, uint64_t position, uint64_t &entry) {
    const uint64_t near = std::min(position, size) + kEntrySearchBytes;
    uint64_t from = position;
    entry = size;
    for (FoundCode found; findCodeFrom(window, from, size, found); from = found.position + 4) {
        if (found.position >= near && entry != size) break;
        if (isEntryHeader(found.code)) {
            entry = found.position;
            return 0;
        }
        if (found.code == kCodePicture) entry = std::min(entry, found.position);
    }
    if (entry == size && window.failure == 0) lastPictureOf(window, size, entry);
    return entry == size ? window.failure : 0;
}

int32_t fingerprint(RawBytes &raw, uint64_t &value) {
    uint64_t hash = 0xCBF29CE484222325u;
    const uint64_t size = raw.size;
    for (int shift = 0; shift < 64; shift += 8) hash = mixed(hash, size >> shift & 0xFF);
    const uint64_t tail = size > kFingerprintBlock ? size - kFingerprintBlock : 0;
    for (const uint64_t position : {uint64_t{0}, std::min(size / 2, tail), tail}) {
        uint8_t bytes[kFingerprintBlock];
        const size_t wanted = static_cast<size_t>(std::min<uint64_t>(kFingerprintBlock, size - position));
        size_t count = 0;
        int32_t failure = 0;
        while (count < wanted) {
            const size_t got = readBytes(raw, position + count, bytes + count, wanted - count, failure);
            if (got == 0) return failure != 0 ? failure : tvkSourceErrRead;
            count += got;
        }
        for (size_t i = 0; i < count; ++i) hash = mixed(hash, bytes[i]);
    }
    value = hash;
    return 0;
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
