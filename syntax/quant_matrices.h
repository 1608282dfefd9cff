// SPDX-License-Identifier: BSD-2-Clause
// Quantiser matrices in the storage order of the chosen precision, and the scans that lead there.
#pragma once

#include <array>
#include <cstdint>

#include "core/stream.h"

namespace tvk {

// The storage position of the coefficient of row r, column c: the precise transform wants the columns 1, 2 and 5, 6 of
// each row exchanged, the fast one wants the block transposed.
constexpr uint8_t storagePosition(bool precise, uint32_t r, uint32_t c) {
    constexpr uint8_t kColumn[8] = {0, 2, 1, 3, 4, 6, 5, 7};
    return static_cast<uint8_t>(precise ? 8 * r + kColumn[c] : 8 * c + r);
}

// [alternateScan][scan position] -> storage position.
using ScanTables = std::array<std::array<uint8_t, 64>, 2>;
extern const ScanTables kPreciseScans, kFastScans;

// The standard's default matrices for luma and chroma.
void takeDefaultMatrices(VideoStream *stream);
// load_intra_quantiser_matrix and load_non_intra_quantiser_matrix with what follows them; what is not loaded takes the
// standard's default, and chroma takes what luma has.
void readSequenceMatrices(VideoStream *stream);

}  // namespace tvk
