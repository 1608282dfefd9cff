// SPDX-License-Identifier: BSD-2-Clause
// Macroblock writers in their obvious form: byte by byte into whole target planes.
#pragma once

#include <cstdint>
#include <vector>

namespace reference {

enum class Layout { yuy2, uyvy, yv12, yvu9 };

struct WriterCase {
    Layout layout;
    int reduce, chroma;  // chroma: 1 is 4:2:0, 2 is 4:2:2, 3 is 4:4:4
    bool field;
    int parity;
    int blockX, blockY;            // units of 8 coded samples and frame lines
    int outputStride, outputRows;  // of the target's luma

    int unit() const { return 8 / reduce; }
    int side() const { return 16 / reduce; }
};

struct TargetPlanes {
    std::vector<uint8_t> y, u, v;
};

// A target plane reduced by `shrink`: the place of the macroblock's sample `column` in its row `row`, -1 where the row
// lies below the plane.
inline int placeIn(const WriterCase &c, int shrink, int row, int column) {
    const int line = c.unit() * c.blockY / shrink + (c.field ? 2 * row + c.parity : row);
    if (line >= c.outputRows / shrink) return -1;
    return line * (c.outputStride / shrink) + c.unit() * c.blockX / shrink + column;
}

// `luma(row, column)` and `chroma(row, byte)` give the macroblock's bytes, rows being those of its frame or field.
template <class Luma, class Chroma>
void writePacked(const WriterCase &c, TargetPlanes &t, const Luma &luma, const Chroma &chroma) {
    for (int row = 0; row < c.side(); ++row)
        for (int x = 0; x < c.side(); ++x) {
            const int place = placeIn(c, 1, row, x);
            if (place < 0) continue;
            int colour;
            if (c.chroma == 3) {
                const int pair = 4 * (x / 2) + x % 2;
                colour = (chroma(row, pair) + chroma(row, pair + 2)) / 2;
            } else {
                colour = chroma(c.chroma == 1 ? row / 2 : row, x);
            }
            const bool chromaFirst = c.layout == Layout::uyvy;
            t.y[static_cast<size_t>(2 * place + (chromaFirst ? 1 : 0))] = luma(row, x);
            t.y[static_cast<size_t>(2 * place + (chromaFirst ? 0 : 1))] = static_cast<uint8_t>(colour);
        }
}

template <class Chroma>
int halfChroma(const WriterCase &c, int row, int x, int component, const Chroma &chroma) {
    if (c.chroma == 1) return chroma(row, 2 * x + component);
    if (c.chroma == 2) return (chroma(2 * row, 2 * x + component) + chroma(2 * row + 1, 2 * x + component) + 1) / 2;
    const int value = chroma(2 * row, 4 * x + component);
    return component == 0 ? value / 2 * 2 : value;
}

template <class Chroma>
int quarterChroma(const WriterCase &c, int row, int x, int component, const Chroma &chroma) {
    return chroma((c.chroma == 1 ? 2 : 4) * row, (c.chroma == 3 ? 8 : 4) * x + component);
}

template <class Luma, class Chroma>
void writePlanar(const WriterCase &c, TargetPlanes &t, const Luma &luma, const Chroma &chroma) {
    for (int row = 0; row < c.side(); ++row)
        for (int x = 0; x < c.side(); ++x)
            if (const int place = placeIn(c, 1, row, x); place >= 0) t.y[static_cast<size_t>(place)] = luma(row, x);
    const bool quarter = c.layout == Layout::yvu9;
    const int shrink = quarter ? 4 : 2;
    // A macroblock of 2 x 2 has a quarter of a sample: that of even column and row gives it.
    const bool odd = c.blockX / 2 % 2 != 0 || c.blockY / (c.field ? 4 : 2) % 2 != 0;
    if (quarter && c.reduce == 8 && odd) return;
    const int side = c.side() < shrink ? 1 : c.side() / shrink;
    for (int row = 0; row < side; ++row)
        for (int x = 0; x < side; ++x) {
            const int place = placeIn(c, shrink, row, x);
            if (place < 0) continue;
            for (int component = 0; component < 2; ++component)
                (component ? t.v : t.u)[static_cast<size_t>(place)] = static_cast<uint8_t>(
                    quarter ? quarterChroma(c, row, x, component, chroma) : halfChroma(c, row, x, component, chroma));
        }
}

template <class Luma, class Chroma>
void writeMacroblock(const WriterCase &c, TargetPlanes &t, const Luma &luma, const Chroma &chroma) {
    if (c.layout == Layout::yuy2 || c.layout == Layout::uyvy)
        writePacked(c, t, luma, chroma);
    else
        writePlanar(c, t, luma, chroma);
}

}  // namespace reference
