// SPDX-License-Identifier: BSD-2-Clause
// Coefficient decoding in its obvious form: one code after the other by search through a list, one value at a time.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace reference {

// Bits of a string of bytes; zeros behind its end.
struct BitString {
    const std::vector<uint8_t> *bytes;
    int64_t at = 0;

    uint32_t peek(int n) const {
        uint32_t value = 0;
        for (int64_t i = at; i < at + n; ++i) {
            const auto byte = static_cast<size_t>(i / 8);
            value = value * 2 + (byte < bytes->size() ? (*bytes)[byte] >> (7 - i % 8) & 1U : 0U);
        }
        return value;
    }
    uint32_t take(int n) {
        const uint32_t value = peek(n);
        at += n;
        return value;
    }
};

struct CoefficientCode {
    uint32_t code;
    int length, run, level;  // the sign is part of the code
};

struct CodeTable {
    std::vector<CoefficientCode> codes;
    CoefficientCode endOfBlock, escape;
};

struct SizeCode {
    uint32_t code;
    int length, size;
};

enum class Form { fast, precise, compact };

// What a macroblock's coefficients depend on. Weights and scans are in storage order: rows of the coefficient's column
// for the fast and the compact form.
struct CoefficientCase {
    Form form;
    bool mpeg1, intra, fieldPicture, fieldDct, tableOne, alternate;
    int blocks;  // 6, 8 or 12
    int scale;   // quantiser_scale, that of MPEG-1 doubled
    int dcPrecision;
    uint32_t coded;  // bit 31 is block 0
    std::array<int, 64> scan;
    std::array<std::array<int, 64>, 4> weight;  // intra luma, other luma, intra chroma, other chroma
    const CodeTable *table;
    const std::vector<SizeCode> *dcSize[2];  // luma, chroma
};

struct CoefficientResult {
    std::array<int16_t, 768> values{};
    uint32_t low = 0;
    std::array<int, 3> dc{};
};

inline int aanScale(int position) {
    const auto k = [](int n) { return n == 0 ? 1.0 : std::sqrt(2.0) * std::cos(n * 3.14159265358979323846 / 16); };
    return static_cast<int>(std::lround(16384 * k(position / 8) * k(position % 8)));
}

inline int readDc(BitString &bits, const CoefficientCase &c, int block, std::array<int, 3> &dc) {
    for (const SizeCode &s : *c.dcSize[block < 4 ? 0 : 1]) {
        if (bits.peek(s.length) != s.code) continue;
        bits.take(s.length);
        int &predictor = dc[static_cast<size_t>(block < 4 ? 0 : 1 + block % 2)];
        if (s.size == 0) return predictor;
        const int v = static_cast<int>(bits.take(s.size));
        return predictor += v >= 1 << (s.size - 1) ? v : v - (1 << s.size) + 1;
    }
    return 0;
}

struct Symbol {
    bool end, escape;
    int run, level;
};

inline Symbol readSymbol(BitString &bits, const CoefficientCase &c) {
    const auto matches = [&](const CoefficientCode &code) {
        if (bits.peek(code.length) != code.code) return false;
        bits.take(code.length);
        return true;
    };
    if (matches(c.table->endOfBlock)) return {true, false, 0, 0};
    for (const CoefficientCode &code : c.table->codes)
        if (matches(code)) return {false, false, code.run, code.level};
    bits.take(c.table->escape.length);
    const int run = static_cast<int>(bits.take(6));
    if (!c.mpeg1) {
        const int level = static_cast<int>(bits.take(12));
        return {false, true, run, level < 2048 ? level : level - 4096};
    }
    const int byte = static_cast<int>(bits.take(8));
    if (byte == 0) return {false, true, run, static_cast<int>(bits.take(8))};
    if (byte == 128) return {false, true, run, static_cast<int>(bits.take(8)) - 256};
    return {false, true, run, byte < 128 ? byte : byte - 256};
}

inline const std::array<int, 64> &weightsOf(const CoefficientCase &c, int block) {
    return c.weight[static_cast<size_t>((c.intra ? 0 : 1) + (block < 4 ? 0 : 2))];
}

inline int64_t floorShift(int64_t v, int n) {
    const int64_t d = int64_t{1} << n;
    return v >= 0 ? v / d : -((-v + d - 1) / d);
}

// `level` 0 in a non-intra block, which only an escape can say, acts as -1.
inline int16_t dequantise(const CoefficientCase &c, int block, int level, int s) {
    const int weight = weightsOf(c, block)[static_cast<size_t>(s)];
    const int64_t doubled = 2 * level + (level > 0 ? 1 : -1);
    if (c.form == Form::fast) {
        const int64_t factor = int64_t{weight} * aanScale(s) * 128;
        return static_cast<int16_t>(
            floorShift((c.intra ? int64_t{level} * c.scale * 256 : doubled * c.scale * 128) * factor, 32));
    }
    const auto product = static_cast<int16_t>(c.intra ? int64_t{level} * c.scale : doubled * c.scale);
    const bool negative = c.intra ? level < 0 : doubled < 0;
    return static_cast<int16_t>(c.intra ? floorShift(product * weight + (negative ? 15 : 0), 4)
                                        : floorShift(product * weight + (negative ? 31 : 0), 5));
}

