// SPDX-License-Identifier: BSD-2-Clause
// The commands of the adjustable-speed mode. They walk: nothing dropped, B limited to 2 then 1 per anchor, P limited
// from 5 down to 1 per I picture, then I thinned by a growing step; and back.
#include "core/speed.h"

#include "core/calls.h"

namespace tvk {

namespace {

constexpr int32_t kMostP = 5;  // the first limit on P pictures
constexpr int32_t kMostB = 2;  // the first limit on B pictures

void setLevel(Settings &s, int32_t level, int32_t pLimit, int32_t bLimit) {
    s.speedLevel = level;
    s.speedIStep = 0;
    s.speedPLimit = pLimit;
    s.speedBLimit = bLimit;
}

// One step down a limit; `count` keeps the old one, so that the running group of pictures is not let through anew.
void lower(int32_t &limit, int32_t &count, int32_t first) {
    if (limit == kNoSpeedLimit) {
        limit = first;
    } else if (limit > 0) {
        count = limit;
        --limit;
    }
}

void goFaster(Settings &s) {
    if (s.speedLevel == 1) {
        if (s.speedIStep < kNoSpeedLimit) ++s.speedIStep;
    } else if (s.speedLevel == 2) {
        lower(s.speedPLimit, s.speedPCount, kMostP);
        if (s.speedPLimit <= 0) setLevel(s, 1, 0, 0);
    } else {
        lower(s.speedBLimit, s.speedBCount, kMostB);
        if (s.speedBLimit <= 0) setLevel(s, 2, kMostP, 0);
    }
}

void goSlower(Settings &s) {
    if (s.speedLevel == 1) {
        if (s.speedIStep > 0) --s.speedIStep;
        if (s.speedIStep == 0) setLevel(s, 2, 1, 0);
    } else if (s.speedLevel == 2) {
        if (s.speedPLimit < kMostP) ++s.speedPLimit;
        if (s.speedPLimit >= kMostP) setLevel(s, 3, kNoSpeedLimit, 1);
    } else {
        if (s.speedBLimit < kMostB) ++s.speedBLimit;
        if (s.speedBLimit >= kMostB) setLevel(s, 3, kNoSpeedLimit, kNoSpeedLimit);
    }
}

}  // namespace

int32_t setAdjustableSpeed(VideoStream *stream, int32_t command) {
    Settings &s = stream->settings;
    if (s.workMode != 1) return tvkErrWrongWorkMode;
    switch (command) {
        case speedIFrames:
            setLevel(s, 1, 0, 0);
            return 0;
        case speedUpToP:
            setLevel(s, 2, kMostP, 0);
            return 0;
        case speedUpToB:
            setLevel(s, 3, kNoSpeedLimit, kMostB);
            return 0;
        case speedAll:
            setLevel(s, 3, kNoSpeedLimit, kNoSpeedLimit);
            return 0;
        case speedFaster:
            goFaster(s);
            return 0;
        case speedSlower:
            goSlower(s);
            return 0;
        default:
            return tvkErrInvalidArgument;
    }
}

}  // namespace tvk
