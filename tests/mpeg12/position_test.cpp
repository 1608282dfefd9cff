// SPDX-License-Identifier: BSD-2-Clause
// The macroblock's place in an I picture.
#include "mpeg12/position.h"
#include "mpeg12/slice_fixture.h"

namespace tvktest {
namespace {

struct Position : testing::Test, SliceState {
    void first(uint32_t address) {
        macroblock().macroblockAddress = address;
        tvk::AdvancePosition(worker.get(), true);
    }
    void expectAt(int32_t x, int32_t y, int32_t chromaX, int32_t chromaY) const {
        EXPECT_EQ(worker->blockX, x);
        EXPECT_EQ(worker->blockY, y);
        EXPECT_EQ(worker->chromaX, chromaX);
        EXPECT_EQ(worker->chromaY, chromaY);
    }
};

TEST_F(Position, firstMacroblockStandsAtItsAddress) {
    first(6);
    expectAt(4, 2, 4, 1);
    setFormat(tvk::chroma422, tvk::structureFrame);
    first(6);
    expectAt(4, 2, 4, 2);
    setFormat(tvk::chroma444, tvk::structureFrame);
    first(6);
    expectAt(4, 2, 8, 2);
}

TEST_F(Position, fieldRowsCoverThirtyTwoFrameLines) {
    setFormat(tvk::chroma420, tvk::structureBottomField);
    first(6);
    expectAt(4, 4, 4, 2);
    setFormat(tvk::chroma444, tvk::structureTopField);
    first(6);
    expectAt(4, 4, 8, 4);
}

// An increment above 1 inside an I picture's slice does not skip.
TEST_F(Position, laterMacroblocksMoveByOneWhateverTheirIncrement) {
    first(2);
    macroblock().macroblockIncrement = 5;
    macroblock().macroblockAddress = 7;
    tvk::AdvancePosition(worker.get(), false);
    expectAt(6, 0, 6, 0);
    tvk::AdvancePosition(worker.get(), false);
    expectAt(0, 2, 0, 1);
}

TEST_F(Position, fieldPictureStepsFourUnitsToTheNextRow) {
    setFormat(tvk::chroma422, tvk::structureTopField);
    first(3);
    tvk::AdvancePosition(worker.get(), false);
    expectAt(0, 4, 0, 4);
}

TEST_F(Position, placeBeyondThePictureIsNotTaken) {
    first(15);
    expectAt(6, 6, 6, 3);
    tvk::AdvancePosition(worker.get(), false);
    expectAt(6, 6, 6, 3);
    first(16);
    expectAt(6, 6, 6, 3);
    first(0xFFFFFFFF);
    expectAt(6, 6, 6, 3);
    setFormat(tvk::chroma420, tvk::structureTopField);
    first(8);  // a field has half the rows
    expectAt(6, 6, 6, 3);
}

}  // namespace
}  // namespace tvktest
