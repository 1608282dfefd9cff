// SPDX-License-Identifier: BSD-2-Clause
// The reconstruction stages: where blocks go, which form each takes, and that nothing else is written.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "mpeg12/p4idct/local_intra.h"
#include "mpeg12/worker.h"
#include "reference/idct_reference.h"

namespace tvk {
namespace {

using reference::Block;
using reference::Picture;

constexpr int kStride = 96, kLines = 64;

struct Case {
    uint32_t chroma;
    uint32_t structure;
    uint8_t dctType;
};

const Case kCases[] = {{chroma420, structureFrame, 0},       {chroma420, structureFrame, 1},
                       {chroma420, structureTopField, 0},    {chroma420, structureBottomField, 0},
                       {chroma422, structureFrame, 0},       {chroma422, structureFrame, 1},
                       {chroma422, structureBottomField, 0}, {chroma444, structureFrame, 0},
                       {chroma444, structureFrame, 1},       {chroma444, structureTopField, 0}};

// A worker over two planes of fill, standing at a macroblock off the origin.
struct Stage {
    VideoStream *stream = static_cast<VideoStream *>(std::calloc(1, sizeof(VideoStream)));
    SliceWorker *worker = static_cast<SliceWorker *>(std::aligned_alloc(64, sizeof(SliceWorker)));
    std::vector<uint8_t> luma = std::vector<uint8_t>(kStride * kLines, 0xA5);
    std::vector<uint8_t> chroma = std::vector<uint8_t>(kStride * kLines, 0xA5);
    std::vector<uint8_t> wantLuma = luma, wantChroma = chroma;
    std::vector<Block> blocks;  // in bitstream order
    Case kind;
    bool frame;

    Stage(const Case &c, int16_t range) : kind(c), frame(c.structure == structureFrame) {
        std::memset(static_cast<void *>(worker), 0, sizeof *worker);
        worker->stream = stream;
        stream->headers.pictureCoding.pictureStructure = static_cast<uint8_t>(c.structure);
        stream->headers.sequenceExtension.chromaFormat = c.chroma;
        stream->headers.blocksPerMacroblock = (1U << c.chroma) + 4;
        selectBlockPlacement(stream);
        worker->macroblock.dctType = c.dctType;
        worker->macroblock.codedBlockMask = 0xFFF00000;
        worker->pictureStructureIndex = static_cast<uint8_t>(c.structure - 1);
        worker->blockX = 2;
        worker->blockY = frame ? 2 : 4;
        worker->chromaX = c.chroma == chroma444 ? 4 : 2;
        worker->chromaY = c.chroma == chroma420 ? worker->blockY / 2 : worker->blockY;
        worker->currentLuma = {luma.data(), kStride * kLines, kStride};
        worker->currentChroma = {chroma.data(), kStride * kLines, kStride};
        std::mt19937 random(3);
        for (int i = 0; i < kMaxBlocks; ++i) {
            Block b;
            for (int16_t &x : b)
                x = static_cast<int16_t>(static_cast<int>(random() % static_cast<unsigned>(2 * range + 1)) - range);
            b[0] = static_cast<int16_t>(b[0] + 1500);
            blocks.push_back(b);
        }
        loadIntra();
    }
    ~Stage() {
        std::free(worker);
        std::free(stream);
    }
    Stage(const Stage &) = delete;

    int count() const { return static_cast<int>(stream->headers.blocksPerMacroblock); }
    bool fieldDct() const { return frame && kind.dctType == 1; }
    void loadIntra() {
        for (int i = 0; i < kMaxBlocks; ++i)
            std::memcpy(worker->blocks + 64 * i, blocks[static_cast<size_t>(i)].data(), 128);
    }
    void setLow(std::initializer_list<int> list) {
        for (int i : list) worker->lowBlockMask |= 0x80000000U >> i;
    }

