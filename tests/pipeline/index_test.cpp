// SPDX-License-Identifier: BSD-2-Clause
// Index tables: scans, prescans and their file.
#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <numeric>

#include "core/memory.h"
#include "input/video_input.h"
#include "pipeline/player.h"

namespace tvktest {
namespace {

using Numbers = std::vector<int32_t>;

Numbers take(const int32_t *array, size_t count) {
    return array ? Numbers(array, array + count) : Numbers();
}

// The source's position of a byte.
size_t byteOf(const AbsPosition &position) {
    return position.words[2];
}

struct IndexedPlayer : Player {
    const tvk::VideoIndexTable &index;

    explicit IndexedPlayer(const TinyStream &tiny) : Player(tiny), index(stream->index) {}
    explicit IndexedPlayer(const std::string &letters) : Player(letters), index(stream->index) {}

    Numbers displayNumbers() const { return take(index.displayNumbers, index.entryCount); }
    Numbers streamNumbers() const { return take(index.streamNumbers, index.entryCount); }
    Numbers displayMap() const {
        return index.displayMap ? Numbers(index.displayMap + 1, index.displayMap + 1 + index.displayCount) : Numbers();
    }
    Numbers rootFrames(size_t frames) const {
        return index.rootFrames ? Numbers(index.rootFrames + 1, index.rootFrames + 1 + frames) : Numbers();
    }
};

constexpr const char *kOpenGroups = "SGIPBBPBBGIBBPBBGIBBE";

TEST(IndexScan, hasAnEntryForEachIPicture) {
    IndexedPlayer player(kOpenGroups);
    EXPECT_EQ(tvkIsVideoStreamIndexed(player.stream), tvkErrNotIndexed);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(tvkIsVideoStreamIndexed(player.stream), 0);
    EXPECT_EQ(player.streamNumbers(), (Numbers{1, 8, 14}));
    EXPECT_EQ(player.displayNumbers(), (Numbers{1, 10, 16}));
    EXPECT_EQ(player.index.frameCount, 16u);
    EXPECT_EQ(player.index.maxGroupLength, 9u);
    EXPECT_EQ(player.index.indexWidth, 16u);
    EXPECT_EQ(player.index.indexHeight, 32u);
    EXPECT_EQ(player.index.indexChromaFormat, 1u);
    EXPECT_EQ(player.index.indexBitRate, 1000000u);
    EXPECT_FLOAT_EQ(player.stream->frames.framesPerSecond, 25.0f);
    EXPECT_NEAR(player.index.indexDuration, 16 * 0.04, 1e-5);
    EXPECT_NEAR(player.index.entryTimes[1], 7 * 0.04, 1e-9);
}

TEST(IndexScan, ofASingleIPicture) {
    IndexedPlayer player("SGIPPE");
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(player.index.entryCount, 1u);
    EXPECT_EQ(player.index.maxGroupLength, 3u);
    IndexedPlayer alone("SGIE");
    EXPECT_EQ(tvkCreateVideoIndexTable(alone.stream), 0);
    EXPECT_EQ(alone.displayNumbers(), (Numbers{1}));
    EXPECT_EQ(alone.index.maxGroupLength, 1u);
}

TEST(IndexScan, leavesAStreamWithoutPicturesUnindexed) {
    IndexedPlayer player("SGE");
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(tvkIsVideoStreamIndexed(player.stream), tvkErrNotIndexed);
}

TEST(IndexScan, notesWhereTheHeadersStand) {
    TinyStream tiny("SXGIPGIPSXMGIPIE");
    IndexedPlayer player(tiny);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(player.index.entryCount, 4u);
    const size_t expected[] = {tiny.headerCodes[0], tiny.headerCodes[0], tiny.headerCodes[1], tiny.headerCodes[1]};
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(byteOf(player.index.sequencePositions[i]), expected[i]);
    EXPECT_EQ(byteOf(player.index.picturePositions[1]), tiny.pictureCodes[2]);
    EXPECT_EQ(byteOf(player.index.picturePositions[3]), tiny.pictureCodes[6]);
    EXPECT_GT(byteOf(player.index.groupPositions[1]), byteOf(player.index.groupPositions[0]));
    // The last I picture has no group of its own.
    EXPECT_EQ(byteOf(player.index.groupPositions[3]), byteOf(player.index.groupPositions[2]));
    EXPECT_EQ(player.index.matrixPositions[1].words[0], 0u);
    EXPECT_GT(byteOf(player.index.matrixPositions[2]), tiny.headerCodes[1]);
}

TEST(IndexScan, dropsAMatrixThatASequenceHeaderMadeVoid) {
    IndexedPlayer player("SXGIPMPSXGIPE");
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(player.index.entryCount, 2u);
    EXPECT_EQ(player.index.matrixPositions[1].words[0], 0u);
}

TEST(IndexScan, countsAFieldPairOnce) {
    IndexedPlayer player("SXGiippbbiippE");
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(player.index.frameCount, 5u);
    EXPECT_EQ(player.streamNumbers(), (Numbers{1, 4}));
}

TEST(IndexScan, growsByDoubling) {
    std::string letters = "SG";
    letters += std::string(1001, 'I') + "E";
    IndexedPlayer player(letters);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(player.index.entryCount, 1001u);
    EXPECT_EQ(player.index.entryCapacity, 2000u);
    EXPECT_EQ(player.index.streamNumbers[1000], 1001);
    for (size_t i = 1001; i < 2000; ++i) {
        ASSERT_EQ(player.index.displayNumbers[i], 0);
        ASSERT_EQ(player.index.entryTimes[i], 0.0);
        ASSERT_EQ(player.index.picturePositions[i].words[0], 0u);
    }
}

TEST(IndexScan, keepsThePosition) {
    Player with("SGIPBBPBBPE"), without("SGIPBBPBBPE");
    with.step();
    without.step();
    EXPECT_EQ(tvkCreateVideoIndexTable(with.stream), 0);
    EXPECT_EQ(with.play(), without.play());
    EXPECT_EQ(with.stream->input->stream, with.stream);
}

TEST(IndexScan, goesToTheStartWhenThePositionIsNotKnown) {
    Player player("SGIPPE");
    player.source.failures[Slot::getAbsPosition] = -5;
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(player.source.last(Slot::seekRatePosition)->value, 0.0);
    EXPECT_EQ(player.source.count(Slot::seekAbsPosition), 0u);
}

TEST(IndexScan, thatCannotSeekReturnsTheSourcesCode) {
    Player player("SGIPPE");
    player.source.failures[Slot::seekRatePosition] = -77;
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), -77);
    EXPECT_EQ(player.stream->input->stream, player.stream);
    EXPECT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 10), -77);
    EXPECT_EQ(player.stream->input->stream, player.stream);
    EXPECT_EQ(tvkIsVideoStreamIndexed(player.stream), tvkErrNotIndexed);
}

