// SPDX-License-Identifier: BSD-2-Clause
// Pictures one by one, from a video stream or from a Y4M file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "y4m.h"

namespace tvk::tool {

// Bytes of the three planes of a picture: luma, and each of the two of chroma.
struct PlaneSizes {
    size_t luma, chroma;
    size_t all() const { return luma + 2 * chroma; }
};
PlaneSizes planeSizes(const Y4mShape &shape);

class PictureReader {
  public:
    virtual ~PictureReader() = default;
    // Shape of the pictures that next() gives; it may change from one to the next.
    Y4mShape shape{};
    // Replaces `planes` by the next picture's luma, Cb and Cr. False at the end. Throws ToolError.
    virtual bool next(std::vector<uint8_t> &planes) = 0;
};

// By the file's first bytes. Throws ToolError.
std::unique_ptr<PictureReader> openPictures(const std::string &path, int32_t threads);

}  // namespace tvk::tool
