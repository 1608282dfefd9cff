// SPDX-License-Identifier: BSD-2-Clause
// Macroblock writers: all entries of the table against the obvious form, and what their targets must not lose.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "mpeg12/writers.h"
#include "reference/writers.h"
#include "stream_writer/random.h"

namespace tvktest {
namespace {

using reference::Layout;
using reference::TargetPlanes;
using reference::WriterCase;
using tvk::WriterKind;

// A picture of 64 x 64, or of fewer lines, whose target planes are of the exact size that applications give them.
struct WriterScene {
    static constexpr int32_t kSide = 64;

    WriterKind kind;
    WriterCase c;
    std::unique_ptr<VideoStream> stream = std::make_unique<VideoStream>();
    std::unique_ptr<tvk::SliceWorker> worker = std::make_unique<tvk::SliceWorker>();
    int32_t lumaStride, chromaStride;
    std::vector<uint8_t> luma, chroma;
    TargetPlanes target, want;

    WriterScene(int32_t index, int32_t height) : kind(tvk::writerKindAt(index)) {
        const int32_t stored = kSide / kind.reduce < 32 ? 32 : kSide / kind.reduce;
        lumaStride = stored;
        chromaStride = kind.chroma == tvk::chroma444 ? 2 * stored : stored;
        luma.resize(static_cast<size_t>(lumaStride * stored));
        chroma.resize(static_cast<size_t>(chromaStride * stored));
        c = {static_cast<Layout>(kind.layout),
             kind.reduce,
             kind.chroma,
             kind.field,
             0,
             0,
             0,
             (kSide / kind.reduce + 31) / 32 * 32,
             (height / kind.reduce + 15) / 16 * 16};
        const size_t area = static_cast<size_t>(c.outputStride * c.outputRows);
        const bool packed = c.layout == Layout::yuy2 || c.layout == Layout::uyvy;
        const size_t share = packed ? 0 : area / (c.layout == Layout::yv12 ? 4 : 16);
        target.y.assign(packed ? 2 * area : area, 0xA5);
        target.u.assign(share, 0xA5);
        target.v.assign(share, 0xA5);
        want = target;
        worker->stream = stream.get();
        worker->currentLuma = {luma.data(), static_cast<int32_t>(luma.size()), lumaStride};
        worker->currentChroma = {chroma.data(), static_cast<int32_t>(chroma.size()), chromaStride};
        worker->outputY = target.y.data();
        worker->outputU = target.u.data();
        worker->outputV = target.v.data();
        stream->conversion.outputStride = static_cast<uint32_t>(c.outputStride);
        stream->conversion.outputRows = static_cast<uint32_t>(c.outputRows);
    }

    void fill(Random &random) {
        for (std::vector<uint8_t> *plane : {&luma, &chroma})
            for (uint8_t &v : *plane) v = static_cast<uint8_t>(random.below(256));
        for (uint8_t &v : worker->macroblockPixels) v = static_cast<uint8_t>(random.below(256));
    }

    void place(int32_t column, int32_t row, int32_t parity) {
        c.parity = parity;
        c.blockX = worker->blockX = 2 * column;
        c.blockY = worker->blockY = row * (kind.field ? 4 : 2);
        worker->chromaX = kind.chroma == tvk::chroma444 ? 4 * column : 2 * column;
        worker->chromaY = kind.chroma == tvk::chroma420 ? worker->blockY / 2 : worker->blockY;
        worker->pictureStructureIndex = kind.field ? static_cast<uint8_t>(parity) : 2;
        const int32_t u = kind.unit(), line = kind.field ? parity : 0;
        worker->lumaOffset = static_cast<uint32_t>(lumaStride * (u * worker->blockY + line) + u * worker->blockX);
        worker->chromaOffset = static_cast<uint32_t>(chromaStride * (u * worker->chromaY + line) + u * worker->chromaX);
    }

    uint8_t lumaAt(int row, int x) const {
        if (kind.b && kind.reduce == 1 && kind.chroma != tvk::chroma444) return worker->macroblockPixels[16 * row + x];
        return luma[worker->lumaOffset + static_cast<size_t>(lumaStride * row * (kind.field ? 2 : 1) + x)];
    }
    uint8_t chromaAt(int row, int byte) const {
        if (kind.b && kind.reduce == 1 && kind.chroma != tvk::chroma444)
            return worker->macroblockPixels[256 + 16 * row + byte];
        return chroma[worker->chromaOffset + static_cast<size_t>(chromaStride * row * (kind.field ? 2 : 1) + byte)];
    }

