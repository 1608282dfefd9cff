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

// Where a prediction's rows are read: the first sample, and the distance to the right-hand neighbour of the same
// component, 0 without a horizontal fraction. A sample's mean with itself is the sample, so that vectors of either
// kind, which follow no pattern, run through the same instructions.
struct ReferenceStart {
    const uint8_t *data;
    ptrdiff_t right;
};

// One reference row at a time, interpolated. Reads a row more where the fraction is vertical, and 16 + right bytes a
// row.
//
// DEPARTURE(two-stage half-sample): where both fractions are set, B pictures and dual prime average twice with
// rounding up, pavg(pavg(a, b), pavg(c, d)), up to one level above (a + b + c + d + 2) >> 2, for speed.
template <class L, bool vertical, Diagonal diagonal>
struct ReferenceRows {
    using Bytes = typename L::U8x16;
    static constexpr bool exact = vertical && diagonal == Diagonal::exact;

    const uint8_t *source;
    ptrdiff_t right, stride;
    Bytes above;      // the row above, horizontally averaged
    Bytes aboveBits;  // a ^ b of that row: where its average was rounded up

    ReferenceRows(ReferenceStart s, ptrdiff_t d) : source(s.data), right(s.right), stride(d) {
        if constexpr (vertical) above = load(aboveBits);
    }

    Bytes load(Bytes &bits) {
        prefetchRead(source, kLineAhead);
        const Bytes a = L::loadU(source), b = L::loadU(source + right);
        source += stride;
        if constexpr (exact) bits = L::bitXor(a, b);
        return L::avgUp(a, b);
    }

    Bytes next() {
        Bytes bits;
        const Bytes row = load(bits);
        if constexpr (!vertical) return row;
        Bytes average = L::avgUp(above, row);
        if constexpr (exact) {
            // (a + b + c + d + 2) >> 2 = pavg(x, y) - (((a ^ b) | (c ^ d)) & (x ^ y) & 1), x and y the averages of the
            // rows: the two roundings up go too far just when x + y is odd and a row's own sum was.
            const Bytes excess = L::bitAnd(L::bitAnd(L::bitOr(aboveBits, bits), L::bitXor(above, row)), L::splat8(1));
            average = L::subWrap(average, excess);
            aboveBits = bits;
        }
        above = row;
        return average;
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

template <class L, bool vertical, Diagonal diagonal, Residual form>
void predictOne(const PredictionTarget &t, ReferenceStart source, ptrdiff_t stride) {
    ReferenceRows<L, vertical, diagonal> rows(source, stride);
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

template <class L, bool verticalA, bool verticalB, Residual form>
void predictTwo(const PredictionTarget &t, ReferenceStart a, ReferenceStart b, ptrdiff_t stride) {
    ReferenceRows<L, verticalA, Diagonal::twoStage> rowsA(a, stride);
    ReferenceRows<L, verticalB, Diagonal::twoStage> rowsB(b, stride);
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

using PredictOne = void (*)(const PredictionTarget &, ReferenceStart, ptrdiff_t);
using PredictTwo = void (*)(const PredictionTarget &, ReferenceStart, ReferenceStart, ptrdiff_t);

// The kernels of one component, `step` 1 for luma and 2 for interleaved chroma. With a residual or without, by the
// vertical bits of the fractions:
//     one[residual][verticalA], two[residual][2 * verticalA + verticalB]
template <class L, int step, Diagonal diagonal>
struct PredictionKernels {
    static constexpr Residual form = step == 1 ? Residual::side : Residual::interleaved;
    template <Residual r>
    static constexpr std::array<PredictOne, 2> oneSource = {predictOne<L, false, diagonal, r>,
                                                            predictOne<L, true, diagonal, r>};
    template <Residual r>
    static constexpr std::array<PredictTwo, 4> twoSources = {
        predictTwo<L, false, false, r>, predictTwo<L, false, true, r>, predictTwo<L, true, false, r>,
        predictTwo<L, true, true, r>};
    static constexpr std::array<std::array<PredictOne, 2>, 2> one = {oneSource<Residual::none>, oneSource<form>};
    static constexpr std::array<std::array<PredictTwo, 4>, 2> two = {twoSources<Residual::none>, twoSources<form>};

    static ReferenceStart startAt(const uint8_t *data, int32_t fraction) { return {data, step * (fraction & 1)}; }
    static PredictOne oneOf(bool residual, int32_t fraction) {
        return one[residual][static_cast<size_t>(fraction >> 1)];
    }
    static PredictTwo twoOf(bool residual, int32_t fractionA, int32_t fractionB) {
        return two[residual][static_cast<size_t>((fractionA & 2) | fractionB >> 1)];
    }
};

}  // namespace tvk
