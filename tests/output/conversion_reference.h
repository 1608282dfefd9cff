// SPDX-License-Identifier: BSD-2-Clause
// Frame conversion one sample at a time, as an arbiter for the row converters.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tvk.h"

namespace tvk::test {

enum class Target { rgb15, rgb16, rgb24, rgb32, yuy2, uyvy, yv12, yvu9 };

inline constexpr Target kTargets[] = {Target::rgb15, Target::rgb16, Target::rgb24, Target::rgb32,
                                      Target::yuy2,  Target::uyvy,  Target::yv12,  Target::yvu9};
inline constexpr int32_t kTargetCodes[] = {15, 16, 24, 32, 0x32595559, 0x59565955, 0x32315659, 0x39555659};

struct ReferenceConversion {
    const VideoFrame &frame;
    Target target;
    int32_t channels;
    uint8_t *plane[3];
    int32_t stride, rows;  // room of the first plane
    int32_t lines;         // luma rows to convert

    // Sample groups that output covers: 32 each, the last of 16 where that is enough.
    int32_t covered() const {
        const int32_t width = frame.lumaPlane.width;
        return width % 16 == 0 ? width : (width + 31) / 32 * 32;
    }
    int luma(int32_t x, int32_t y) const {
        if ((channels & 1) == 0) return target <= Target::rgb32 ? 64 : 16;
        return frame.lumaPlane.data[y * frame.lumaPlane.stride + x];
    }
    int chroma(int32_t component, int32_t pair, int32_t row) const {
        if ((channels & (2 << component)) == 0) return 128;
        return frame.chromaPlane.data[row * frame.chromaPlane.stride + 2 * pair + component];
    }
    // Writes inside its row of the target only.
    static void put(uint8_t *row, int32_t rowBytes, int32_t at, int value) {
        if (at < rowBytes) row[at] = static_cast<uint8_t>(value);
    }

    void run() const {
        if (target <= Target::rgb32) {
            for (int32_t y = 0; y < lines; ++y) rgbRow(y);
        } else if (target <= Target::uyvy) {
            for (int32_t y = 0; y < lines; ++y) packedRow(y);
        } else {
            planar();
        }
    }

    static int floorDiv65536(int a) { return (a >= 0 ? a : a - 65535) / 65536; }
    static int quarter(int a) { return std::clamp((a >= 0 ? a : a - 3) / 4, 0, 255); }

    void rgbRow(int32_t y) const {
        uint8_t *out = plane[0] + static_cast<size_t>(y) * static_cast<size_t>(stride);
        for (int32_t x = 0; x < covered(); ++x) {
            const int32_t row = frame.chromaFormat == 1 ? y / 2 : y;
            const int32_t pair = frame.chromaFormat == 3 ? x / 2 * 2 + 1 : x / 2;
            int cb = chroma(0, pair, row);
            if (frame.chromaFormat == 3) cb -= cb % 2;
            const int scaledCb = (cb - 128) * 64, scaledCr = (chroma(1, pair, row) - 128) * 64;
            const int r = floorDiv65536(6537 * scaledCr), b = floorDiv65536(8258 * scaledCb);
            const int g = floorDiv65536(-3338 * scaledCr) + floorDiv65536(-1597 * scaledCb);
            const int l = floorDiv65536(std::max(luma(x, y) - 16, 0) * 64 * 4769);
            int red = quarter(l + r), green = quarter(l + g), blue = quarter(l + b);
            if ((channels & 8) != 0) std::swap(red, blue);
            putPixel(out, x, red, green, blue);
        }
    }
    void putPixel(uint8_t *out, int32_t x, int red, int green, int blue) const {
        if (target == Target::rgb15 || target == Target::rgb16) {
            const int word = target == Target::rgb15 ? ((red >> 3) << 10) | ((green >> 3) << 5) | (blue >> 3)
                                                     : ((red >> 3) << 11) | ((green >> 2) << 5) | (blue >> 3);
            put(out, stride, 2 * x, word & 255);
            put(out, stride, 2 * x + 1, word >> 8);
            return;
        }
        const int32_t bytes = target == Target::rgb24 ? 3 : 4;
        put(out, stride, bytes * x, blue);
        put(out, stride, bytes * x + 1, green);
        put(out, stride, bytes * x + 2, red);
        if (bytes == 4) put(out, stride, bytes * x + 3, 0);
    }

    void packedRow(int32_t y) const {
        uint8_t *out = plane[0] + static_cast<size_t>(y) * static_cast<size_t>(stride);
        int32_t row = y;
        if (frame.chromaFormat == 1) row = frame.progressiveFrame != 0 ? y / 2 : 2 * (y / 4) + y % 2;
        for (int32_t x = 0; x < covered(); ++x) {
            int c = 0;
            if (frame.chromaFormat == 3) {
                c = (chroma(x % 2, x / 2 * 2, row) + chroma(x % 2, x / 2 * 2 + 1, row) + 1) / 2;
            } else {
                c = chroma(x % 2, x / 2, row);
            }
            const int32_t lumaAt = target == Target::yuy2 ? 0 : 1;
            put(out, stride, 2 * x + lumaAt, luma(x, y));
            put(out, stride, 2 * x + 1 - lumaAt, c);
        }
    }

    void planar() const {
        for (int32_t y = 0; y < lines; ++y)
            for (int32_t x = 0; x < covered(); ++x)
                put(plane[0] + static_cast<size_t>(y) * static_cast<size_t>(stride), stride, x, luma(x, y));
        const int32_t part = target == Target::yv12 ? 2 : 4;
        const int32_t height = frame.lumaPlane.height, chromaStride = stride / part;
        const int32_t chromaRows = std::min(rows / part, (height + part - 1) / part);
        for (int32_t y = 0; y < chromaRows; ++y) {
            const int32_t row = frame.chromaFormat == 1 ? y * part / 2 : y * part;
            for (int32_t x = 0; x < covered() / part; ++x) {
                int cb = 0, cr = 0;
                pick(x, row, cb, cr);
                const size_t start = static_cast<size_t>(y) * static_cast<size_t>(chromaStride);
                put(plane[1] + start, chromaStride, x, cr);
                put(plane[2] + start, chromaStride, x, cb);
            }
        }
    }
    void pick(int32_t x, int32_t row, int &cb, int &cr) const {
        int32_t pair = 0;
        if (target == Target::yv12) {
            pair = frame.chromaFormat == 3 ? 2 * x + 1 : x;
        } else {
            pair = frame.chromaFormat == 3 ? 4 * x : 2 * x;
        }
        cb = chroma(0, pair, row);
        cr = chroma(1, pair, row);
        if (target == Target::yv12 && frame.chromaFormat == 3) cb -= cb % 2;
    }
};

}  // namespace tvk::test
