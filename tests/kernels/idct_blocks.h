// SPDX-License-Identifier: BSD-2-Clause
// Blocks that put the transforms to the test, and a destination with guard bytes around it.
#pragma once

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "reference/idct_reference.h"

namespace idct_test {

// Random in several ranges, sparse, low-frequency only, and of extremes alone, which saturate and wrap everywhere.
inline std::vector<reference::Block> blocks() {
    std::mt19937 random(7);
    std::vector<reference::Block> all(1);  // begins with zeros
    const auto value = [&](int range) {
        return static_cast<int16_t>(static_cast<int>(random() % static_cast<unsigned>(2 * range + 1)) - range);
    };
    for (int range : {3, 100, 1000, 8000, 32767})
        for (int n = 0; n < 200; ++n) {
            reference::Block dense, sparse{}, corner{};
            for (int16_t &x : dense) x = value(range);
            for (int i = 0; i < 1 + n % 6; ++i) sparse[random() % 64] = value(range);
            for (int r = 0; r < 4; ++r)
                for (int c = 0; c < 4; ++c) corner[static_cast<size_t>(8 * r + c)] = value(range);
            all.insert(all.end(), {dense, sparse, corner});
        }
    for (int n = 0; n < 400; ++n) {
        reference::Block extreme;
        for (int16_t &x : extreme)
            x = n % 2 == 0 ? (random() % 2 ? 32767 : -32768) : (random() % 2 ? 32767 : random() % 2 ? -32768 : 0);
        all.push_back(extreme);
    }
    return all;
}

struct alignas(16) AlignedBlock {
    int16_t values[64];
    explicit AlignedBlock(const reference::Block &b) { std::memcpy(values, b.data(), sizeof values); }
};

// Rows of `width` bytes, `stride` apart, must hold what was expected; all bytes around them their fill.
struct GuardedPixels {
    static constexpr int kStride = 48, kRows = 12, kFirstRow = 2, kFirstColumn = 16;
    alignas(16) uint8_t bytes[kStride * kRows];
    int width, rows;

    GuardedPixels(int w, int r) : width(w), rows(r) { std::memset(bytes, 0xA5, sizeof bytes); }
    uint8_t *at() { return bytes + kFirstRow * kStride + kFirstColumn; }

    template <class Expected>
    void expect(Expected expected) const {
        for (int y = 0; y < kRows; ++y)
            for (int x = 0; x < kStride; ++x) {
                const int row = y - kFirstRow, column = x - kFirstColumn;
                const bool inside = row >= 0 && row < rows && column >= 0 && column < width;
                ASSERT_EQ(bytes[y * kStride + x], inside ? expected(row, column) : 0xA5) << row << ',' << column;
            }
    }
};

// A block whose rows of 8 are `rowValues` apart, among fill.
struct GuardedBlock {
    static constexpr int kFill = 0x5A5A;
    alignas(16) int16_t values[192];
    int rowValues;

    GuardedBlock(const reference::Block &b, int distance) : rowValues(distance) {
        for (int16_t &x : values) x = kFill;
        for (int r = 0; r < 8; ++r) std::memcpy(at() + r * distance, &b[static_cast<size_t>(8 * r)], 16);
    }
    int16_t *at() { return values + 16; }

    void expect(const reference::Picture &picture) const {
        for (int i = 0; i < 192; ++i) {
            const int row = (i - 16) / rowValues, column = (i - 16) % rowValues;
            const bool inside = i >= 16 && row < 8 && column < 8;
            ASSERT_EQ(values[i], inside ? picture[static_cast<size_t>(8 * row + column)] : kFill) << i;
        }
    }
};

}  // namespace idct_test
