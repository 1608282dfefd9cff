// SPDX-License-Identifier: BSD-2-Clause
// What a walk from the start gives of a clip, and what of it any other way to a frame has to give again.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "clip_stream.h"

namespace tvktest {

struct ClipWalk {
    std::map<int32_t, FrameLine> frames;  // by frame number
    // Frames with samples that nothing in the stream says: a slice is missing or broken, a vector points out of its
    // picture, a B picture comes ahead of all anchors. There shows what the frame's memory held before, and
    // in all that is predicted from it. Found by decoding twice over memory that was filled with different values.
    std::set<int32_t> loose;
};

ClipWalk walkClip(const Clip &clip);

// Frames that an index cannot enter with the right matrices. An entry keeps the place of one quant matrix extension,
// the last between its sequence header and its I picture. Where `kept` of them are not enough for what they loaded one
// after another, the frames up to the next entry are free; with `open` also those behind it that lean back over it.
std::set<int32_t> framesOfLostMatrices(const Clip &clip, VideoStream *indexed, int kept, bool open);

// Random streams: open and closed groups, leading B pictures, field pairs, one I picture alone, sequence headers with
// new matrices, repeated fields, more key frames than a table has at first.
std::vector<Clip> makeClips();

// All pictures whose slices are decoded, by type.
struct DecodedPictures {
    int anchors = 0, b = 0;
};
// Counts into `counts` from now on.
void countDecodedPictures(VideoStream *stream, DecodedPictures &counts);

}  // namespace tvktest
