// SPDX-License-Identifier: BSD-2-Clause
// Interleaved rounds of contenders on one clip, with the clock and with the processor's cycles.
#pragma once

#include <string>
#include <vector>

#include "contenders.h"

namespace bench {

// What cycles are counted by: the processor's own counter where the system lets us read it, else the time stamp, which
// goes on at one pace whatever the processor does, else nothing.
enum class Counter : uint8_t { none, timeStamp, cycles };

// The best that there is here, opened at the first call.
Counter counterInUse();
const char *nameOf(Counter counter);

struct Round {
    double seconds, cycles;  // of one run; cycles of all threads by their own counter, 0 without one
};

struct Result {
    std::string name;
    uint32_t frames = 0;  // 0 when the contender can't decode the clip
    std::vector<Round> rounds;

    double seconds() const;  // the median
    double cycles() const;
    // Half the range of the middle half of the rounds, as a share of the median.
    double spread() const;
    double framesPerSecond() const { return frames / seconds(); }
};

struct Rules {
    int rounds = 5;
    bool processorTime = false;  // what a busy machine can still measure, for contenders of one thread
};

// A round has a run of every contender; short clips are decoded often enough for a tenth of a second.
std::vector<Result> measure(const std::vector<Contender> &contenders, const Bytes &bytes, const Rules &rules);

// The result of a name; null where it is not there or decoded nothing.
const Result *find(const std::vector<Result> &results, const std::string &name);

}  // namespace bench