    // Where sample (x, y) of block i goes, `size` samples a side.
    uint8_t &wanted(int i, int x, int y, int size) {
        const int parity = kind.structure == structureBottomField ? 1 : 0;
        if (i < 4) {
            const int h = i / 2, w = i % 2;
            const int line = !frame ? 2 * size * h + parity + 2 * y : fieldDct() ? h + 2 * y : size * h + y;
            return wantLuma[static_cast<size_t>((size * worker->blockY + line) * kStride + (worker->blockX + w) * size +
                                                x)];
        }
        const int c = i - 4, h = (c >> 1) & 1;
        const bool interleaved = fieldDct() && kind.chroma != chroma420;
        const int line = !frame ? 2 * size * h + parity + 2 * y : interleaved ? h + 2 * y : size * h + y;
        const int column = size * worker->blockX * (kind.chroma == chroma444 ? 2 : 1) + 2 * size * (c / 4);
        const int first = kind.chroma == chroma420 ? size * worker->blockY / 2 : size * worker->blockY;
        return wantChroma[static_cast<size_t>((first + line) * kStride + column + 2 * x + (c & 1))];
    }
    template <class Values>
    void want(int i, int size, const Values &values) {
        const int *value = values.data();
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x) wanted(i, x, y, size) = static_cast<uint8_t>(reference::pixel(*value++));
    }
    void expectPlanes() const {
        EXPECT_TRUE(luma == wantLuma);
        EXPECT_TRUE(chroma == wantChroma);
    }
    const Block &block(int i) const { return blocks[static_cast<size_t>(i)]; }

    // Puts the blocks where a non-intra macroblock has them.
    void loadResidual() {
        std::memset(worker->blocks, 0, sizeof worker->blocks);
        for (int i = 0; i < count(); ++i)
            for (int r = 0; r < 8; ++r)
                std::memcpy(residualRow(i, r), &blocks[static_cast<size_t>(i)][static_cast<size_t>(8 * r)], 16);
    }
    bool interleaved(int i) const { return fieldDct() && (i < 4 || kind.chroma != chroma420); }
    int entry(int i) const { return stream->geometry.blockPlacement[fieldDct() ? 1 : 0][i]; }
    // Runs a residual stage for each coded block.
    void transformCoded(StageFunction stage, uint32_t coded) {
        for (int i = 0; i < count(); ++i) {
            if ((coded << i >> 31) == 0) continue;
            const bool low = (worker->lowBlockMask << i >> 31) != 0;
            worker->codedBlock = {worker->blocks + 4 * entry(i), entry(i), interleaved(i),
                                  low ? BlockForm::low : BlockForm::full};
            stage(worker);
        }
    }
    int16_t *residualRow(int i, int r) { return worker->blocks + 4 * entry(i) + r * (interleaved(i) ? 16 : 8); }
};

TEST(IntraStages, fastBlocksLandByStructureDctTypeAndFormat) {
    for (const Case &c : kCases) {
        Stage s(c, 200);
        s.setLow({1, 2, 4, 7, 10});
        const auto low = [&](int i) { return (s.worker->lowBlockMask << i >> 31) != 0; };
        for (int i = 0; i < s.count(); ++i)
            s.want(i, 8, reference::fast(s.block(i), i < 4 || i % 2 == 0 ? low(i) : low(i - 2)));
        IntraFast(s.worker);
        s.expectPlanes();
    }
}

TEST(IntraStages, exactBlocksLandByStructureDctTypeAndFormat) {
    for (const Case &c : kCases) {
        Stage s(c, 200);
        s.setLow({0, 1, 2, 3, 4, 5});  // is not looked at
        for (int i = 0; i < s.count(); ++i) s.want(i, 8, reference::exact(s.block(i)));
        IntraExact(s.worker);
        s.expectPlanes();
    }
}

TEST(IntraStages, lowLumaBlockThreeLimitsCrToItsCorner) {
    Stage s(kCases[0], 200);
    s.setLow({3});
    Block corner{};
    for (size_t r = 0; r < 4; ++r)
        for (size_t c = 0; c < 4; ++c) corner[8 * r + c] = s.block(5)[8 * r + c];
    IntraFast(s.worker);
    const Picture want = reference::fast(corner, true), full = reference::fast(s.block(5), false);
    int different = 0;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const uint8_t cr = s.chroma[static_cast<size_t>((8 + y) * kStride + 16 + 2 * x + 1)];
            EXPECT_EQ(cr, reference::pixel(want[static_cast<size_t>(8 * y + x)]));
            different += cr != reference::pixel(full[static_cast<size_t>(8 * y + x)]);
        }
    EXPECT_GT(different, 0);
}