std::atomic<int> allocationsLeft;

bool failAfterSome(size_t) {
    return allocationsLeft.fetch_sub(1) > 0;
}

TEST(IndexScan, survivesAllocationsThatFail) {
    for (int allowed = 0; allowed < 40; ++allowed) {
        IndexedPlayer player("SG" + std::string(1001, 'I') + "E");
        allocationsLeft = allowed;
        tvk::allocationHook = failAfterSome;
        const int32_t plain = tvkCreateVideoIndexTable(player.stream);
        const int32_t edit = tvkCreateVideoIndexTableEdit(player.stream, 5000);
        tvk::allocationHook = nullptr;
        EXPECT_TRUE(plain == 0 || plain == tvkErrOutOfMemory);
        EXPECT_TRUE(edit == 0 || edit == tvkErrOutOfMemory);
        if (edit != 0) {
            EXPECT_EQ(player.index.displayNumbers == nullptr, player.index.indexed == 0);
        }
        EXPECT_EQ(player.stream->input->stream, player.stream);
    }
}

TEST(IndexScan, setsTheStreamTypeAndTouchesNoHeader) {
    Player player("SXGIPE");
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(player.stream->streamType, 2u);
    EXPECT_EQ(player.stream->counters.sequenceHeadersSeen, 0u);
    EXPECT_EQ(player.stream->headers.sequence.horizontalSize, 0u);
}

std::vector<uint32_t> scanEvents;

int32_t recordEvent(CallbackEvent *event) {
    scanEvents.push_back(event->eventCode);
    return 0;
}

