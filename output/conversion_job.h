// SPDX-License-Identifier: BSD-2-Clause
// The record handed to a row converter.
#pragma once

#include <cstdint>

#include "output/frame_view.h"

namespace tvk {

// A sample is read as (sample AND mask) OR fill: masks are 0xFF for kept components, 0 for blanked ones.
struct ConversionConstants {
    alignas(16) uint8_t chromaMask[16], chromaFill[16];  // pairs Cb, Cr
    alignas(16) uint8_t lumaMask[16], lumaFill[16];
};

inline bool keepsAllSamples(const ConversionConstants &c) {
    return c.lumaMask[0] == 255 && c.chromaMask[0] == 255 && c.chromaMask[1] == 255;
}

inline constexpr uint8_t kBlankChroma = 128;
inline constexpr uint8_t kBlankLuma = 16;
// DEPARTURE(blank luma in RGB): 64 in place of black's 16, so that blanked luma leaves the colours visible on dark
// grey.
inline constexpr uint8_t kBlankLumaRgb = 64;

struct ConversionJob {
    FrameView frame;
    uint8_t *target[3];     // planes in the order Y, Cr, Cb; packed and RGB layouts use the first
    int32_t targetRows;     // rows that the first plane has room for
    int32_t targetStride;   // bytes of a row of the first plane
    int32_t convertedRows;  // luma rows to convert, at most targetRows
    ConversionConstants constants;
};

using RowConverter = void (*)(const ConversionJob &);

}  // namespace tvk
