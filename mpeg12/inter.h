// SPDX-License-Identifier: BSD-2-Clause
// The macroblock step of predicted pictures: position, skipped macroblocks, motion types and intra macroblocks.
// One body; every kind of picture is an instance of it.
#pragma once

#include <algorithm>
#include <cstring>

#include "core/callbacks.h"
#include "mpeg12/eighth_prediction.h"
#include "mpeg12/prediction.h"
#include "mpeg12/reduced_prediction.h"
#include "mpeg12/writers.h"

namespace tvk {

template <PictureKind k>
struct Inter {
    static constexpr int32_t kForward = 0, kBackward = 1;

    // --- Position -------------------------------------------------------------------------------------------------

    // A first address beyond the picture leaves a row that the caller finds out of range.
    static void positionFromAddress(SliceWorker *w) {
        const Geometry &g = w->stream->geometry;
        const uint32_t perRow = static_cast<uint32_t>(g.blockWidth8) / 2;
        const uint32_t address = static_cast<uint32_t>(w->macroblock.macroblockAddress);
        const uint32_t row = address / perRow;
        const uint32_t column = address % perRow;
        if (row >= static_cast<uint32_t>(g.blockHeight8)) {
            w->blockY = g.blockHeight8;
            return;
        }
        w->blockX = static_cast<int32_t>(2 * column);
        w->blockY = static_cast<int32_t>(row) * k.lumaRowStep();
        w->chromaX = static_cast<int32_t>(column) * k.chromaColumnStep();
        w->chromaY = static_cast<int32_t>(row) * k.chromaRowStep();
    }

    static void step(SliceWorker *w) {
        w->blockX += 2;
        if (w->blockX < w->stream->geometry.blockWidth8) {
            w->chromaX += k.chromaColumnStep();
            return;
        }
        w->blockX = w->chromaX = 0;
        w->blockY += k.lumaRowStep();
        w->chromaY += k.chromaRowStep();
    }

    static bool insidePicture(const SliceWorker *w) { return w->blockY < w->stream->geometry.blockHeight8; }

    static void setOffsets(SliceWorker *w) {
        const int32_t parity = k.field ? w->pictureStructureIndex : 0;
        const int32_t unit = k.unit();
        w->lumaOffset = static_cast<uint32_t>(w->currentLuma.stride * (unit * w->blockY + parity) + unit * w->blockX);
        w->chromaOffset =
            static_cast<uint32_t>(w->currentChroma.stride * (unit * w->chromaY + parity) + unit * w->chromaX);
    }

    static MacroblockTarget target(SliceWorker *w) {
        if (k.decodesToSamples() && w->outputY) return {w->macroblockPixels, w->macroblockPixels + 256, 16, 16};
        const ptrdiff_t luma = w->currentLuma.stride, chroma = w->currentChroma.stride;
        uint8_t *lumaFirst = w->currentLuma.data + w->lumaOffset;
        uint8_t *chromaFirst = w->currentChroma.data + w->chromaOffset;
        if constexpr (ReducedShape<k>::stacked)
            return {lumaFirst - luma * w->pictureStructureIndex, chromaFirst - chroma * w->pictureStructureIndex, luma,
                    chroma};
        return k.field ? MacroblockTarget{lumaFirst, chromaFirst, 2 * luma, 2 * chroma}
                       : MacroblockTarget{lumaFirst, chromaFirst, luma, chroma};
    }

    // --- Sources --------------------------------------------------------------------------------------------------

    // Beyond a line's end lies one of the field that the other threads are writing. A vector that leaves the picture is
    // held at its edge, so that such lines are never read and the samples are the same on any number of threads. Eighth
    // size, where slices go in order, does without.
    static PredictionSource holdInside(const SliceWorker *w, PredictionSource a, RowSet rows, int32_t part) {
        if constexpr (k.reduce == 8) return a;
        const Geometry &g = w->stream->geometry;
        const int32_t x = 8 * w->blockX, y = 4 * w->blockY + rows.first(part);
        const int32_t width = 8 * g.blockWidth8, height = 4 * ((g.blockHeight8 + 3) & ~3);
        a.x = std::max(-2 * x, std::min(a.x, 2 * (width - 16 - x)));
        a.y = std::max(-2 * y, std::min(a.y, 2 * (height - rows.count - y)));
        return a;
    }

