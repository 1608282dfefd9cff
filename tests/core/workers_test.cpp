// SPDX-License-Identifier: BSD-2-Clause
// The slice workers: dealing, waiting, faults, and the output stage of managed pictures.
#include <algorithm>
#include <map>
#include <mutex>
#include <vector>

#include "core/slots.h"
#include "input/video_input.h"
#include "mpeg12/worker.h"
#include "pipeline/frame.h"
#include "stream_fixture.h"

namespace {

// Which worker decoded which slice row, counted from 1.
std::mutex dealingLock;
std::map<uint32_t, std::vector<uint32_t>> rowsOfWorker;
VideoStream *dealingStream;

int32_t recordSlice(CallbackEvent *event) {
    if (event->eventCode != 10) return 0;
    const std::lock_guard<std::mutex> lock(dealingLock);
    for (uint32_t i = 0; i < dealingStream->threadCount; ++i)
        if (event == &dealingStream->workers.workers[i]->event)
            rowsOfWorker[i].push_back(event->slice->sliceStartCode & 0xFF);
    return 0;
}

struct ManagerCall {
    int32_t command;
    VideoFrame *frame;
    int32_t slot;
};
std::vector<ManagerCall> managerCalls;
std::vector<uint8_t> *outputBuffer;

int32_t lendBuffer(int32_t command, void *pointer) {
    VideoFrame *frame = command == 1 ? nullptr : static_cast<VideoFrame *>(pointer);
    managerCalls.push_back({command, frame, frame ? frame->bufferSlot : 0});
    if (command == 2) frame->externalBuffer = outputBuffer->data();
    return 0;
}

constexpr int32_t kWidth = 64, kRows = 10;

// A stream that stands at the first slice of an I picture of kRows slice rows.
struct Workers : tvktest::StreamTest {
    VideoFrame *frames[2] = {};

    void SetUp() override {
        StreamTest::SetUp();
        tvk::Headers &h = stream->headers;
        stream->streamType = 1;
        h.sequence.horizontalSize = kWidth;
        h.sequence.verticalSize = 16 * kRows;
        h.picture.pictureCodingType = tvk::pictureI;
        stream->geometry.blockWidth8 = kWidth / 8;
        stream->geometry.blockHeight8 = 2 * kRows;
        stream->geometry.macroblockCount = kWidth / 16 * kRows;
        tvk::selectBlockPlacement(stream);
        for (VideoFrame *&frame : frames) ASSERT_EQ(0, tvkCreateVideoFrame(stream, &frame));
        tvk::FramePipeline &f = stream->frames;
        f.currentFrame = f.forwardRef = frames[0];
        f.backwardRef = frames[1];
        f.currentFrame->pictureCodingType = tvk::pictureI;
        rowsOfWorker.clear();
        dealingStream = stream;
        ASSERT_EQ(0, tvkSetVideoUserCallback(stream, recordSlice, 0));
    }
    void TearDown() override {
        tvk::FramePipeline &f = stream->frames;
        f.currentFrame = f.forwardRef = f.backwardRef = nullptr;
        for (VideoFrame *frame : frames) tvk::destroyFrame(frame);
        StreamTest::TearDown();
    }
    // A unit of `slices` slices of one macroblock and then nothing valid.
    void loadSlices(uint32_t slices) {
        source.bytes.clear();
        source.position = 0;
        const auto add = [this](std::initializer_list<uint32_t> bytes) {
            for (const uint32_t byte : bytes) source.bytes.push_back(static_cast<uint8_t>(byte));
        };
        for (uint32_t row = 1; row <= slices; ++row) add({0, 0, 1, row, 0x0B, 0x80, 0x40});
        add({0, 0, 1, 0});
        ASSERT_GT(RefillUnit(stream->input), 0);
    }
};

using Rows = std::vector<uint32_t>;

TEST_F(Workers, sliceIndexModuloThreadCountIsTheWorker) {
    ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 4));
    loadSlices(10);
    tvk::decodePicture(stream);
    EXPECT_EQ((Rows{1, 5, 9}), rowsOfWorker[0]);
    EXPECT_EQ((Rows{2, 6, 10}), rowsOfWorker[1]);
    EXPECT_EQ((Rows{3, 7}), rowsOfWorker[2]);
    EXPECT_EQ((Rows{4, 8}), rowsOfWorker[3]);
    EXPECT_EQ(10u, stream->counters.slices);
    EXPECT_EQ(10, stream->input->unit->currentEntry);
}

TEST_F(Workers, fewerSlicesThanWorkers) {
    ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 4));
    for (int repeat = 0; repeat < 50; ++repeat) {
        loadSlices(2);
        tvk::decodePicture(stream);
    }
    EXPECT_EQ(50u, rowsOfWorker[0].size());
    EXPECT_EQ(50u, rowsOfWorker[1].size());
    EXPECT_TRUE(rowsOfWorker[2].empty());
    EXPECT_TRUE(rowsOfWorker[3].empty());
}

