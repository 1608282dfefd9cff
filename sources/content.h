// SPDX-License-Identifier: BSD-2-Clause
// Questions about a stream's content that are answered by looking at small parts of it.
#pragma once

#include <cstdint>

#include "sources/byte_window.h"

namespace tvk::elementary {

enum class ContentKind : uint8_t { elementary, program, transport, mxf, matroska, avi, mov };

// Tells by the bytes what they are, never by a name. 0, or why they are nothing that could hold video. `window` is one
// over the bytes.
int32_t recognise(ByteWindow &window, ContentKind &kind);

// Where decoding can be taken up at or behind `position`: see POSITIONS in tvk_source.h. `size` is that of the stream.
// 0, or why reading failed.
int32_t findEntryPoint(ByteWindow &window, uint64_t size, uint64_t position, uint64_t &entry);
inline constexpr uint64_t kEntrySearchBytes = 0x400000;
bool isEntryHeader(uint32_t code);

// A value that tells streams apart, from the size and three blocks. 0, or why reading failed.
int32_t fingerprint(RawBytes &raw, uint64_t &value);

// Bits per second by the pictures at the head of the stream and their frame rate; 0.0 when there is nothing to go by.
double measureBitRate(ByteWindow &window);

// Frames per second of a sequence header's frame_rate_code; 0.0 for a code that the standards reserve.
double frameRateOfCode(uint32_t code);

}  // namespace tvk::elementary
