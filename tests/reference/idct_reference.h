// SPDX-License-Identifier: BSD-2-Clause
// The inverse transforms in plain scalar steps with the required roundings. Includes nothing of the decoder.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>

namespace reference {

using Block = std::array<int16_t, 64>;  // eight memory rows of eight
using Eight = std::array<int, 8>;
using Picture = std::array<int, 64>;  // finished values, before the clamp to a pixel

inline int sat(int x) {
    return std::min(std::max(x, -32768), 32767);
}
inline int wrap16(int x) {
    return static_cast<int16_t>(x);
}
inline int wrap32(int64_t x) {
    return static_cast<int32_t>(static_cast<uint32_t>(x));
}
inline int mulhi(int a, int b) {
    return (a * b) >> 16;
}
inline int pixel(int x) {
    return std::min(std::max(x, 0), 255);
}
inline double k(int n) {
    return n == 0 ? 1.0 : std::sqrt(2.0) * std::cos(n * M_PI / 16);
}

// 16-bit AAN pass; every + and - saturates.
inline Eight aanPass(const Eight &i) {
    const int z13 = sat(i[5] + i[3]), z10 = sat(i[5] - i[3]), z11 = sat(i[1] + i[7]), z12 = sat(i[1] - i[7]);
    const int t7 = sat(z11 + z13), w = sat(z11 - z13);
    const int z5 = mulhi(wrap16(sat(z10 + z12) * 4), 30274);
    const int t12 = sat(mulhi(wrap16(z10 * 8), -21407) + z5);
    const int t10 = sat(mulhi(wrap16(z12 * 4), 17734) - z5);
    const int t11 = mulhi(wrap16(w * 4), 23170);
    const int t6 = sat(t12 - t7), t5 = sat(t11 - t6), t4 = sat(t10 + t5);
    const int e13 = sat(i[2] + i[6]), e12 = sat(mulhi(wrap16(sat(i[2] - i[6]) * 4), 23170) - e13);
    const int e10 = sat(i[0] + i[4]), e11 = sat(i[0] - i[4]);
    const int t0 = sat(e10 + e13), t3 = sat(e10 - e13), t1 = sat(e11 + e12), t2 = sat(e11 - e12);
    return {sat(t0 + t7), sat(t1 + t6), sat(t2 + t5), sat(t3 - t4),
            sat(t3 + t4), sat(t2 - t5), sat(t1 - t6), sat(t0 - t7)};
}

inline Eight aanLowPass(const Eight &i) {
    const int t7 = sat(i[1] + i[3]), d = sat(i[1] - i[3]);
    const int z5 = mulhi(wrap16(d * 4), 30274);
    const int t12 = sat(mulhi(wrap16(i[3] * 8), 21407) + z5);
    const int t10 = sat(mulhi(wrap16(i[1] * 4), 17734) - z5);
    const int t11 = mulhi(wrap16(d * 4), 23170);
    const int t6 = sat(t12 - t7), t5 = sat(t11 - t6), t4 = sat(t10 + t5);
    const int e12 = mulhi(i[2], 27146);
    const int t0 = sat(i[0] + i[2]), t3 = sat(i[0] - i[2]), t1 = sat(i[0] + e12), t2 = sat(i[0] - e12);
    return {sat(t0 + t7), sat(t1 + t6), sat(t2 + t5), sat(t3 - t4),
            sat(t3 + t4), sat(t2 - t5), sat(t1 - t6), sat(t0 - t7)};
}

// after[x][v]: pass 1 over u for each memory column v. Low forms see the 4 x 4 corner alone.
inline std::array<Eight, 8> firstPass(const Block &block, bool low) {
    std::array<Eight, 8> after{};
    for (int v = 0; v < (low ? 4 : 8); ++v) {
        Eight in{};
        for (int u = 0; u < (low ? 4 : 8); ++u) in[u] = block[8 * u + v];
        const Eight out = low ? aanLowPass(in) : aanPass(in);
        for (int x = 0; x < 8; ++x) after[x][v] = out[x];
    }
    return after;
}

inline Picture fast(const Block &block, bool low) {
    const auto after = firstPass(block, low);
    Picture picture;
    for (int x = 0; x < 8; ++x) {
        const Eight out = low ? aanLowPass(after[x]) : aanPass(after[x]);
        for (int y = 0; y < 8; ++y) picture[8 * y + x] = sat(out[y] + 8) >> 4;
    }
    return picture;
}

// The row factors by their formula: input pairs 0, 4 / 2, 6 / 1, 3 / 5, 7 of frequencies, sign by the cosine.
inline int exactFactor(int row, int output, int frequency) {
    const int foldedRow = row == 0 || row == 4 ? 0 : row == 1 || row == 7 ? 1 : row == 2 || row == 6 ? 2 : 3;
    const double c = frequency == 0 ? 1.0 : std::sqrt(2.0) * std::cos((2 * output + 1) * frequency * M_PI / 16);
    return static_cast<int>(std::lround(16384 * k(foldedRow) * c));
}

inline Block exactRows(const Block &block) {
    constexpr int frequencyAt[8] = {0, 2, 1, 3, 4, 6, 5, 7};
    Block rows;
    for (int r = 0; r < 8; ++r)
        for (int j = 0; j < 4; ++j) {
            int64_t a = 2048, b = 0;
            for (int column = 0; column < 8; ++column) {
                const int frequency = frequencyAt[column];
                const int64_t term = int64_t{block[8 * r + column]} * exactFactor(r, j, frequency);
                (frequency % 2 == 0 ? a : b) += term;
            }
            rows[8 * r + j] = static_cast<int16_t>(sat(wrap32(a + b) >> 12));
            rows[8 * r + 7 - j] = static_cast<int16_t>(sat(wrap32(a - b) >> 12));
        }
    return rows;
}

inline Eight exactColumn(const Eight &r) {
    const int tan1 = 13036, tan2 = 27146, tan3 = -21746, cos4 = -19195;
    const int p = sat(r[3] + sat(r[5] + mulhi(r[5], tan3)));
    const int q = sat(r[5] - sat(r[3] + mulhi(r[3], tan3)));
    const int s = sat(r[1] + mulhi(r[7], tan1));
    const int d = sat(mulhi(r[1], tan1) - r[7]);
    const int tp = sat(sat(s + p) + 1), a = sat(s - p), b = sat(sat(d - q) + 1), t3 = sat(d + q);
    const int plus = sat(a + b), minus = sat(a - b);
    const int c = sat(plus + mulhi(plus, cos4)) | 1;
    const int e = sat(minus + mulhi(minus, cos4)) | 1;
    const int g = sat(r[2] + mulhi(r[6], tan2)), h = sat(mulhi(r[2], tan2) - r[6]);
    const int e0 = sat(sat(sat(r[0] + r[4]) + g) + 16), e3 = sat(sat(sat(r[0] + r[4]) - g) + 15);
    const int e1 = sat(sat(sat(r[0] - r[4]) + h) + 16), e2 = sat(sat(sat(r[0] - r[4]) - h) + 15);
    const Eight rows = {sat(tp + e0), sat(e1 + c), sat(e2 + e), sat(t3 + e3),
                        sat(e3 - t3), sat(e2 - e), sat(e1 - c), sat(e0 - tp)};
    Eight out;
    for (int i = 0; i < 8; ++i) out[i] = rows[i] >> 5;
    return out;
}

inline Picture exact(const Block &block) {
    const Block rows = exactRows(block);
    Picture picture;
    for (int x = 0; x < 8; ++x) {
        Eight in;
        for (int y = 0; y < 8; ++y) in[y] = rows[8 * y + x];
        const Eight out = exactColumn(in);
        for (int y = 0; y < 8; ++y) picture[8 * y + x] = out[y];
    }
    return picture;
}

// volatile keeps every product a single-precision number of its own.
inline std::array<float, 8> floatPass(const std::array<float, 8> &i) {
    const float z13 = i[5] + i[3], z10 = i[5] - i[3], z11 = i[1] + i[7], z12 = i[1] - i[7], t7 = z11 + z13;
    const volatile float t11 = (z11 - z13) * 1.4142135F, z5 = (z10 + z12) * 1.8477590F;
    const volatile float outer = z10 * -2.6131260F, inner = z12 * 1.0823922F, root = (i[2] - i[6]) * 1.4142135F;
    const float t12 = outer + z5, t10 = inner - z5, t6 = t12 - t7, t5 = t11 - t6, t4 = t10 + t5;
    const float e13 = i[2] + i[6], e12 = root - e13, e10 = i[0] + i[4], e11 = i[0] - i[4];
    const float t0 = e10 + e13, t3 = e10 - e13, t1 = e11 + e12, t2 = e11 - e12;
    return {t0 + t7, t1 + t6, t2 + t5, t3 - t4, t3 + t4, t2 - t5, t1 - t6, t0 - t7};
}

inline Picture single(const Block &block) {
    std::array<std::array<float, 8>, 8> after;
    for (int c = 0; c < 8; ++c) {
        std::array<float, 8> in;
        for (int r = 0; r < 8; ++r) {
            const volatile float scaled = static_cast<float>(block[8 * r + c]) * static_cast<float>(k(r) * k(c) / 8);
            in[r] = scaled;
        }
        const auto out = floatPass(in);
        for (int x = 0; x < 8; ++x) after[x][c] = out[x];
    }
    Picture picture;
    for (int x = 0; x < 8; ++x) {
        const auto out = floatPass(after[x]);
        for (int y = 0; y < 8; ++y)
            picture[8 * y + x] = static_cast<int>(std::nearbyint(std::min(std::max(out[y], -32768.0F), 32767.0F)));
    }
    return picture;
}

// 4 x 4; `field` pairs neighbouring lines, otherwise lines of one parity are paired.
inline std::array<int, 16> half(const Block &block, bool low, bool field) {
    const auto after = firstPass(block, low);
    std::array<int, 16> out;
    for (int x = 0; x < 4; ++x) {
        Eight in{};
        for (int v = 0; v < 8; ++v) in[v] = sat(sat(after[2 * x][v] + after[2 * x + 1][v]) + 1) >> 1;
        const Eight o = low ? aanLowPass(in) : aanPass(in);
        constexpr int framePairs[4][2] = {{0, 2}, {1, 3}, {4, 6}, {5, 7}};
        constexpr int fieldPairs[4][2] = {{0, 1}, {2, 3}, {4, 5}, {6, 7}};
        for (int y = 0; y < 4; ++y) {
            const auto &pair = field ? fieldPairs[y] : framePairs[y];
            out[4 * y + x] = sat(sat(o[pair[0]] + o[pair[1]]) + 16) >> 5;
        }
    }
    return out;
}

inline int add32(int a, int b) {
    return wrap32(int64_t{a} + b);
}
inline int sub32(int a, int b) {
    return wrap32(int64_t{a} - b);
}
inline int rnd(int64_t p, int n) {
    return static_cast<int>((p + (p < 0 ? -1 : 0) + (1 << (n - 1))) >> n);
}
// The product whole: coefficients of any size may come, and 32 bits hold those of a well-formed block only.
inline int rndTimes(int a, int factor, int n) {
    return rnd(int64_t{a} * factor, n);
}

inline Eight quarterPass(const Eight &i, bool low) {
    int t7, t10, t11, t12, t0, t1, t2, t3;
    if (low) {
        t7 = add32(i[1], i[3]);
        const int d = sub32(i[1], i[3]), z5 = rndTimes(d, 30274, 14);
        t12 = add32(rndTimes(i[3], 21407, 13), z5);
        t10 = sub32(rndTimes(i[1], 17734, 14), z5);
        t11 = rndTimes(d, 23170, 14);
        const int e12 = rndTimes(i[2], 27146, 16);
        t0 = add32(i[0], i[2]), t3 = sub32(i[0], i[2]), t1 = add32(i[0], e12), t2 = sub32(i[0], e12);
    } else {
        const int z13 = add32(i[5], i[3]), z10 = sub32(i[5], i[3]), z11 = add32(i[1], i[7]), z12 = sub32(i[1], i[7]);
        t7 = add32(z11, z13);
        const int z5 = rndTimes(add32(z10, z12), 30274, 14);
        t12 = add32(rndTimes(z10, -21407, 13), z5);
        t10 = sub32(rndTimes(z12, 17734, 14), z5);
        t11 = rndTimes(sub32(z11, z13), 23170, 14);
        const int e13 = add32(i[2], i[6]), e12 = sub32(rndTimes(sub32(i[2], i[6]), 23170, 14), e13);
        const int e10 = add32(i[0], i[4]), e11 = sub32(i[0], i[4]);
        t0 = add32(e10, e13), t3 = sub32(e10, e13), t1 = add32(e11, e12), t2 = sub32(e11, e12);
    }
    const int t6 = sub32(t12, t7), t5 = sub32(t11, t6), t4 = add32(t10, t5);
    return {add32(t0, t7), add32(t1, t6), add32(t2, t5), sub32(t3, t4),
            add32(t3, t4), sub32(t2, t5), sub32(t1, t6), sub32(t0, t7)};
}

// Upper left, upper right, lower left, lower right.
inline std::array<int, 4> quarter(const Block &block, bool low, bool field) {
    const int n = low ? 4 : 8;
    const auto sum = [](const Eight &o, int a, int b, int c, int d) {
        return add32(add32(o[a], o[b]), add32(o[c], o[d]));
    };
    Eight upper{}, lower{};
    for (int u = 0; u < n; ++u) {
        Eight in{};
        for (int v = 0; v < n; ++v) in[v] = 2 * block[8 * u + v];
        const Eight o = quarterPass(in, low);
        upper[u] = add32(field ? sum(o, 0, 1, 2, 3) : sum(o, 0, 2, 4, 6), 2) >> 2;
        lower[u] = add32(field ? sum(o, 4, 5, 6, 7) : sum(o, 1, 3, 5, 7), 2) >> 2;
    }
    std::array<int, 4> out;
    for (int line = 0; line < 2; ++line) {
        const Eight o = quarterPass(line == 0 ? upper : lower, low);
        out[2 * line] = add32(rnd(sum(o, 0, 1, 2, 3), 5), 2) >> 2;
        out[2 * line + 1] = add32(rnd(sum(o, 4, 5, 6, 7), 5), 2) >> 2;
    }
    return out;
}

}  // namespace reference