TEST_F(Workers, noSliceStillMovesTheEntry) {
    loadSlices(3);
    PictureUnit *unit = stream->input->unit;
    unit->sliceCount = 0;
    unit->lastSlice = 1;
    tvk::decodePicture(stream);
    EXPECT_TRUE(rowsOfWorker.empty());
    EXPECT_EQ(2, unit->currentEntry);
}

TEST_F(Workers, anySliceTableOfTheSourceIsBounded) {
    for (const int32_t bad : {-1, 4096, INT32_MAX, INT32_MIN}) {
        loadSlices(3);
        PictureUnit *unit = stream->input->unit;
        unit->firstSlice = unit->lastSlice = unit->sliceCount = bad;
        tvk::decodePicture(stream);
        EXPECT_GE(unit->currentEntry, 0);
        EXPECT_LE(unit->currentEntry, 4);
    }
    loadSlices(3);
    stream->input->unit->startOffsets[1] = 0xFFFFFFFF;
    tvk::decodePicture(stream);
}

TEST_F(Workers, lastSliceBehindTheWalkDoesNotTakeItBack) {
    loadSlices(3);
    PictureUnit *unit = stream->input->unit;
    unit->currentEntry = 3;
    unit->lastSlice = 0;
    tvk::decodePicture(stream);
    EXPECT_EQ(3, unit->currentEntry);
}

TEST_F(Workers, missingReferenceDecodesNothing) {
    for (const auto member :
         {&tvk::FramePipeline::currentFrame, &tvk::FramePipeline::forwardRef, &tvk::FramePipeline::backwardRef}) {
        loadSlices(3);
        VideoFrame *kept = stream->frames.*member;
        stream->frames.*member = nullptr;
        tvk::decodePicture(stream);
        stream->frames.*member = kept;
        EXPECT_TRUE(rowsOfWorker.empty());
        EXPECT_EQ(0, stream->input->unit->currentEntry);
    }
}

TEST_F(Workers, framesOfASmallerPictureAreNotDecodedInto) {
    loadSlices(3);
    stream->geometry.blockWidth8 += 2 * 2 * 2;
    tvk::decodePicture(stream);
    EXPECT_TRUE(rowsOfWorker.empty());
    stream->geometry.blockWidth8 = kWidth / 8;
    stream->geometry.blockHeight8 += 4;
    tvk::decodePicture(stream);
    EXPECT_TRUE(rowsOfWorker.empty());
    stream->geometry.blockHeight8 = 0;
    tvk::decodePicture(stream);
    EXPECT_TRUE(rowsOfWorker.empty());
    stream->geometry.blockHeight8 = 2 * kRows;
    stream->headers.sequenceExtension.chromaFormat = tvk::chroma422;
    tvk::decodePicture(stream);
    EXPECT_TRUE(rowsOfWorker.empty());
}

// Coded bytes leave their number in `size`; the picture's rows are still there.
TEST_F(Workers, aRecordThatCarriedCodedBytesIsDecodedInto) {
    loadSlices(3);
    frames[0]->lumaPlane.size = 20;
    tvk::decodePicture(stream);
    EXPECT_EQ((Rows{1, 2, 3}), rowsOfWorker[0]);
}

TEST_F(Workers, bothFieldsAndTheReservedStructureStayInside) {
    stream->streamType = 2;
    for (const uint8_t structure : {0, 1, 2, 3}) {
        stream->headers.pictureCoding.pictureStructure = structure;
        tvk::selectBlockPlacement(stream);
        loadSlices(kRows);
        tvk::decodePicture(stream);
        EXPECT_EQ(structure == 0 ? 0 : structure - 1, stream->workers.workers[0]->pictureStructureIndex);
    }
}

TEST_F(Workers, settingTheSameCountChangesNothing) {
    uint32_t count = 0;
    ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 2));
    tvk::SliceWorker **workers = stream->workers.workers;
    ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 2));
    EXPECT_EQ(workers, stream->workers.workers);
    EXPECT_EQ(0, tvkGetVideoSP_Threads(stream, &count));
    EXPECT_EQ(2u, count);
}

TEST_F(Workers, countBelowOneIsRefused) {
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoSP_Threads(stream, 0));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoSP_Threads(stream, -4));
    EXPECT_EQ(1u, stream->threadCount);
}

TEST_F(Workers, countsGoUpAndDown) {
    for (const int32_t count : {3, 1, 8, 2, 1}) {
        ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, count));
        rowsOfWorker.clear();
        loadSlices(5);
        tvk::decodePicture(stream);
        size_t rows = 0;
        for (const auto &share : rowsOfWorker) rows += share.second.size();
        EXPECT_EQ(5u, rows);
    }
}

