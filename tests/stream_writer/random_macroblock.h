// SPDX-License-Identifier: BSD-2-Clause
// Random macroblocks for one picture.
#pragma once

#include <cstdint>

#include "stream_writer/random.h"
#include "stream_writer/random_stream.h"
#include "stream_writer/slice_writer.h"

namespace tvktest {

struct MacroblockMaker {
    Random &random;
    const RandomStreamOptions &options;
    const PictureParameters &picture;
    StreamFacts &facts;
    bool dualPrimeAllowed;

    MacroblockDescription make(uint32_t column, uint32_t row);
    // True when a skipped macroblock at this place may follow `previous`.
    bool maySkip(const SliceWriter &writer, const MacroblockDescription &previous, uint32_t column, uint32_t row) const;

  private:
    struct Area {
        int32_t left, top, height, pictureHeight;  // of the predicted area and the frame or field it comes from
    };

    Area areaOf(uint32_t column, uint32_t row, bool fieldInFrame, bool half, uint32_t r) const;
    bool inside(const Area &area, Vector v, bool fullPel) const;
    int32_t component(uint32_t fCode, bool halfRange, int32_t low, int32_t high);
    Vector vectorIn(const Area &area, uint32_t direction, bool fieldInFrame);
    uint32_t randomType();
    void chooseMotion(MacroblockDescription &m, uint32_t column, uint32_t row);
    bool chooseDualPrime(MacroblockDescription &m, uint32_t column, uint32_t row);
    void chooseConcealment(MacroblockDescription &m);
    void chooseBlocks(MacroblockDescription &m);
    RunLevel coefficient(int32_t room);
    void fillBlock(BlockDescription &block, bool intra);
    void count(const MacroblockDescription &m);
    bool usesFrameMotionAlone() const {
        return !options.sequence.mpeg2 || (picture.isFrame() && picture.framePredFrameDct);
    }
};

}  // namespace tvktest
