// SPDX-License-Identifier: BSD-2-Clause
// Macroblock writers: each finished macroblock into the application's buffer, in its layout, while a picture decodes.
#pragma once

#include <cstdint>

#include "mpeg12/picture_kind.h"
#include "mpeg12/worker.h"

namespace tvk {

// MacroblockWriterTable holds, a row for each conversion type,
//     index = 48 * conversionIndex + 12 * log2(reduce) + w,
//     w = 6 * (field picture) + 2 * (chroma format - 1) + (B picture)
inline constexpr int32_t kMacroblockWriters = 192;

StageFunction macroblockWriterAt(uint32_t index);

constexpr int32_t writerOffset(PictureKind k) {
    return 12 * reduceRow(k.reduce) + 6 * k.field + 2 * (k.chroma - 1) + k.b;
}

template <PictureKind k>
inline StageFunction writerOf(const VideoStream *stream) {
    return macroblockWriterAt(48 * stream->conversion.conversionIndex + static_cast<uint32_t>(writerOffset(k)));
}

}  // namespace tvk