    // Vector r of direction s for some rows, read from the lines of parity `line`.
    static PredictionSource source(const SliceWorker *w, int32_t s, MotionVector v, int32_t line,
                                   RowSet rows = kAllRows, int32_t part = 0) {
        // The second field of a P frame finds the other parity in the field decoded just before, of the same frame.
        if (k.field && !k.b && w->secondFieldFlag && line != w->pictureStructureIndex)
            return holdInside(w, {&w->currentLuma, &w->currentChroma, v.x, v.y, line}, rows, part);
        if (s == kForward) return {&w->forwardLuma, &w->forwardChroma, v.x, v.y, line};
        return {&w->backwardLuma, &w->backwardChroma, v.x, v.y, line};
    }

    static PredictionSource frameSource(const SliceWorker *w, int32_t s) {
        const PictureHeaderRecord &p = w->stream->headers.picture;
        const int32_t fullPel = (s == kForward ? p.fullPelForward : p.fullPelBackward) ? 1 : 0;
        PredictionSource a = source(w, s, w->PMV[0][s], 0);
        a.x *= 1 << fullPel;
        a.y *= 1 << fullPel;
        return a;
    }

    // A frame picture's field vector counts field lines: the predictor's vertical part halved.
    static PredictionSource fieldSource(const SliceWorker *w, int32_t s, int32_t r, RowSet rows = kAllRows) {
        PredictionSource a = source(w, s, w->PMV[r][s], w->macroblock.motionVerticalFieldSelect[r][s], rows, r);
        if (!k.field) a.y >>= 1;
        return a;
    }

    static constexpr LineForm formOf(RowSet rows) {
        return k.field || rows.step == 2 ? LineForm::field : LineForm::frame;
    }

    // A part's rows from one source, or from several together.
    template <RowSet rows, int count, LineForm form = formOf(rows), Combine combine = combineOf<k, count>()>
    static void predictFrom(SliceWorker *w, const MacroblockTarget &t, int32_t part,
                            const PredictionSource (&sources)[count]) {
        if constexpr (k.reduce == 1)
            predictRows<k, rows, count>(w, t, part, sources);
        else if constexpr (k.reduce == 8)
            predictEighth<k, rows, form, count, combine>(w, t, part, sources);
        else
            predictReduced<k, rows, form, count>(w, t, part, sources);
    }

    // --- Motion types ---------------------------------------------------------------------------------------------

    enum MotionType : uint8_t { motionField = 1, motionFrameOr16x8 = 2, motionDualPrime = 3 };

    // Forward, backward or both, as the flags say; `make(s)` gives the source of a direction.
    template <RowSet rows, class Make>
    static void predictDirections(SliceWorker *w, const MacroblockTarget &t, int32_t part, bool forward, bool backward,
                                  const Make &make) {
        if constexpr (k.b) {
            if (forward && backward) return predictFrom<rows, 2>(w, t, part, {make(kForward), make(kBackward)});
            if (backward) return predictFrom<rows, 1>(w, t, part, {make(kBackward)});
        }
        if (forward) predictFrom<rows, 1>(w, t, part, {make(kForward)});
    }

    static void predictFrame(SliceWorker *w, const MacroblockTarget &t, bool forward, bool backward) {
        predictDirections<kAllRows>(w, t, 0, forward, backward, [w](int32_t s) { return frameSource(w, s); });
    }

    static void predictFields(SliceWorker *w, const MacroblockTarget &t, bool forward, bool backward) {
        if constexpr (k.reduce == 8) return predictFieldsTogether(w, t, forward, backward);
        for (int32_t r = 0; r < 2; ++r)
            predictDirections<kFieldRows>(w, t, r, forward, backward,
                                          [w, r](int32_t s) { return fieldSource(w, s, r); });
    }

    // Eighth size knows no lines of a parity: both fields' predictions cover all rows and are averaged.
    static void predictFieldsTogether(SliceWorker *w, const MacroblockTarget &t, bool forward, bool backward) {
        const auto fields = [w](int32_t s, int32_t r) { return fieldSource(w, s, r); };
        if (k.b && forward && backward)
            return predictTogether<4>(
                w, t, {fields(kForward, 0), fields(kForward, 1), fields(kBackward, 0), fields(kBackward, 1)});
        const int32_t s = k.b && backward ? kBackward : kForward;
        if (forward || backward) predictTogether<2>(w, t, {fields(s, 0), fields(s, 1)});
    }

    template <int count>
    static void predictTogether(SliceWorker *w, const MacroblockTarget &t, const PredictionSource (&sources)[count]) {
        predictFrom<kAllRows, count, LineForm::field, Combine::sum>(w, t, 0, sources);
    }