TEST(IndexScan, raisesTheEventsOfTheHeadersItParses) {
    scanEvents.clear();
    Player player("SGIPE");
    ASSERT_EQ(tvkSetVideoUserCallback(player.stream, recordEvent, 0), 0);
    tvkCreateVideoIndexTable(player.stream);
    EXPECT_EQ(scanEvents, (std::vector<uint32_t>{1, 7, 7}));
    scanEvents.clear();
    tvkCreateVideoIndexTableEdit(player.stream, 100);
    EXPECT_EQ(scanEvents, (std::vector<uint32_t>{1, 6, 7, 7}));
}

TEST(EditScan, mapsDisplayOrderToCodedOrder) {
    IndexedPlayer player(kOpenGroups);
    EXPECT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 1000), 0);
    EXPECT_EQ(player.displayMap(), (Numbers{1, 3, 4, 2, 6, 7, 5, 9, 10, 8, 12, 13, 11, 15, 16, 14}));
    EXPECT_EQ(player.index.framesScanned, 16u);
    EXPECT_EQ(player.displayNumbers(), (Numbers{1, 10, 16}));
    EXPECT_EQ(tvkIsVideoStreamIndexed(player.stream), 0);
}

TEST(EditScan, findsTheOldestIPictureNeeded) {
    IndexedPlayer open("SGIPBGIBPBE");
    EXPECT_EQ(tvkCreateVideoIndexTableEdit(open.stream, 1000), 0);
    // The B behind the second I leans on the group before; the one behind the P does not.
    EXPECT_EQ(open.rootFrames(7), (Numbers{0, 1, 1, 1, 1, 4, 4}));
    IndexedPlayer closed("SCIPBCIBPBE");
    EXPECT_EQ(tvkCreateVideoIndexTableEdit(closed.stream, 1000), 0);
    EXPECT_EQ(closed.rootFrames(7), (Numbers{1, 1, 1, 4, 4, 4, 4}));
}

TEST(EditScan, leavesTheLastAnchorOutWithoutASequenceEnd) {
    IndexedPlayer player("SGIPP");
    EXPECT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 1000), 0);
    EXPECT_EQ(player.displayMap(), (Numbers{1, 2}));
    EXPECT_EQ(player.index.frameCount, 3u);
}

TEST(EditScan, resumedGivesTheTablesOfOneCall) {
    std::string letters;
    for (int group = 0; group < 40; ++group) letters += "SXUCRbbPBBippGIBBPBB";
    letters += "E";
    IndexedPlayer once(letters);
    EXPECT_EQ(tvkCreateVideoIndexTableEdit(once.stream, 200), 0);
    IndexedPlayer steps(letters);
    for (int32_t frames : {0, 0, 0, 1, 7, 100, 0, 0, 101, 200})
        EXPECT_EQ(tvkCreateVideoIndexTableEdit(steps.stream, frames), 0);
    EXPECT_EQ(steps.index.displayCount, once.index.displayCount);
    EXPECT_EQ(steps.displayMap(), once.displayMap());
    EXPECT_EQ(steps.displayNumbers(), once.displayNumbers());
    EXPECT_EQ(steps.streamNumbers(), once.streamNumbers());
    EXPECT_EQ(steps.rootFrames(200), once.rootFrames(200));
    EXPECT_EQ(steps.index.framesScanned, once.index.framesScanned);
    for (uint32_t i = 0; i < once.index.entryCount; ++i) {
        EXPECT_EQ(steps.index.entryTimes[i], once.index.entryTimes[i]);
        EXPECT_EQ(byteOf(steps.index.sequencePositions[i]), byteOf(once.index.sequencePositions[i]));
        EXPECT_EQ(byteOf(steps.index.groupPositions[i]), byteOf(once.index.groupPositions[i]));
        EXPECT_EQ(byteOf(steps.index.picturePositions[i]), byteOf(once.index.picturePositions[i]));
    }
}

TEST(EditScan, stopsAtTheNumberAskedFor) {
    IndexedPlayer player(kOpenGroups);
    EXPECT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 5), 0);
    EXPECT_EQ(player.index.displayCount, 5u);
    EXPECT_EQ(tvkIsVideoStreamIndexed(player.stream), tvkErrNotIndexed);
    EXPECT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 500), 0);
    EXPECT_EQ(player.index.displayCount, 16u);
    EXPECT_EQ(tvkIsVideoStreamIndexed(player.stream), 0);
}

