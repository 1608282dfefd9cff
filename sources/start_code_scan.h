// SPDX-License-Identifier: BSD-2-Clause
// The search for start codes in bytes: 00 00 01 and the byte that tells the kind.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__) && !defined(TVK_PORTABLE_LANES)
#define TVK_SOURCE_SSE2 1
#include <emmintrin.h>
#endif

namespace tvk::elementary {

inline constexpr size_t kStartCodeBytes = 4;

// The first start code that lies wholly in [bytes, end): where its prefix begins, or `end`.
inline const uint8_t *findStartCodePortable(const uint8_t *bytes, const uint8_t *end) {
    // Looking at the third byte first: a value above 1 there rules out three places at once.
    const uint8_t *p = bytes;
    while (static_cast<size_t>(end - p) >= kStartCodeBytes) {
        if (p[2] > 1) {
            p += 3;
        } else if (p[2] == 1) {
            if (p[0] == 0 && p[1] == 0) return p;
            p += 3;
        } else {
            ++p;
        }
    }
    return end;
}

#ifdef TVK_SOURCE_SSE2
inline const uint8_t *findStartCode(const uint8_t *bytes, const uint8_t *end) {
    // 16 places a step; the last of them is compared up to byte 17, and its code byte is byte 18.
    constexpr ptrdiff_t kStepReach = 19;
    const __m128i zero = _mm_setzero_si128();
    const __m128i one = _mm_set1_epi8(1);
    const uint8_t *p = bytes;
    for (; end - p >= kStepReach; p += 16) {
        const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
        const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 1));
        const __m128i third = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 2));
        const __m128i zeros = _mm_cmpeq_epi8(_mm_or_si128(first, second), zero);
        const __m128i hits = _mm_and_si128(zeros, _mm_cmpeq_epi8(third, one));
        const int mask = _mm_movemask_epi8(hits);
        if (mask != 0) return p + __builtin_ctz(static_cast<unsigned>(mask));
    }
    return findStartCodePortable(p, end);
}
#else
inline const uint8_t *findStartCode(const uint8_t *bytes, const uint8_t *end) {
    return findStartCodePortable(bytes, end);
}
#endif

}  // namespace tvk::elementary
