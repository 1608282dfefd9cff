// SPDX-License-Identifier: BSD-2-Clause
// The 8-point inverse transform after Arai, Agui and Nakajima, written once over three arithmetics.
#pragma once

#include <cstdint>

#include "core/lanes.h"

namespace tvk {

// An arithmetic A has a type V, `add`, `sub`, and the products that the butterfly needs, named by their factors:
//     byRoot2  1.4142136 = sqrt(2)                  byTop     1.8477591 = 2 cos(pi / 8)
//     byInner  1.0823922 = 1 / cos(pi / 8)          byOuter   2.6131259 = 1 / sin(pi / 8)
//     byEven   0.4142136 = sqrt(2) - 1
// The scale factors k(n) of the rows and columns are in the coefficients already. Where sums saturate, their order is
// part of the result.

// 16-bit lanes that saturate; products keep the high half of a 32-bit product of the shifted value, which may wrap.
template <class L>
struct FastArithmetic {
    using V = typename L::I16x8;
    static V add(V a, V b) { return L::addSat(a, b); }
    static V sub(V a, V b) { return L::subSat(a, b); }
    static V byRoot2(V a) { return times<2>(a, 23170); }             // 1.4142136 * 2^14
    static V byTop(V a) { return times<2>(a, 30274); }               // 1.8477591 * 2^14
    static V byInner(V a) { return times<2>(a, 17734); }             // 1.0823922 * 2^14
    static V byOuter(V a) { return times<3>(a, 21407); }             // 2.6131259 * 2^13
    static V byMinusOuter(V a) { return times<3>(a, -21407); }       // not -byOuter: the high half rounds down
    static V byEven(V a) { return L::mulHi(a, L::splat16(27146)); }  // 0.4142136 * 2^16

    template <int n>
    static V times(V a, int32_t factor) {
        return L::mulHi(L::template shlWrap<n>(a), L::splat16(factor));
    }
};

// 32-bit lanes that wrap; products round to nearest, ties away from zero. Quarter size alone computes in them and needs
// no other products.
template <class L>
struct WideArithmetic {
    using V = typename L::I32x4;
    static V byTop(V a) { return times<14>(a, 30274); }
    static V byInner(V a) { return times<14>(a, 17734); }
    static V byOuter(V a) { return times<13>(a, 21407); }

    // (p + (p < 0 ? -1 : 0) + 2^(n - 1)) >> n: to nearest, ties away from zero
    template <int n>
    static V round(V p) {
        const V sign = L::template shrArith<31>(p);
        return L::template shrArith<n>(L::addWrap(L::addWrap(p, sign), L::splat32(1 << (n - 1))));
    }
    // round<n>(a * factor) with the product whole, for |a| below 2^23 and positive factors below 2^15: the product is
    // 256 * high + low, of which the low part's own low byte cannot reach the result. What goes in is four sums of at
    // most 12 times the doubled 16-bit coefficients, below 2^22.
    template <int n>
    static V times(V a, int32_t factor) {
        const auto f = L::asI16(L::splat32(factor));
        const V high = L::maddPairs(L::asI16(L::template shrArith<8>(a)), f);
        const V low = L::maddPairs(L::bitAnd(L::asI16(a), L::asI16(L::splat32(255))), f);
        const V sign = L::template shrArith<31>(a);
        const V rounded = L::addWrap(L::addWrap(low, sign), L::splat32(1 << (n - 1)));
        return L::template shrArith<n - 8>(L::addWrap(high, L::template shrArith<8>(rounded)));
    }
};

template <class L>
struct FloatArithmetic {
    using V = typename L::F32x4;
    static V add(V a, V b) { return L::add(a, b); }
    static V sub(V a, V b) { return L::sub(a, b); }
    static V byRoot2(V a) { return L::mul(a, L::splatF(1.4142135F)); }
    static V byTop(V a) { return L::mul(a, L::splatF(1.8477590F)); }
    static V byInner(V a) { return L::mul(a, L::splatF(1.0823922F)); }
    static V byMinusOuter(V a) { return L::mul(a, L::splatF(-2.6131260F)); }
};

// The last two stages, common to the full and the low pass: t7 and the three products make the odd part.
template <class A>
inline void aanJoin(typename A::V t0, typename A::V t1, typename A::V t2, typename A::V t3, typename A::V t7,
                    typename A::V t10, typename A::V t11, typename A::V t12, typename A::V (&o)[8]) {
    const auto t6 = A::sub(t12, t7);
    const auto t5 = A::sub(t11, t6);
    const auto t4 = A::add(t10, t5);
    o[0] = A::add(t0, t7);
    o[7] = A::sub(t0, t7);
    o[1] = A::add(t1, t6);
    o[6] = A::sub(t1, t6);
    o[2] = A::add(t2, t5);
    o[5] = A::sub(t2, t5);
    o[4] = A::add(t3, t4);
    o[3] = A::sub(t3, t4);
}

// Each lane of m is one transform of the eight registers, in place.
template <class A>
inline void aanPass(typename A::V (&m)[8]) {
    const auto z13 = A::add(m[5], m[3]);
    const auto z10 = A::sub(m[5], m[3]);
    const auto z11 = A::add(m[1], m[7]);
    const auto z12 = A::sub(m[1], m[7]);
    const auto t7 = A::add(z11, z13);
    const auto z5 = A::byTop(A::add(z10, z12));
    const auto t12 = A::add(A::byMinusOuter(z10), z5);
    const auto t10 = A::sub(A::byInner(z12), z5);
    const auto t11 = A::byRoot2(A::sub(z11, z13));

    const auto e13 = A::add(m[2], m[6]);
    const auto e12 = A::sub(A::byRoot2(A::sub(m[2], m[6])), e13);
    const auto e10 = A::add(m[0], m[4]);
    const auto e11 = A::sub(m[0], m[4]);
    aanJoin<A>(A::add(e10, e13), A::add(e11, e12), A::sub(e11, e12), A::sub(e10, e13), t7, t10, t11, t12, m);
}

// For inputs 4..7 of zero, with roundings of its own: the two passes do not agree to the bit. Outputs in all eight.
template <class A>
inline void aanLowPass(typename A::V (&m)[8]) {
    const auto t7 = A::add(m[1], m[3]);
    const auto d = A::sub(m[1], m[3]);
    const auto z5 = A::byTop(d);
    const auto t12 = A::add(A::byOuter(m[3]), z5);
    const auto t10 = A::sub(A::byInner(m[1]), z5);
    const auto t11 = A::byRoot2(d);

    const auto e12 = A::byEven(m[2]);
    aanJoin<A>(A::add(m[0], m[2]), A::add(m[0], e12), A::sub(m[0], e12), A::sub(m[0], m[2]), t7, t10, t11, t12, m);
}

}  // namespace tvk
