// SPDX-License-Identifier: BSD-2-Clause
// Picks or averages Cb, Cr pairs of an interleaved chroma row; a pair is one 16-bit lane, Cb in its low byte.
#pragma once

#include <cstdint>

namespace tvk {

// Eight pairs as they lie.
template <class L>
typename L::I16x8 loadPairs(const uint8_t *chroma) {
    return L::asI16(L::loadU(chroma));
}

// Of sixteen pairs, in two registers, the first or the second of each two.
template <class L>
typename L::I16x8 firstOfTwo(typename L::I16x8 a, typename L::I16x8 b) {
    return L::packI16Sat(L::template shrArith<16>(L::template shlWrap<16>(L::asI32(a))),
                         L::template shrArith<16>(L::template shlWrap<16>(L::asI32(b))));
}
template <class L>
typename L::I16x8 secondOfTwo(typename L::I16x8 a, typename L::I16x8 b) {
    return L::packI16Sat(L::template shrArith<16>(L::asI32(a)), L::template shrArith<16>(L::asI32(b)));
}

// Eight pairs, each the rounded-up mean of two of 4:4:4.
template <class L>
typename L::I16x8 meanOfTwo(const uint8_t *chroma) {
    const typename L::I16x8 a = loadPairs<L>(chroma), b = loadPairs<L>(chroma + 16);
    return L::asI16(L::avgUp(L::asU8(firstOfTwo<L>(a, b)), L::asU8(secondOfTwo<L>(a, b))));
}

// Eight pairs, each the second of two of 4:4:4.
// DEPARTURE(4:4:4 chroma decimation): no filter, and the lowest bit of Cb is lost, in planar 4:2:0 and in RGB.
template <class L>
typename L::I16x8 secondOfTwoEvenCb(const uint8_t *chroma) {
    const typename L::I16x8 pairs = secondOfTwo<L>(loadPairs<L>(chroma), loadPairs<L>(chroma + 16));
    return L::bitAnd(pairs, L::splat16(0xFFFE));
}

}  // namespace tvk
