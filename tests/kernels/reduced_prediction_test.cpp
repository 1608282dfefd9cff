// SPDX-License-Identifier: BSD-2-Clause
// Prediction at reduced sizes where its rules differ from the usual: phases, rounding of two sources, repeated chroma.
#include <algorithm>
#include <numeric>

#include "mpeg12/inter_scene.h"
#include "mpeg12/reduced_prediction.h"

namespace tvktest {
namespace {

constexpr tvk::PictureKind kindOf(uint8_t reduce, tvk::ChromaFormat chroma, bool b) {
    return {false, static_cast<uint8_t>(chroma), false, b, reduce};
}

void fillPlane(std::vector<uint8_t> &plane, int value) {
    std::fill(plane.begin(), plane.end(), static_cast<uint8_t>(value));
}

TEST(ReducedPrediction, lineWeightsSumToEightAndEvenRowsKeepTheirParity) {
    for (int phase = 0; phase < 18; ++phase) {
        const uint8_t *row = tvk::kFrameLineWeights[phase];
        EXPECT_EQ(std::accumulate(row, row + 4, 0), 8) << phase;
        if (phase % 2 == 0) {
            EXPECT_TRUE(row[0] + row[2] == 0 || row[1] + row[3] == 0) << phase;
        }
    }
}

TEST(ReducedPrediction, verticalPartsSplitOverStoredLines) {
    using tvk::LineForm;
    constexpr auto half = kindOf(2, tvk::chroma420, false), quarter = kindOf(4, tvk::chroma420, false),
                   eighth = kindOf(8, tvk::chroma420, false);
    EXPECT_EQ(tvk::splitVertical<half>(-1, LineForm::frame, 0).line, -2);
    EXPECT_EQ(tvk::splitVertical<half>(-1, LineForm::frame, 0).phaseY, 3);
    EXPECT_EQ(tvk::splitVertical<half>(7, LineForm::field, 1).line, 3);
    EXPECT_EQ(tvk::splitVertical<half>(7, LineForm::field, 1).phaseY, 3);
    EXPECT_EQ(tvk::splitVertical<quarter>(17, LineForm::frame, 0).line, 2);
    EXPECT_EQ(tvk::splitVertical<quarter>(17, LineForm::frame, 0).phaseY, 1);
    EXPECT_EQ(tvk::splitVertical<quarter>(-1, LineForm::field, 1).line, -1);
    EXPECT_EQ(tvk::splitVertical<eighth>(-1, LineForm::frame, 0).line, -1);
    EXPECT_EQ(tvk::splitVertical<eighth>(-1, LineForm::frame, 0).phaseY, 15);
    EXPECT_EQ(tvk::splitVertical<eighth>(7, LineForm::field, 1).phaseY, 15);
    EXPECT_EQ(tvk::splitVertical<eighth>(8, LineForm::field, 1).phaseY, 1);
}

// At eighth size 15 half samples are 15 sixteenths of a stored sample.
TEST(ReducedPrediction, fifteenHalfSamplesStayWithinAStoredSample) {
    InterScene s(tvk::indexOf(kindOf(8, tvk::chroma420, false)), 1);
    fillPlane(s.forward.luma, 0);
    const size_t first = static_cast<size_t>(6 * s.lumaStride + 6);
    s.forward.luma[first + 1] = 160;
    s.setMotion(Motion::frame, true, false);
    s.worker->PMV[0][0] = {15, 0};
    s.placeBefore(3, 3);
    s.decode();
    EXPECT_EQ(s.current.luma[first], 150);
    EXPECT_EQ(s.current.luma[first + 1], 10);
}

TEST(ReducedPrediction, zeroVectorCopiesAtEverySize) {
    for (const uint8_t reduce : {uint8_t{2}, uint8_t{4}, uint8_t{8}}) {
        InterScene s(tvk::indexOf(kindOf(reduce, tvk::chroma422, false)), 1);
        s.fill(false);
        s.setMotion(Motion::frame, true, false);
        s.placeBefore(3, 3);
        s.decode();
        const int32_t u = s.picture.unit();
        for (int32_t row = 0; row < 2 * u; ++row)
            for (int32_t x = 0; x < 2 * u; ++x) {
                const size_t at = static_cast<size_t>((6 * u + row) * s.lumaStride + 6 * u + x);
                EXPECT_EQ(s.current.luma[at], s.forward.luma[at]);
                EXPECT_EQ(s.current.chroma[at], s.forward.chroma[at]);
            }
    }
}

// DEPARTURE(quarter-size 4:4:4 chroma): the vector's kernels repeat the left half, the copies do not.
TEST(ReducedPrediction, quarterSizeRepeatsTheLeftHalfOf444ChromaUnlessItCopies) {
    for (const Motion motion : {Motion::frame, Motion::fieldsOfFrame, Motion::none}) {
        InterScene s(tvk::indexOf(kindOf(4, tvk::chroma444, false)), 1);
        s.fill(false);
        s.setMotion(motion, true, false);
        s.macroblock().motionVerticalFieldSelect[1][0] = 1;
        s.placeBefore(3, 3);
        s.decode();
        const size_t at = static_cast<size_t>(2 * 6 * s.chromaStride + 2 * 12);
        for (size_t x = 0; x < 8; ++x)
            EXPECT_EQ(s.current.chroma[at + x], s.forward.chroma[at + (motion == Motion::frame ? x % 4 : x)]) << x;
    }
}

// Half and quarter size round the mean of two predictions down, full and eighth size up.
TEST(ReducedPrediction, meanOfTwoSourcesRoundsBySize) {
    for (const uint8_t reduce : {uint8_t{1}, uint8_t{2}, uint8_t{4}, uint8_t{8}}) {
        InterScene s(tvk::indexOf(kindOf(reduce, tvk::chroma420, true)), 1);
        fillPlane(s.forward.luma, 10);
        fillPlane(s.backward.luma, 13);
        s.setMotion(Motion::frame, true, true);
        s.placeBefore(3, 3);
        s.decode();
        const int32_t u = s.picture.unit();
        EXPECT_EQ(s.current.luma[static_cast<size_t>(6 * u * s.lumaStride + 6 * u)],
                  reduce == 2 || reduce == 4 ? 11 : 12);
    }
}

// The two passes of 4:2:0 frame pictures clamp between them, the one pass of the others does not.
TEST(ReducedPrediction, eighthSizeOf420ClampsBetweenTwoPasses) {
    for (const tvk::ChromaFormat chroma : {tvk::chroma420, tvk::chroma422}) {
        InterScene s(tvk::indexOf(kindOf(8, chroma, true)), 1);
        fillPlane(s.forward.luma, 10);
        fillPlane(s.backward.luma, 200);
        std::fill_n(s.worker->blocks, 12, int16_t{60});
        s.macroblock().codedBlockMask = 0xFFF00000;
        s.setMotion(Motion::frame, true, true);
        s.placeBefore(3, 3);
        s.decode();
        EXPECT_EQ(s.current.luma[static_cast<size_t>(6 * s.lumaStride + 6)],
                  chroma == tvk::chroma420 ? (10 + 255 + 1) / 2 : 105 + 60);
    }
}

// DEPARTURE(eighth-size double rounding): under field DCT a pair of zeros leaves 1, in uncoded luma too.
TEST(ReducedPrediction, eighthSizeAddsTheResidualOfUncodedBlocksBesideACodedOne) {
    InterScene s(tvk::indexOf(kindOf(8, tvk::chroma420, false)), 1);
    fillPlane(s.forward.luma, 100);
    for (const bool coded : {false, true}) {
        std::fill_n(s.worker->blocks, 24, int16_t{0});
        s.macroblock().codedBlockMask = coded ? 0x04000000 : 0;
        s.macroblock().dctType = 1;
        s.setMotion(Motion::frame, true, false);
        tvk::ResidualEighth(s.worker.get());
        s.placeBefore(3, 3);
        s.decode();
        EXPECT_EQ(s.current.luma[static_cast<size_t>(6 * s.lumaStride + 6)], coded ? 101 : 100);
    }
}

}  // namespace
}  // namespace tvktest
