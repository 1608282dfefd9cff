// SPDX-License-Identifier: BSD-2-Clause
// The lanes layer: kernels are written once over it, as templates, and run on the machine's registers or portably.
#pragma once

#include <type_traits>

#include "core/lanes_portable.h"
#if defined(__AVX2__)
#include "core/lanes_avx2.h"
#elif defined(__SSE2__)
#include "core/lanes_sse2.h"
#elif defined(__aarch64__) && !defined(__AARCH64EB__)
#include "core/lanes_neon.h"
#endif

namespace tvk {

#if defined(__SSE2__) && !defined(TVK_PORTABLE_LANES)
using NativeLanes = Sse2Lanes;
inline constexpr const char *kNativeLanesName = "sse2";
#elif defined(__aarch64__) && !defined(__AARCH64EB__) && !defined(TVK_PORTABLE_LANES)
using NativeLanes = NeonLanes;
inline constexpr const char *kNativeLanesName = "neon";
#else
using NativeLanes = PortableLanes;
inline constexpr const char *kNativeLanesName = "portable";
#endif

// Lanes L twice over in wider registers, where the machine has such: transforms take two blocks at once in them.
template <class L>
struct PairsOf {
    using Lanes = void;
};
#if defined(__AVX2__)
template <>
struct PairsOf<Sse2Lanes> {
    using Lanes = Avx2PairLanes;
};
#endif
template <class L>
inline constexpr bool kPairs = !std::is_void_v<typename PairsOf<L>::Lanes>;

// m[r] lane c becomes m[c] lane r.
template <class L>
inline void transpose8x8(typename L::I16x8 (&m)[8]) {
    using V = typename L::I16x8;
    const V a0 = L::interleaveLow16(m[0], m[1]), a1 = L::interleaveHigh16(m[0], m[1]);
    const V a2 = L::interleaveLow16(m[2], m[3]), a3 = L::interleaveHigh16(m[2], m[3]);
    const V a4 = L::interleaveLow16(m[4], m[5]), a5 = L::interleaveHigh16(m[4], m[5]);
    const V a6 = L::interleaveLow16(m[6], m[7]), a7 = L::interleaveHigh16(m[6], m[7]);
    // Now pairs of rows: a0, a2, a4, a6 hold columns 0..3, the others columns 4..7.
    const V b0 = L::interleaveLow32(a0, a2), b1 = L::interleaveHigh32(a0, a2);
    const V b2 = L::interleaveLow32(a4, a6), b3 = L::interleaveHigh32(a4, a6);
    const V b4 = L::interleaveLow32(a1, a3), b5 = L::interleaveHigh32(a1, a3);
    const V b6 = L::interleaveLow32(a5, a7), b7 = L::interleaveHigh32(a5, a7);
    m[0] = L::interleaveLow64(b0, b2);
    m[1] = L::interleaveHigh64(b0, b2);
    m[2] = L::interleaveLow64(b1, b3);
    m[3] = L::interleaveHigh64(b1, b3);
    m[4] = L::interleaveLow64(b4, b6);
    m[5] = L::interleaveHigh64(b4, b6);
    m[6] = L::interleaveLow64(b5, b7);
    m[7] = L::interleaveHigh64(b5, b7);
}

// The same for four registers of four 32-bit lanes; V is I32x4 or F32x4.
template <class L, class V>
inline void transpose4x4(V (&m)[4]) {
    const V a0 = L::interleaveLow32(m[0], m[1]), a1 = L::interleaveHigh32(m[0], m[1]);
    const V a2 = L::interleaveLow32(m[2], m[3]), a3 = L::interleaveHigh32(m[2], m[3]);
    m[0] = L::interleaveLow64(a0, a2);
    m[1] = L::interleaveHigh64(a0, a2);
    m[2] = L::interleaveLow64(a1, a3);
    m[3] = L::interleaveHigh64(a1, a3);
}

}  // namespace tvk