TEST(EditScan, growsTheFrameArrays) {
    std::string letters = "SGI" + std::string(10500, 'P') + "E";
    IndexedPlayer player(letters);
    EXPECT_EQ(tvkCreateVideoIndexTableEdit(player.stream, 100000), 0);
    EXPECT_EQ(player.index.frameCapacity, 20000u);
    EXPECT_EQ(player.index.displayCount, 10501u);
    EXPECT_EQ(player.index.displayMap[10501], 10501);
    EXPECT_EQ(player.index.frameTypes[10501], 2);
}

void expectSameTable(const tvk::VideoIndexTable &a, const tvk::VideoIndexTable &b) {
    EXPECT_EQ(a.frameCount, b.frameCount);
    EXPECT_EQ(a.maxGroupLength, b.maxGroupLength);
    ASSERT_EQ(a.entryCount, b.entryCount);
    for (uint32_t i = 0; i < a.entryCount; ++i) {
        EXPECT_EQ(a.displayNumbers[i], b.displayNumbers[i]);
        EXPECT_EQ(a.streamNumbers[i], b.streamNumbers[i]);
        EXPECT_EQ(byteOf(a.sequencePositions[i]), byteOf(b.sequencePositions[i]));
        EXPECT_EQ(byteOf(a.groupPositions[i]), byteOf(b.groupPositions[i]));
        EXPECT_EQ(byteOf(a.picturePositions[i]), byteOf(b.picturePositions[i]));
    }
}

constexpr const char *kMixed = "SXGIPBBiippbbSXGIBBPMPGRBBE";

TEST(Prescan, makesTheTableOfAScan) {
    for (Player::Get get : {tvkGetNextVideoFrame, tvkGetNextVideoFrameStreamOrder}) {
        IndexedPlayer scanned(kMixed), prescanned(kMixed);
        EXPECT_EQ(tvkCreateVideoIndexTable(scanned.stream), 0);
        ASSERT_EQ(tvkSetVideoSP_Prescan(prescanned.stream, 1), 0);
        prescanned.play(get);
        EXPECT_EQ(tvkIsVideoStreamIndexed(prescanned.stream), 0);
        expectSameTable(prescanned.index, scanned.index);
        uint32_t requested = 9;
        EXPECT_EQ(tvkGetVideoSP_Prescan(prescanned.stream, &requested), 0);
        EXPECT_EQ(requested, 0u);
        // Matrices are not recorded while decoding.
        for (uint32_t i = 0; i < prescanned.index.entryCount; ++i)
            EXPECT_EQ(prescanned.index.matrixPositions[i].words[0], 0u);
    }
}

TEST(Prescan, countsSkippedFieldPairsOnce) {
    IndexedPlayer scanned("SXGiippiippE"), prescanned("SXGiippiippE");
    EXPECT_EQ(tvkCreateVideoIndexTable(scanned.stream), 0);
    ASSERT_EQ(tvkSetVideoSP_Prescan(prescanned.stream, 1), 0);
    ASSERT_EQ(tvkSetVideoSP_FrameTypesToProcess(prescanned.stream, 1), 0);
    prescanned.play();
    expectSameTable(prescanned.index, scanned.index);
}

TEST(Prescan, losesNothingToASourceThatRunsDry) {
    IndexedPlayer scanned(kMixed), prescanned(kMixed);
    EXPECT_EQ(tvkCreateVideoIndexTable(scanned.stream), 0);
    ASSERT_EQ(tvkSetVideoSP_Prescan(prescanned.stream, 1), 0);
    for (int i = 0; i < 60; ++i) {
        prescanned.source.readPlan.push_back(ReadPlan::needData);
        prescanned.source.readPlan.push_back(ReadPlan::ordinary);
    }
    do prescanned.play();
    while (prescanned.result == tvkErrNeedData);
    expectSameTable(prescanned.index, scanned.index);
}

