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
// FF where a prefix begins, of the 16 places from p on; bytes up to p + 17 are looked at.
inline __m128i prefixesAt(const uint8_t *p) {
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
    const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 1));
    const __m128i third = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 2));
    const __m128i zeros = _mm_cmpeq_epi8(_mm_or_si128(first, second), _mm_setzero_si128());
    return _mm_and_si128(zeros, _mm_cmpeq_epi8(third, _mm_set1_epi8(1)));
}

inline unsigned maskOf(__m128i places) {
    return static_cast<unsigned>(_mm_movemask_epi8(places));
}

inline const uint8_t *findStartCode(const uint8_t *bytes, const uint8_t *end) {
    // A step's last place is compared up to two bytes on, and its code byte is the one behind.
    constexpr ptrdiff_t kReach = kStartCodeBytes - 1;
    const uint8_t *p = bytes;
    // Four at a time have one branch, which is taken at a start code alone: pairs of zeros are frequent in coded bytes.
    for (; end - p >= 64 + kReach; p += 64) {
        const __m128i a = prefixesAt(p), b = prefixesAt(p + 16), c = prefixesAt(p + 32), d = prefixesAt(p + 48);
        if (maskOf(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d))) == 0) continue;
        const uint64_t low = maskOf(a) | maskOf(b) << 16, high = maskOf(c) | maskOf(d) << 16;
        return p + __builtin_ctzll(low | high << 32);
    }
    for (; end - p >= 16 + kReach; p += 16) {
        const unsigned mask = maskOf(prefixesAt(p));
        if (mask != 0) return p + __builtin_ctz(mask);
    }
    return findStartCodePortable(p, end);
}
#else
inline const uint8_t *findStartCode(const uint8_t *bytes, const uint8_t *end) {
    return findStartCodePortable(bytes, end);
}
#endif

}  // namespace tvk::elementary
