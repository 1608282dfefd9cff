// SPDX-License-Identifier: BSD-2-Clause
// Frames by their numbers, which are the same whichever way a frame is reached.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "open.h"
#include "tvk.h"

namespace tvk::tool {

class NumberedFrames {
  public:
    // Takes the index beside the file or makes one. A frame has to have been decoded before.
    explicit NumberedFrames(OpenedStream &opened);

    // The frame, or where the stream's frame types leave it out the next one; null behind the end.
    VideoFrame *at(int32_t number);
    // Calls `take` for each. `numbers` rise, and none is above last().
    void eachOf(std::vector<int32_t> numbers, const std::function<void(const VideoFrame &)> &take);
    // Calls `take` for the frames of the range from its end to its start, for as long as it returns true.
    void backwards(int32_t first, int32_t last, const std::function<bool(const VideoFrame &)> &take);

    int32_t last();  // number of the file's last frame
    // Length of a frame on the clock, repeated fields taken into account.
    double secondsPerFrame(double framePeriod);

  private:
    int32_t startOfChunk(int32_t first, int32_t last) const;
    VideoFrame *take(int32_t result);

    OpenedStream &opened;
    std::vector<int32_t> keyFrames;
    int32_t indexed = 0;  // a table ends at the first sequence end code; frames behind it are reached by stepping
    int32_t lastNumber = 0;
};

}  // namespace tvk::tool