TEST(Prescan, inTheEditLoopMakesTheTablesOfTheEditScan) {
    IndexedPlayer scanned(kMixed), prescanned(kMixed);
    EXPECT_EQ(tvkCreateVideoIndexTableEdit(scanned.stream, 1000), 0);
    ASSERT_EQ(tvkSetVideoSP_PrescanEdit(prescanned.stream, 1), 0);
    prescanned.play(tvkGetNextVideoFrameEdit);
    EXPECT_EQ(tvkIsVideoStreamIndexed(prescanned.stream), 0);
    expectSameTable(prescanned.index, scanned.index);
    EXPECT_EQ(prescanned.displayMap(), scanned.displayMap());
    EXPECT_EQ(prescanned.rootFrames(12), scanned.rootFrames(12));
}

TEST(Prescan, switchedOffThrowsAnUnfinishedTableAway) {
    IndexedPlayer player(kMixed);
    ASSERT_EQ(tvkSetVideoSP_PrescanEdit(player.stream, 1), 0);
    player.step(tvkGetNextVideoFrameEdit);
    EXPECT_NE(player.index.displayMap, nullptr);
    ASSERT_EQ(tvkSetVideoSP_PrescanEdit(player.stream, 0), 0);
    EXPECT_EQ(player.index.displayMap, nullptr);
    EXPECT_EQ(player.index.displayNumbers, nullptr);
    EXPECT_EQ(player.index.entryCapacity, 0u);
}

TEST(Prescan, switchedOffKeepsACompleteTable) {
    IndexedPlayer player(kMixed);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkSetVideoSP_Prescan(player.stream, 1), 0);
    ASSERT_EQ(tvkSetVideoSP_Prescan(player.stream, 0), 0);
    EXPECT_EQ(tvkIsVideoStreamIndexed(player.stream), 0);
}

TEST(Prescan, isThrownAwayByAJump) {
    IndexedPlayer player(kOpenGroups);
    ASSERT_EQ(tvkSetVideoSP_Prescan(player.stream, 1), 0);
    player.step();
    EXPECT_NE(player.index.displayNumbers, nullptr);
    tvkSetRateVideoPosition(player.stream, 0.5);
    EXPECT_EQ(player.index.displayNumbers, nullptr);
    EXPECT_EQ(player.index.prescanRequested, 0u);
}

struct IndexFile {
    std::string path;

    IndexFile() {
        const testing::TestInfo *info = testing::UnitTest::GetInstance()->current_test_info();
        path = testing::TempDir() + "tvk_" + info->test_suite_name() + "_" + info->name() + ".vidx";
    }
    ~IndexFile() { std::remove(path.c_str()); }

