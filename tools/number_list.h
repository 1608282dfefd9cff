// SPDX-License-Identifier: BSD-2-Clause
// Lists of frame numbers as they are typed: 5,9,100-120.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tvk::tool {

struct NumberRange {
    int32_t first, last;
};

// Throws ToolError when the text is no list.
std::vector<NumberRange> parseNumberList(const std::string &text);
// The numbers in rising order, each once. Throws ToolError when one is above `largest`.
std::vector<int32_t> expandNumberList(const std::vector<NumberRange> &ranges, int32_t largest);

}  // namespace tvk::tool
