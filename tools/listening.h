// SPDX-License-Identifier: BSD-2-Clause
// An ear to a stream's events.
#pragma once

#include <cstdint>
#include <functional>

#include "tvk.h"

namespace tvk::tool {

enum Event : uint32_t {
    eventSequence = 1,
    eventSequenceExtension = 2,
    eventSequenceDisplay = 3,
    eventGroup = 6,
    eventPicture = 7,
    eventPictureCoding = 8,
    eventMacroblock = 11,
};
enum PictureStructure : uint8_t { structureTopField = 1, structureBottomField = 2, structureFrame = 3 };

// Hands every event of the stream to `hear` for as long as it lives; one at a time in the process. `hear` must not
// throw. Events of slices and macroblocks come from several threads at once, those of the headers from the stepping
// thread alone.
class Listening {
  public:
    using Hear = std::function<void(const CallbackEvent &)>;
    Listening(VideoStream *stream, Hear hear);
    ~Listening();
    Listening(const Listening &) = delete;
    Listening &operator=(const Listening &) = delete;

  private:
    VideoStream *const stream;
    const Hear hear;
};

}  // namespace tvk::tool
