// SPDX-License-Identifier: BSD-2-Clause
// The end of a video file.
#include "file_tail.h"

#include <algorithm>
#include <fstream>

namespace tvk::tool {

Bytes lastSliceOfFile(const std::string &path) {
    constexpr std::streamoff kFarthest = 4 << 20;
    constexpr uint8_t kFirstSlice = 0x01, kLastSlice = 0xAF;
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = file ? static_cast<std::streamoff>(file.tellg()) : 0;
    Bytes tail(static_cast<size_t>(std::min(size, kFarthest)));
    file.seekg(size - static_cast<std::streamoff>(tail.size()));
    if (!file.read(reinterpret_cast<char *>(tail.data()), static_cast<std::streamsize>(tail.size()))) return {};
    constexpr uint8_t kPrefix[] = {0, 0, 1};
    const auto code = std::find_end(tail.begin(), tail.end(), std::begin(kPrefix), std::end(kPrefix));
    if (tail.end() - code < 4 || code[3] < kFirstSlice || code[3] > kLastSlice) return {};
    return {code, tail.end()};
}

}  // namespace tvk::tool
