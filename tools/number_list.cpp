// SPDX-License-Identifier: BSD-2-Clause
// Lists of frame numbers as they are typed: 5,9,100-120.
#include "number_list.h"

#include <algorithm>
#include <charconv>

#include "tool_error.h"

namespace tvk::tool {

namespace {

[[noreturn]] void refuse(const std::string &item) {
    throw ToolError(exitUsage, "'" + item + "' is no frame number or range; a list looks like 5,9,100-120");
}

int32_t parseNumber(const char *&at, const char *end, const std::string &item) {
    int32_t number = 0;
    const auto [behind, error] = std::from_chars(at, end, number);
    if (error != std::errc() || number < 1) refuse(item);
    at = behind;
    return number;
}

NumberRange parseItem(const std::string &item) {
    const char *at = item.data(), *end = item.data() + item.size();
    NumberRange range{};
    range.first = range.last = parseNumber(at, end, item);
    if (at != end && *at == '-') range.last = parseNumber(++at, end, item);
    if (at != end || range.last < range.first) refuse(item);
    return range;
}

}  // namespace

std::vector<NumberRange> parseNumberList(const std::string &text) {
    std::vector<NumberRange> ranges;
    for (size_t at = 0; at <= text.size();) {
        const size_t comma = std::min(text.find(',', at), text.size());
        ranges.push_back(parseItem(text.substr(at, comma - at)));
        at = comma + 1;
    }
    return ranges;
}

std::vector<int32_t> expandNumberList(const std::vector<NumberRange> &ranges, int32_t largest) {
    std::vector<int32_t> numbers;
    for (const NumberRange &range : ranges) {
        if (range.last > largest) {
            throw ToolError(exitUsage, "there is no frame " + std::to_string(range.last) + ": the last one is " +
                                           std::to_string(largest));
        }
    }
    std::vector<NumberRange> sorted = ranges;
    std::sort(sorted.begin(), sorted.end(),
              [](const NumberRange &a, const NumberRange &b) { return a.first < b.first; });
    int32_t next = 1;
    for (const NumberRange &range : sorted) {
        for (int32_t number = std::max(range.first, next); number <= range.last; ++number) numbers.push_back(number);
        next = std::max(next, range.last + 1);
    }
    return numbers;
}

}  // namespace tvk::tool
