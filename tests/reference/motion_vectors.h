// SPDX-License-Identifier: BSD-2-Clause
// Motion vector reconstruction and the dual prime derivation in their obvious form.
#pragma once

#include <cmath>

namespace reference {

struct Vector {
    int x, y;
    bool operator==(const Vector &) const = default;
};

// One component; `size` is f_code less 1.
inline int moveComponent(int predictor, int code, int residual, int size) {
    if (code == 0) return predictor;
    const int step = 1 << size;
    const int magnitude = (std::abs(code) - 1) * step + residual + 1;
    const int moved = predictor + (code < 0 ? -magnitude : magnitude);
    if (moved > 16 * step - 1) return moved - 32 * step;
    if (moved < -16 * step) return moved + 32 * step;
    return moved;
}

// Under `scaled` the vertical predictor counts frame lines, the codes field lines.
inline Vector moveVector(Vector predictor, Vector code, Vector residual, Vector size, bool scaled) {
    const int y = scaled ? static_cast<int>(std::floor(predictor.y / 2.0)) : predictor.y;
    const int moved = moveComponent(y, code.y, residual.y, size.y);
    return {moveComponent(predictor.x, code.x, residual.x, size.x), scaled ? 2 * moved : moved};
}

// Half, rounded half away from zero.
inline int halfAway(int v) {
    return static_cast<int>(std::lround(v / 2.0));
}

// From the field of the other parity to the field of `parity`, `distance` field periods for two of the vector.
inline Vector dualPrime(Vector v, int distance, Vector differential, int parity) {
    return {halfAway(v.x * distance) + differential.x, halfAway(v.y * distance) + differential.y + 2 * parity - 1};
}

}  // namespace reference
