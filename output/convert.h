// SPDX-License-Identifier: BSD-2-Clause
// Conversion of a decoded frame to packed, planar and RGB layouts.
#pragma once

#include <cstdint>

#include "tvk.h"

namespace tvk {

// Option bits of a conversion's `channels`.
enum ConvertChannel : int32_t {
    keepLuma = 1,
    keepCb = 2,
    keepCr = 4,
    swapRedAndBlue = 8,
    keepAll = keepLuma | keepCb | keepCr
};

// `buffer` holds all planes one behind the other, the planar ones in the order Y, Cr, Cb; `stride` counts bytes of a
// target row. Nothing is written outside stride * rows bytes of a plane. tvkErrInvalidArgument leaves the buffer alone.
int32_t convertFrame(const VideoFrame *frame, int32_t target, uint8_t *buffer, int32_t stride, int32_t rows,
                     int32_t channels);
// The same into planes of the caller's choice, with as many rows as the picture has; `second` (Cr) and `third` (Cb) are
// looked at for planar targets alone.
int32_t convertFramePlanes(const VideoFrame *frame, int32_t target, uint8_t *first, uint8_t *second, uint8_t *third,
                           int32_t stride, int32_t channels);

}  // namespace tvk
