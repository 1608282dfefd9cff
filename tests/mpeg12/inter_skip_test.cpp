// SPDX-License-Identifier: BSD-2-Clause
// The macroblock step of predicted pictures: places, skipped macroblocks, intra macroblocks, events and writers.
#include <algorithm>
#include <string>

#include "core/callbacks.h"
#include "mpeg12/inter_scene.h"

namespace tvktest {
namespace {

std::vector<uint32_t> order;  // event codes; kIntra where an intra macroblock was reconstructed
constexpr uint32_t kIntra = 1002;

struct SkipScene : InterScene {
    std::vector<uint8_t> output;

    explicit SkipScene(int32_t index) : InterScene(index, 77) {
        order.clear();
        stream->callbacks.userCallback = [](CallbackEvent *event) {
            order.push_back(event->eventCode);
            return 0;
        };
        stream->chosen.intraReconstruct = [](tvk::SliceWorker *) { order.push_back(kIntra); };
        fill(false);
        if (kind.field) setParity(true);
        codedMask = 0;
    }

    void setOutput() {
        output.assign(2 * 128 * 128, 0x5A);
        worker->outputY = worker->outputU = worker->outputV = output.data();
        stream->conversion.outputStride = 128;
        stream->conversion.outputRows = 128;
    }
    bool outputTouched() const {
        return std::any_of(output.begin(), output.end(), [](uint8_t v) { return v != 0x5A; });
    }

    // `skipped` macroblocks and one more behind the one before column, row.
    void decodeBehind(int32_t column, int32_t row, uint32_t skipped) {
        placeBefore(column, row);
        macroblock().previousAddress = 0;
        macroblock().macroblockIncrement = skipped + 1;
        decode();
    }

