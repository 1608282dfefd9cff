// SPDX-License-Identifier: BSD-2-Clause
// Writes the headers above the slice layer, each with its start code.
#pragma once

#include <cstdint>
#include <vector>

#include "stream_writer/parameters.h"
#include "support/bit_writer.h"

namespace tvktest {

// The header, and in MPEG-2 the sequence extension.
void putSequence(BitWriter &w, const SequenceParameters &s);
void putSequenceHeader(BitWriter &w, const SequenceParameters &s);
void putSequenceExtension(BitWriter &w, const SequenceParameters &s);
void putSequenceDisplay(BitWriter &w, uint32_t displayWidth, uint32_t displayHeight, bool colour);
void putSequenceEnd(BitWriter &w);
void putGroup(BitWriter &w, const GroupParameters &g);
void putUserData(BitWriter &w, const std::vector<uint8_t> &bytes);

// The header, and in MPEG-2 the coding extension.
void putPicture(BitWriter &w, const SequenceParameters &s, const PictureParameters &p);
void putPictureHeader(BitWriter &w, const SequenceParameters &s, const PictureParameters &p);
void putPictureCodingExtension(BitWriter &w, const PictureParameters &p);
void putQuantMatrices(BitWriter &w, const QuantMatrices &q);
void putPictureDisplay(BitWriter &w, const std::vector<std::pair<int32_t, int32_t>> &centreOffsets);
void putCopyright(BitWriter &w, uint32_t identifier, bool original);

}  // namespace tvktest
