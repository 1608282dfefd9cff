// SPDX-License-Identifier: BSD-2-Clause
// Packets of one video stream out of a container, and going to a packet by its place in the file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sources/content.h"
#include "sources/raw_bytes.h"

namespace tvk::elementary {

struct ContainerPacket {
    const uint8_t *bytes;  // valid until the next call
    size_t size;
    // The byte of the file at which the packet begins, and the byte within its payload at which `bytes` do: what one
    // demultiplexed packet holds may come in several pieces.
    uint64_t position, offset;
    double presentationTime, decodingTime;  // seconds; NaN for none
};

struct ContainerTrack {
    int32_t layer;  // 480 to 495
    uint32_t width;
};
inline constexpr int kMostTracks = 16;

struct Demuxer;

// Opens the bytes, which have to outlive it, and chooses the widest MPEG video stream. 0 or a source code.
int32_t openDemuxer(Demuxer **out, RawBytes &raw, ContentKind kind);
void closeDemuxer(Demuxer *demuxer);

int trackCount(const Demuxer &demuxer);
const ContainerTrack &trackOf(const Demuxer &demuxer, int number);
int chosenTrack(const Demuxer &demuxer);
// The next packet is the first of that stream.
void chooseTrack(Demuxer &demuxer, int number);

// The next packet of the chosen stream, never an empty one. False at the end, in a growing file at what is there.
bool nextPacket(Demuxer &demuxer, ContainerPacket &packet);

// Makes the next packet the first of the stream, or the first one at exactly `position`. False when there is none such.
bool seekFirstPacket(Demuxer &demuxer);
bool seekPacket(Demuxer &demuxer, uint64_t position);
// Makes it one near a byte of the file, best the first behind it.
bool seekNear(Demuxer &demuxer, uint64_t byte);
// Makes it one at or ahead of a time of the file's clock, by the container's own table. False without one.
bool seekAhead(Demuxer &demuxer, double time);

// Headers of the stream that the container keeps apart from its packets; null for none.
const uint8_t *headOfTrack(const Demuxer &demuxer, size_t &size);

// Seconds that the file lasts, as its header tells; 0.0 when it does not.
double statedSeconds(const Demuxer &demuxer);
// Whether time stamps are 33 bits of 90 kHz, which start again from 0 after 26.5 hours.
bool stampsWrap(const Demuxer &demuxer);

}  // namespace tvk::elementary
