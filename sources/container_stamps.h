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
    bool inHeaders;       // a sequence, group or picture header has been met behind the last slice
    uint64_t accessUnit;  // where that first header stands
    uint64_t usedPacket;  // start of the packet whose time was given away last
    bool pictureAhead;    // the picture whose start code ended the last unit has the three below
    bool told, doubtful;  // its packet tells a time; perhaps one that belongs to the next picture
    uint64_t toldBy;
    double toldTime;
    bool isDecodingTime, isReordered, isDirect;

    // The clock in display order.
    bool running;     // nextTime is known
    double nextTime;  // when the frame is shown that follows those placed so far
    bool hasAnchor;   // an I or P frame waits to be shown
    double anchorTime, anchorPeriods;
    bool fieldPending;  // the next field picture is the second of its frame

    double framePeriod;  // seconds; 0.0 before the first sequence header
    bool progressiveSequence;
    bool lowDelay;         // no B pictures: every picture is shown when it is decoded
    double wrapReference;  // first time of the file, for clocks that wrap; negative when they do not, or before it
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
