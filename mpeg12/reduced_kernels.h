// SPDX-License-Identifier: BSD-2-Clause
// Prediction at half and quarter size in 16-bit lanes: bilinear interpolation of a column's rows, and their store with
// the residual's sum.
#pragma once

#include <array>
#include <cstdint>

#include "core/inline.h"
#include "core/lanes.h"
#include "mpeg12/prediction_kernels.h"

namespace tvk {

// Weights of the stored lines s0..s3 of a window, by the vertical phase in half coded lines; each row sums to 8. Even
// rows stay on lines of one parity. A pair's second row takes the table two rows on.
inline constexpr uint8_t kFrameLineWeights[18][4] = {
    {8, 0, 0, 0}, {4, 4, 0, 0}, {0, 8, 0, 0}, {3, 4, 1, 0}, {6, 0, 2, 0}, {3, 3, 1, 1},
    {0, 6, 0, 2}, {2, 3, 2, 1}, {4, 0, 4, 0}, {2, 2, 2, 2}, {0, 4, 0, 4}, {1, 2, 3, 2},
    {2, 0, 6, 0}, {1, 1, 3, 3}, {0, 2, 0, 6}, {0, 1, 4, 3}, {0, 0, 8, 0}, {0, 0, 4, 4},
};

// Lines of a pair's window that weigh anything in the pair's two rows, by phase, at least two: those behind are not
// read, since they may lie behind the plane.
inline constexpr std::array<uint8_t, 16> kWindowLines = [] {
    std::array<uint8_t, 16> table{};
    for (size_t phase = 0; phase < table.size(); ++phase)
        for (uint8_t line = 0; line < 4; ++line)
            if (kFrameLineWeights[phase][line] + kFrameLineWeights[phase + 2][line] != 0)
                table[phase] = static_cast<uint8_t>(line + 1);
    return table;
}();

inline constexpr int32_t kMostReducedRows = 8;

// Where a column of a source is read. Phases are in 1 / base of a stored sample, base being 4 at half and 8 at quarter
// size; under windows phaseY is the row of the table.
struct ReducedSource {
    const uint8_t *data;
    ptrdiff_t stride;  // from a row to the next
    int32_t phaseX, phaseY;
};

// One column of a plane, a row to a register: 8 bytes at half size, 4 at quarter size, in the lower lanes. `step` is
// the distance to the right-hand neighbour of the same component.
template <class L, bool half, int step>
struct ReducedKernels {
    using V = typename L::I16x8;
    static constexpr int32_t base = half ? 4 : 8, log2Base = half ? 2 : 3;

    static V load(const uint8_t *p) { return L::widenLow(half ? L::loadHalf(p) : L::loadQuarter(p)); }

    // Lines one after the other, each of them the sum of two horizontal neighbours scaled by base. Without a horizontal
    // phase the right-hand neighbour has no weight, and the sample itself is read in its place. Phases follow no
    // pattern, hence no branches.
    // Sums of four are below base * base * 255 = 16320, so they fit in the lanes.
    struct Lines {
        const uint8_t *p;
        ptrdiff_t stride, right;
        V here, toRight;

        explicit Lines(const ReducedSource &s)
            : p(s.data),
              stride(s.stride),
              right(s.phaseX ? step : 0),
              here(L::splat16(base - s.phaseX)),
              toRight(L::splat16(s.phaseX)) {}

        TVK_INLINE V next() {
            prefetchRead(p, kLineAhead);
            const V sum = L::addWrap(L::mulLo(load(p), here), L::mulLo(load(p + right), toRight));
            p += stride;
            return sum;
        }
        TVK_INLINE void holdLast() {
            p -= stride;
            stride = 0;
        }
    };

    // (sum + half of base * base) >> 2 log2(base)
    static V rounded(V sum) {
        return L::template shrLogical<2 * log2Base>(L::addWrap(sum, L::splat16(base * base / 2)));
    }

    template <int32_t rows>
    static void copyRows(V *row, const ReducedSource &s) {
        const uint8_t *p = s.data;
        for (int32_t i = 0; i < rows; ++i, p += s.stride) {
            prefetchRead(p, kLineAhead);
            row[i] = load(p);
        }
    }

    // The lower neighbour of a row is `below` rows on; rows >= below. Without a vertical phase what lies behind the
    // last row has no weight, and the last row is read in its place.
    template <int32_t below, int32_t rows>
    static void weighRows(V *row, const ReducedSource &s) {
        static_assert((below == 1 || below == 2) && rows >= below);
        const V up = L::splat16(base - s.phaseY), down = L::splat16(s.phaseY);
        Lines lines(s);
        V upper = lines.next();
        V between = below == 2 ? lines.next() : upper;
        const auto weigh = [&](int32_t i) {
            const V lower = lines.next();
            row[i] = rounded(L::addWrap(L::mulLo(upper, up), L::mulLo(lower, down)));
            upper = below == 2 ? between : lower;
            between = lower;
        };
        int32_t i = 0;
        for (; i < rows - below; ++i) weigh(i);
        if (s.phaseY == 0) lines.holdLast();
        for (; i < rows; ++i) weigh(i);
    }