    std::vector<uint8_t> read() const {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    void write(const std::vector<uint8_t> &bytes) const {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
};

uint32_t wordAt(const std::vector<uint8_t> &bytes, size_t at) {
    return bytes[at] | static_cast<uint32_t>(bytes[at + 1]) << 8 | static_cast<uint32_t>(bytes[at + 2]) << 16 |
           static_cast<uint32_t>(bytes[at + 3]) << 24;
}

TEST(IndexFile, hasItsLayout) {
    const IndexFile file;
    TinyStream tiny(kOpenGroups);
    IndexedPlayer player(tiny);
    EXPECT_EQ(tvkWriteVideoIndexTable(player.stream, file.path.c_str()), tvkErrNotIndexed);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkWriteVideoIndexTable(player.stream, file.path.c_str()), 0);
    const std::vector<uint8_t> bytes = file.read();
    const size_t n = 3;
    ASSERT_EQ(bytes.size(), 72 + 64 * n);
    EXPECT_EQ(std::memcmp(bytes.data(), "VIDX ver.0.1.03", 16), 0);
    EXPECT_EQ(wordAt(bytes, 16), 0x55667788u);
    EXPECT_EQ(wordAt(bytes, 20), 0x11223344u);
    EXPECT_EQ(wordAt(bytes, 24), 0u);
    EXPECT_EQ(wordAt(bytes, 28), tiny.bytes.size());
    const uint32_t words[] = {16, 3, 1, 16, 32, 1, 0x41C80000};
    for (size_t i = 0; i < 7; ++i) EXPECT_EQ(wordAt(bytes, 32 + 4 * i), words[i]) << i;
    EXPECT_FLOAT_EQ(std::bit_cast<float>(wordAt(bytes, 60)), 0.64f);
    EXPECT_EQ(wordAt(bytes, 64), 1000000u);
    EXPECT_EQ(wordAt(bytes, 68), 9u);
    EXPECT_EQ(wordAt(bytes, 72), 1u);
    EXPECT_EQ(wordAt(bytes, 72 + 24 * n + 12 + 8), tiny.pictureCodes[7]);
    EXPECT_EQ(wordAt(bytes, 72 + 48 * n + 4), 10u);
    EXPECT_EQ(wordAt(bytes, 72 + 52 * n + 8), 14u);
    const uint64_t time = wordAt(bytes, 72 + 56 * n + 8) | static_cast<uint64_t>(wordAt(bytes, 72 + 56 * n + 12)) << 32;
    EXPECT_NEAR(std::bit_cast<double>(time), 0.28, 1e-9);
}

TEST(IndexFile, readBackGivesTheSameTableAndNoSpareEntry) {
    const IndexFile file;
    IndexedPlayer writer(kOpenGroups), reader(kOpenGroups);
    EXPECT_EQ(tvkCreateVideoIndexTable(writer.stream), 0);
    ASSERT_EQ(tvkWriteVideoIndexTable(writer.stream, file.path.c_str()), 0);
    ASSERT_EQ(tvkReadVideoIndexTable(reader.stream, file.path.c_str()), 0);
    expectSameTable(reader.index, writer.index);
    EXPECT_EQ(reader.index.entryCapacity, 3u);
    EXPECT_EQ(tvkIsVideoStreamIndexed(reader.stream), 0);
    // Frames can be made at once.
    VideoFrame *frame = nullptr;
    ASSERT_EQ(tvkCreateVideoFrame(reader.stream, &frame), 0);
    EXPECT_EQ(frame->lumaPlane.width, 16);
    tvkDestroyVideoFrame(frame);
    EXPECT_EQ(tvkSetVideoFrameNumber(reader.stream, 12), 0);
    EXPECT_EQ(reader.current()->frameNumber, 12);
    // Going on from a table without a spare slot.
    EXPECT_EQ(tvkCreateVideoIndexTableEdit(reader.stream, 100), 0);
    EXPECT_EQ(reader.index.entryCount, 3u);
}

TEST(IndexFile, needsAPathAndAPlace) {
    IndexedPlayer player(kOpenGroups);
    EXPECT_EQ(tvkReadVideoIndexTable(player.stream, nullptr), tvkErrInvalidArgument);
    EXPECT_EQ(tvkReadVideoIndexTable(player.stream, ""), tvkErrInvalidArgument);
    EXPECT_EQ(tvkWriteVideoIndexTable(player.stream, nullptr), tvkErrInvalidArgument);
    EXPECT_EQ(tvkWriteVideoIndexTable(player.stream, ""), tvkErrInvalidArgument);
    EXPECT_EQ(tvkReadVideoIndexTable(player.stream, "/nonexistent/x"), tvkErrFileOpen);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(tvkWriteVideoIndexTable(player.stream, "/nonexistent/x"), tvkErrFileCreate);
    EXPECT_EQ(tvkWriteVideoIndexTable(player.stream, "/dev/full"), tvkErrFileCreate);
}

TEST(IndexFile, passesOnTheSourcesRefusal) {
    const IndexFile file;
    IndexedPlayer player(kOpenGroups);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    player.source.parameterFailures[14] = -60;
    EXPECT_EQ(tvkWriteVideoIndexTable(player.stream, file.path.c_str()), -60);
    EXPECT_EQ(tvkReadVideoIndexTable(player.stream, file.path.c_str()), -60);
    player.source.parameterFailures.clear();
    player.source.parameterFailures[0] = -61;
    EXPECT_EQ(tvkWriteVideoIndexTable(player.stream, file.path.c_str()), -61);
    EXPECT_EQ(tvkReadVideoIndexTable(player.stream, file.path.c_str()), -61);
}

// A failed read costs the table; calls that need one find none, and none of them follows a null array.
void expectNoTable(IndexedPlayer &player) {
    EXPECT_EQ(player.index.displayNumbers, nullptr);
    EXPECT_EQ(player.index.entryCount, 0u);
    int32_t first = 1, last = 1;
    EXPECT_EQ(tvkSetVideoFrameNumber(player.stream, 1), tvkErrNotIndexed);
    EXPECT_EQ(tvkSetVideoFrameNumberEdit(player.stream, 1), tvkErrNotIndexed);
    EXPECT_EQ(tvkSetVideoFrameNumberBin(player.stream, 1), tvkErrNotIndexed);
    EXPECT_EQ(tvkGetBinaryStartEnd(player.stream, &first, &last), tvkErrNotIndexed);
    EXPECT_EQ(tvkWriteVideoIndexTable(player.stream, "/dev/null"), tvkErrNotIndexed);
}

TEST(IndexFile, ofAnotherStreamIsRefused) {
    const IndexFile file;
    IndexedPlayer player(kOpenGroups);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkWriteVideoIndexTable(player.stream, file.path.c_str()), 0);
    player.source.totalSize = 1;
    EXPECT_EQ(tvkReadVideoIndexTable(player.stream, file.path.c_str()), tvkErrIndexFile);
    EXPECT_EQ(tvkIsVideoStreamIndexed(player.stream), 0);
    expectNoTable(player);
    player.source.totalSize = 0;
    EXPECT_EQ(tvkReadVideoIndexTable(player.stream, file.path.c_str()), 0);
    player.source.identity ^= 1;
    EXPECT_EQ(tvkReadVideoIndexTable(player.stream, file.path.c_str()), tvkErrIndexFile);
}

