// SPDX-License-Identifier: BSD-2-Clause
// Questions about a stream's content that are answered by looking at small parts of it.
#pragma once

#include <cstdint>

#include "sources/byte_window.h"

namespace tvk::elementary {

// 0, or why the bytes are no video elementary stream.
int32_t checkContent(ByteWindow &window);

// Where decoding can be taken up at or behind `position`: see POSITIONS in tvk_source.h. 0, or why reading failed.
int32_t findEntryPoint(ByteWindow &window, uint64_t position, uint64_t &entry);

// A value that tells streams apart, from the size and three blocks. False when reading fails.
bool fingerprint(ByteWindow &window, uint64_t &value);

// Bits per second by the pictures at the head of the stream and their frame rate; 0.0 when there is nothing to go by.
double measureBitRate(ByteWindow &window);

}  // namespace tvk::elementary
