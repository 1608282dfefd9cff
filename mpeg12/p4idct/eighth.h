// SPDX-License-Identifier: BSD-2-Clause
// The eighth-size arithmetic: one sample from a DC value, or two lines from a DC value and the first vertical
// frequency.
#pragma once

#include <cstdint>

namespace tvk {

struct TwoLines {
    int32_t upper, lower;
};

inline int32_t eighthClamp16(int32_t x) {
    return x < -32768 ? -32768 : x > 32767 ? 32767 : x;
}

// 4096 = 2^12; 3711 = 4096 * 0.906, what the first vertical frequency adds to the mean of four lines.
inline constexpr int32_t kEighthDc = 4096;
inline constexpr int32_t kEighthAc = 3711;

inline int32_t eighthSample(int16_t dc) {
    return (dc + 5) >> 3;
}

// Frame picture under field DCT: two blocks, one a field, stand at one place, their sum is that place's two lines.
// DEPARTURE(eighth-size double rounding): 5 is added twice.
inline TwoLines eighthFieldPair(int16_t dcA, int16_t acA, int16_t dcB, int16_t acB) {
    const int32_t dc = static_cast<int16_t>(dcA + dcB);
    const int32_t ac = static_cast<int16_t>(acA + acB);
    const int32_t top = (kEighthDc * dc + kEighthAc * ac + 4096) >> 13;
    return {(eighthClamp16(top) + 10) >> 3, (eighthClamp16(dc - top) + 10) >> 3};
}

// Field picture, intra. DEPARTURE(eighth-size logical shift): a negative sum becomes a large value, a white pixel.
inline TwoLines eighthFieldIntra(int16_t dc, int16_t ac) {
    const auto line = [](int32_t sum) {
        const int32_t v = eighthClamp16((2 * sum + 4096) >> 13);
        return static_cast<int32_t>(static_cast<uint16_t>(v + 5) >> 3);
    };
    return {line(kEighthDc * dc + kEighthAc * ac), line(kEighthDc * dc - kEighthAc * ac)};
}

inline TwoLines eighthFieldResidual(int16_t dc, int16_t ac) {
    const auto line = [](int32_t sum) { return (eighthClamp16((sum + 1024) >> 12) + 5) >> 3; };
    return {line(kEighthDc * dc + kEighthAc * ac), line(kEighthDc * dc - kEighthAc * ac)};
}

}  // namespace tvk
