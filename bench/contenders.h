// SPDX-License-Identifier: BSD-2-Clause
// Decoders and settings that the benchmark runs side by side on the same bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

using Bytes = std::vector<uint8_t>;

// Decodes all of a stream once and returns the number of frames put out; 0 when it can't.
using Run = std::function<uint32_t()>;

struct PictureSize {
    uint32_t width = 0, height = 0;
};
// Of the first sequence header; zero without one.
PictureSize pictureSize(const Bytes &bytes);

struct Contender {
    std::string name;
    // Anything that may be done ahead of the clock (splitting into packets) happens here.
    std::function<Run(const Bytes &)> prepare;
};

// This library in the settings of the table.
std::vector<Contender> ownContenders();
// The same calls of another build: a file of its own, beside the library that this program is linked with. Empty, with
// a message, when it can't be loaded.
std::vector<Contender> otherBuildContenders(const std::string &name, const std::string &file);
std::vector<Contender> libmpeg2Contenders();
std::vector<Contender> libavcodecContenders();

// What the peers call themselves; empty for those that were not there when this was built.
std::string libmpeg2Version();
std::string libavcodecVersion();

}  // namespace bench
