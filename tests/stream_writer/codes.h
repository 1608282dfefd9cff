// SPDX-License-Identifier: BSD-2-Clause
// Writes the elements of the macroblock layer that have variable-length codes.
#pragma once

#include <cstdint>

#include "stream_writer/parameters.h"
#include "support/bit_writer.h"

namespace tvktest {

void putIncrement(BitWriter &w, uint32_t increment);  // from 1, with as many escapes as it needs
void putStuffing(BitWriter &w);
void putMacroblockType(BitWriter &w, uint32_t pictureType, uint32_t type);
bool hasMacroblockType(uint32_t pictureType, uint32_t type);
void putCodedBlockPattern(BitWriter &w, uint32_t pattern);
void putDmVector(BitWriter &w, int32_t value);
// The difference between a vector component and its predictor; the pair decodes to `value` by MPEG's wrap.
void putMotionDelta(BitWriter &w, uint32_t fCode, int32_t value, int32_t predictor);
void putDcDifference(BitWriter &w, bool luma, int32_t difference);

enum class CoefficientTable { b14, b15 };
// `first`: the first coefficient of a non-intra block, whose 0 and 1 has a shorter code.
void putCoefficient(BitWriter &w, CoefficientTable table, bool mpeg2, bool first, const RunLevel &c);
void putEndOfBlock(BitWriter &w, CoefficientTable table);
// True when `c` needs the escape.
bool lacksCode(CoefficientTable table, const RunLevel &c);

}  // namespace tvktest
