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

struct Contender {
    std::string name;
    // Anything that may be done ahead of the clock (splitting into packets) happens here.
    std::function<Run(const Bytes &)> prepare;
};

// Ours, in the settings of the table; `threads` above 1 adds those runs.
std::vector<Contender> ownContenders();
std::vector<Contender> libmpeg2Contenders();
std::vector<Contender> libavcodecContenders();

}  // namespace bench