TEST(IntraStages, blocksOfOneValueGiveWhatTheOtherFormsGive) {
    for (const Case &c : kCases)
        for (StageFunction stage : {IntraFast, IntraExact, IntraHalf, IntraQuarter, LocalIntraFast}) {
            if (stage == static_cast<StageFunction>(LocalIntraFast) && c.chroma == chroma444) continue;
            Stage plain(c, 200), marked(c, 200);
            for (Stage *s : {&plain, &marked}) {
                for (size_t i : {0, 3, 5, 6, 8, 11})
                    std::fill(s->blocks[i].begin() + 1, s->blocks[i].end(), static_cast<int16_t>(0));
                s->setLow({0, 1, 3, 5, 9});
                s->loadIntra();
            }
            for (int i : {0, 3, 5, 6, 8, 11}) marked.worker->dcOnlyBlockMask |= 0x80000000U >> i;
            stage(plain.worker);
            stage(marked.worker);
            EXPECT_TRUE(plain.luma == marked.luma);
            EXPECT_TRUE(plain.chroma == marked.chroma);
            EXPECT_EQ(std::memcmp(plain.worker->macroblockPixels, marked.worker->macroblockPixels, 768), 0);
        }
}

TEST(IntraStages, bottomFieldBlockTwoBeginsSeventeenLinesDown) {
    Stage s({chroma420, structureBottomField, 0}, 200);
    IntraFast(s.worker);
    const Picture want = reference::fast(s.block(2), false);
    for (int y = 0; y < 8; ++y)
        EXPECT_EQ(s.luma[static_cast<size_t>((8 * s.worker->blockY + 17 + 2 * y) * kStride + 16)],
                  reference::pixel(want[static_cast<size_t>(8 * y)]));
    EXPECT_EQ(s.worker->lumaOffset, static_cast<uint32_t>((kStride * 4 + 2) * 8 + kStride));
    EXPECT_EQ(s.worker->chromaOffset, static_cast<uint32_t>((kStride * 2 + 2) * 8 + kStride));
}

TEST(IntraStages, fieldDctInterleavesLumaButNot420Chroma) {
    Stage s({chroma420, structureFrame, 1}, 200);
    IntraFast(s.worker);
    const Picture upper = reference::fast(s.block(0), false), lower = reference::fast(s.block(2), false);
    const Picture cb = reference::fast(s.block(4), false);
    for (int y = 0; y < 8; ++y) {
        EXPECT_EQ(s.luma[static_cast<size_t>((16 + 2 * y) * kStride + 16)],
                  reference::pixel(upper[static_cast<size_t>(8 * y)]));
        EXPECT_EQ(s.luma[static_cast<size_t>((17 + 2 * y) * kStride + 16)],
                  reference::pixel(lower[static_cast<size_t>(8 * y)]));
        EXPECT_EQ(s.chroma[static_cast<size_t>((8 + y) * kStride + 16)],
                  reference::pixel(cb[static_cast<size_t>(8 * y)]));
    }
}

TEST(IntraStages, block8Of444LiesSixteenBytesRightOfBlock4) {
    Stage s({chroma444, structureFrame, 0}, 200);
    IntraFast(s.worker);
    const Picture four = reference::fast(s.block(4), false), eight = reference::fast(s.block(8), false);
    EXPECT_EQ(s.chroma[16 * kStride + 32], reference::pixel(four[0]));
    EXPECT_EQ(s.chroma[16 * kStride + 32 + 16], reference::pixel(eight[0]));
}

TEST(IntraStages, macroblockThatDoesNotFitItsPlaneWritesNothing) {
    for (StageFunction stage : {IntraFast, IntraExact, IntraHalf, IntraQuarter, IntraEighth})
        for (const Case &c : kCases) {
            Stage s(c, 200);
            s.worker->currentLuma.size = 0;
            stage(s.worker);
            s.expectPlanes();
        }
}

TEST(IntraStages, macroblockAtTheVeryEndOfItsPlaneIsWritten) {
    Stage s({chroma420, structureFrame, 0}, 200);
    const int32_t bytes = (16 + 15) * kStride + 16 + 16;
    s.worker->currentLuma.size = bytes - 1;
    IntraFast(s.worker);
    s.expectPlanes();
    s.worker->currentLuma.size = bytes;
    IntraFast(s.worker);
    EXPECT_FALSE(s.luma == s.wantLuma);
}

TEST(IntraStages, reservedChromaFormatHasNoChroma) {
    for (StageFunction stage : {IntraFast, IntraExact, IntraHalf, IntraQuarter, IntraEighth}) {
        Stage s({chroma420, structureFrame, 0}, 200);
        s.stream->headers.blocksPerMacroblock = 5;
        s.worker->currentChroma = {nullptr, 0, 0};
        stage(s.worker);
        EXPECT_TRUE(s.chroma == s.wantChroma);
        EXPECT_FALSE(s.luma == s.wantLuma);
    }
}