TEST(IndexFile, cutOffAnywhereIsRefused) {
    const IndexFile file;
    IndexedPlayer player(kOpenGroups);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkWriteVideoIndexTable(player.stream, file.path.c_str()), 0);
    std::vector<uint8_t> bytes = file.read();
    while (!bytes.empty()) {
        bytes.pop_back();
        file.write(bytes);
        ASSERT_EQ(tvkReadVideoIndexTable(player.stream, file.path.c_str()), tvkErrIndexFile) << bytes.size();
    }
    expectNoTable(player);
}

std::atomic<size_t> largestAllocation;

bool noteSize(size_t size) {
    if (size > largestAllocation) largestAllocation = size;
    return true;
}

TEST(IndexFile, thatClaimsTooManyEntriesIsRefusedWithoutAnAllocation) {
    const IndexFile file;
    IndexedPlayer player(kOpenGroups);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkWriteVideoIndexTable(player.stream, file.path.c_str()), 0);
    std::vector<uint8_t> bytes = file.read();
    for (uint32_t entries : {4u, 1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        for (size_t i = 0; i < 4; ++i) bytes[36 + i] = static_cast<uint8_t>(entries >> 8 * i);
        file.write(bytes);
        largestAllocation = 0;
        tvk::allocationHook = noteSize;
        EXPECT_EQ(tvkReadVideoIndexTable(player.stream, file.path.c_str()), tvkErrIndexFile);
        tvk::allocationHook = nullptr;
        EXPECT_EQ(largestAllocation, 0u);
    }
}

TEST(IndexFile, withWildContentsHurtsNothing) {
    const IndexFile file;
    IndexedPlayer player(kOpenGroups);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    ASSERT_EQ(tvkWriteVideoIndexTable(player.stream, file.path.c_str()), 0);
    const std::vector<uint8_t> good = file.read();
    uint32_t state = 1;
    for (int round = 0; round < 200; ++round) {
        std::vector<uint8_t> bytes = good;
        for (int i = 0; i < 6; ++i) {
            state = state * 1664525 + 1013904223;
            const size_t at = 40 + (state >> 8) % (bytes.size() - 40);
            bytes[at] = static_cast<uint8_t>(state >> 24);
        }
        file.write(bytes);
        if (tvkReadVideoIndexTable(player.stream, file.path.c_str()) != 0) continue;
        for (int32_t number : {1, 2, 9, 10, 16}) {
            tvkSetVideoFrameNumber(player.stream, number);
            tvkSetVideoFrameNumberBin(player.stream, number);
            int32_t first = number, last = number;
            tvkGetBinaryStartEnd(player.stream, &first, &last);
        }
        tvkSetRateVideoPosition(player.stream, 0.4);
    }
}

}  // namespace
}  // namespace tvktest
