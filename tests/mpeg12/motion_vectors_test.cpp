// SPDX-License-Identifier: BSD-2-Clause
// Motion vectors: from codes to predictors, and the places that the predictors move to.
#include "mpeg12/slice_fixture.h"
#include "reference/motion_vectors.h"
#include "stream_writer/random.h"

namespace tvktest {
namespace {

using reference::Vector;

struct MotionVectors : testing::Test, SliceState {
    // fCode holds f_code less 1.
    void setSizes(uint32_t size) {
        for (uint32_t &code : coding().fCode) code = size;
    }
    void oneFrameVector() {
        macroblock().macroblockMotionForward = 1;
        macroblock().motionVectorCount = 1;
        macroblock().mvFormat = 1;
    }
    tvk::MotionVector &predictor(int r, int s) { return worker->PMV[r][s]; }
    void expectVector(int r, int s, Vector want) const {
        EXPECT_EQ(worker->PMV[r][s].x, want.x) << r << s;
        EXPECT_EQ(worker->PMV[r][s].y, want.y) << r << s;
    }
};

TEST_F(MotionVectors, agreeWithTheObviousForm) {
    Random random(11);
    for (int n = 0; n < 20000; ++n) {
        setFormat(tvk::chroma420, random.coin() ? tvk::structureFrame : tvk::structureBottomField);
        MacroblockRecord &m = macroblock();
        m.macroblockMotionForward = random.coin();
        m.macroblockMotionBackward = random.coin();
        m.mvFormat = random.coin();
        m.motionVectorCount = static_cast<uint8_t>(random.range(1, 2));
        Vector want[2][2], code[2][2], residual[2][2], size[2];
        for (int s = 0; s < 2; ++s) {
            size[s] = {random.range(0, 8), random.range(0, 8)};
            coding().fCode[2 * s] = static_cast<uint32_t>(size[s].x);
            coding().fCode[2 * s + 1] = static_cast<uint32_t>(size[s].y);
            for (int r = 0; r < 2; ++r) {
                code[r][s] = {random.range(-16, 16), random.range(-16, 16)};
                residual[r][s] = {random.range(0, (1 << size[s].x) - 1), random.range(0, (1 << size[s].y) - 1)};
                // A field's vector leaves a vertical predictor of up to twice the range.
                const int limit = 16 << size[s].x, limitY = 32 << size[s].y;
                want[r][s] = {random.range(-limit, limit - 1), random.range(-limitY, limitY - 1)};
                predictor(r, s) = {static_cast<int16_t>(want[r][s].x), static_cast<int16_t>(want[r][s].y)};
                m.motionCode[r][s][0] = code[r][s].x;
                m.motionCode[r][s][1] = code[r][s].y;
                m.motionResidual[r][s][0] = residual[r][s].x;
                m.motionResidual[r][s][1] = residual[r][s].y;
            }
        }
        const bool scaled = coding().pictureStructure == tvk::structureFrame && m.mvFormat == 0;
        const bool used[2] = {m.macroblockMotionForward != 0, m.macroblockMotionBackward != 0};
        for (int s = 0; s < 2; ++s) {
            if (!used[s]) continue;
            for (int r = 0; r < m.motionVectorCount; ++r)
                want[r][s] = reference::moveVector(want[r][s], code[r][s], residual[r][s], size[s], scaled);
            if (m.motionVectorCount == 1) want[1][s] = want[0][s];
        }
        tvk::ReconstructMotionVectors(worker.get());
        for (int r = 0; r < 2; ++r)
            for (int s = 0; s < 2; ++s) expectVector(r, s, want[r][s]);
        if (HasFailure()) return;
    }
}

TEST_F(MotionVectors, wrapAtBothEndsOfTheirRange) {
    oneFrameVector();
    setSizes(0);
    predictor(0, 0) = {15, -16};
    macroblock().motionCode[0][0][0] = 1;
    macroblock().motionCode[0][0][1] = -1;
    tvk::ReconstructMotionVectors(worker.get());
    expectVector(0, 0, {-16, 15});
    setSizes(3);
    predictor(0, 0) = {127, -128};
    tvk::ReconstructMotionVectors(worker.get());
    expectVector(0, 0, {-128, 127});
}

TEST_F(MotionVectors, codeZeroLeavesEvenAPredictorOutOfRange) {
    oneFrameVector();
    setSizes(0);
    predictor(0, 0) = {1001, -777};
    tvk::ReconstructMotionVectors(worker.get());
    expectVector(0, 0, {1001, -777});
}

TEST_F(MotionVectors, codeZeroOfAFieldVectorInAFramePictureClearsTheLowestBit) {
    oneFrameVector();
    macroblock().mvFormat = 0;
    predictor(0, 0) = {7, 7};
    tvk::ReconstructMotionVectors(worker.get());
    expectVector(0, 0, {7, 6});
    predictor(0, 0) = {-7, -7};
    tvk::ReconstructMotionVectors(worker.get());
    expectVector(0, 0, {-7, -8});
    setFormat(tvk::chroma420, tvk::structureTopField);
    predictor(0, 0) = {7, 7};
    tvk::ReconstructMotionVectors(worker.get());
    expectVector(0, 0, {7, 7});
}

TEST_F(MotionVectors, unusedDirectionIsNotTouched) {
    oneFrameVector();
    predictor(0, 1) = {5, 6};
    predictor(1, 1) = {7, 8};
    macroblock().motionCode[0][1][0] = 9;
    tvk::ReconstructMotionVectors(worker.get());
    expectVector(0, 1, {5, 6});
    expectVector(1, 1, {7, 8});
}

TEST_F(MotionVectors, oneVectorServesAsTheSecondToo) {
    oneFrameVector();
    predictor(1, 0) = {50, 60};
    macroblock().motionCode[0][0][0] = 3;
    tvk::ReconstructMotionVectors(worker.get());
    expectVector(1, 0, {3, 0});
}

TEST_F(MotionVectors, clearingZeroesAllFour) {
    for (auto &vector : worker->PMV)
        for (tvk::MotionVector &v : vector) v = {1, 2};
    tvk::ClearMotionPredictors(worker.get());
    for (int r = 0; r < 2; ++r)
        for (int s = 0; s < 2; ++s) expectVector(r, s, {0, 0});
}

}  // namespace
}  // namespace tvktest