    // Two lines of 4 samples, beginning at p and q, as sums of horizontal neighbours: the values of the first in the
    // even lanes, those of the second in the odd ones.
    TVK_INLINE static V twoLines(const uint8_t *p, const uint8_t *q, const Lines &lines) {
        const auto both = [](const uint8_t *a, const uint8_t *b) {
            return L::widenLow(L::asU8(L::interleaveLow32(L::asI16(L::loadQuarter(a)), L::asI16(L::loadQuarter(b)))));
        };
        prefetchRead(p, kLineAhead);
        prefetchRead(q, kLineAhead);
        const V sum = L::addWrap(L::mulLo(both(p, q), lines.here),
                                 L::mulLo(both(p + lines.right, q + lines.right), lines.toRight));
        return L::interleaveLow16(sum, L::interleaveHigh64(sum, sum));
    }

    static V weightPair(const uint8_t *weight) {
        return L::interleaveLow16(L::splat16(weight[0]), L::splat16(weight[1]));
    }

    // Quarter size: pairs of rows, each pair from a window of four lines. In place of lines that weigh nothing the
    // first one is read.
    template <int32_t rows>
    static void weighWindows(V *row, const ReducedSource &s) {
        static_assert(!half);
        const Lines lines(s);
        const uint8_t *upper = kFrameLineWeights[s.phaseY], *lower = kFrameLineWeights[s.phaseY + 2];
        const V upper01 = weightPair(upper), upper23 = weightPair(upper + 2);
        const V lower01 = weightPair(lower), lower23 = weightPair(lower + 2);
        const int32_t lineCount = rows - 2 + kWindowLines[static_cast<size_t>(s.phaseY)];
        V window = twoLines(s.data, s.data + s.stride, lines);
        for (int32_t i = 0; i < rows; i += 2) {
            const uint8_t *third = s.data + (i + 2 < lineCount ? (i + 2) * s.stride : 0);
            const uint8_t *fourth = s.data + (i + 3 < lineCount ? (i + 3) * s.stride : 0);
            const V next = twoLines(third, fourth, lines);
            const auto weigh = [&](V first, V second) {
                return L::addWrap(L::maddPairs(window, first), L::maddPairs(next, second));
            };
            const V pair = rounded(L::packI16Sat(weigh(upper01, upper23), weigh(lower01, lower23)));
            row[i] = pair;
            row[i + 1] = L::interleaveHigh64(pair, pair);
            window = next;
        }
    }

    // --- Store ----------------------------------------------------------------------------------------------------

    // A row's residual: the values of the left and of the right block, or of Cb and of Cr in turn.
    static V residualRow(const int16_t *first, const int16_t *second) {
        const auto read = [](const int16_t *p) -> V {
            if constexpr (half)
                return L::loadHalf(p);
            else
                return L::loadQuarter(p);
        };
        const V a = read(first), b = read(second);
        if constexpr (step == 2) return L::interleaveLow16(a, b);
        return half ? L::interleaveLow64(a, b) : L::interleaveLow32(a, b);
    }

    // Two sources meet without rounding up: (2 residual + a + b) >> 1, clamped.
    // DEPARTURE(reduced-size bidirectional): the standards round the mean of two predictions up.
    template <bool residual, bool mean, int32_t rows>
    static void storeRows(uint8_t *out, ptrdiff_t stride, const V *a, const V *b, ResidualRows r) {
        for (int32_t i = 0; i < rows; ++i, out += stride) {
            V value = a[i];
            if constexpr (mean) value = L::template shrLogical<1>(L::addWrap(value, b[i]));
            if constexpr (residual) {
                value = L::addSat(value, residualRow(r.first, r.second));
                r.first += r.step;
                r.second += r.step;
            }
            const auto samples = L::packU8Sat(value, value);
            half ? L::storeHalf(out, samples) : L::storeQuarter(out, samples);
        }
    }
    template <bool mean, int32_t rows>
    static void store(uint8_t *out, ptrdiff_t stride, const V *a, const V *b, bool residual, const ResidualRows &r) {
        if (residual)
            storeRows<true, mean, rows>(out, stride, a, b, r);
        else
            storeRows<false, mean, rows>(out, stride, a, b, r);
    }
};

}  // namespace tvk
