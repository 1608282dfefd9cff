// SPDX-License-Identifier: BSD-2-Clause
// The rows of the table of inter decoders, each made in a source of its own.
#pragma once

#include <array>
#include <utility>

#include "mpeg12/picture_kind.h"
#include "mpeg12/worker.h"

namespace tvk {

using InterRow = std::array<InterFunction, kKindsPerReduce>;

extern const InterRow kInterFull, kInterHalf, kInterQuarter, kInterEighth;

// Body<kindAt(i)>::decode for the kinds of one reduce coefficient, in table order.
template <template <PictureKind> class Body, int32_t reduce, size_t... i>
constexpr InterRow makeInterRow(std::index_sequence<i...>) {
    return {Body<kindAt(kKindsPerReduce * reduceRow(reduce) + static_cast<int32_t>(i))>::decode...};
}

template <template <PictureKind> class Body, int32_t reduce>
constexpr InterRow makeInterRow() {
    return makeInterRow<Body, reduce>(std::make_index_sequence<kKindsPerReduce>{});
}

}  // namespace tvk
