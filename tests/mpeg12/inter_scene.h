// SPDX-License-Identifier: BSD-2-Clause
// One predicted macroblock amid random frames: decoded by the picture's inter decoder, and by the obvious form.
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "mpeg12/picture_kind.h"
#include "mpeg12/slice_fixture.h"
#include "reference/prediction.h"
#include "stream_writer/random.h"

namespace tvktest {

enum class Motion { none, frame, fieldsOfFrame, dualOfFrame, field, sixteenByEight, dualOfField };

struct Planes {
    std::vector<uint8_t> luma, chroma;
};

// A picture of 128 x 128, whose planes are of the exact size that frames have.
struct InterScene : SliceState {
    static constexpr int32_t kSide = 128;

    tvk::PictureKind kind;
    reference::PictureCase picture;
    Random random;
    int32_t lumaStride, chromaStride;
    Planes forward, backward, current, want;
    Motion motion = Motion::none;
    bool fullPel[2] = {false, false};
    int16_t lumaResidual[16][16], chromaResidual[16][32];
    uint32_t codedMask = 0;

    explicit InterScene(int32_t index, uint64_t seed)
        : kind(tvk::kindAt(index)), picture{kind.reduce, kind.chroma, kind.field, kind.b}, random(seed) {
        stream->streamType = kind.mpeg1 ? 1 : 2;
        stream->settings.reduceCoefficient = kind.reduce;
        setPictureSize(kSide, kSide);
        setFormat(static_cast<tvk::ChromaFormat>(kind.chroma),
                  kind.field ? tvk::structureTopField : tvk::structureFrame);
        headers().picture.pictureCodingType = kind.b ? tvk::pictureB : tvk::pictureP;
        tvk::SelectInterDecoder(stream.get());
        const int32_t stored = kSide / kind.reduce < 32 ? 32 : kSide / kind.reduce;
        lumaStride = stored;
        chromaStride = kind.chroma == tvk::chroma444 ? 2 * stored : stored;
        const int32_t chromaLines = kind.chroma == tvk::chroma420 && stored > 32 ? stored / 2 : stored;
        for (Planes *p : {&forward, &backward, &current}) {
            p->luma.resize(static_cast<size_t>(lumaStride * stored));
            p->chroma.resize(static_cast<size_t>(chromaStride * chromaLines));
        }
        const auto view = [](std::vector<uint8_t> &plane, int32_t stride) {
            return tvk::PlaneView{plane.data(), static_cast<int32_t>(plane.size()), stride};
        };
        worker->currentLuma = view(current.luma, lumaStride);
        worker->currentChroma = view(current.chroma, chromaStride);
        worker->forwardLuma = view(forward.luma, lumaStride);
        worker->forwardChroma = view(forward.chroma, chromaStride);
        worker->backwardLuma = view(backward.luma, lumaStride);
        worker->backwardChroma = view(backward.chroma, chromaStride);
    }

    void fill(bool extreme) {
        for (Planes *p : {&forward, &backward, &current})
            for (std::vector<uint8_t> *plane : {&p->luma, &p->chroma})
                for (uint8_t &v : *plane)
                    v = extreme ? static_cast<uint8_t>(random.coin() ? 255 : 0)
                                : static_cast<uint8_t>(random.below(256));
        want = current;
    }

    // The macroblock before the one at column, row of macroblocks: the next one decoded is at that place.
    void placeBefore(int32_t column, int32_t row) {
        worker->blockX = 2 * column - 2;
        worker->blockY = row * kind.lumaRowStep();
        worker->chromaX = (column - 1) * (kind.chroma == tvk::chroma444 ? 4 : 2);
        worker->chromaY = kind.chroma == tvk::chroma420 ? worker->blockY / 2 : worker->blockY;
    }
    reference::Place place(int32_t column, int32_t row) const {
        const int32_t y = row * (kind.field ? 4 : 2);
        return {2 * column, y, column * (kind.chroma == tvk::chroma444 ? 4 : 2),
                kind.chroma == tvk::chroma420 ? y / 2 : y};
    }

    void setParity(bool bottom) {
        worker->pictureStructureIndex = bottom;
        coding().pictureStructure = bottom ? tvk::structureBottomField : tvk::structureTopField;
    }

    void setMotion(Motion m, bool useForward, bool useBackward) {
        motion = m;
        MacroblockRecord &r = macroblock();
        r.macroblockIncrement = 1;
        r.macroblockIntra = 0;
        r.macroblockMotionForward = m != Motion::none && useForward;
        r.macroblockMotionBackward = m != Motion::none && useBackward;
        r.motionVectorCount = m == Motion::fieldsOfFrame || m == Motion::sixteenByEight ? 2 : 1;
        r.mvFormat = m == Motion::frame;
        r.dualPrime = m == Motion::dualOfFrame || m == Motion::dualOfField;
        r.frameMotionType = m == Motion::fieldsOfFrame ? 1 : m == Motion::dualOfFrame ? 3 : 2;
        r.fieldMotionType = m == Motion::sixteenByEight ? 2 : m == Motion::dualOfField ? 3 : 1;
        headers().picture.fullPelForward = fullPel[0];
        headers().picture.fullPelBackward = fullPel[1];
    }