// macroblockPixels under LocalIntraFast and LocalIntraExact.
std::vector<uint8_t> wantLocal(const Stage &s, bool exact) {
    std::vector<uint8_t> want(768, 0);
    const bool field = s.kind.dctType == 1;
    const auto put = [&](const Picture &p, int first, int stride, int step) {
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                want[static_cast<size_t>(first + y * stride + x * step)] =
                    static_cast<uint8_t>(reference::pixel(p[static_cast<size_t>(8 * y + x)]));
    };
    const auto transform = [&](int i) {
        const bool low = i < 4 && (s.worker->lowBlockMask << i >> 31) != 0;
        return exact ? reference::single(s.block(i)) : reference::fast(s.block(i), low);
    };
    constexpr int frameFirst[4] = {0, 8, 128, 136}, fieldFirst[4] = {0, 8, 16, 24};
    for (int i = 0; i < 4; ++i) put(transform(i), field ? fieldFirst[i] : frameFirst[i], field ? 32 : 16, 1);
    const bool chromaField = field && s.kind.chroma == chroma422;
    for (int i = 4; i < s.count(); ++i) {
        const int second = chromaField && !exact ? 272 : 384;
        put(transform(i), (i < 6 ? 256 : second) + (i & 1), chromaField ? 32 : 16, 2);
    }
    return want;
}

TEST(LocalIntra, blocksLandInMacroblockPixels) {
    for (const Case &c : kCases) {
        if (c.chroma == chroma444) continue;
        for (bool exact : {false, true}) {
            Stage s(c, 200);
            s.setLow({0, 2, 4, 5, 6});  // chroma takes the full form whatever the mask says
            s.stream->settings.precision = exact ? 1 : 2;
            LocalIntraTransform(s.worker);
            const auto want = wantLocal(s, exact);
            EXPECT_EQ(std::memcmp(s.worker->macroblockPixels, want.data(), want.size()), 0);
            EXPECT_EQ(s.worker->lumaOffset, static_cast<uint32_t>(8 * (kStride * s.worker->blockY + 2)));
            s.expectPlanes();
        }
    }
}

// DEPARTURE: the rows of the two pairs overlap in one of the two forms only.
TEST(LocalIntra, exact422FieldDctPutsTheSecondPairOverTheFirst) {
    Stage s({chroma422, structureFrame, 1}, 200);
    LocalIntraExact(s.worker);
    EXPECT_EQ(s.worker->macroblockPixels[384], reference::pixel(reference::single(s.block(6))[0]));
    EXPECT_EQ(s.worker->macroblockPixels[272], 0);
    LocalIntraFast(s.worker);
    EXPECT_EQ(s.worker->macroblockPixels[272], reference::pixel(reference::fast(s.block(6), false)[0]));
}

TEST(LocalIntra, neverLeavesItsBufferWith444) {
    Stage s({chroma444, structureFrame, 1}, 200);
    LocalIntraFast(s.worker);
    LocalIntraExact(s.worker);
    const BitWindow untouched{};  // what lies behind the buffer
    EXPECT_EQ(std::memcmp(&s.worker->bits, &untouched, sizeof untouched), 0);
    s.expectPlanes();
}

TEST(ResidualStages, fullSizeBlocksAreTransformedInPlace) {
    for (const Case &c : kCases)
        for (bool exact : {false, true})
            for (uint32_t coded : {0U, 0xFFF00000U, 0xA5A00000U}) {
                Stage s(c, 200);
                s.loadResidual();
                s.setLow({0, 3, 4, 6});
                s.transformCoded(exact ? ResidualExact : ResidualFast, coded);
                for (int i = 0; i < s.count(); ++i) {
                    const bool low = (s.worker->lowBlockMask << i >> 31) != 0;
                    const Picture want = exact ? reference::exact(s.block(i)) : reference::fast(s.block(i), low);
                    for (int r = 0; r < 8; ++r)
                        for (int x = 0; x < 8; ++x) {
                            const size_t at = static_cast<size_t>(8 * r + x);
                            const bool isCoded = (coded << i >> 31) != 0;
                            ASSERT_EQ(s.residualRow(i, r)[x], isCoded ? want[at] : s.block(i)[at]) << i;
                        }
                }
            }
}

