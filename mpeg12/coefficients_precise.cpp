// SPDX-License-Identifier: BSD-2-Clause
// Coefficients for the exact transform: the standards' values, truncated toward zero.
#include "mpeg12/coefficient_reader.h"

namespace tvk {

namespace {

// DEPARTURE(no mismatch control) and DEPARTURE(no coefficient saturation) as in the fast form, the intra DC apart.

// (level * scale * weight + (2^shift - 1 if level is negative)) >> shift, the first product kept to 16 bits.
template <int shift>
struct PlainScale {
    int32_t scale;
    const uint8_t *weight;

    int16_t operator()(int32_t level, uint32_t s) const {
        const int32_t p = static_cast<int16_t>(level * scale);
        return static_cast<int16_t>((p * weight[s] + (level >> 31 & ((1 << shift) - 1))) >> shift);
    }
};

struct Precise {
    static constexpr int32_t kLowLimit = 20;

    struct Intra {
        PlainScale<4> luma, chroma;
        int32_t dcShift;

        explicit Intra(const SliceWorker *w)
            : luma{quantiserScale(w), w->stream->headers.quantMatrix.intra},
              chroma{quantiserScale(w), w->stream->headers.quantMatrix.chromaIntra},
              dcShift(3 - (w->stream->headers.pictureCoding.intraDcPrecision & 3)) {}
        int16_t dc(int32_t predictor) const {
            const auto value = static_cast<int32_t>(static_cast<uint32_t>(predictor) << dcShift);
            return static_cast<int16_t>(value < -2048 ? -2048 : value > 2047 ? 2047 : value);
        }
    };

    struct NonIntra {
        PlainScale<5> luma, chroma;

        explicit NonIntra(const SliceWorker *w)
            : luma{quantiserScale(w), w->stream->headers.quantMatrix.nonIntra},
              chroma{quantiserScale(w), w->stream->headers.quantMatrix.chromaNonIntra} {}
        const PlainScale<5> &block(int32_t i) const { return i < 4 ? luma : chroma; }
    };
};

}  // namespace

int32_t DecodeCoefficientsPrecise(SliceWorker *w) {
    return w->macroblock.macroblockIntra ? decodeIntraBlocks<Precise>(w) : decodeNonIntraBlocks<Precise>(w);
}

}  // namespace tvk
