// SPDX-License-Identifier: BSD-2-Clause
// A JPEG writer of one sample and one bit at a time, as an arbiter for the fast one.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

#include "tvk.h"

namespace tvk::test {

class ReferenceJpeg {
  public:
    std::vector<uint8_t> bytes;

    explicit ReferenceJpeg(const VideoFrame &picture) : frame(picture) {
        headers();
        scan();
        while (bits.size() % 8 != 0) bits.push_back(true);
        for (size_t i = 0; i < bits.size(); i += 8) {
            int byte = 0;
            for (size_t b = 0; b < 8; ++b) byte = byte * 2 + (bits[i + b] ? 1 : 0);
            put({byte});
            if (byte == 255) put({0});
        }
        put({0xFF, 0xD9});
    }

  private:
    using Codes = std::map<int, std::pair<int, int>>;  // symbol: code, length

    const VideoFrame &frame;
    std::vector<bool> bits;
    Codes codes[4];  // DC luma, DC chroma, AC luma, AC chroma
    int previousDc[3] = {0, 0, 0};

    static constexpr int kQuant[2][64] = {
        {16, 11,  10,  16, 24, 40, 51, 61, 12,  12,  14,  19,  26, 58, 60, 55,  14,  13,  16,  24, 40, 57,
         69, 56,  14,  17, 22, 29, 51, 87, 80,  62,  18,  22,  37, 56, 68, 109, 103, 77,  24,  35, 55, 64,
         81, 104, 113, 92, 49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98,  112, 100, 103, 99},
        {17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99, 24, 26, 56, 99, 99, 99,
         99, 99, 47, 66, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
         99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99}};
    static constexpr int kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                        12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                        35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                        58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

    void put(std::initializer_list<int> list) {
        for (const int x : list) bytes.push_back(static_cast<uint8_t>(x));
    }

    // Sixteen counts of code lengths, then the symbols, as Annex K lists them.
    static std::vector<int> tableBytes(int table) {
        static const char *const hex[4] = {
            "00010501010101010100000000000000000102030405060708090A0B",
            "00030101010101010101010000000000000102030405060708090A0B",
            "0002010303020403050504040000017D01020300041105122131410613516107227114328191A1082342B1C11552D1F0"
            "2433627282090A161718191A25262728292A3435363738393A434445464748494A535455565758595A63646566676869"
            "6A737475767778797A838485868788898A92939495969798999AA2A3A4A5A6A7A8A9AAB2B3B4B5B6B7B8B9BAC2C3C4C5"
            "C6C7C8C9CAD2D3D4D5D6D7D8D9DAE1E2E3E4E5E6E7E8E9EAF1F2F3F4F5F6F7F8F9FA",
            "00020102040403040705040400010277000102031104052131061241510761711322328108144291A1B1C109233352F0"
            "156272D10A162434E125F11718191A262728292A35363738393A434445464748494A535455565758595A636465666768"
            "696A737475767778797A82838485868788898A92939495969798999AA2A3A4A5A6A7A8A9AAB2B3B4B5B6B7B8B9BAC2C3"
            "C4C5C6C7C8C9CAD2D3D4D5D6D7D8D9DAE2E3E4E5E6E7E8E9EAF2F3F4F5F6F7F8F9FA"};
        std::vector<int> result;
        int digits = 0, value = 0;
        for (const char *p = hex[table]; *p != 0; ++p) {
            value = value * 16 + (*p <= '9' ? *p - '0' : *p - 'A' + 10);
            if (++digits % 2 == 0) {
                result.push_back(value);
                value = 0;
            }
        }
        return result;
    }

    void headers() {
        put({0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 2, 0, 0, 1, 0, 1, 0, 0});
        for (int table = 0; table < 2; ++table) {
            put({0xFF, 0xDB, 0, 67, table});
            for (const int position : kZigzag) put({(kQuant[table][position] + 1) / 2});
        }
        for (int table = 0; table < 4; ++table) {
            const std::vector<int> spec = tableBytes(table);
            put({0xFF, 0xC4, 0, static_cast<int>(spec.size()) + 3, table / 2 * 16 + table % 2});
            for (const int x : spec) put({x});
            int code = 0;
            size_t next = 16;
            for (int length = 1; length <= 16; ++length) {
                for (int i = 0; i < spec[static_cast<size_t>(length - 1)]; ++i)
                    codes[table][spec[next++]] = {code++, length};
                code *= 2;
            }
        }
        const int sampling[5] = {0x11, 0x22, 0x21, 0x11, 0x11};
        const VideoPlane &luma = frame.lumaPlane;
        put({0xFF, 0xC0, 0, 17, 8, luma.height >> 8, luma.height & 255, luma.width >> 8, luma.width & 255, 3});
        put({1, sampling[frame.chromaFormat], 0, 2, 0x11, 1, 3, 0x11, 1});
        put({0xFF, 0xDA, 0, 12, 3, 1, 0, 2, 0x11, 3, 0x11, 0, 63, 0});
    }

