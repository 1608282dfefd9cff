// SPDX-License-Identifier: BSD-2-Clause
// Frames with exactly sized blocks, filled at will, for the output tests.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "tvk.h"

namespace tvk::test {

inline int32_t roundUp(int32_t value, int32_t step) {
    return (value + step - 1) / step * step;
}

struct TestPicture {
    std::unique_ptr<VideoFrame> frame = std::make_unique<VideoFrame>();
    std::vector<uint8_t> luma, chroma;

    TestPicture(int32_t width, int32_t height, int32_t format, bool progressive = true) {
        const int32_t strideOfLuma = roundUp(width, 32), rows = roundUp(height, 32);
        const int32_t chromaStride = format == 3 ? 2 * strideOfLuma : strideOfLuma;
        const int32_t chromaRows = format == 1 ? roundUp(rows / 2, 32) : rows;
        luma.assign(static_cast<size_t>(strideOfLuma) * static_cast<size_t>(rows), 0x10);
        chroma.assign(static_cast<size_t>(chromaStride) * static_cast<size_t>(chromaRows), 0x80);
        std::memset(frame.get(), 0, sizeof *frame);
        frame->chromaFormat = format;
        frame->reduceCoefficient = 1;
        frame->progressiveFrame = progressive ? 1 : 0;
        frame->lumaPlane = {width, height, strideOfLuma, strideOfLuma * rows, luma.data()};
        frame->chromaPlane = {format == 3 ? 2 * width : width, format == 1 ? height / 2 : height, chromaStride,
                              chromaStride * chromaRows, chroma.data()};
    }

    // Any bytes, a third of them at the ends of the range.
    void fillRandom(uint32_t seed) {
        std::mt19937 random(seed);
        const auto fill = [&](std::vector<uint8_t> &block) {
            for (uint8_t &x : block) {
                const uint32_t r = random();
                x = static_cast<uint8_t>(r % 6 == 0 ? 0 : r % 6 == 1 ? 255 : r >> 16);
            }
        };
        fill(luma);
        fill(chroma);
    }
    void fill(uint8_t y, uint8_t cb, uint8_t cr) {
        for (uint8_t &x : luma) x = y;
        for (size_t i = 0; i < chroma.size(); ++i) chroma[i] = i % 2 == 0 ? cb : cr;
    }
    // A smooth picture with some texture, like a photograph of no great detail.
    void fillNatural() {
        const VideoPlane &l = frame->lumaPlane, &c = frame->chromaPlane;
        for (int32_t y = 0; y < l.size / l.stride; ++y)
            for (int32_t x = 0; x < l.stride; ++x) l.data[y * l.stride + x] = naturalSample(x, y, 0);
        const int32_t stepX = frame->chromaFormat == 3 ? 1 : 2, stepY = frame->chromaFormat == 1 ? 2 : 1;
        for (int32_t y = 0; y < c.size / c.stride; ++y)
            for (int32_t x = 0; x < c.stride; ++x)
                c.data[y * c.stride + x] = naturalSample(x / 2 * stepX, y * stepY, 1 + x % 2);
    }

  private:
    static uint8_t naturalSample(int32_t x, int32_t y, int32_t component) {
        const int32_t slope = component == 0 ? x / 3 + y / 4 : component == 1 ? 200 - x / 4 : 60 + y / 3;
        const int32_t disc = (x - 60) * (x - 60) + (y - 40) * (y - 40) < 700 ? 40 : 0;
        const int32_t texture = component == 0 ? (x * 7 + y * 13) % 9 : 0;
        const int32_t value = 30 + slope + disc + texture;
        return static_cast<uint8_t>(value < 16 ? 16 : value > 235 ? 235 : value);
    }
};

}  // namespace tvk::test