    void randomVectors(int32_t reach) {
        for (auto &vector : worker->PMV)
            for (tvk::MotionVector &v : vector)
                v = {static_cast<int16_t>(random.range(-reach, reach)),
                     static_cast<int16_t>(random.range(-reach, reach))};
        for (auto &vector : macroblock().motionVerticalFieldSelect)
            for (uint8_t &select : vector) select = random.coin();
        for (int32_t &d : macroblock().dmVector) d = random.range(-1, 1);
        if (macroblock().motionVectorCount == 1)
            for (int s = 0; s < 2; ++s) worker->PMV[1][s] = worker->PMV[0][s];
    }

    // --- Residual: as rows of samples, and as the blocks that a decoder finds -----------------------------------

    void randomResidual(int32_t reach) {
        codedMask = random.chance(25) ? 0 : 0xFFF00000;
        for (auto &row : lumaResidual)
            for (int16_t &v : row) v = static_cast<int16_t>(random.range(-reach, reach));
        for (auto &row : chromaResidual)
            for (int16_t &v : row) v = static_cast<int16_t>(random.range(-reach, reach));
        // At eighth size one coded block has all of the residual added.
        if (codedMask && random.chance(30)) {
            codedMask = random.coin() ? 0xF0000000 : 0x0FF00000;
            if (kind.reduce != 8) clearUncoded();
        }
        macroblock().codedBlockMask = codedMask;
        storeResidual();
    }

    void clearUncoded() {
        if (!(codedMask & 0xF0000000)) std::memset(lumaResidual, 0, sizeof lumaResidual);
        if (!(codedMask & 0x0FF00000)) std::memset(chromaResidual, 0, sizeof chromaResidual);
    }

    int32_t lumaIndex(int32_t row, int32_t x) const {
        const int32_t u = picture.unit();
        if (kind.reduce == 8) return kind.field ? 2 * (2 * (row / 2) + x) + row % 2 : 2 * row + x;
        if (kind.field) return (row / u * 2 + x / u) * u * u + row % u * u + x % u;
        return 2 * u * u * (x / u) + row * u + x % u;
    }
    int32_t chromaIndex(int32_t row, int32_t byte) const {
        const int32_t u = picture.unit();
        const int32_t component = byte % 2, column = byte / 2 / u, x = byte / 2 % u;
        if (kind.reduce == 8) {
            const int32_t block = 4 + 4 * column + 2 * (kind.field ? row / 2 : row) + component;
            return kind.field ? 2 * block + row % 2 : block;
        }
        if (kind.field) return (4 + 4 * column + 2 * (row / u) + component) * u * u + row % u * u + x;
        const int32_t blocks = kind.chroma == tvk::chroma420 ? 1 : kind.chroma == tvk::chroma422 ? 2 : 4;
        return (4 + blocks * component + 2 * column) * u * u + row * u + x;
    }

    void storeResidual() {
        int16_t *target = kind.reduce == 2 || kind.reduce == 4 ? worker->reducedResidual : worker->blocks;
        for (int32_t row = 0; row < picture.lumaRows(); ++row)
            for (int32_t x = 0; x < picture.lumaBytes(); ++x) target[lumaIndex(row, x)] = lumaResidual[row][x];
        for (int32_t row = 0; row < picture.chromaRows(); ++row)
            for (int32_t x = 0; x < picture.chromaBytes(); ++x) target[chromaIndex(row, x)] = chromaResidual[row][x];
    }

    // --- The obvious form -----------------------------------------------------------------------------------------

    reference::Source source(int s, reference::Vector v, int select) const {
        const bool fromCurrent =
            kind.field && !kind.b && worker->secondFieldFlag && select != worker->pictureStructureIndex;
        // At eighth size the lines that a second field reads may be those that it has just written.
        const Planes &written = picture.stacked() ? want : current;
        const Planes &p = fromCurrent ? written : s == 0 ? forward : backward;
        return {{p.luma.data(), lumaStride}, {p.chroma.data(), chromaStride}, v, select};
    }
    reference::Vector vectorOf(int r, int s) const { return {worker->PMV[r][s].x, worker->PMV[r][s].y}; }

    reference::Source vectorSource(int r, int s) const {
        reference::Vector v = vectorOf(r, s);
        if (motion == Motion::frame) {
            const int scale = fullPel[s] ? 2 : 1;
            return source(s, {v.x * scale, v.y * scale}, 0);
        }
        if (motion == Motion::fieldsOfFrame) v.y = reference::floorDiv(v.y, 2);
        return source(s, v, macroblock_().motionVerticalFieldSelect[r][s]);
    }

    std::vector<reference::Source> group(int r, int s) const {
        if (!(s == 0 ? macroblock_().macroblockMotionForward : macroblock_().macroblockMotionBackward)) return {};
        return {vectorSource(r, s)};
    }