    void putBits(int value, int count) {
        for (int i = count - 1; i >= 0; --i) bits.push_back(((value >> i) & 1) != 0);
    }
    void putCode(int table, int symbol) {
        const auto found = codes[table].find(symbol);
        if (found != codes[table].end()) putBits(found->second.first, found->second.second);
    }
    static int bitLength(int x) {
        int length = 0;
        for (x = std::abs(x); x != 0; x /= 2) ++length;
        return length;
    }

    static int clamp16(int x) { return std::clamp(x, -32768, 32767); }
    static int coarse(int x, int c) { return (static_cast<int16_t>(x * 4) * c) >> 16; }
    static int rounded(int x, int c) { return clamp16((x * c + 8192) >> 14); }

    template <class Z>
    static void pass(int (&x)[8], Z z) {
        const auto add = [](int a, int b) { return clamp16(a + b); };
        const auto sub = [](int a, int b) { return clamp16(a - b); };
        int sum[4], difference[4];
        for (int i = 0; i < 4; ++i) {
            sum[i] = add(x[i], x[7 - i]);
            difference[i] = sub(x[i], x[7 - i]);
        }
        const int tmp4 = difference[3], tmp5 = difference[2], tmp6 = difference[1], tmp7 = difference[0];
        const int e10 = add(sum[0], sum[3]), e13 = sub(sum[0], sum[3]);
        const int e11 = add(sum[1], sum[2]), e12 = sub(sum[1], sum[2]);
        const int z1 = z(add(e12, e13), 11585);
        const int o10 = add(tmp4, tmp5), o11 = add(tmp5, tmp6), o12 = add(tmp6, tmp7);
        const int z5 = z(sub(o10, o12), 6270);
        const int z2 = add(z(o10, 8867), z5), z4 = add(z(o12, 21407), z5), z3 = z(o11, 11585);
        const int z11 = add(tmp7, z3), z13 = sub(tmp7, z3);
        const int out[8] = {add(e10, e11), add(z11, z4), add(e13, z1), sub(z13, z2),
                            sub(e10, e11), add(z13, z2), sub(e13, z1), sub(z11, z4)};
        std::copy(out, out + 8, x);
    }

    static int aan(int position) {
        const auto k = [](int n) { return n == 0 ? 1.0 : std::sqrt(2.0) * std::cos(n * 3.14159265358979323846 / 16); };
        return static_cast<int>(std::floor(16384 * k(position / 8) * k(position % 8) + 0.5));
    }

    void block(int component, const VideoPlane &plane, int x, int y, int step) {
        int values[8][8];
        for (int row = 0; row < 8; ++row) {
            for (int column = 0; column < 8; ++column)
                values[row][column] = (plane.data[(y + row) * plane.stride + x + column * step] - 128) * 2;
            pass(values[row], coarse);
        }
        int level[64];
        const int chroma = component == 0 ? 0 : 1;
        for (int column = 0; column < 8; ++column) {
            int down[8];
            for (int row = 0; row < 8; ++row) down[row] = values[row][column];
            pass(down, rounded);
            for (int row = 0; row < 8; ++row) {
                const int divisor = 2 * aan(row * 8 + column) * kQuant[chroma][row * 8 + column];
                const int reciprocal = (divisor + 0x20000000) / divisor;
                level[row * 8 + column] = (((down[row] * reciprocal) >> 16) + 1) >> 1;
            }
        }
        code(component, chroma, level);
    }

    void code(int component, int chroma, const int (&level)[64]) {
        const int difference = level[0] - previousDc[component], dcSize = bitLength(difference);
        previousDc[component] = level[0];
        putCode(chroma, dcSize);
        putBits(difference < 0 ? difference - 1 : difference, dcSize);
        int run = 0;
        for (int k = 1; k < 64; ++k) {
            const int c = level[kZigzag[k]];
            if (c == 0) {
                ++run;
                continue;
            }
            for (; run >= 16; run -= 16) putCode(2 + chroma, 0xF0);
            putCode(2 + chroma, run * 16 + bitLength(c));
            putBits(c < 0 ? c - 1 : c, bitLength(c));
            run = 0;
        }
        if (run > 0) putCode(2 + chroma, 0);
    }

    void scan() {
        const int format = frame.chromaFormat;
        if (format < 1 || format > 3) return;
        const int columns = format == 3 ? 1 : 2, lines = format == 1 ? 2 : 1;
        for (int y = 0; y < frame.lumaPlane.height; y += 8 * lines) {
            for (int x = 0; x < frame.lumaPlane.width; x += 8 * columns) {
                for (int v = 0; v < lines; ++v)
                    for (int h = 0; h < columns; ++h) block(0, frame.lumaPlane, x + 8 * h, y + 8 * v, 1);
                block(1, frame.chromaPlane, x / columns * 2, y / lines, 2);
                block(2, frame.chromaPlane, x / columns * 2 + 1, y / lines, 2);
            }
        }
    }
};

}  // namespace tvk::test
