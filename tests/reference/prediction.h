// SPDX-License-Identifier: BSD-2-Clause
// Prediction of a macroblock in its obvious form, at all four sizes: one sample at a time, from the sources of its row.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "reference/motion_vectors.h"

namespace reference {

struct Plane {
    const uint8_t *data;
    int stride;
    int at(int line, int byte) const { return data[line * stride + byte]; }
};

// Planes, vector in half samples (of a field's lines where lines are a field's), and the field read.
struct Source {
    Plane luma, chroma;
    Vector v;
    int select;
};

struct PictureCase {
    int reduce, chroma;  // chroma: 1 is 4:2:0, 2 is 4:2:2, 3 is 4:4:4
    bool field, b;

    int unit() const { return 8 / reduce; }
    // At eighth size the lines of a field picture stand below each other.
    bool stacked() const { return field && reduce == 8; }
    int lumaRows() const { return stacked() ? 4 : 2 * unit(); }
    int chromaRows() const { return chroma == 1 ? lumaRows() / 2 : lumaRows(); }
    int lumaBytes() const { return 2 * unit(); }
    int chromaBytes() const { return chroma == 3 ? 4 * unit() : 2 * unit(); }
};

// The sources of one row. Where both groups hold something, the groups' predictions are averaged.
struct RowSources {
    enum class Lines { frame, field, copy } lines;
    std::vector<Source> first, second;
};

struct Place {
    int blockX, blockY, chromaX, chromaY;
};

inline int pavg(int a, int b) {
    return (a + b + 1) >> 1;
}

inline int towardZero(int v) {
    return v / 2;
}

inline int floorDiv(int v, int d) {
    return v >= 0 ? v / d : -((-v + d - 1) / d);
}

// One sample's surroundings: which plane, the distance of its component's samples, and where the macroblock begins.
struct SampleCase {
    PictureCase picture;
    Place place;
    bool chroma;
    int row, byte;