// Where value s of block i stands in a non-intra macroblock. A frame picture's component is made of columns of rows of
// 8 values, in a field picture blocks follow each other.
inline int placeOf(const CoefficientCase &c, int i, int s) {
    if (c.intra || c.fieldPicture) return 64 * i + s;
    int column, half;
    if (i < 4) {
        column = 128 * (i % 2);
        half = i / 2;
    } else if (c.blocks == 6) {
        return 64 * i + s;
    } else {
        // 4:4:4 under field DCT takes the pairs of blocks in another order than elsewhere.
        const int component = (i - 4) % 2, size = c.blocks == 8 ? 128 : 256;
        const bool swapped = c.blocks == 12 && c.fieldDct;
        const int second = (i - 4) / 2 % 2, third = (i - 4) / 4;
        column = 256 + size * component + 128 * (swapped ? second : third);
        half = swapped ? third : second;
    }
    const int row = s / 8;
    return column + 8 * (c.fieldDct ? 2 * row + half : 8 * half + row) + s % 8;
}

inline int clampCoefficient(int64_t v) {
    return static_cast<int>(std::clamp<int64_t>(v, -2048, 2047));
}

inline int16_t dcValue(const CoefficientCase &c, int predictor) {
    const int shift = 3 - c.dcPrecision;
    if (c.form == Form::fast) return static_cast<int16_t>(predictor * (2 << shift));
    return static_cast<int16_t>(clampCoefficient(int64_t{predictor} * (1 << shift)));
}

// One block of the fast and the precise form. Positions stay below 64 in what this is asked to decode, but for intra
// and precise blocks, which wrap.
inline void decodeBlock(BitString &bits, const CoefficientCase &c, int i, CoefficientResult &out) {
    const auto value = [&](int s) -> int16_t & { return out.values[static_cast<size_t>(placeOf(c, i, s))]; };
    int last = -1;
    if (c.intra) {
        value(0) = dcValue(c, readDc(bits, c, i, out.dc));
        last = 0;
    } else if (bits.peek(1) == 1) {
        value(0) = dequantise(c, i, bits.take(2) == 2 ? 1 : -1, 0);
        last = 0;
    }
    for (;;) {
        const Symbol symbol = readSymbol(bits, c);
        if (symbol.end) break;
        last = (last + symbol.run + 1) % 64;
        const int s = c.scan[static_cast<size_t>(last)];
        value(s) = dequantise(c, i, symbol.level, s);
    }
    if (last <= (c.form == Form::fast ? 9 : 20)) out.low |= 0x80000000U >> i;
}

inline int64_t compactValue(const CoefficientCase &c, int i, int position, int v) {
    if (c.intra && position == 0) return clampCoefficient(int64_t{v} * (1 << (3 - c.dcPrecision)));
    // The luma blocks of the lower half take the chroma weight too.
    if (c.intra) return clampCoefficient(floorShift(int64_t{v} * c.scale * c.weight[i < 2 ? 0 : 2][1], 4));
    const int sign = v > 0 ? 1 : v < 0 ? -1 : 0;
    return clampCoefficient(
        floorShift(int64_t{2 * v + sign} * c.scale * c.weight[i < 4 ? 1 : 3][static_cast<size_t>(position)], 5));
}

inline void decodeCompactBlock(BitString &bits, const CoefficientCase &c, int i, CoefficientResult &out) {
    const bool pairs = c.fieldDct || c.fieldPicture;
    const int kept = !pairs ? 1 : c.alternate ? 2 : 3;
    std::array<int, 64> raw{};
    int count = 0;
    if (c.intra) {
        raw[0] = static_cast<int16_t>(readDc(bits, c, i, out.dc));
        count = 1;
    } else if (bits.peek(1) == 1) {
        raw[0] = bits.take(2) == 2 ? 1 : -1;
        count = 1;
    }
    for (;;) {
        const Symbol symbol = readSymbol(bits, c);
        if (symbol.end) break;
        count += symbol.run + 1;
        if (count <= kept) raw[static_cast<size_t>(c.scan[static_cast<size_t>(count - 1)])] = symbol.level;
    }
    for (int p = 0; p < (pairs ? 2 : 1); ++p)
        out.values[static_cast<size_t>(pairs ? 2 * i + p : i)] =
            static_cast<int16_t>(compactValue(c, i, p, raw[static_cast<size_t>(p)]));
}

// A macroblock of valid codes; `dc` holds the predictors before it.
inline CoefficientResult decodeMacroblock(BitString &bits, const CoefficientCase &c, const std::array<int, 3> &dc) {
    CoefficientResult out;
    out.dc = dc;
    for (int i = 0; i < c.blocks; ++i) {
        if (!(c.coded << i & 0x80000000U)) continue;
        if (c.form == Form::compact)
            decodeCompactBlock(bits, c, i, out);
        else
            decodeBlock(bits, c, i, out);
    }
    return out;
}

}  // namespace reference
