// SPDX-License-Identifier: BSD-2-Clause
// The scale factors of the Arai, Agui, Nakajima DCT, which quantisers fold into their weights.
#pragma once

#include <cstdint>

namespace tvk {

// aanScale[8 * r + c] = round(16384 * s(r) * s(c)), s(0) = 1, s(k) = sqrt(2) * cos(k * pi / 16). Symmetric, so it
// serves transposed blocks as well.
inline constexpr int16_t aanScale[64] = {
    // clang-format off
    16384, 22725, 21407, 19266, 16384, 12873, 8867, 4520,
    22725, 31521, 29692, 26722, 22725, 17855, 12299, 6270,
    21407, 29692, 27969, 25172, 21407, 16819, 11585, 5906,
    19266, 26722, 25172, 22654, 19266, 15137, 10426, 5315,
    16384, 22725, 21407, 19266, 16384, 12873, 8867, 4520,
    12873, 17855, 16819, 15137, 12873, 10114, 6967, 3552,
    8867, 12299, 11585, 10426, 8867, 6967, 4799, 2446,
    4520, 6270, 5906, 5315, 4520, 3552, 2446, 1247,
    // clang-format on
};

}  // namespace tvk