    void write() {
        tvk::macroblockWriterAt(static_cast<uint32_t>(tvk::indexOf(kind)))(worker.get());
        reference::writeMacroblock(
            c, want, [this](int row, int x) { return lumaAt(row, x); },
            [this](int row, int byte) { return chromaAt(row, byte); });
    }
    void expectTarget() const {
        ASSERT_TRUE(target.y == want.y);
        ASSERT_TRUE(target.u == want.u);
        ASSERT_TRUE(target.v == want.v);
    }
};

int32_t entry(tvk::TargetLayout layout, tvk::ChromaFormat chroma, uint8_t reduce = 1, bool field = false) {
    return tvk::indexOf(WriterKind{layout, reduce, field, static_cast<uint8_t>(chroma), false});
}

TEST(Writers, everyEntryAgreesWithTheObviousFormAndWritesNothingElse) {
    Random random(21);
    for (int32_t index = 0; index < tvk::kMacroblockWriters; ++index)
        for (int32_t n = 0; n < 8; ++n) {
            WriterScene s(index, WriterScene::kSide);
            s.fill(random);
            s.place(random.range(0, 3), random.range(0, s.kind.field ? 1 : 3), random.range(0, 1));
            s.write();
            SCOPED_TRACE("entry " + std::to_string(index) + " column " + std::to_string(s.c.blockX) + " row " +
                         std::to_string(s.c.blockY));
            s.expectTarget();
            if (HasFatalFailure()) return;
        }
}

// A field macroblock covers 32 frame lines; where the picture's height is an odd multiple of 16 the lower ones of the
// last row have no place in the target.
TEST(Writers, rowsBelowTheTargetAreLeftOut) {
    Random random(22);
    for (int32_t index = 0; index < tvk::kMacroblockWriters; ++index)
        for (const int32_t height : {48, 16})
            for (int32_t parity = 0; parity < 2; ++parity) {
                WriterScene s(index, height);
                s.fill(random);
                for (int32_t row = 0; row < (s.kind.field ? 2 : 4); ++row) {
                    s.place(2, row, parity);
                    s.write();
                }
                SCOPED_TRACE("entry " + std::to_string(index) + " height " + std::to_string(height));
                s.expectTarget();
                if (HasFatalFailure()) return;
            }
}

TEST(Writers, tableHoldsOneHundredAndTwelveFunctions) {
    std::set<tvk::StageFunction> functions;
    for (uint32_t i = 0; i < tvk::kMacroblockWriters; ++i) {
        ASSERT_NE(tvk::macroblockWriterAt(i), nullptr);
        functions.insert(tvk::macroblockWriterAt(i));
    }
    EXPECT_EQ(functions.size(), 112U);
}

TEST(Writers, entriesThatReadThePlanesAreShared) {
    for (uint32_t i = 0; i < tvk::kMacroblockWriters; i += 2) {
        const uint32_t w = i % 12, r = i / 12 % 4;
        const bool shared = tvk::macroblockWriterAt(i) == tvk::macroblockWriterAt(i + 1);
        EXPECT_EQ(shared, r > 0 || w == 4 || w == 10) << i;
    }
}

TEST(Writers, linesOf420ShareTheirChroma) {
    Random random(23);
    WriterScene s(entry(tvk::TargetLayout::yuy2, tvk::chroma420), WriterScene::kSide);
    s.fill(random);
    s.place(0, 0, 0);
    s.write();
    for (size_t i = 1; i < 32; i += 2) EXPECT_EQ(s.target.y[i], s.target.y[i + 2 * 64]);
}

TEST(Writers, fieldLinesOf420ShareTheirFieldsChroma) {
    Random random(24);
    WriterScene s(entry(tvk::TargetLayout::yuy2, tvk::chroma420, 1, true), WriterScene::kSide);
    s.fill(random);
    s.place(0, 0, 1);
    s.write();
    for (size_t i = 1; i < 32; i += 2) {
        EXPECT_EQ(s.target.y[2 * 64 + i], s.target.y[3 * 2 * 64 + i]);
        EXPECT_EQ(s.target.y[2 * 64 + i], s.chroma[static_cast<size_t>(s.chromaStride) + i / 2]);
    }
}

TEST(Writers, verticalMeanOf422RoundsUpAndHorizontalMeanOf444Truncates) {
    WriterScene planar(entry(tvk::TargetLayout::yv12, tvk::chroma422), WriterScene::kSide);
    planar.place(0, 0, 0);
    planar.chroma[0] = 10;
    planar.chroma[static_cast<size_t>(planar.chromaStride)] = 13;
    planar.write();
    EXPECT_EQ(planar.target.u[0], 12);

    WriterScene packed(entry(tvk::TargetLayout::yuy2, tvk::chroma444), WriterScene::kSide);
    packed.place(0, 0, 0);
    packed.chroma[0] = 10;
    packed.chroma[2] = 13;
    packed.write();
    EXPECT_EQ(packed.target.y[1], 11);
}

TEST(Writers, yv12From444LosesTheLowestBitOfCb) {
    WriterScene s(entry(tvk::TargetLayout::yv12, tvk::chroma444), WriterScene::kSide);
    s.place(0, 0, 0);
    std::fill(s.chroma.begin(), s.chroma.end(), uint8_t{255});
    s.write();
    EXPECT_EQ(s.target.u[0], 254);
    EXPECT_EQ(s.target.v[0], 255);
}

// At eighth size four macroblocks share a sample of a quarter plane: together they write each once.
TEST(Writers, quarterPlanesAtEighthSizeTakeEvenMacroblocks) {
    Random random(25);
    WriterScene s(entry(tvk::TargetLayout::yvu9, tvk::chroma420, 8), WriterScene::kSide);
    s.fill(random);
    for (int32_t row = 0; row < 4; ++row)
        for (int32_t column = 0; column < 4; ++column) {
            s.place(column, row, 0);
            s.write();
        }
    s.expectTarget();
    EXPECT_EQ(s.target.u[0], s.chroma[0]);
    EXPECT_EQ(s.target.u[1], s.chroma[4]);
    EXPECT_EQ(s.target.v[8], s.chroma[static_cast<size_t>(2 * s.chromaStride + 1)]);
}

}  // namespace
}  // namespace tvktest
