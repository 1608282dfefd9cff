// SPDX-License-Identifier: BSD-2-Clause
// Random macroblocks for one picture.
#include "stream_writer/random_macroblock.h"

#include <algorithm>
#include <cstdlib>

#include "stream_writer/codes.h"

namespace tvktest {

MacroblockDescription MacroblockMaker::make(uint32_t column, uint32_t row) {
    MacroblockDescription m;
    m.type = randomType();
    if (!options.sequence.mpeg2 && random.chance(options.stuffing)) m.stuffing = 1 + random.below(3);
    m.quantiserCode = 1 + random.below(options.maxQuantiserCode);
    if (picture.isFrame() && !picture.framePredFrameDct) m.fieldDct = random.coin();
    if (m.type & (tvk::typeForward | tvk::typeBackward)) chooseMotion(m, column, row);
    if ((m.type & tvk::typeIntra) && picture.concealment) chooseConcealment(m);
    chooseBlocks(m);
    count(m);
    return m;
}

uint32_t MacroblockMaker::randomType() {
    const uint32_t quant = random.chance(options.quantiser) ? tvk::typeQuant : 0u;
    if (picture.type == kPictureI || random.chance(options.intra)) return tvk::typeIntra | quant;
    const bool coded = !random.chance(options.uncoded);
    uint32_t motion = tvk::typeForward;
    if (picture.type == kPictureB) {
        const uint32_t choice = 1 + random.below(3);
        motion = (choice & 1 ? tvk::typeForward : 0u) | (choice & 2 ? tvk::typeBackward : 0u);
    } else if (coded && random.chance(25)) {
        motion = 0;  // a P macroblock without motion is always coded
    }
    return coded ? motion | tvk::typePattern | quant : motion;
}

MacroblockMaker::Area MacroblockMaker::areaOf(uint32_t column, uint32_t row, bool fieldInFrame, bool half,
                                              uint32_t r) const {
    const int32_t height = static_cast<int32_t>(options.sequence.macroblockRows() * 16);
    const int32_t x = static_cast<int32_t>(column) * 16;
    const int32_t y = static_cast<int32_t>(row) * 16;
    if (fieldInFrame) return {x, y / 2, 8, height / 2};
    const int32_t pictureHeight = picture.isFrame() ? height : height / 2;
    if (half) return {x, y + 8 * static_cast<int32_t>(r), 8, pictureHeight};
    return {x, y, 16, pictureHeight};
}

bool MacroblockMaker::inside(const Area &area, Vector v, bool fullPel) const {
    const int32_t unit = fullPel ? 2 : 1;
    const int32_t x = 2 * area.left + unit * v.x;
    const int32_t y = 2 * area.top + unit * v.y;
    const int32_t width = static_cast<int32_t>(options.sequence.macroblockColumns() * 16);
    return x >= 0 && x <= 2 * (width - 16) && y >= 0 && y <= 2 * (area.pictureHeight - area.height);
}

// Within [low, high], which holds 0, and within what the code can say.
int32_t MacroblockMaker::component(uint32_t fCode, bool halfRange, int32_t low, int32_t high) {
    const int32_t limit = (halfRange ? 8 : 16) << (fCode - 1);
    low = std::max(low, -limit);
    high = std::min(high, limit - 1);
    if (random.chance(20)) return 0;
    if (random.chance(60)) return random.range(std::max(low, -9), std::min(high, 9));
    if (random.chance(15)) return random.coin() ? low : high;
    return random.range(low, high);
}

Vector MacroblockMaker::vectorIn(const Area &area, uint32_t direction, bool fieldInFrame) {
    const bool fullPel = !options.sequence.mpeg2 && picture.fullPel[direction];
    const int32_t unit = fullPel ? 2 : 1;
    const int32_t width = static_cast<int32_t>(options.sequence.macroblockColumns() * 16);
    const uint32_t *fCode = picture.fCode[direction];
    constexpr int32_t kAnywhere = 9999;
    if (options.wildVectors && random.chance(options.wildVectors))
        return {component(fCode[0], false, -kAnywhere, kAnywhere),
                component(fCode[options.sequence.mpeg2 ? 1 : 0], fieldInFrame, -kAnywhere, kAnywhere)};
    const Vector v = {
        component(fCode[0], false, -2 * area.left / unit, 2 * (width - 16 - area.left) / unit),
        component(fCode[options.sequence.mpeg2 ? 1 : 0], fieldInFrame, -2 * area.top / unit,
                  2 * (area.pictureHeight - area.height - area.top) / unit),
    };
    return v;
}

void MacroblockMaker::chooseMotion(MacroblockDescription &m, uint32_t column, uint32_t row) {
    m.motionType = picture.isFrame() ? kMotionFrame : kMotionField;
    if (!usesFrameMotionAlone()) {
        if (dualPrimeAllowed && random.chance(30) && chooseDualPrime(m, column, row)) return;
        m.motionType = 1 + random.below(2);
    }
    const bool frame = picture.isFrame();
    const bool fieldInFrame = frame && m.motionType == kMotionField;
    const bool half = !frame && m.motionType == kMotion16x8;
    for (uint32_t direction = 0; direction < 2; ++direction) {
        if (!(m.type & (direction ? tvk::typeBackward : tvk::typeForward))) continue;
        for (uint32_t r = 0; r < 2; ++r) {
            m.vectors[r][direction] = vectorIn(areaOf(column, row, fieldInFrame, half, r), direction, fieldInFrame);
            m.fieldSelect[r][direction] = random.coin();
        }
    }
}

// The derived vectors must stay inside too; false when no try finds such.
bool MacroblockMaker::chooseDualPrime(MacroblockDescription &m, uint32_t column, uint32_t row) {
    const bool frame = picture.isFrame();
    const Area area = areaOf(column, row, frame, false, 0);
    for (int32_t attempt = 0; attempt < 12; ++attempt) {
        const Vector v = vectorIn(area, 0, frame);
        const int32_t dmX = random.range(-1, 1);
        const int32_t dmY = random.range(-1, 1);
        // Scale and vertical offset of each derived vector.
        int32_t scales[2] = {1, 1};
        int32_t offsets[2] = {picture.structure == kTopField ? -1 : 1, 0};
        if (frame) {
            scales[0] = picture.topFieldFirst ? 1 : 3;
            scales[1] = picture.topFieldFirst ? 3 : 1;
            offsets[0] = -1;
            offsets[1] = 1;
        }
        bool fits = true;
        for (uint32_t i = 0; i < (frame ? 2u : 1u); ++i) {
            const Vector derived = {((v.x * scales[i] + (v.x > 0)) >> 1) + dmX,
                                    ((v.y * scales[i] + (v.y > 0)) >> 1) + offsets[i] + dmY};
            fits = fits && inside(area, derived, false);
        }
        if (!fits) continue;
        m.motionType = kMotionDualPrime;
        m.vectors[0][0] = v;
        m.dmVector[0] = dmX;
        m.dmVector[1] = dmY;
        return true;
    }
    return false;
}

// Never used for prediction, so anywhere within the code's range.
void MacroblockMaker::chooseConcealment(MacroblockDescription &m) {
    const uint32_t *fCode = picture.fCode[0];
    m.vectors[0][0] = {component(fCode[0], false, -9999, 9999), component(fCode[1], false, -9999, 9999)};
    m.fieldSelect[0][0] = random.coin();
}

void MacroblockMaker::chooseBlocks(MacroblockDescription &m) {
    const uint32_t blocks = options.sequence.blocks();
    const bool intra = (m.type & tvk::typeIntra) != 0;
    if (m.type & tvk::typePattern) {
        const uint32_t all = (1u << blocks) - 1;
        do m.codedBlocks = random.below(all + 1);
        while (m.codedBlocks == 0);
    }
    for (uint32_t i = 0; i < blocks; ++i)
        if (intra || (m.codedBlocks >> i & 1)) fillBlock(m.blocks[i], intra);
}

RunLevel MacroblockMaker::coefficient(int32_t room) {
    RunLevel c;
    c.run = random.chance(70) ? random.range(0, std::min(room, 3)) : random.range(0, room);
    c.level = random.chance(60) ? random.range(1, 2) : random.range(1, options.maxLevel);
    if (options.largeLevel && random.chance(1)) c.level = random.range(1, options.largeLevel);
    if (random.coin()) c.level = -c.level;
    c.escape = random.chance(options.escapes);
    return c;
}

void MacroblockMaker::fillBlock(BlockDescription &block, bool intra) {
    int32_t room = 63;  // the largest run that still ends within the block
    if (intra) {
        const int32_t most = (256 << picture.intraDcPrecision) - 1;
        block.dc = random.chance(80) ? random.range(most / 4, most - most / 4) : random.range(0, most);
        room = 62;
    }
    const int32_t wanted = random.chance(2) ? 64 : random.range(intra ? 0 : 1, options.maxCoefficients);
    while (room >= 0 && static_cast<int32_t>(block.coefficients.size()) < wanted) {
        const RunLevel c = coefficient(wanted == 64 ? 0 : room);
        block.coefficients.push_back(c);
        room -= c.run + 1;
        ++facts.coefficients;
        const bool b15 = intra && picture.intraVlc;
        if (c.escape || lacksCode(b15 ? CoefficientTable::b15 : CoefficientTable::b14, c)) ++facts.escapes;
    }
}

bool MacroblockMaker::maySkip(const SliceWriter &writer, const MacroblockDescription &previous, uint32_t column,
                              uint32_t row) const {
    if (picture.type == kPictureI) return false;
    if (picture.type == kPictureP) return true;
    if (previous.type & tvk::typeIntra) return false;
    const Area area = areaOf(column, row, false, false, 0);
    for (uint32_t direction = 0; direction < 2; ++direction) {
        if (!(previous.type & (direction ? tvk::typeBackward : tvk::typeForward))) continue;
        const bool fullPel = !options.sequence.mpeg2 && picture.fullPel[direction];
        if (!inside(area, writer.predictor[0][direction], fullPel)) return false;
    }
    return true;
}

void MacroblockMaker::count(const MacroblockDescription &m) {
    ++facts.macroblocks;
    facts.stuffing += m.stuffing;
    if (m.type & tvk::typeIntra) {
        ++facts.intra;
        facts.concealed += picture.concealment;
    } else if (!(m.type & (tvk::typeForward | tvk::typeBackward))) {
        ++facts.noMotion;
    } else {
        const uint32_t b = picture.type == kPictureB;
        ++(picture.isFrame() ? facts.frameMotion : facts.fieldMotion)[b][m.motionType];
    }
    if (m.type & (tvk::typeIntra | tvk::typePattern)) facts.fieldDct += m.fieldDct;
}

}  // namespace tvktest