    static void predictField(SliceWorker *w, const MacroblockTarget &t, bool forward, bool backward) {
        predictDirections<kAllRows>(w, t, 0, forward, backward, [w](int32_t s) { return fieldSource(w, s, 0); });
    }

    static void predict16x8(SliceWorker *w, const MacroblockTarget &t, bool forward, bool backward) {
        for (int32_t r = 0; r < 2; ++r)
            predictDirections<kHalfRows>(w, t, r, forward, backward,
                                         [w, r](int32_t s) { return fieldSource(w, s, r, kHalfRows); });
    }

    // Half of v, rounding half away from zero.
    static constexpr int32_t halfAway(int32_t v) { return v < 0 ? -((1 - v) >> 1) : (v + 1) >> 1; }

    static MotionVector derived(const SliceWorker *w, int32_t x, int32_t y, int32_t correction) {
        const MacroblockRecord &m = w->macroblock;
        return {static_cast<int16_t>(halfAway(x) + m.dmVector[0]),
                static_cast<int16_t>(halfAway(y) + m.dmVector[1] + correction)};
    }

    // ISO/IEC 13818-2, 7.6.3.6: the vector scaled to the distance of the fields, and the parities' line offset.
    static void predictDualPrime(SliceWorker *w, const MacroblockTarget &t) {
        const MotionVector v = w->PMV[0][kForward];
        if constexpr (k.field) {
            const int32_t parity = w->pictureStructureIndex;
            w->derivedVector[0] = derived(w, v.x, v.y, 2 * parity - 1);
            predictFrom<kAllRows, 2>(
                w, t, 0, {source(w, kForward, v, parity), source(w, kForward, w->derivedVector[0], 1 - parity)});
        } else {
            const int32_t y = v.y >> 1;
            const bool topFirst = w->stream->headers.pictureCoding.topFieldFirst != 0;
            const int32_t distance[2] = {topFirst ? 1 : 3, topFirst ? 3 : 1};
            PredictionSource same[2], other[2];
            for (int32_t parity = 0; parity < 2; ++parity) {
                w->derivedVector[parity] = derived(w, v.x * distance[parity], y * distance[parity], 2 * parity - 1);
                same[parity] = source(w, kForward, v, parity);
                same[parity].y = y;
                other[parity] = source(w, kForward, w->derivedVector[parity], 1 - parity);
            }
            if constexpr (k.reduce == 8) return predictTogether<4>(w, t, {same[0], same[1], other[0], other[1]});
            for (int32_t parity = 0; parity < 2; ++parity)
                predictFrom<kFieldRows, 2>(w, t, parity, {same[parity], other[parity]});
        }
    }

    // Motion type 0 and an impossible one predict nothing.
    static void predict(SliceWorker *w, bool forward, bool backward) {
        const MacroblockTarget t = target(w);
        const uint8_t type = k.field ? w->macroblock.fieldMotionType : w->macroblock.frameMotionType;
        if (type == motionField)
            k.field ? predictField(w, t, forward, backward) : predictFields(w, t, forward, backward);
        else if (type == motionFrameOr16x8)
            k.field ? predict16x8(w, t, forward, backward) : predictFrame(w, t, forward, backward);
        else if (!k.b && type == motionDualPrime)
            predictDualPrime(w, t);
    }

    // The forward reference's co-located macroblock; in a field picture its field of the same parity. Eighth size
    // takes the stored rows as they are.
    static void predictColocated(SliceWorker *w) {
        const int32_t parity = k.field && !ReducedShape<k>::stacked ? w->pictureStructureIndex : 0;
        const PredictionSource sources[1] = {{&w->forwardLuma, &w->forwardChroma, 0, 0, parity}};
        predictFrom<kAllRows, 1, LineForm::copy>(w, target(w), 0, sources);
    }

    // --- Macroblocks ----------------------------------------------------------------------------------------------

    static void raise(SliceWorker *w, uint32_t code) { raiseEvent(w->stream, &w->event, code); }

    static void write(SliceWorker *w) {
        if (w->outputY) writerOf<k>(w->stream)(w);
    }

    static void skipP(SliceWorker *w) {
        ClearMotionPredictors(w);
        predictColocated(w);
        raise(w, eventMacroblockDone);
        write(w);
    }

    // Repeats the last macroblock's directions with the present predictors and no residual. Behind an intra macroblock
    // there are none; the application's buffer gets zeros then.
    static void skipB(SliceWorker *w) {
        const bool forward = w->previousMotionForward != 0, backward = w->previousMotionBackward != 0;
        if (w->outputY && !forward && !backward) std::memset(w->macroblockPixels, 0, sizeof w->macroblockPixels);
        predict(w, forward, backward);
        constexpr bool silent = !k.mpeg1 && k.chroma == chroma422 && k.field;
        if (!silent || w->outputY) raise(w, eventMacroblockDoneInter);
        write(w);
    }