    int step() const { return chroma ? 2 : 1; }
    int firstLine() const { return picture.unit() * (chroma ? place.chromaY : place.blockY); }
    int column() const { return picture.unit() * (chroma ? place.chromaX : place.blockX) + byte; }
    Vector vectorOf(const Source &s) const {
        if (!chroma || picture.chroma == 3) return s.v;
        return {towardZero(s.v.x), picture.chroma == 1 ? towardZero(s.v.y) : s.v.y};
    }
    Plane planeOf(const Source &s) const { return chroma ? s.chroma : s.luma; }
    // The line that a zero vector reads, and the lines to the field's or frame's next.
    int lineStep(RowSources::Lines lines) const { return lines == RowSources::Lines::field || picture.field ? 2 : 1; }
    int line(RowSources::Lines lines, int select) const {
        if (picture.reduce == 8) return firstLine() + row;
        if (picture.field) return firstLine() + 2 * row + select;
        return lines == RowSources::Lines::field ? firstLine() + 2 * (row / 2) + select : firstLine() + row;
    }
};

inline int fullSample(const SampleCase &c, RowSources::Lines lines, const Source &s, bool exact) {
    const Vector v = c.vectorOf(s);
    const Plane p = c.planeOf(s);
    const int next = c.lineStep(lines), line = c.line(lines, s.select) + next * floorDiv(v.y, 2);
    const int x = c.column() + c.step() * floorDiv(v.x, 2), right = x + c.step();
    const bool hx = v.x % 2 != 0, hy = v.y % 2 != 0;
    if (!hx && !hy) return p.at(line, x);
    if (!hy) return pavg(p.at(line, x), p.at(line, right));
    if (!hx) return pavg(p.at(line, x), p.at(line + next, x));
    if (exact) return (p.at(line, x) + p.at(line, right) + p.at(line + next, x) + p.at(line + next, right) + 2) / 4;
    return pavg(pavg(p.at(line, x), p.at(line, right)), pavg(p.at(line + next, x), p.at(line + next, right)));
}

// Phases and whole parts of a vector component of d phases.
struct Split {
    int whole, phase;
};
inline Split split(int v, int d) {
    return {floorDiv(v, d), v - d * floorDiv(v, d)};
}

inline int bilinear(const Plane &p, int line, int below, int x, int right, int base, int fx, int fy) {
    const auto at = [&](int weight, int l, int c) { return weight ? weight * p.at(l, c) : 0; };
    return at((base - fx) * (base - fy), line, x) + at(fx * (base - fy), line, x + right) +
           at((base - fx) * fy, line + below, x) + at(fx * fy, line + below, x + right);
}

inline int lineWindow(const Plane &p, int first, int x, int right, int fx, int phase) {
    constexpr std::array<std::array<int, 4>, 18> kWeights = {{{8, 0, 0, 0},
                                                              {4, 4, 0, 0},
                                                              {0, 8, 0, 0},
                                                              {3, 4, 1, 0},
                                                              {6, 0, 2, 0},
                                                              {3, 3, 1, 1},
                                                              {0, 6, 0, 2},
                                                              {2, 3, 2, 1},
                                                              {4, 0, 4, 0},
                                                              {2, 2, 2, 2},
                                                              {0, 4, 0, 4},
                                                              {1, 2, 3, 2},
                                                              {2, 0, 6, 0},
                                                              {1, 1, 3, 3},
                                                              {0, 2, 0, 6},
                                                              {0, 1, 4, 3},
                                                              {0, 0, 8, 0},
                                                              {0, 0, 4, 4}}};
    int sum = 0;
    for (int n = 0; n < 4; ++n) {
        const int weight = kWeights[static_cast<size_t>(phase)][static_cast<size_t>(n)];
        if (weight) sum += weight * ((8 - fx) * p.at(first + n, x) + (fx ? fx * p.at(first + n, x + right) : 0));
    }
    return sum;
}

// The weighted sum of a source's neighbours; the weights sum to 16, 64 or 256.
inline int reducedSum(const SampleCase &c, RowSources::Lines lines, const Source &s) {
    const Plane p = c.planeOf(s);
    const int line = c.line(lines, s.select), column = c.column();
    if (lines == RowSources::Lines::copy) return 4 * c.picture.reduce * c.picture.reduce * p.at(line, column);
    const bool frame = lines == RowSources::Lines::frame;
    const Vector v = c.vectorOf(s);
    const Split across = split(v.x, 2 * c.picture.reduce);
    const int x = column + c.step() * across.whole, fx = across.phase;
    if (c.picture.reduce == 2) {
        const Split down = frame ? split(floorDiv(v.y, 2), 4) : split(v.y, 4);
        return bilinear(p, line + 2 * down.whole, 2, x, c.step(), 4, fx, down.phase);
    }
    if (c.picture.reduce == 4) {
        const Split down = split(v.y, frame ? 16 : 8);
        if (!frame) return bilinear(p, line + 2 * down.whole, 2, x, c.step(), 8, fx, down.phase);
        return lineWindow(p, line - c.row % 2 + 2 * down.whole, x, c.step(), fx, down.phase + 2 * (c.row % 2));
    }
    if (frame) {
        const Split down = split(v.y, 16);
        return bilinear(p, line + down.whole, 1, x, c.step(), 16, fx, down.phase);
    }
    const Split down = split(v.y, 8);
    return bilinear(p, line + down.whole, 1, x, c.step(), 16, fx, (s.select + 2 * down.phase) % 16);
}

inline int clampSample(int v) {
    return std::clamp(v, 0, 255);
}

inline int fullValue(const SampleCase &c, const RowSources &row, int residual) {
    const bool two = !row.first.empty() && !row.second.empty();
    const bool exact = !c.picture.b && !two;
    const auto at = [&](const std::vector<Source> &group) { return fullSample(c, row.lines, group[0], exact); };
    const int prediction = two ? pavg(at(row.first), at(row.second)) : at(row.first.empty() ? row.second : row.first);
    return clampSample(static_cast<int16_t>(prediction + residual));
}

// At eighth size frame pictures of 4:2:0 average in two passes with a clamp between them; two fields of two sources, as
// all else, in one.
inline int reducedValue(const SampleCase &c, const RowSources &row, int residual) {
    const int total = 4 * c.picture.reduce * c.picture.reduce;
    const auto mean = [&](std::vector<Source> group, const std::vector<Source> &more) {
        group.insert(group.end(), more.begin(), more.end());
        int sum = 0;
        for (const Source &s : group) sum += reducedSum(c, row.lines, s);
        const int all = total * static_cast<int>(group.size());
        return (sum + all / 2) / all;
    };
    if (row.first.empty() || row.second.empty()) return clampSample(mean(row.first, row.second) + residual);
    const int a = mean(row.first, {}), b = mean(row.second, {});
    if (c.picture.reduce != 8) return clampSample(floorDiv(2 * residual + a + b, 2));
    const bool fields = row.first.size() == 2;
    if (c.picture.chroma == 1 && !c.picture.field && !fields) return pavg(a, clampSample(b + 2 * residual));
    return clampSample(mean(row.first, row.second) + residual);
}

// Byte `byte` of row `row` of a macroblock's luma or chroma. `residualAt(byte)` is the row's residual.
template <class ResidualAt>
int predictedByte(SampleCase c, const RowSources &row, const ResidualAt &residualAt) {
    // Quarter size, 4:4:4, frame prediction: the left half of a chroma row stands twice.
    const bool repeats = c.picture.reduce == 4 && c.picture.chroma == 3 && c.chroma && !c.picture.field &&
                         row.lines == RowSources::Lines::frame;
    if (repeats) c.byte %= 4;
    return c.picture.reduce == 1 ? fullValue(c, row, residualAt(c.byte)) : reducedValue(c, row, residualAt(c.byte));
}

}  // namespace reference
