// SPDX-License-Identifier: BSD-2-Clause
// The row converters as a table of their kinds, over any lanes.
#pragma once

#include <array>
#include <cstddef>
#include <utility>

#include "output/packed_rows.h"
#include "output/planar_rows.h"
#include "output/rgb_rows.h"

namespace tvk {

template <class L, RowKind K>
constexpr RowConverter converterOf() {
    if constexpr (isRgb(K.layout)) return convertRgb<L, K>;
    if constexpr (isPlanar(K.layout)) return convertPlanar<L, K>;
    return convertPacked<L, K>;
}

using ConverterTable = std::array<RowConverter, kRowKinds>;

template <class L, size_t... index>
constexpr ConverterTable makeTable(std::index_sequence<index...>) {
    return {converterOf<L, canonicalRowKind(rowKindAt(static_cast<int32_t>(index)))>()...};
}

template <class L>
inline constexpr ConverterTable kRowConverterTable = makeTable<L>(std::make_index_sequence<kRowKinds>());

}  // namespace tvk