    // An intra macroblock beside what the test looks at.
    void setIntra() {
        setMotion(Motion::none, false, false);
        macroblock().macroblockIntra = 1;
    }
};

const tvk::PictureKind kFieldB = {false, tvk::chroma420, true, true, 1};
const tvk::PictureKind kFrameP = {false, tvk::chroma420, false, false, 1};
const tvk::PictureKind kFrameB = {false, tvk::chroma420, false, true, 1};

// A P picture's skipped macroblocks are copies, whatever the last vector was; so at every size, in full width.
TEST(InterSkip, skippedPMacroblocksAreCopiesAndClearThePredictors) {
    for (int32_t index = 0; index < tvk::kPictureKinds; ++index) {
        SkipScene s(index);
        if (s.kind.b) continue;
        SCOPED_TRACE(index);
        s.setIntra();
        s.randomVectors(20);
        for (int32_t column = 2; column < 5; ++column) s.predict(column, 2);
        s.decodeBehind(2, 2, 3);
        s.expectPlanes();
        for (const auto &vector : s.worker->PMV)
            for (const tvk::MotionVector &v : vector) EXPECT_EQ(v.x | v.y, 0);
    }
}

// The first vectors, with field motion from fields of the current parity, in the last macroblock's directions.
TEST(InterSkip, skippedBMacroblocksOfAFieldRepeatTheFirstVectorsOfTheirParity) {
    for (int32_t index = 0; index < tvk::kPictureKinds; ++index) {
        SkipScene s(index);
        if (!s.kind.b || !s.kind.field) continue;
        SCOPED_TRACE(index);
        s.setMotion(Motion::sixteenByEight, true, true);
        s.randomVectors(20);
        s.worker->previousMotionForward = s.worker->previousMotionBackward = 1;
        const MacroblockRecord before = s.macroblock();
        s.setMotion(Motion::field, true, true);
        for (int r = 0; r < 2; ++r)
            for (int d = 0; d < 2; ++d) s.macroblock().motionVerticalFieldSelect[r][d] = 1;
        for (int32_t column = 2; column < 4; ++column) s.predict(column, 1);
        s.macroblock() = before;
        s.setIntra();
        s.macroblock().fieldMotionType = 2;
        std::copy_n(&before.motionVerticalFieldSelect[0][0], 4, &s.macroblock().motionVerticalFieldSelect[0][0]);
        s.decodeBehind(2, 1, 2);
        s.expectPlanes();
        EXPECT_EQ(s.macroblock().fieldMotionType, 2);
        EXPECT_TRUE(std::equal(&before.motionVerticalFieldSelect[0][0], &before.motionVerticalFieldSelect[0][0] + 4,
                               &s.macroblock().motionVerticalFieldSelect[0][0]));
    }
}

TEST(InterSkip, skippedBMacroblocksOfAFrameRepeatTheFrameVector) {
    for (int32_t index = 0; index < tvk::kPictureKinds; ++index)
        for (int32_t directions = 1; directions < 4; ++directions) {
            SkipScene s(index);
            if (!s.kind.b || s.kind.field) continue;
            SCOPED_TRACE(std::to_string(index) + " directions " + std::to_string(directions));
            s.setMotion(Motion::frame, directions & 1, directions & 2);
            s.randomVectors(20);
            s.worker->previousMotionForward = directions & 1;
            s.worker->previousMotionBackward = (directions & 2) != 0;
            s.predict(2, 2);
            s.predict(3, 2);
            s.setIntra();
            s.macroblock().frameMotionType = 1;
            s.decodeBehind(2, 2, 2);
            s.expectPlanes();
            EXPECT_EQ(s.macroblock().frameMotionType, 1);
        }
}

// An intra macroblock has no directions, so nothing is predicted; the event and the writer still run.
TEST(InterSkip, skipBehindAnIntraMacroblockOfABPictureLeavesTheFrame) {
    SkipScene s(tvk::indexOf(kFrameB));
    s.setOutput();
    s.setIntra();
    s.worker->previousMotionForward = s.worker->previousMotionBackward = 1;
    s.placeBefore(2, 2);
    s.macroblock().macroblockIncrement = 1;
    s.decode();
    order.clear();
    s.output.assign(s.output.size(), 0x5A);
    s.setMotion(Motion::none, false, false);
    s.decodeBehind(3, 2, 1);
    s.expectPlanes();
    EXPECT_EQ(order, (std::vector<uint32_t>{tvk::eventMacroblockDoneInter, tvk::eventMacroblockDone}));
    EXPECT_EQ(s.output[2 * 128 * 32 + 2 * 48], 0);  // the cleared samples went out
}

TEST(InterSkip, skipsStepFromTheRowsEndToTheNextRow) {
    SkipScene s(tvk::indexOf(kFrameP));
    s.setIntra();
    s.predict(7, 2);
    s.predict(0, 3);
    s.decodeBehind(7, 2, 2);
    s.expectPlanes();
    EXPECT_EQ(s.worker->blockX, 2);
    EXPECT_EQ(s.worker->blockY, 6);
    EXPECT_EQ(s.worker->chromaX, 2);
    EXPECT_EQ(s.worker->chromaY, 3);
}

// The loop stops, and the coded macroblock is lost.
TEST(InterSkip, skipPastThePicturesEndStops) {
    for (const tvk::PictureKind kind : {kFrameP, kFrameB, kFieldB}) {
        SkipScene s(tvk::indexOf(kind));
        s.setIntra();
        const int32_t lastRow = kind.field ? 3 : 7;
        s.worker->previousMotionForward = 1;
        s.setMotion(kind.field ? Motion::field : Motion::frame, true, false);
        for (auto &vector : s.macroblock().motionVerticalFieldSelect)
            for (uint8_t &select : vector) select = 1;
        for (int32_t column = 5; column < 8; ++column) s.predict(column, lastRow);
        s.setIntra();
        s.decodeBehind(5, lastRow, 1000000);
        s.expectPlanes();
        EXPECT_EQ(std::count(order.begin(), order.end(), kIntra), 0);
        EXPECT_EQ(order.size(), 3U);
    }
}

TEST(InterSkip, firstMacroblockStandsAtItsAddressWithoutSkips) {
    for (int32_t index = 0; index < tvk::kPictureKinds; ++index) {
        SkipScene s(index);
        SCOPED_TRACE(index);
        s.setIntra();
        s.randomVectors(9);
        s.macroblock().macroblockIncrement = 6;
        s.macroblock().macroblockAddress = 8 + 5;
        s.stream->chosen.interDecoder(s.worker.get(), 0);
        const reference::Place at = s.place(5, 1);
        EXPECT_EQ(s.worker->blockX, at.blockX);
        EXPECT_EQ(s.worker->blockY, at.blockY);
        EXPECT_EQ(s.worker->chromaX, at.chromaX);
        EXPECT_EQ(s.worker->chromaY, at.chromaY);
        EXPECT_EQ(std::count(order.begin(), order.end(), tvk::eventMacroblockDoneInter), 0);
        s.expectPlanes();
    }
}

TEST(InterSkip, firstMacroblockBeyondThePictureIsLost) {
    for (const uint32_t address : {64U, 100000U, 0xFFFFFFFFU}) {
        SkipScene s(tvk::indexOf(kFrameP));
        s.setIntra();
        s.macroblock().macroblockAddress = address;
        s.stream->chosen.interDecoder(s.worker.get(), 0);
        EXPECT_TRUE(order.empty());
    }
}

// --- Intra macroblocks and the order of events ----------------------------------------------------------------------

TEST(InterIntra, orderOfEventAndReconstructionDiffersByKind) {
    for (int32_t index = 0; index < tvk::kPictureKinds; ++index) {
        SkipScene s(index);
        SCOPED_TRACE(index);
        s.setIntra();
        s.decodeBehind(3, 2, 0);
        const int32_t kind = index % tvk::kKindsPerReduce;
        if (kind == 1)
            EXPECT_EQ(order, std::vector<uint32_t>{kIntra});
        else if (kind == 4 || kind == 5 || kind == 8 || kind == 9)
            EXPECT_EQ(order, (std::vector<uint32_t>{tvk::eventMacroblockDone, kIntra}));
        else
            EXPECT_EQ(order, (std::vector<uint32_t>{kIntra, tvk::eventMacroblockDone}));
    }
}

TEST(InterIntra, eventOfASkippedMacroblockDiffersByKind) {
    for (int32_t index = 0; index < tvk::kPictureKinds; ++index)
        for (const bool output : {false, true}) {
            SkipScene s(index);
            SCOPED_TRACE(index);
            s.setIntra();
            if (output) s.setOutput();
            s.decodeBehind(3, 1, 1);
            const int32_t kind = index % tvk::kKindsPerReduce;
            const std::vector<uint32_t> want = !s.kind.b ? std::vector<uint32_t>{tvk::eventMacroblockDone}
                                               : kind == 9 && !output
                                                   ? std::vector<uint32_t>{}
                                                   : std::vector<uint32_t>{tvk::eventMacroblockDoneInter};
            ASSERT_GE(order.size(), want.size());
            EXPECT_TRUE(std::equal(want.begin(), want.end(), order.begin()));
            EXPECT_EQ(std::count(order.begin(), order.end(), tvk::eventMacroblockDoneInter),
                      s.kind.b && !(kind == 9 && !output));
            if (output) {
                EXPECT_TRUE(s.outputTouched());
            }
        }
}

TEST(InterIntra, withoutConcealmentAllPredictorsAreCleared) {
    for (int32_t index = 0; index < tvk::kKindsPerReduce; ++index) {
        SkipScene s(index);
        s.setIntra();
        s.randomVectors(20);
        s.worker->previousMotionForward = s.worker->previousMotionBackward = 1;
        s.decodeBehind(3, 2, 0);
        for (const auto &vector : s.worker->PMV)
            for (const tvk::MotionVector &v : vector) EXPECT_EQ(v.x | v.y, 0);
        if (s.kind.b) {
            EXPECT_EQ(s.worker->previousMotionForward | s.worker->previousMotionBackward, 0);
        }
        s.expectPlanes();
    }
}

// MPEG-1 has no concealment vectors and does not look at the flag.
TEST(InterIntra, concealmentVectorsMoveThePredictorsAndPredictNothing) {
    for (int32_t index = 0; index < tvk::kKindsPerReduce; ++index) {
        SkipScene s(index);
        SCOPED_TRACE(index);
        s.coding().concealmentMotionVectors = 1;
        for (uint32_t &size : s.coding().fCode) size = 4;
        s.setIntra();
        s.macroblock().mvFormat = !s.kind.field;
        s.macroblock().motionCode[0][0][0] = 3;
        s.macroblock().motionCode[0][0][1] = -2;
        for (auto &vector : s.worker->PMV)
            for (tvk::MotionVector &v : vector) v = {10, 10};
        s.decodeBehind(3, 2, 0);
        const bool cleared = s.kind.mpeg1;
        EXPECT_EQ(s.worker->PMV[0][0].x, cleared ? 0 : 10 + 33);
        EXPECT_EQ(s.worker->PMV[0][0].y, cleared ? 0 : 10 - 17);
        EXPECT_EQ(s.worker->PMV[1][0].x, cleared ? 0 : 10 + 33);
        EXPECT_EQ(s.worker->PMV[0][1].x, cleared ? 0 : 10);
        if (!cleared) {
            EXPECT_EQ(s.macroblock().macroblockMotionForward, 1);
            EXPECT_EQ(s.worker->previousMotionForward, 0);
        }
        s.expectPlanes();
    }
}

// Type 0 and what the picture cannot have leave the frame as it was; the macroblock still counts as done.
TEST(InterIntra, impossibleMotionTypesPredictNothing) {
    for (int32_t index = 0; index < tvk::kPictureKinds; ++index) {
        SkipScene s(index);
        SCOPED_TRACE(index);
        for (const uint8_t type : {uint8_t{0}, uint8_t{3}}) {
            if (type == 3 && !s.kind.b) continue;
            order.clear();
            s.setMotion(s.kind.field ? Motion::field : Motion::frame, true, s.kind.b);
            s.macroblock().frameMotionType = s.macroblock().fieldMotionType = type;
            s.randomVectors(8);
            s.decodeBehind(3, 2, 0);
            s.expectPlanes();
            EXPECT_EQ(order, std::vector<uint32_t>{tvk::eventMacroblockDone});
        }
    }
}

TEST(InterIntra, derivedVectorsRoundHalvesAwayFromZero) {
    SkipScene s(tvk::indexOf(kFrameP));
    s.coding().topFieldFirst = 1;
    s.setMotion(Motion::dualOfFrame, true, false);
    s.worker->PMV[0][0] = {-3, -6};  // field lines: -3
    s.macroblock().dmVector[0] = 1;
    s.macroblock().dmVector[1] = -1;
    s.decodeBehind(3, 3, 0);
    EXPECT_EQ(s.worker->derivedVector[0].x, -2 + 1);
    EXPECT_EQ(s.worker->derivedVector[0].y, -2 - 1 - 1);
    EXPECT_EQ(s.worker->derivedVector[1].x, -5 + 1);  // -9 / 2
    EXPECT_EQ(s.worker->derivedVector[1].y, -5 - 1 + 1);
}

}  // namespace
}  // namespace tvktest