TEST(ResidualStages, reducedBlocksLandInTheSmallMacroblockAndUncodedOnesStay) {
    for (const Case &c : kCases)
        for (int size : {4, 2})
            for (uint32_t coded : {0U, 0xFFF00000U, 0xA5A00000U}) {
                Stage s(c, 200);
                s.loadResidual();
                s.setLow({0, 3, 4, 6});
                for (int16_t &x : s.worker->reducedResidual) x = 0x5A5A;
                std::vector<int16_t> want(kMaxBlocks * 16, 0x5A5A);
                for (int i = 0; i < s.count(); ++i) {
                    const int e = s.entry(i);
                    const int bytes = size == 4 ? 4 * (((e >> 1) & ~1) | (e & 2)) : 2 * ((e >> 2) | (e & 2));
                    const bool low = (s.worker->lowBlockMask << i >> 31) != 0;
                    if ((coded << i >> 31) == 0) continue;
                    const bool field = s.interleaved(i) || !s.frame;
                    const auto half = reference::half(s.block(i), low, field);
                    const auto quarter = reference::quarter(s.block(i), low, field);
                    for (int y = 0; y < size; ++y)
                        for (int x = 0; x < size; ++x) {
                            const size_t at = static_cast<size_t>(size * y + x);
                            const int v = size == 4 ? half[at] : quarter[at];
                            const int row = s.interleaved(i) ? 2 * size : size;
                            want[static_cast<size_t>(bytes / 2 + y * row + x)] = static_cast<int16_t>(v);
                        }
                }
                s.transformCoded(size == 4 ? ResidualHalf : ResidualQuarter, coded);
                EXPECT_EQ(s.worker->dirtyReduced, coded != 0);
                ASSERT_EQ(std::memcmp(s.worker->reducedResidual, want.data(), 2 * want.size()), 0);
            }
}

TEST(ReducedIntra, halfBlocksLandByStructureAndChromaGoesByTheOthersMaskBit) {
    for (const Case &c : kCases) {
        Stage s(c, 200);
        s.setLow({1, 2, 4, 7, 10});
        const auto low = [&](int i) { return (s.worker->lowBlockMask << i >> 31) != 0; };
        for (int i = 0; i < s.count(); ++i)
            s.want(i, 4, reference::half(s.block(i), low(i < 4 ? i : i ^ 1), s.interleaved(i) || !s.frame));
        IntraHalf(s.worker);
        s.expectPlanes();
    }
}

TEST(ReducedIntra, quarterBlocksLandByStructure) {
    for (const Case &c : kCases) {
        Stage s(c, 200);
        s.setLow({1, 2, 4, 7, 10});
        for (int i = 0; i < s.count(); ++i)
            s.want(
                i, 2,
                reference::quarter(s.block(i), (s.worker->lowBlockMask << i >> 31) != 0, s.interleaved(i) || !s.frame));
        IntraQuarter(s.worker);
        s.expectPlanes();
    }
}

void setCompact(Stage &s, std::initializer_list<int16_t> values) {
    std::memset(s.worker->blocks, 0, sizeof s.worker->blocks);
    std::copy(values.begin(), values.end(), s.worker->blocks);
}

TEST(EighthIntra, frameDctGivesOneSampleABlock) {
    Stage s({chroma420, structureFrame, 0}, 1);
    setCompact(s, {80, 163, -50, 2047, 400, 402});
    IntraEighth(s.worker);
    const uint8_t want[] = {10, 21, 0, 255, 50, 50};
    for (int i = 0; i < 6; ++i) s.wanted(i, 0, 0, 1) = want[i];
    s.expectPlanes();
}

TEST(EighthIntra, formatsPlaceTheirChromaSamples) {
    for (uint32_t chroma : {uint32_t{chroma422}, uint32_t{chroma444}}) {
        Stage s({chroma, structureFrame, 0}, 1);
        setCompact(s, {8, 16, 24, 32, 40, 48, 56, 64, 72, 80, 88, 96});
        IntraEighth(s.worker);
        for (int i = 0; i < s.count(); ++i) s.wanted(i, 0, 0, 1) = static_cast<uint8_t>(i + 1);
        s.expectPlanes();
    }
}

TEST(EighthIntra, fieldDctAddsStackedBlocksAndKeeps420ChromaWhole) {
    Stage s({chroma420, structureFrame, 1}, 1);
    // Pairs DC, AC; places 0 and 2 share a column, as do 1 and 3.
    setCompact(s, {800, 100, 400, 0, 600, -300, 500, 7, 333, 900, 5, 0});
    IntraEighth(s.worker);
    // D = 1400, A = -200: top = (4096 * 1400 - 3711 * 200 + 4096) >> 13 = 609, bottom = 791
    EXPECT_EQ(s.luma[2 * kStride + 2], (609 + 10) >> 3);
    EXPECT_EQ(s.luma[3 * kStride + 2], (791 + 10) >> 3);
    // D = 900, A = 7: top = (3686400 + 25977 + 4096) >> 13 = 453, bottom = 447
    EXPECT_EQ(s.luma[2 * kStride + 3], (453 + 10) >> 3);
    EXPECT_EQ(s.luma[3 * kStride + 3], (447 + 10) >> 3);
    EXPECT_EQ(s.chroma[1 * kStride + 2], (333 + 5) >> 3);
    EXPECT_EQ(s.chroma[1 * kStride + 3], (5 + 5) >> 3);
    EXPECT_EQ(s.chroma[2 * kStride + 2], 0xA5);
}

