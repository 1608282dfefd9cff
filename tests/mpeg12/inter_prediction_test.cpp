// SPDX-License-Identifier: BSD-2-Clause
// The 56 inter decoders against the obvious form: every motion type, direction and parity, with and without residual.
#include <algorithm>
#include <string>

#include "mpeg12/inter_scene.h"

namespace tvktest {
namespace {

void runMacroblock(InterScene &s, Motion motion, bool forward, bool backward, int32_t reach) {
    const bool stress = s.random.chance(20);
    s.fill(stress);
    if (s.kind.field) s.setParity(s.random.coin());
    s.worker->secondFieldFlag = s.kind.field && s.random.coin();
    s.coding().topFieldFirst = s.random.coin();
    s.fullPel[0] = !s.kind.field && s.random.chance(30);
    s.fullPel[1] = !s.kind.field && s.random.chance(30);
    s.setMotion(motion, forward, backward);
    s.randomVectors(reach);
    s.randomResidual(stress ? 600 : 120);
    const int32_t column = s.random.range(3, 4), row = s.kind.field ? s.random.range(1, 2) : s.random.range(3, 4);
    s.predict(column, row);
    s.placeBefore(column, row);
    s.decode();
    s.expectPlanes();
}

void runKind(int32_t index) {
    InterScene s(index, static_cast<uint64_t>(index) + 100);
    std::vector<Motion> motions = motionsOf(s.kind);
    if (!s.kind.b) motions.push_back(Motion::none);
    for (const Motion motion : motions)
        for (int32_t directions = 1; directions < (s.kind.b ? 4 : 2); ++directions)
            for (int32_t n = 0; n < 24; ++n) {
                SCOPED_TRACE("kind " + std::to_string(index) + " motion " + std::to_string(static_cast<int>(motion)) +
                             " directions " + std::to_string(directions) + " case " + std::to_string(n));
                runMacroblock(s, motion, directions & 1, directions & 2, n < 8 ? 3 : 24);
                if (testing::Test::HasFatalFailure()) return;
            }
}

struct InterKinds : testing::TestWithParam<int32_t> {};

TEST_P(InterKinds, agreeWithTheObviousForm) {
    runKind(GetParam());
}

std::string nameOf(const testing::TestParamInfo<int32_t> &info) {
    const tvk::PictureKind k = tvk::kindAt(info.param);
    const std::string chroma = k.chroma == 1 ? "420" : k.chroma == 2 ? "422" : "444";
    return std::string(k.mpeg1 ? "mpeg1" : "mpeg2") + "_" + chroma + (k.field ? "_field_" : "_frame_") +
           (k.b ? "B" : "P") + "_reduce" + std::to_string(k.reduce);
}

INSTANTIATE_TEST_SUITE_P(All, InterKinds, testing::Range(0, tvk::kPictureKinds), nameOf);

// The other parity comes from the field decoded just before, of the frame that is being made; the same parity and all
// B pictures read the reference frames.
TEST(InterFields, secondFieldPredictsFromFirstFieldOfSameFrame) {
    for (int32_t index = 0; index < tvk::kKindsPerReduce; ++index)
        for (int32_t select = 0; select < 2; ++select) {
            InterScene s(index, 9);
            if (!s.kind.field) continue;
            std::fill(s.forward.luma.begin(), s.forward.luma.end(), uint8_t{10});
            std::fill(s.current.luma.begin(), s.current.luma.end(), uint8_t{200});
            s.setParity(true);
            s.worker->secondFieldFlag = 1;
            s.setMotion(Motion::field, true, false);
            s.macroblock().motionVerticalFieldSelect[0][0] = static_cast<uint8_t>(select);
            s.placeBefore(3, 1);
            s.decode();
            const size_t written = static_cast<size_t>((8 * 4 + 1) * s.lumaStride + 8 * 6);
            EXPECT_EQ(s.current.luma[written], select == 0 && !s.kind.b ? 200 : 10) << index;
        }
}

// A B picture of these kinds leaves the frame alone while an application's buffer is being filled.
TEST(InterSamples, bPicturesOf420And422DecodeIntoMacroblockPixels) {
    for (int32_t index = 0; index < tvk::kKindsPerReduce; ++index) {
        InterScene s(index, 5);
        if (!s.kind.decodesToSamples()) continue;
        s.fill(false);
        if (s.kind.field) s.setParity(true);
        s.setMotion(s.kind.field ? Motion::field : Motion::frame, true, true);
        s.randomVectors(9);
        s.randomResidual(100);
        s.predict(3, 2);
        const Planes untouched = s.current;
        std::vector<uint8_t> output(256 * 256 * 2);
        s.worker->outputY = s.worker->outputU = s.worker->outputV = output.data();
        s.stream->conversion.outputStride = 128;
        s.stream->conversion.outputRows = 128;
        s.placeBefore(3, 2);
        s.decode();
        ASSERT_TRUE(s.current.luma == untouched.luma && s.current.chroma == untouched.chroma);
        const int32_t lineStep = s.kind.field ? 2 : 1, parity = s.kind.field ? 1 : 0;
        const reference::Place at = s.place(3, 2);
        for (int32_t row = 0; row < 16; ++row)
            for (int32_t x = 0; x < 16; ++x) {
                const int32_t line = 8 * at.blockY + lineStep * row + parity;
                ASSERT_EQ(s.worker->macroblockPixels[16 * row + x],
                          s.want.luma[static_cast<size_t>(line * s.lumaStride + 8 * at.blockX + x)]);
                if (row >= s.picture.chromaRows()) continue;
                const int32_t chromaLine = 8 * at.chromaY + lineStep * row + parity;
                ASSERT_EQ(s.worker->macroblockPixels[256 + 16 * row + x],
                          s.want.chroma[static_cast<size_t>(chromaLine * s.chromaStride + 8 * at.chromaX + x)]);
            }
    }
}

TEST(InterSamples, chromaFormatsOutsideTheTableKeepTheDecoder) {
    InterScene s(2, 5);
    const tvk::InterFunction before = s.stream->chosen.interDecoder;
    ASSERT_NE(before, nullptr);
    s.headers().sequenceExtension.chromaFormat = 0;
    tvk::SelectInterDecoder(s.stream.get());
    EXPECT_EQ(s.stream->chosen.interDecoder, before);
    s.headers().sequenceExtension.chromaFormat = 2;
    s.headers().picture.pictureCodingType = tvk::pictureI;
    tvk::SelectInterDecoder(s.stream.get());
    EXPECT_EQ(s.stream->chosen.interDecoder, before);
    s.headers().picture.pictureCodingType = tvk::pictureB;
    tvk::SelectInterDecoder(s.stream.get());
    EXPECT_NE(s.stream->chosen.interDecoder, before);
}

TEST(InterSamples, mpeg1IgnoresChromaFormatAndStructure) {
    InterScene s(0, 5);
    const tvk::InterFunction before = s.stream->chosen.interDecoder;
    s.headers().sequenceExtension.chromaFormat = 3;
    s.coding().pictureStructure = tvk::structureTopField;
    s.headers().picture.pictureCodingType = tvk::pictureP;
    tvk::SelectInterDecoder(s.stream.get());
    EXPECT_EQ(s.stream->chosen.interDecoder, before);
}

}  // namespace
}  // namespace tvktest