    // Macroblocks between the last coded one and this one; the position ends on this one.
    static void skipTo(SliceWorker *w) {
        MacroblockRecord &m = w->macroblock;
        const MacroblockRecord saved = m;
        w->residual = kZeroResidual;
        w->lumaResidual = w->chromaResidual = false;
        if constexpr (k.b) {
            if constexpr (k.field) {
                m.fieldMotionType = motionField;
                m.motionVerticalFieldSelect[0][0] = m.motionVerticalFieldSelect[0][1] = w->pictureStructureIndex;
            } else {
                m.frameMotionType = motionFrameOr16x8;
            }
        }
        for (uint32_t n = m.macroblockIncrement; n > 1 && insidePicture(w); --n) {
            setOffsets(w);
            k.b ? skipB(w) : skipP(w);
            step(w);
        }
        if constexpr (k.b) {
            m.frameMotionType = saved.frameMotionType;
            m.fieldMotionType = saved.fieldMotionType;
            std::memcpy(m.motionVerticalFieldSelect, saved.motionVerticalFieldSelect,
                        sizeof m.motionVerticalFieldSelect);
        }
        w->residual = residualArea(w);
    }

    static const int16_t *residualArea(const SliceWorker *w) {
        return k.reduce == 2 || k.reduce == 4 ? w->reducedResidual : w->blocks;
    }

    static void reconstructIntra(SliceWorker *w) {
        if (k.decodesToSamples() && w->outputY)
            LocalIntraTransform(w);
        else
            w->stream->chosen.intraReconstruct(w);
    }

    static void decodeIntra(SliceWorker *w) {
        MacroblockRecord &m = w->macroblock;
        if constexpr (k.b) {
            // Flags as in the stream, so 0: skipped macroblocks behind this one predict nothing.
            w->previousMotionForward = m.macroblockMotionForward;
            w->previousMotionBackward = m.macroblockMotionBackward;
        }
        if (!k.mpeg1 && w->stream->headers.pictureCoding.concealmentMotionVectors) {
            m.macroblockMotionForward = 1;
            if constexpr (k.b) m.macroblockMotionBackward = 0;
            ReconstructMotionVectors(w);
        } else {
            ClearMotionPredictors(w);
        }
        // The order is the applications': B pictures of 4:2:0 and 4:2:2 tell of an intra macroblock before its samples
        // stand, MPEG-1 B pictures not at all.
        constexpr bool eventFirst = k.b && !k.mpeg1 && k.chroma != chroma444;
        constexpr bool eventNever = k.b && k.mpeg1;
        if constexpr (eventFirst) raise(w, eventMacroblockDone);
        reconstructIntra(w);
        if constexpr (!eventFirst && !eventNever) raise(w, eventMacroblockDone);
        write(w);
    }

    static void decodePredicted(SliceWorker *w) {
        const MacroblockRecord &m = w->macroblock;
        // At eighth size the rounding leaves something in an uncoded pair too, so one coded block has all of them
        // added.
        w->lumaResidual = (m.codedBlockMask & (k.reduce == 8 ? 0xFFF00000 : 0xF0000000)) != 0;
        w->chromaResidual = (m.codedBlockMask & (k.reduce == 8 ? 0xFFF00000 : 0x0FF00000)) != 0;
        if constexpr (k.b) {
            w->previousMotionForward = m.macroblockMotionForward;
            w->previousMotionBackward = m.macroblockMotionBackward;
            ReconstructMotionVectors(w);
            predict(w, m.macroblockMotionForward != 0, m.macroblockMotionBackward != 0);
        } else if (m.macroblockMotionForward) {
            ReconstructMotionVectors(w);
            predict(w, true, false);
        } else {
            ClearMotionPredictors(w);
            predictColocated(w);
        }
        raise(w, eventMacroblockDone);
        write(w);
    }

    static void decode(SliceWorker *w, int32_t index) {
        w->residual = residualArea(w);
        if (index == 0) {
            positionFromAddress(w);
            ClearMotionPredictors(w);
        } else {
            step(w);
            if (w->macroblock.macroblockIncrement > 1) skipTo(w);
        }
        if (!insidePicture(w)) return;
        setOffsets(w);
        if (w->macroblock.macroblockIntra)
            decodeIntra(w);
        else
            decodePredicted(w);
    }
};

}  // namespace tvk