TEST(EighthIntra, firstFieldFillsBothLinesAndSecondFieldWritesNothing) {
    for (uint32_t structure : {uint32_t{structureTopField}, uint32_t{structureBottomField}}) {
        Stage s({chroma420, structure, 0}, 1);
        setCompact(s, {800, 100, 400, 0, 640, 0, 80, 0, 160, 0, 240, 0});
        s.worker->secondFieldFlag = 1;
        IntraEighth(s.worker);
        s.expectPlanes();
        s.worker->secondFieldFlag = 0;
        IntraEighth(s.worker);
        const auto luma = [&](int x, int y) { return s.luma[static_cast<size_t>((4 + y) * kStride + 2 + x)]; };
        // plus = (2 * (4096 * 800 + 3711 * 100) + 4096) >> 13 = 891, minus = 709
        EXPECT_EQ(luma(0, 0), (891 + 5) >> 3);
        EXPECT_EQ(luma(0, 1), (709 + 5) >> 3);
        EXPECT_EQ(luma(1, 0), 50);
        EXPECT_EQ(luma(0, 2), 80);
        EXPECT_EQ(luma(1, 3), 10);
        EXPECT_EQ(luma(0, 4), 0xA5);
        EXPECT_EQ(s.chroma[2 * kStride + 2], 20);
        EXPECT_EQ(s.chroma[3 * kStride + 3], 30);
        EXPECT_EQ(s.chroma[4 * kStride + 2], 0xA5);
    }
}

// DEPARTURE: the shift of a negative sum is logical.
TEST(EighthIntra, negativeSumOfAFieldPictureGives255) {
    Stage s({chroma420, structureTopField, 0}, 1);
    setCompact(s, {100, 2000, -400, 0});
    IntraEighth(s.worker);
    EXPECT_EQ(s.luma[5 * kStride + 2], 255);  // 100 - 0.906 * 2000
    EXPECT_EQ(s.luma[4 * kStride + 3], 255);
    EXPECT_EQ(s.luma[4 * kStride + 2], (1912 + 5) >> 3);
}

TEST(EighthResidual, framePicturesHoldOneValueABlock) {
    Stage plain({chroma420, structureFrame, 0}, 1);
    setCompact(plain, {80, -80, -5, -6, 3, 4});
    ResidualEighth(plain.worker);
    const int16_t want[6] = {10, -10, 0, -1, 1, 1};
    EXPECT_EQ(std::memcmp(plain.worker->blocks, want, sizeof want), 0);

    Stage interleaved({chroma422, structureFrame, 1}, 1);
    setCompact(interleaved, {800, 100, 400, 0, 600, -300, 500, 7, 0, 0, -800, 0, 0, 0, -800, 0});
    ResidualEighth(interleaved.worker);
    // A pair of zeros gives (0 + 10) >> 3.
    const int16_t wantInterleaved[8] = {77, 57, 100, 57, 1, -99, 1, -99};
    EXPECT_EQ(std::memcmp(interleaved.worker->blocks, wantInterleaved, sizeof wantInterleaved), 0);
}

TEST(EighthResidual, fieldPicturesHoldTwoLinesABlock) {
    Stage s({chroma420, structureTopField, 0}, 1);
    setCompact(s, {800, 100, -400, 0, 100, 2000, 0, 0, 3, 0, 2, 0});
    ResidualEighth(s.worker);
    // (4096 * 800 + 3711 * 100 + 1024) >> 12 = 890; (4096 * 800 - 3711 * 100 + 1024) >> 12 = 709
    const int16_t want[12] = {(890 + 5) >> 3, (709 + 5) >> 3, -50, -50, 239, -214, 0, 0, 1, 1, 0, 0};
    for (int i = 0; i < 12; ++i) EXPECT_EQ(s.worker->blocks[i], want[i]) << i;
}

}  // namespace
}  // namespace tvk
