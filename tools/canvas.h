// SPDX-License-Identifier: BSD-2-Clause
// A 4:4:4 picture to which other pictures and short texts are drawn.
#pragma once

#include <cstdint>
#include <string>

#include "tvk.h"

namespace tvk::tool {

struct Box {
    int32_t left, top, width, height;
};

// Luma of studio range.
enum Grey : uint8_t { greyBlack = 16, greyDark = 40, greyWhite = 235 };

class Canvas {
  public:
    Canvas(int32_t width, int32_t height);  // black; throws ToolError
    ~Canvas();
    Canvas(const Canvas &) = delete;
    Canvas &operator=(const Canvas &) = delete;

    void fill(const Box &box, Grey grey);
    void drawFrame(const VideoFrame &frame, const Box &box);  // stretched to the box
    // Digits, ':' and '.'; `scale` pixels to a dot. On a black ground, its upper left corner at (left, top).
    void drawText(const std::string &text, int32_t left, int32_t top, int32_t scale);
    static int32_t textWidth(const std::string &text, int32_t scale);
    static int32_t textHeight(int32_t scale);

    const VideoFrame &picture() const { return *frame; }

  private:
    VideoFrame *frame = nullptr;
};

}  // namespace tvk::tool
