// SPDX-License-Identifier: BSD-2-Clause
// MD5.
#include "md5.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace tvktest {
namespace {

// Entry i: the whole part of 2^32 |sin(i + 1)|.
struct Sines {
    uint32_t value[64];
    Sines() {
        for (int i = 0; i < 64; ++i) value[i] = static_cast<uint32_t>(std::fabs(std::sin(i + 1.0)) * 4294967296.0);
    }
};

uint32_t wordAt(const uint8_t *p) {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

void addBlock(Md5 &md5, const uint8_t *block) {
    static const Sines sines;
    static constexpr int kTurns[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
    uint32_t words[16];
    for (int i = 0; i < 16; ++i) words[i] = wordAt(block + 4 * i);
    uint32_t a = md5.state[0], b = md5.state[1], c = md5.state[2], d = md5.state[3];
    for (int i = 0; i < 64; ++i) {
        uint32_t mixed;
        int from;
        switch (i / 16) {
            case 0:
                mixed = (b & c) | (~b & d), from = i;
                break;
            case 1:
                mixed = (d & b) | (~d & c), from = 5 * i + 1;
                break;
            case 2:
                mixed = b ^ c ^ d, from = 3 * i + 5;
                break;
            default:
                mixed = c ^ (b | ~d), from = 7 * i;
                break;
        }
        const uint32_t sum = a + mixed + sines.value[i] + words[from % 16];
        a = d, d = c, c = b;
        b += std::rotl(sum, kTurns[i / 16][i % 4]);
    }
    md5.state[0] += a, md5.state[1] += b, md5.state[2] += c, md5.state[3] += d;
}

}  // namespace

void addBytes(Md5 &md5, const uint8_t *bytes, size_t count) {
    while (count > 0) {
        const size_t held = md5.length % 64, part = std::min(count, 64 - held);
        if (part == 64) {
            addBlock(md5, bytes);
        } else {
            std::memcpy(md5.block + held, bytes, part);
            if (held + part == 64) addBlock(md5, md5.block);
        }
        md5.length += part;
        bytes += part;
        count -= part;
    }
}

std::string finish(Md5 &md5) {
    const uint64_t bits = 8 * md5.length;
    static constexpr uint8_t kEnd[64] = {0x80};
    addBytes(md5, kEnd, 64 - (md5.length + 8) % 64);
    uint8_t size[8];
    for (int i = 0; i < 8; ++i) size[i] = static_cast<uint8_t>(bits >> 8 * i);
    addBytes(md5, size, 8);
    std::string text;
    for (uint32_t word : md5.state)
        for (int i = 0; i < 4; ++i) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", (word >> 8 * i) & 255);
            text += digits;
        }
    return text;
}

}  // namespace tvktest
