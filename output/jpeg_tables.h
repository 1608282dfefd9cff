// SPDX-License-Identifier: BSD-2-Clause
// The fixed tables of the JPEG writer, from Annex K of ISO/IEC 10918-1. Blocks lie row by row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/aan_scale.h"
#include "output/bit_writer.h"

namespace tvk {

using JpegBytes = std::array<uint8_t, 64>;

// Tables K.1 and K.2.
inline constexpr JpegBytes jpegLumaQuant = {
    // clang-format off
    16, 11, 10, 16, 24, 40, 51, 61,
    12, 12, 14, 19, 26, 58, 60, 55,
    14, 13, 16, 24, 40, 57, 69, 56,
    14, 17, 22, 29, 51, 87, 80, 62,
    18, 22, 37, 56, 68, 109, 103, 77,
    24, 35, 55, 64, 81, 104, 113, 92,
    49, 64, 78, 87, 103, 121, 120, 101,
    72, 92, 95, 98, 112, 100, 103, 99,
    // clang-format on
};
inline constexpr JpegBytes jpegChromaQuant = {
    // clang-format off
    17, 18, 24, 47, 99, 99, 99, 99,
    18, 21, 26, 66, 99, 99, 99, 99,
    24, 26, 56, 99, 99, 99, 99, 99,
    47, 66, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99,
    // clang-format on
};

// Scan position to place in the block: diagonal by diagonal, the odd ones downwards.
constexpr JpegBytes makeZigzag() {
    JpegBytes scan{};
    size_t position = 0;
    for (int diagonal = 0; diagonal < 15; ++diagonal) {
        for (int step = 0; step <= diagonal; ++step) {
            const int row = diagonal % 2 == 1 ? step : diagonal - step, column = diagonal - row;
            if (row < 8 && column < 8) scan[position++] = static_cast<uint8_t>(8 * row + column);
        }
    }
    return scan;
}
inline constexpr JpegBytes kJpegScan = makeZigzag();

// For the set bits of a row of a block, column 0 in bit 0, those of their scan positions.
using JpegRowBits = std::array<std::array<uint64_t, 256>, 8>;
constexpr JpegRowBits makeScanBits() {
    JpegRowBits bits{};
    for (size_t position = 0; position < 64; ++position) {
        const size_t row = kJpegScan[position] / 8U, column = kJpegScan[position] % 8U;
        for (size_t set = 0; set < 256; ++set)
            if ((set >> column & 1) != 0) bits[row][set] |= uint64_t{1} << position;
    }
    return bits;
}
inline constexpr JpegRowBits kJpegScanBits = makeScanBits();

// The file declares half the table, rounded up.
constexpr uint8_t declaredQuantiser(uint8_t q) {
    return static_cast<uint8_t>((q * 2 + 2) >> 2);
}

using JpegReciprocals = std::array<int16_t, 64>;

// 65536 over 2 * 8 * (scale of the transform) * q / 2, which leaves one fractional bit.
// DEPARTURE(odd JPEG quantisers): they divide by q / 2 while the file declares (q + 1) / 2.
constexpr JpegReciprocals reciprocalsOf(const JpegBytes &quant) {
    JpegReciprocals result{};
    for (size_t i = 0; i < 64; ++i) {
        const int32_t divisor = 2 * aanScale[i] * quant[i];
        result[i] = static_cast<int16_t>((divisor + 0x20000000) / divisor);
    }
    return result;
}
alignas(16) inline constexpr JpegReciprocals jpegReciprocal[2] = {reciprocalsOf(jpegLumaQuant),
                                                                  reciprocalsOf(jpegChromaQuant)};

// Code counts of lengths 1 to 16, then the symbols in order of their codes, as a DHT segment has them.
template <size_t symbols>
using HuffmanSpec = std::array<uint8_t, 16 + symbols>;

inline constexpr HuffmanSpec<12> kJpegDcLuma = {0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0,  0, 0, 0, 0, 0,  //
                                                0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
inline constexpr HuffmanSpec<12> kJpegDcChroma = {0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1,  0, 0, 0, 0, 0,  //
                                                  0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
inline constexpr HuffmanSpec<162> kJpegAcLuma = {
    0,    2,    1,    3,    3,    2,    4,    3,    5,    5,    4,    4,    0,    0,    1,    0x7D,  //
    0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61, 0x07, 0x22, 0x71,
    0x14, 0x32, 0x81, 0x91, 0xA1, 0x08, 0x23, 0x42, 0xB1, 0xC1, 0x15, 0x52, 0xD1, 0xF0, 0x24, 0x33, 0x62, 0x72,
    0x82, 0x09, 0x0A, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x25, 0x26, 0x27, 0x28, 0x29, 0x2A, 0x34, 0x35, 0x36, 0x37,
    0x38, 0x39, 0x3A, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59,
    0x5A, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A, 0x83,
    0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9A, 0xA2, 0xA3,
    0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8, 0xB9, 0xBA, 0xC2, 0xC3,
    0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA, 0xE1, 0xE2,
    0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA};
inline constexpr HuffmanSpec<162> kJpegAcChroma = {
    0,    2,    1,    2,    4,    4,    3,    4,    7,    5,    4,    4,    0,    1,    2,    0x77,  //
    0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61, 0x71, 0x13, 0x22,
    0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xA1, 0xB1, 0xC1, 0x09, 0x23, 0x33, 0x52, 0xF0, 0x15, 0x62, 0x72, 0xD1,
    0x0A, 0x16, 0x24, 0x34, 0xE1, 0x25, 0xF1, 0x17, 0x18, 0x19, 0x1A, 0x26, 0x27, 0x28, 0x29, 0x2A, 0x35, 0x36,
    0x37, 0x38, 0x39, 0x3A, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58,
    0x59, 0x5A, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A,
    0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9A,
    0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8, 0xB9, 0xBA,
    0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA,
    0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA};

// Canonical codes: the next symbol's is one more, and doubles with every bit of length.
template <size_t bytes>
constexpr CodeTable BuildInverseTable(const std::array<uint8_t, bytes> &spec) {
    CodeTable table{0, {}};
    for (size_t i = 16; i < bytes; ++i) table.last = spec[i] > table.last ? spec[i] : table.last;
    uint32_t code = 0;
    size_t next = 16;
    for (uint32_t length = 1; length <= 16; ++length, code *= 2)
        for (uint32_t i = 0; i < spec[length - 1]; ++i) table.codes[spec[next++]] = code++ * 256 + length;
    return table;
}

inline constexpr CodeTable kJpegDcCodes[2] = {BuildInverseTable(kJpegDcLuma), BuildInverseTable(kJpegDcChroma)};
inline constexpr CodeTable kJpegAcCodes[2] = {BuildInverseTable(kJpegAcLuma), BuildInverseTable(kJpegAcChroma)};

}  // namespace tvk
