// SPDX-License-Identifier: BSD-2-Clause
// Presentation times of pictures: those that packets tell, given to the pictures that they belong to, and times counted
// on for the pictures between.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sources/byte_window.h"
#include "sources/packet_map.h"
#include "tvk.h"

namespace tvk::elementary {

inline constexpr uint64_t kNoPacket = UINT64_MAX;

struct StampState {
    // Which packet's time goes to which picture.
    uint64_t accessUnit;  // where the first header stands that has been met behind the last slice, if inHeaders
    uint64_t usedPacket;  // start of the packet whose time was given away last
    uint64_t toldBy;      // of the picture whose start code ended the last unit, if pictureAhead, and if told
    double toldTime;

    // The clock in display order.
    double nextTime;                   // when the frame is shown that follows those placed so far, if running
    double anchorTime, anchorPeriods;  // of the I or P frame that waits to be shown, if hasAnchor

    double framePeriod;  // seconds; 0.0 before the first sequence header

    bool inHeaders, pictureAhead;
    bool told, doubtful;  // its packet tells a time; perhaps one that belongs to the next picture
    bool isDecodingTime, isReordered, isDirect;
    bool running, hasAnchor;
    bool fieldPending;  // the next field picture is the second of its frame
    bool progressiveSequence;
    bool lowDelay;  // no B pictures: every picture is shown when it is decoded
};

void initStamps(StampState &state);
// Forgets everything but the file's own facts: reading goes on elsewhere.
void restartStamps(StampState &state);

// Takes in the bytes [from, to) that are passed over by a seek, so that a packet's time goes to the picture that
// it belongs to also when reading begins behind that picture's first header.
void passOver(StampState &state, ByteWindow &window, const PacketMap &map, uint64_t from, uint64_t to);

// The time stamp of the unit of `length` bytes at `start`, whose table is filled; -1.0 for none. May read ahead in the
// window.
double stampUnit(StampState &state, ByteWindow &window, const PacketMap &map, const PictureUnit &unit, uint64_t start,
                 size_t length);

// A time of a clock that starts again from 0 after 2^33 ticks of 90 kHz, put behind `reference`, the first of the file.
double unwrapped(double time, double reference);

}  // namespace tvk::elementary