TEST_F(Workers, failedAllocationKeepsTheOldWorkers) {
    ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 2));
    for (int64_t n = 0; n < 5; ++n) {
        const tvktest::FailingAllocation failing(n);
        EXPECT_EQ(tvkErrOutOfMemory, tvkSetVideoSP_Threads(stream, 4));
        EXPECT_EQ(2u, stream->threadCount);
    }
    loadSlices(2);
    tvk::decodePicture(stream);
    EXPECT_EQ((Rows{2}), rowsOfWorker[1]);
}

int32_t startsLeft;

TEST_F(Workers, threadThatCannotStartFailsTheStreamAndNothingWaits) {
    for (int32_t starts = 0; starts < 3; ++starts) {
        startsLeft = starts;
        tvk::threadStartHook = [] { return startsLeft-- > 0; };
        ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 4));
        EXPECT_TRUE(tvk::workerFailed(stream));
        loadSlices(4);
        tvk::decodePicture(stream);
        EXPECT_TRUE(rowsOfWorker.empty());
        tvk::threadStartHook = nullptr;
        ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 1));
    }
    EXPECT_FALSE(tvk::workerFailed(stream));
    tvk::decodePicture(stream);
    EXPECT_EQ(4u, rowsOfWorker[0].size());
}

TEST_F(Workers, picturesAllocateNothing) {
    ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 3));
    loadSlices(6);
    const uint64_t before = tvk::allocationCount;
    tvk::decodePicture(stream);
    EXPECT_EQ(before, tvk::allocationCount);
}

struct ManagedWorkers : Workers {
    std::vector<uint8_t> buffer = std::vector<uint8_t>(4 * kWidth * 16 * kRows);

    void SetUp() override {
        Workers::SetUp();
        managerCalls.clear();
        outputBuffer = &buffer;
        ASSERT_EQ(0, tvkSetMemoryManager(stream, lendBuffer, 4));
        tvk::followSlotCount(stream->callbacks);
    }
};

TEST_F(ManagedWorkers, managerIsToldBeforeAndBehindTheSlices) {
    loadSlices(3);
    tvk::decodePicture(stream);
    ASSERT_EQ(2u, managerCalls.size());
    EXPECT_EQ(2, managerCalls[0].command);
    EXPECT_EQ(3, managerCalls[1].command);
    EXPECT_EQ(frames[0], managerCalls[0].frame);
    EXPECT_EQ(frames[0], managerCalls[1].frame);
    EXPECT_EQ(0, managerCalls[0].slot);
    EXPECT_EQ(uint32_t{kWidth}, stream->conversion.outputStride);
    EXPECT_EQ(uint32_t{16 * kRows}, stream->conversion.outputRows);
    EXPECT_EQ(nullptr, stream->workers.workers[0]->outputY);
}

TEST_F(ManagedWorkers, secondFieldKeepsTheSlotOfTheFirst) {
    loadSlices(3);
    tvk::decodePicture(stream);
    stream->frames.fieldPending = 1;
    loadSlices(3);
    tvk::decodePicture(stream);
    stream->frames.fieldPending = 0;
    loadSlices(3);
    tvk::decodePicture(stream);
    ASSERT_EQ(6u, managerCalls.size());
    EXPECT_EQ(0, managerCalls[2].slot);
    EXPECT_EQ(1, managerCalls[4].slot);
}

TEST_F(ManagedWorkers, planarTargetsHoldCrAheadOfCb) {
    const size_t area = size_t{kWidth} * 16 * kRows;
    const tvk::SliceWorker *worker = stream->workers.workers[0];
    tvkSetVideoConversionType(stream, 0x32315659);
    loadSlices(1);
    tvk::decodePicture(stream);
    EXPECT_EQ(buffer.data() + area, worker->outputV);
    EXPECT_EQ(buffer.data() + area + area / 4, worker->outputU);
    tvkSetVideoConversionType(stream, 0x39757679);
    loadSlices(1);
    tvk::decodePicture(stream);
    EXPECT_EQ(buffer.data() + area, worker->outputV);
    EXPECT_EQ(buffer.data() + area + area / 16, worker->outputU);
    tvkSetVideoConversionType(stream, 0x32595559);
    loadSlices(1);
    tvk::decodePicture(stream);
    EXPECT_EQ(nullptr, worker->outputV);
    EXPECT_EQ(nullptr, worker->outputU);
}

TEST_F(ManagedWorkers, noBufferMeansNoOutput) {
    std::vector<uint8_t> none;
    outputBuffer = &none;
    tvkSetVideoConversionType(stream, 0x32315659);
    loadSlices(3);
    tvk::decodePicture(stream);
    EXPECT_EQ(nullptr, stream->workers.workers[0]->outputU);
    EXPECT_EQ(nullptr, stream->workers.workers[0]->outputV);
    EXPECT_TRUE(std::all_of(buffer.begin(), buffer.end(), [](uint8_t byte) { return byte == 0; }));
}

}  // namespace
