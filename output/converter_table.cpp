// SPDX-License-Identifier: BSD-2-Clause
// The table of row converters, made from their kinds.
#include "output/converter_table.h"

#include <array>
#include <cstddef>
#include <utility>

#include "core/lanes.h"
#include "output/row_converters.h"

namespace tvk {
namespace {

constexpr bool indexesAreInverse() {
    for (int32_t i = 0; i < kRowKinds; ++i)
        if (rowKindIndex(rowKindAt(i)) != i) return false;
    return true;
}
static_assert(indexesAreInverse());

struct ConverterName {
    char text[24];
};

constexpr ConverterName nameOf(RowKind kind) {
    constexpr const char *layouts[kTargetLayouts] = {"Rgb15", "Rgb16", "Rgb24", "Rgb32",
                                                     "Yuy2",  "Uyvy",  "Yv12",  "Yvu9"};
    constexpr const char *formats[3] = {"From420", "From422", "From444"};
    ConverterName name{};
    size_t length = 0;
    const auto append = [&](const char *part) {
        while (*part != 0) name.text[length++] = *part++;
    };
    append(layouts[static_cast<size_t>(kind.layout)]);
    append(formats[kind.chromaFormat - 1]);
    if (kind.interlaced) append("Interlaced");
    return name;
}

template <size_t... index>
constexpr std::array<ConverterName, kRowKinds> makeNames(std::index_sequence<index...>) {
    return {nameOf(rowKindAt(static_cast<int32_t>(index)))...};
}

constexpr std::array<ConverterName, kRowKinds> kNames = makeNames(std::make_index_sequence<kRowKinds>());

}  // namespace

RowConverter rowConverterAt(int32_t index) {
    return kRowConverterTable<NativeLanes>[static_cast<size_t>(index)];
}
const char *rowConverterName(int32_t index) {
    return kNames[static_cast<size_t>(index)].text;
}

}  // namespace tvk
