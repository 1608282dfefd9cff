// SPDX-License-Identifier: BSD-2-Clause
// A 4:4:4 picture to which other pictures and short texts are drawn.
#include "canvas.h"

#include <algorithm>
#include <cstddef>

#include "open.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

constexpr int32_t kChroma444 = 3;
constexpr uint8_t kNoColour = 128;

// Five dots wide, seven high; the highest of the five bits is the left dot.
constexpr int32_t kGlyphWidth = 5, kGlyphHeight = 7, kGap = 1;
constexpr uint8_t kDigits[10][kGlyphHeight] = {
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}, {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x06, 0x08, 0x10, 0x1F}, {0x0E, 0x11, 0x01, 0x06, 0x01, 0x11, 0x0E},
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}, {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}, {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}, {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}};
constexpr uint8_t kColon[kGlyphHeight] = {0x00, 0x0C, 0x0C, 0x00, 0x0C, 0x0C, 0x00};
constexpr uint8_t kPoint[kGlyphHeight] = {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C};

const uint8_t *glyphOf(char letter) {
    if (letter >= '0' && letter <= '9') return kDigits[letter - '0'];
    return letter == ':' ? kColon : kPoint;
}

uint8_t *rowOf(const VideoPlane &plane, int32_t row) {
    return plane.data + static_cast<size_t>(row) * static_cast<size_t>(plane.stride);
}

// Samples of a plane, `step` bytes apart; places in 16.16 fixed point, held inside the plane.
struct Samples {
    const VideoPlane &plane;
    int32_t step, offset, columns, rows;

    uint8_t at(int32_t x, int32_t y) const {
        return rowOf(plane, std::clamp(y, 0, rows - 1))[std::clamp(x, 0, columns - 1) * step + offset];
    }
    uint8_t between(int64_t x, int64_t y) const {
        const int32_t left = static_cast<int32_t>(x >> 16), top = static_cast<int32_t>(y >> 16);
        const int64_t right = x & 0xFFFF, below = y & 0xFFFF;
        const int64_t upper = at(left, top) * (65536 - right) + at(left + 1, top) * right;
        const int64_t lower = at(left, top + 1) * (65536 - right) + at(left + 1, top + 1) * right;
        return static_cast<uint8_t>((upper * (65536 - below) + lower * below + (int64_t{1} << 31)) >> 32);
    }
};

// The source place of a target sample's centre.
int64_t sourcePlace(int32_t target, int32_t sourceSize, int32_t targetSize) {
    return ((2 * int64_t{target} + 1) * sourceSize * 32768) / targetSize - 32768;
}

void stretch(const Samples &from, const VideoPlane &to, int32_t step, int32_t offset, const Box &box) {
    for (int32_t y = 0; y < box.height; ++y) {
        const int64_t sourceY = sourcePlace(y, from.rows, box.height);
        uint8_t *row = rowOf(to, box.top + y) + box.left * step + offset;
        for (int32_t x = 0; x < box.width; ++x) {
            row[x * step] = from.between(sourcePlace(x, from.columns, box.width), sourceY);
        }
    }
}

}  // namespace

Canvas::Canvas(int32_t width, int32_t height) {
    const int32_t result = tvkCreateVideoFrameWHC(&frame, width, height, kChroma444);
    if (result != 0) throw ToolError(exitFailed, describeError(result));
    std::fill_n(frame->chromaPlane.data, frame->chromaPlane.size, kNoColour);
    std::fill_n(frame->lumaPlane.data, frame->lumaPlane.size, greyBlack);
}

Canvas::~Canvas() {
    tvkDestroyVideoFrame(frame);
}

void Canvas::fill(const Box &box, Grey grey) {
    for (int32_t y = box.top; y < box.top + box.height; ++y) {
        std::fill_n(rowOf(frame->lumaPlane, y) + box.left, box.width, static_cast<uint8_t>(grey));
        std::fill_n(rowOf(frame->chromaPlane, y) + 2 * box.left, 2 * box.width, kNoColour);
    }
}

void Canvas::drawFrame(const VideoFrame &source, const Box &box) {
    const VideoPlane &luma = source.lumaPlane, &chroma = source.chromaPlane;
    stretch({luma, 1, 0, luma.width, luma.height}, frame->lumaPlane, 1, 0, box);
    for (int32_t component = 0; component < 2; ++component) {
        const int32_t columns = std::max(chroma.width / 2, 1), rows = std::max(chroma.height, 1);
        stretch({chroma, 2, component, columns, rows}, frame->chromaPlane, 2, component, box);
    }
}

int32_t Canvas::textWidth(const std::string &text, int32_t scale) {
    return (static_cast<int32_t>(text.size()) * (kGlyphWidth + kGap) + kGap) * scale;
}

int32_t Canvas::textHeight(int32_t scale) {
    return (kGlyphHeight + 2 * kGap) * scale;
}

void Canvas::drawText(const std::string &text, int32_t left, int32_t top, int32_t scale) {
    fill({left, top, textWidth(text, scale), textHeight(scale)}, greyBlack);
    int32_t x = left + kGap * scale;
    for (const char letter : text) {
        const uint8_t *glyph = glyphOf(letter);
        for (int32_t row = 0; row < kGlyphHeight; ++row) {
            for (int32_t column = 0; column < kGlyphWidth; ++column) {
                if (!(glyph[row] >> (kGlyphWidth - 1 - column) & 1)) continue;
                fill({x + column * scale, top + (row + kGap) * scale, scale, scale}, greyWhite);
            }
        }
        x += (kGlyphWidth + kGap) * scale;
    }
}

}  // namespace tvk::tool