    std::vector<reference::Source> dual(int parity, bool other) const {
        reference::Vector v = vectorOf(0, 0);
        const reference::Vector d = {macroblock_().dmVector[0], macroblock_().dmVector[1]};
        if (!kind.field) v.y = reference::floorDiv(v.y, 2);
        if (!other) return {source(0, v, parity)};
        const bool far = !kind.field && (stream->headers.pictureCoding.topFieldFirst != 0) == (parity == 1);
        return {source(0, reference::dualPrime(v, far ? 3 : 1, d, parity), 1 - parity)};
    }

    reference::RowSources rowSources(int32_t row, int32_t rows) const {
        using Lines = reference::RowSources::Lines;
        const int parity = worker->pictureStructureIndex;
        switch (motion) {
            case Motion::none:
                return {Lines::copy, {source(0, {0, 0}, kind.field ? parity : 0)}, {}};
            case Motion::frame:
                return {Lines::frame, group(0, 0), group(0, 1)};
            case Motion::field:
                return {Lines::field, group(0, 0), group(0, 1)};
            case Motion::sixteenByEight:
                return {Lines::field, group(row >= rows / 2, 0), group(row >= rows / 2, 1)};
            case Motion::dualOfField:
                return {Lines::field, dual(parity, false), dual(parity, true)};
            default:
                return frameFieldSources(row);
        }
    }

    // The fields of a frame, by rows of their parity; at eighth size both fields cover all rows.
    reference::RowSources frameFieldSources(int32_t row) const {
        const auto both = [&](auto part) {
            std::vector<reference::Source> all = part(0), more = part(1);
            all.insert(all.end(), more.begin(), more.end());
            return kind.reduce == 8 ? all : part(row % 2);
        };
        const bool prime = motion == Motion::dualOfFrame;
        return {reference::RowSources::Lines::field, both([&](int f) { return prime ? dual(f, false) : group(f, 0); }),
                both([&](int f) { return prime ? dual(f, true) : group(f, 1); })};
    }

    // A co-located copy in a field picture reads the other lines' references as they are.
    void predictPlane(reference::Place at, bool chroma) {
        const int32_t rows = chroma ? picture.chromaRows() : picture.lumaRows();
        const int32_t bytes = chroma ? picture.chromaBytes() : picture.lumaBytes();
        std::vector<uint8_t> &plane = chroma ? want.chroma : want.luma;
        const int32_t stride = chroma ? chromaStride : lumaStride;
        for (int32_t row = 0; row < rows; ++row) {
            const reference::RowSources sources = rowSources(row, rows);
            const int16_t *residual = chroma ? chromaResidual[row] : lumaResidual[row];
            const int32_t line = picture.unit() * (chroma ? at.chromaY : at.blockY) +
                                 (kind.field && !picture.stacked() ? 2 * row + worker->pictureStructureIndex : row);
            const int32_t column = picture.unit() * (chroma ? at.chromaX : at.blockX);
            for (int32_t x = 0; x < bytes; ++x)
                plane[static_cast<size_t>(line * stride + column + x)] = static_cast<uint8_t>(
                    reference::predictedByte(reference::SampleCase{picture, at, chroma, row, x}, sources,
                                             [&](int byte) { return codedMask ? residual[byte] : 0; }));
        }
    }

    void predict(int32_t column, int32_t row) {
        predictPlane(place(column, row), false);
        predictPlane(place(column, row), true);
    }

    // Decodes the macroblock behind the one that placeBefore() set.
    void decode() { stream->chosen.interDecoder(worker.get(), 1); }

    void expectPlanes() const {
        ASSERT_TRUE(want.luma == current.luma) << "luma at " << firstDifference(want.luma, current.luma, lumaStride);
        ASSERT_TRUE(want.chroma == current.chroma)
            << "chroma at " << firstDifference(want.chroma, current.chroma, chromaStride);
    }

    static std::string firstDifference(const std::vector<uint8_t> &a, const std::vector<uint8_t> &b, int32_t stride) {
        for (size_t i = 0; i < a.size(); ++i)
            if (a[i] != b[i])
                return "line " + std::to_string(i / static_cast<size_t>(stride)) + " byte " +
                       std::to_string(i % static_cast<size_t>(stride)) + ": " + std::to_string(b[i]) +
                       " where it should be " + std::to_string(a[i]);
        return "";
    }

  private:
    const MacroblockRecord &macroblock_() const { return worker->macroblock; }
};

// The motion types that a kind of picture has, beside none.
inline std::vector<Motion> motionsOf(const tvk::PictureKind &k) {
    if (k.mpeg1) return {Motion::frame};
    if (k.field && k.b) return {Motion::field, Motion::sixteenByEight};
    if (k.field) return {Motion::field, Motion::sixteenByEight, Motion::dualOfField};
    if (k.b) return {Motion::frame, Motion::fieldsOfFrame};
    return {Motion::frame, Motion::fieldsOfFrame, Motion::dualOfFrame};
}

}  // namespace tvktest
