// SPDX-License-Identifier: BSD-2-Clause
// A source in front of another one: it has no data now and then, and stamps its units.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tvk.h"

namespace tvkfuzz {

struct StallingSource {
    VideoSource table;  // first, so that the operations find their record
    VideoSource *inner;
    const uint8_t *pattern;  // a bit for each read: no data yet. Null never stalls
    size_t patternSize;
    size_t reads = 0, units = 0;  // calls of readUnit; those that gave bytes or the end
    size_t stallsInARow = 0;
    size_t stallsLeft = 300;  // a jump starts anew each time, and needs its reads in a row
    bool stamped;

    StallingSource(VideoSource *behind, const uint8_t *stalls, size_t size, bool stamps);

    // Whether the read at hand finds no data. Three in a row at most, so that every call returns.
    bool stallsNow();
};

}  // namespace tvkfuzz
