// SPDX-License-Identifier: BSD-2-Clause
// Macroblock writers: each finished macroblock into the application's buffer, in its layout, while a picture decodes.
#pragma once

#include <cstdint>

#include "mpeg12/picture_kind.h"
#include "mpeg12/worker.h"

namespace tvk {

enum class TargetLayout : uint8_t { yuy2, uyvy, yv12, yvu9 };  // as conversionIndex counts them

struct WriterKind {
    TargetLayout layout;
    uint8_t reduce;
    bool field;
    uint8_t chroma;  // ChromaFormat
    bool b;

    bool operator==(const WriterKind &) const = default;

    // B pictures of 4:2:0 and 4:2:2 at coded size stand in macroblockPixels, all else in the frame's planes.
    constexpr bool fromSamples() const { return b && reduce == 1 && chroma != chroma444; }
    constexpr int32_t unit() const { return 8 / reduce; }
};

// MacroblockWriterTable:
//     index = 48 * layout + 12 * log2(reduce) + 6 * field + 2 * (chroma - 1) + b
inline constexpr int32_t kMacroblockWriters = 192;

constexpr int32_t indexOf(WriterKind k) {
    return 48 * static_cast<int32_t>(k.layout) + 12 * reduceRow(k.reduce) + 6 * k.field + 2 * (k.chroma - 1) + k.b;
}

constexpr WriterKind writerKindAt(int32_t index) {
    const int32_t w = index % 12;
    return {static_cast<TargetLayout>(index / 48), static_cast<uint8_t>(1 << (index / 12 % 4)), w >= 6,
            static_cast<uint8_t>(w % 6 / 2 + 1), w % 2 == 1};
}

// Entries that share a writer: what reads the planes does not know B pictures.
constexpr WriterKind canonical(WriterKind k) {
    k.b = k.fromSamples();
    return k;
}

StageFunction macroblockWriterAt(uint32_t index);

template <PictureKind k>
inline StageFunction writerOf(const VideoStream *stream) {
    constexpr auto offset =
        static_cast<uint32_t>(indexOf(WriterKind{TargetLayout::yuy2, k.reduce, k.field, k.chroma, k.b}));
    return macroblockWriterAt(48 * stream->conversion.conversionIndex + offset);
}

}  // namespace tvk
