// SPDX-License-Identifier: BSD-2-Clause
// From motion codes to the predictors PMV, which are also the vectors in use (ISO/IEC 13818-2, 7.6.3).
#include "mpeg12/worker.h"

namespace tvk {

namespace {

// f_code less 1 as the headers store it; what a header leaves impossible is brought into 0..15.
int32_t sizeOf(const Headers &h, int32_t s, int32_t t) {
    return static_cast<int32_t>(h.pictureCoding.fCode[2 * s + t] & 15);
}

// The predictor of one component moved by its delta and wrapped into [-16 << r, (16 << r) - 1], which has 5 + r bits.
// The predictor lies in that range or, the vertical one behind a field's vector, in twice the range; |delta| is at most
// 16 << r. So one turn of the wrap suffices, and with r up to 15 all stays within 2^21.
// Code 0 changes nothing, and a predictor out of range stays so; signs and codes follow no pattern, hence no branches.
TVK_INLINE int32_t moveComponent(int32_t predictor, int32_t code, int32_t residual, int32_t r) {
    const int32_t sign = code >> 31;
    const int32_t magnitude = ((code ^ sign) - sign - 1) * (1 << r) + residual + 1;
    const auto moved = static_cast<uint32_t>(predictor + ((magnitude ^ sign) - sign));
    const int32_t wrapped = static_cast<int32_t>(moved << (27 - r)) >> (27 - r);
    return predictor + ((wrapped - predictor) & codeMask(code));
}

// `scaled`: the vertical predictor counts frame lines and the vector field lines.
TVK_INLINE MotionVector movedVector(const SliceWorker *w, int32_t r, int32_t s, bool scaled) {
    const Headers &h = w->stream->headers;
    const MacroblockRecord &m = w->macroblock;
    const MotionVector v = w->PMV[r][s];
    const int32_t shift = scaled ? 1 : 0;
    const int32_t x = moveComponent(v.x, m.motionCode[r][s][0], m.motionResidual[r][s][0], sizeOf(h, s, 0));
    const int32_t y = moveComponent(v.y >> shift, m.motionCode[r][s][1], m.motionResidual[r][s][1], sizeOf(h, s, 1));
    return {static_cast<int16_t>(x), static_cast<int16_t>(y * (1 << shift))};
}

}  // namespace

void ReconstructMotionVectors(SliceWorker *w) {
    const MacroblockRecord &m = w->macroblock;
    const bool scaled = w->stream->headers.pictureCoding.pictureStructure == structureFrame && m.mvFormat == 0;
    const uint8_t used[2] = {m.macroblockMotionForward, m.macroblockMotionBackward};
    for (int32_t s = 0; s < 2; ++s) {
        if (!used[s]) continue;
        const MotionVector first = movedVector(w, 0, s, scaled);
        w->PMV[1][s] = m.motionVectorCount == 2 ? movedVector(w, 1, s, scaled) : first;
        w->PMV[0][s] = first;
    }
}

}  // namespace tvk
