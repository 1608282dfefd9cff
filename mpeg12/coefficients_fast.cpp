// SPDX-License-Identifier: BSD-2-Clause
// Coefficients for the fast transform: its scale merged into the quantiser, one fractional bit kept.
#include "mpeg12/coefficient_reader.h"

namespace tvk {

namespace {

// DEPARTURE(no mismatch control): neither MPEG-1's oddification nor MPEG-2's toggle of the last coefficient.
// DEPARTURE(no coefficient saturation): what overflows keeps its low 16 bits.
// DEPARTURE(floor division): products round toward minus infinity, where the standards truncate.

// floor(level * scale * factor / 2^32). |level * scale| stays below 2^27, factor below 2^30.
struct MergedScale {
    int32_t scale;
    const uint32_t *factor;

    int16_t operator()(int32_t level, uint32_t s) const {
        return static_cast<int16_t>((static_cast<int64_t>(level * scale) * static_cast<int64_t>(factor[s])) >> 32);
    }
};

struct Fast {
    static constexpr int32_t kLowLimit = 9;  // in either scan the first ten positions lie in the 4 x 4 corner

    struct Intra {
        MergedScale luma, chroma;
        int32_t dcShift;

        explicit Intra(const SliceWorker *w)
            : luma{quantiserScale(w) << 8, w->stream->headers.intraLumaFactors.factor},
              chroma{quantiserScale(w) << 8, w->stream->headers.intraChromaFactors.factor},
              dcShift(4 - (w->stream->headers.pictureCoding.intraDcPrecision & 3)) {}
        int16_t dc(int32_t predictor) const {
            return static_cast<int16_t>(static_cast<uint32_t>(predictor) << dcShift);
        }
    };

    struct NonIntra {
        MergedScale luma, chroma;

        explicit NonIntra(const SliceWorker *w)
            : luma{quantiserScale(w) << 7, w->stream->headers.nonIntraLumaFactors.factor},
              chroma{quantiserScale(w) << 7, w->stream->headers.nonIntraChromaFactors.factor} {}
        const MergedScale &block(int32_t i) const { return i < 4 ? luma : chroma; }
    };
};

}  // namespace

int32_t DecodeCoefficientsFast(SliceWorker *w) {
    return w->macroblock.macroblockIntra ? decodeIntraBlocks<Fast>(w) : decodeNonIntraBlocks<Fast>(w);
}

}  // namespace tvk
