// SPDX-License-Identifier: BSD-2-Clause
// Writes slices macroblock by macroblock and keeps the predictors that the syntax relies on.
#pragma once

#include <cstdint>

#include "stream_writer/parameters.h"
#include "support/bit_writer.h"

namespace tvktest {

struct SliceWriter {
    BitWriter &bits;  // for what no function here can say: write there directly
    const SequenceParameters &sequence;
    const PictureParameters &picture;

    int32_t dcPredictor[3] = {};
    Vector predictor[2][2];  // [vector][forward, backward]

    SliceWriter(BitWriter &w, const SequenceParameters &s, const PictureParameters &p)
        : bits(w), sequence(s), picture(p) {}

    void begin(const SliceParameters &slice);
    // `increment`: in the slice's first macroblock the column plus 1, afterwards the macroblocks skipped plus 1.
    void macroblock(uint32_t increment, const MacroblockDescription &m);
    void end() { bits.align(); }

  private:
    bool firstMacroblock = true;

    void resetDc();
    void resetVectors();
    void putModes(const MacroblockDescription &m, bool concealment);
    void putVectors(const MacroblockDescription &m, uint32_t direction, bool concealment);
    void putVector(const MacroblockDescription &m, uint32_t r, uint32_t direction, bool fieldInFrame);
    void putPattern(const MacroblockDescription &m);
    void putIntraBlock(const BlockDescription &block, uint32_t index);
    void putNonIntraBlock(const BlockDescription &block);
};

}  // namespace tvktest
