// SPDX-License-Identifier: BSD-2-Clause
// Finished blocks of pixels on their way to a plane. Of a block, p[i] holds rows 2i and 2i + 1 of 8 pixels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/inline.h"

namespace tvk {

template <class L>
struct PixelRows {
    using B = typename L::U8x16;

    TVK_INLINE static void store(const B (&p)[4], uint8_t *dst, ptrdiff_t stride) {
        for (int i = 0; i < 4; ++i, dst += 2 * stride) {
            L::storeHalf(dst, p[i]);
            L::storeHighHalf(dst + stride, p[i]);
        }
    }

    // Two luma blocks, q to the right of p.
    TVK_INLINE static void storeSideBySide(const B (&p)[4], const B (&q)[4], uint8_t *dst, ptrdiff_t stride) {
        for (int i = 0; i < 4; ++i, dst += 2 * stride) {
            L::storeU(dst, L::interleaveLow64(p[i], q[i]));
            L::storeU(dst + stride, L::interleaveHigh64(p[i], q[i]));
        }
    }

    // Both chroma components, to rows of 8 byte pairs Cb, Cr.
    TVK_INLINE static void storeInTurns(const B (&cb)[4], const B (&cr)[4], uint8_t *dst, ptrdiff_t stride) {
        for (int i = 0; i < 4; ++i, dst += 2 * stride) {
            L::storeU(dst, L::interleaveLow8(cb[i], cr[i]));
            L::storeU(dst + stride, L::interleaveHigh8(cb[i], cr[i]));
        }
    }
};

}  // namespace tvk
