// SPDX-License-Identifier: BSD-2-Clause
// Full-size prediction of 16 bytes a row: half-sample interpolation, the average of two sources, the residual's sum
// and the store in one pass.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/inline.h"
#include "core/lanes.h"

namespace tvk {

// Half-sample fractions of a vector: bit 0 horizontal, bit 1 vertical.
inline constexpr int32_t kFractions = 4;

enum class Diagonal : uint8_t { twoStage, exact };

// How the residual's 8 values a row meet the 16 bytes of a row: `side` puts two rows beside each other (luma's left
// and right block), `interleaved` alternates them (Cb and Cr).
enum class Residual : uint8_t { none, side, interleaved };

// Macroblocks follow each other to the right, with vectors much alike: the line behind the one in use is asked for
// while there is time. It serves the four macroblocks that come next.
inline constexpr uintptr_t kLineAhead = 64;

struct ResidualRows {
    const int16_t *first, *second;
    ptrdiff_t step;  // values from a row to the next
};

// One reference row at a time, interpolated. `step` is the distance to the right-hand neighbour of the same component:
// 1 for luma, 2 for interleaved chroma. Reads rows + (fraction >> 1) rows of 16 + step * (fraction & 1) bytes.
//
// DEPARTURE(two-stage half-sample): where both fractions are set, B pictures and dual prime average twice with
// rounding up, pavg(pavg(a, b), pavg(c, d)), up to one level above (a + b + c + d + 2) >> 2, for speed.
template <class L, int step, int fraction, Diagonal diagonal>
struct ReferenceRows {
    using Bytes = typename L::U8x16;
    static constexpr bool horizontal = (fraction & 1) != 0, vertical = (fraction & 2) != 0;
    static constexpr bool exact = horizontal && vertical && diagonal == Diagonal::exact;

    const uint8_t *source;
    ptrdiff_t stride;
    Bytes above;      // the row above, horizontally averaged
    Bytes aboveBits;  // a ^ b of that row: where its average was rounded up

    ReferenceRows(const uint8_t *s, ptrdiff_t d) : source(s), stride(d) {
        if constexpr (vertical) above = load(aboveBits);
    }

    Bytes load(Bytes &bits) {
        prefetchRead(source, kLineAhead);
        const Bytes a = L::loadU(source);
        if constexpr (!horizontal) {
            source += stride;
            return a;
        } else {
            const Bytes b = L::loadU(source + step);
            source += stride;
            if constexpr (exact) bits = L::bitXor(a, b);
            return L::avgUp(a, b);
        }
    }

    Bytes next() {
        Bytes bits;
        const Bytes row = load(bits);
        if constexpr (!vertical) {
            return row;
        } else {
            const Bytes average = L::avgUp(above, row);
            if constexpr (!exact) {
                above = row;
                return average;
            } else {
                // (a + b + c + d + 2) >> 2 = pavg(x, y) - (((a ^ b) | (c ^ d)) & (x ^ y) & 1), x and y the averages
                // of the rows: the two roundings up go too far just when x + y is odd and a row's own sum was.
                const Bytes excess =
                    L::bitAnd(L::bitAnd(L::bitOr(aboveBits, bits), L::bitXor(above, row)), L::splat8(1));
                above = row;
                aboveBits = bits;
                return L::subWrap(average, excess);
            }
        }
    }
};

// prediction + residual in 16 bits with wrap, clamped to 0..255.
template <class L, Residual form>
inline typename L::U8x16 addResidual(typename L::U8x16 prediction, const int16_t *first, const int16_t *second) {
    if constexpr (form == Residual::none) {
        return prediction;
    } else {
        const auto a = L::loadA(first), b = L::loadA(second);
        const auto low = form == Residual::side ? a : L::interleaveLow16(a, b);
        const auto high = form == Residual::side ? b : L::interleaveHigh16(a, b);
        return L::packU8Sat(L::addWrap(L::widenLow(prediction), low), L::addWrap(L::widenHigh(prediction), high));
    }
}

struct PredictionTarget {
    uint8_t *data;  // 16-byte aligned
    ptrdiff_t stride;
    int32_t rows;  // even
    ResidualRows residual;
};

template <class L, int step, int fraction, Diagonal diagonal, Residual form>
void predictOne(const PredictionTarget &t, const uint8_t *source, ptrdiff_t stride) {
    ReferenceRows<L, step, fraction, diagonal> rows(source, stride);
    uint8_t *out = t.data;
    const int16_t *first = t.residual.first, *second = t.residual.second;
    for (int32_t r = t.rows; r > 0; --r) {
        prefetchWrite(out, kLineAhead);
        L::storeA(out, addResidual<L, form>(rows.next(), first, second));
        out += t.stride;
        first += t.residual.step;
        second += t.residual.step;
    }
}

template <class L, int step, int fractionA, int fractionB, Residual form>
void predictTwo(const PredictionTarget &t, const uint8_t *a, const uint8_t *b, ptrdiff_t stride) {
    ReferenceRows<L, step, fractionA, Diagonal::twoStage> rowsA(a, stride);
    ReferenceRows<L, step, fractionB, Diagonal::twoStage> rowsB(b, stride);
    uint8_t *out = t.data;
    const int16_t *first = t.residual.first, *second = t.residual.second;
    for (int32_t r = t.rows; r > 0; --r) {
        prefetchWrite(out, kLineAhead);
        L::storeA(out, addResidual<L, form>(L::avgUp(rowsA.next(), rowsB.next()), first, second));
        out += t.stride;
        first += t.residual.step;
        second += t.residual.step;
    }
}

using PredictOne = void (*)(const PredictionTarget &, const uint8_t *, ptrdiff_t);
using PredictTwo = void (*)(const PredictionTarget &, const uint8_t *, const uint8_t *, ptrdiff_t);

// The kernels of one component. With a residual or without, by fraction:
//     one[residual][fraction], two[residual][4 * fractionA + fractionB]
template <class L, int step, Diagonal diagonal>
struct PredictionKernels {
    static constexpr Residual form = step == 1 ? Residual::side : Residual::interleaved;
    template <Residual r>
    static constexpr std::array<PredictOne, 4> oneSource = {
        predictOne<L, step, 0, diagonal, r>, predictOne<L, step, 1, diagonal, r>, predictOne<L, step, 2, diagonal, r>,
        predictOne<L, step, 3, diagonal, r>};
    template <Residual r, int a>
    static constexpr std::array<PredictTwo, 4> twoSources = {predictTwo<L, step, a, 0, r>, predictTwo<L, step, a, 1, r>,
                                                             predictTwo<L, step, a, 2, r>,
                                                             predictTwo<L, step, a, 3, r>};
    static constexpr std::array<std::array<PredictOne, 4>, 2> one = {oneSource<Residual::none>, oneSource<form>};
    static constexpr std::array<std::array<std::array<PredictTwo, 4>, 4>, 2> two = {
        {{twoSources<Residual::none, 0>, twoSources<Residual::none, 1>, twoSources<Residual::none, 2>,
          twoSources<Residual::none, 3>},
         {twoSources<form, 0>, twoSources<form, 1>, twoSources<form, 2>, twoSources<form, 3>}}};
};

}  // namespace tvk
