// SPDX-License-Identifier: BSD-2-Clause
// How units are cut and their tables filled.
#include <random>

#include "sources/source_fixture.h"

namespace {

using namespace tvk::test;

constexpr size_t kLargest = 0x400000;

struct NaiveUnit {
    size_t start, length;
    std::vector<uint32_t> codes, offsets;
};

// The cutting rule without the limits: a unit ends behind its picture code.
std::vector<NaiveUnit> naiveUnits(const Bytes &bytes) {
    std::vector<NaiveUnit> units(1, NaiveUnit{0, 0, {}, {}});
    for (size_t i = 0; i + 4 <= bytes.size();) {
        if (bytes[i] != 0 || bytes[i + 1] != 0 || bytes[i + 2] != 1) {
            ++i;
            continue;
        }
        NaiveUnit &unit = units.back();
        unit.codes.push_back(0x100u + bytes[i + 3]);
        unit.offsets.push_back(static_cast<uint32_t>(i - unit.start));
        const bool picture = bytes[i + 3] == 0;
        i += 4;
        if (!picture) continue;
        unit.length = i - unit.start;
        units.push_back({i, 0, {}, {}});
    }
    units.back().length = bytes.size() - units.back().start;
    if (units.back().length == 0) units.pop_back();
    return units;
}

void expectNaive(const std::vector<Unit> &units, const Bytes &bytes) {
    const std::vector<NaiveUnit> expected = naiveUnits(bytes);
    ASSERT_EQ(units.size(), expected.size());
    for (size_t i = 0; i < units.size(); ++i) {
        ASSERT_EQ(units[i].start, expected[i].start) << "unit " << i;
        ASSERT_EQ(units[i].bytes.size(), expected[i].length) << "unit " << i;
        ASSERT_EQ(units[i].codes, expected[i].codes) << "unit " << i;
        ASSERT_EQ(units[i].offsets, expected[i].offsets) << "unit " << i;
    }
    ASSERT_EQ(joined(units), bytes);
}

// Headers and pictures of random size, whose bytes are mostly zero.
Bytes randomStream(uint32_t seed, size_t size) {
    std::mt19937 random(seed);
    Bytes bytes = makeStream(1, 0, 0);
    while (bytes.size() < size) {
        for (uint32_t slice = 0x101; slice < 0x105; ++slice) {
            appendCode(bytes, slice);
            for (uint32_t i = random() % 4000; i > 0; --i) bytes.push_back(random() % 3 == 0 ? 2 + random() % 200 : 0);
        }
        if (random() % 4 == 0) appendCode(bytes, 0x1B3, 8);
        appendCode(bytes, 0x100, 4);
    }
    return bytes;
}

// Lent, in blocks of the source, into the caller's buffer.
constexpr uint32_t kWaysToGive[] = {0, tvkSourceOwnsBuffer, tvkSourceFillsBuffer};

TEST(Unit, endsBehindPictureCodeAndNextBeginsWithHeaderBits) {
    const Bytes bytes = makeStream(2, 3, 5);
    const TempFile file(bytes);
    Source source = Source::ofFile(file.path);
    const std::vector<Unit> units = source.readAll();
    ASSERT_EQ(units.size(), 3u);
    EXPECT_EQ(units[0].codes, (std::vector<uint32_t>{0x1B3, 0x1B5, 0x1B8, 0x100}));
    EXPECT_EQ(units[0].offsets.back() + 4, units[0].bytes.size());
    EXPECT_EQ(units[1].codes, (std::vector<uint32_t>{0x101, 0x102, 0x103, 0x100}));
    EXPECT_EQ(units[1].offsets[0], 4u);
    EXPECT_EQ(units[2].codes, (std::vector<uint32_t>{0x101, 0x102, 0x103, 0x1B7}));
    EXPECT_EQ(joined(units), bytes);
}

TEST(Unit, namesTheRunOfSlices) {
    Bytes bytes;
    appendCode(bytes, 0x100, 4);
    appendCode(bytes, 0x1B5, 5);
    appendCode(bytes, 0x1B2, 5);
    for (uint32_t code : {0x101u, 0x102u, 0x1AFu}) appendCode(bytes, code, 9);
    appendCode(bytes, 0x1B8, 4);
    appendCode(bytes, 0x100, 4);
    Source source = Source::ofMemory(bytes, tvkSourceAnyContent);
    const Unit empty = source.read();
    EXPECT_EQ(empty.sliceCount, 0);
    const Unit unit = source.read();
    EXPECT_EQ(unit.firstSlice, 2);
    EXPECT_EQ(unit.lastSlice, 4);
    EXPECT_EQ(unit.sliceCount, 3);
}

TEST(Unit, filesOfManyWindowsAreCutAsNaively) {
    for (uint32_t seed = 1; seed < 4; ++seed) {
        const Bytes bytes = randomStream(seed, 1500000);
        const TempFile file(bytes);
        for (uint32_t flags : kWaysToGive) {
            Source source = Source::ofFile(file.path, flags);
            expectNaive(source.readAll(), bytes);
        }
    }
}

TEST(Unit, memoryAndFileGiveTheSameUnits) {
    const Bytes bytes = randomStream(9, 300000);
    for (uint32_t flags : kWaysToGive) {
        Source source = Source::ofMemory(bytes, flags);
        expectNaive(source.readAll(), bytes);
    }
}

TEST(Unit, lentMemoryIsTheCallersOwn) {
    const Bytes bytes = makeStream(2, 3, 5);
    Source source = Source::ofMemory(bytes, 0);
    for (Unit unit = source.read(); !unit.bytes.empty(); unit = source.read())
        EXPECT_EQ(source.unit->buffer, bytes.data() + unit.start);
}

TEST(Unit, lentBytesStayWhileTheSourceAnswersQuestions) {
    const Bytes bytes = randomStream(5, 1500000);
    const TempFile file(bytes);
    Source source = Source::ofFile(file.path, 0);
    VideoSource *table = source.table;
    for (Unit unit = source.read(); !unit.bytes.empty(); unit = source.read()) {
        uint64_t answer = 0;
        for (uint32_t parameter : {0u, 8u, 9u, 11u, 14u}) {
            EXPECT_EQ(table->getParameter(table, 0, parameter, &answer), 0);
        }
        source.position(3);
        source.rate(3);
        ASSERT_TRUE(std::equal(unit.bytes.begin(), unit.bytes.end(), source.unit->buffer));
    }
}

TEST(Unit, codeAcrossTheReadBoundaryIsFoundAtEveryPhase) {
    constexpr size_t kPiece = 0x40000;
    for (size_t phase = 0; phase < 8; ++phase) {
        Bytes bytes;
        appendCode(bytes, 0x1B3, 8);
        bytes.resize(kPiece - phase, 0x55);
        appendCode(bytes, 0x100, 4);
        appendCode(bytes, 0x101, 100);
        const TempFile file(bytes);
        Source source = Source::ofFile(file.path);
        expectNaive(source.readAll(), bytes);
    }
}

TEST(Unit, lastUnitEndsWhereverTheFileIsCut) {
    const Bytes whole = makeStream(2, 2, 3);
    for (size_t size = 1; size <= whole.size(); ++size) {
        const Bytes bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
        Source source = Source::ofMemory(bytes, tvkSourceAnyContent | tvkSourceOwnsBuffer);
        expectNaive(source.readAll(), bytes);
        EXPECT_EQ(source.read().status, 0);
    }
}

TEST(Unit, smallBufferTakesUnitInPartsWhoseCountsAddUp) {
    const Bytes bytes = makeStream(3, 10, 700);
    for (size_t capacity : {4u, 60u, 1000u, 4096u}) {
        Source source = Source::ofMemory(bytes);
        source.buffer.resize(capacity);
        expectNaive(source.readAll(), bytes);
    }
}

TEST(Unit, tooSmallReadReportsFilledBuffer) {
    const Bytes bytes = makeStream(1, 10, 100);
    Source source = Source::ofMemory(bytes);
    source.read();
    source.buffer.resize(100);
    uint32_t count;
    EXPECT_EQ(source.readOnce(count), tvkErrBufferTooSmall);
    EXPECT_EQ(count, 100u);
    source.unit->resumeOffset = 100;
    source.buffer.resize(200);
    EXPECT_EQ(source.readOnce(count), tvkErrBufferTooSmall);
    EXPECT_EQ(count, 100u);
    source.unit->resumeOffset = 200;
    source.buffer.resize(4000);
    EXPECT_EQ(source.readOnce(count), 0);
    EXPECT_EQ(count, bytes.size() - kHeadBytes - 200);
}

TEST(Unit, givenUpHalfwayIsReadAgainFromItsStart) {
    const Bytes bytes = makeStream(1, 10, 100);
    Source source = Source::ofMemory(bytes);
    const Unit first = source.read();
    source.buffer.resize(100);
    uint32_t count;
    EXPECT_EQ(source.readOnce(count), tvkErrBufferTooSmall);
    source.buffer.resize(4000);
    const Unit again = source.read();
    EXPECT_EQ(again.start, first.bytes.size());
    EXPECT_EQ(first.bytes.size() + again.bytes.size(), bytes.size());
}

TEST(Unit, resumeAtAnOffsetNeverReportedIsRefused) {
    const Bytes bytes = makeStream(1, 10, 100);
    Source source = Source::ofMemory(bytes);
    source.read();
    source.buffer.resize(100);
    uint32_t count;
    ASSERT_EQ(source.readOnce(count), tvkErrBufferTooSmall);
    source.unit->resumeOffset = 50;
    EXPECT_EQ(source.readOnce(count), tvkErrInvalidArgument);
    EXPECT_EQ(count, 0u);
}

TEST(Unit, missingBufferIsRefused) {
    const Bytes bytes = makeStream(1, 1, 1);
    Source source = Source::ofMemory(bytes);
    uint32_t count = 9;
    source.unit->capacity = 100;
    EXPECT_EQ(source.table->readUnit(source.table, 0, source.unit.get(), &count), tvkErrInvalidArgument);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(source.table->readUnit(source.table, 0, nullptr, &count), tvkErrInvalidArgument);
    EXPECT_EQ(source.table->readUnit(source.table, 0, source.unit.get(), nullptr), tvkErrInvalidArgument);
}

TEST(Unit, endLeavesTheLastUnitAsItIs) {
    const Bytes bytes = makeStream(1, 3, 10);
    Source source = Source::ofMemory(bytes);
    const std::vector<Unit> units = source.readAll();
    EXPECT_EQ(source.unit->entryCount, static_cast<int32_t>(units.back().codes.size()));
    EXPECT_EQ(source.absolute(0), units.back().start);
    EXPECT_EQ(source.absolute(static_cast<uint32_t>(units.back().bytes.size())), bytes.size());
}

TEST(Unit, tooManySlicesLoseTheLastOnesAndNoHeader) {
    Bytes bytes = makeStream(1, 0, 0);
    bytes.resize(bytes.size() - 4);
    for (int i = 0; i < 5000; ++i) appendCode(bytes, static_cast<uint32_t>(0x101 + i % 100), 3);
    appendCode(bytes, 0x1B3, 8);
    appendCode(bytes, 0x1B8, 4);
    appendCode(bytes, 0x100, 4);
    appendCode(bytes, 0x101, 4);
    Source source = Source::ofMemory(bytes);
    const std::vector<Unit> units = source.readAll();
    ASSERT_EQ(units.size(), 3u);
    const std::vector<uint32_t> &codes = units[1].codes;
    EXPECT_EQ(units[1].sliceCount, 4032);
    EXPECT_EQ(units[1].lastSlice, 4031);
    EXPECT_EQ((std::vector<uint32_t>{codes.end() - 3, codes.end()}), (std::vector<uint32_t>{0x1B3, 0x1B8, 0x100}));
    EXPECT_EQ(joined(units), bytes);
}

TEST(Unit, tooManyOtherCodesKeepThePictureLast) {
    Bytes bytes = makeStream(1, 0, 0);
    for (int i = 0; i < 9000; ++i) appendCode(bytes, 0x1B2);
    appendCode(bytes, 0x100, 4);
    Source source = Source::ofMemory(bytes);
    const std::vector<Unit> units = source.readAll();
    ASSERT_EQ(units.size(), 3u);
    EXPECT_EQ(units[1].codes.size(), 4096u);
    EXPECT_EQ(units[1].codes.back(), 0x100u);
    EXPECT_EQ(units[1].offsets.back() + 4, units[1].bytes.size());
    EXPECT_EQ(joined(units), bytes);
}

TEST(Unit, strayCodeInsideThePictureDoesNotSplitItsSlices) {
    Bytes bytes;
    appendCode(bytes, 0x101, 3);
    appendCode(bytes, 0x1E3, 3);
    appendCode(bytes, 0x1B2, 3);
    appendCode(bytes, 0x102, 3);
    appendCode(bytes, 0x1B2, 3);
    appendCode(bytes, 0x100, 3);
    Source source = Source::ofMemory(bytes, tvkSourceAnyContent);
    const Unit unit = source.read();
    EXPECT_EQ(unit.codes, (std::vector<uint32_t>{0x101, 0x102, 0x1B2, 0x100}));
    EXPECT_EQ(unit.offsets, (std::vector<uint32_t>{0, 21, 28, 35}));
    EXPECT_EQ(unit.lastSlice, 1);
}

TEST(Unit, slicesBehindAHeaderWithoutPictureAreNotListed) {
    for (uint32_t header : {0x1B3u, 0x1B7u, 0x1B8u}) {
        Bytes bytes;
        appendCode(bytes, 0x101, 3);
        appendCode(bytes, header, 8);
        appendCode(bytes, 0x101, 3);
        appendCode(bytes, 0x100, 3);
        Source source = Source::ofMemory(bytes, tvkSourceAnyContent);
        const Unit unit = source.read();
        EXPECT_EQ(unit.codes, (std::vector<uint32_t>{0x101, header, 0x100}));
        EXPECT_EQ(unit.sliceCount, 1);
    }
}

TEST(Unit, aboveTheLargestIsCutAndItsRestListsNoSlices) {
    Bytes bytes = makeStream(1, 0, 0);
    bytes.resize(bytes.size() - 4);
    appendCode(bytes, 0x101, 3000000);
    appendCode(bytes, 0x102, 3000000);
    appendCode(bytes, 0x103, 3000000);
    appendCode(bytes, 0x1B8, 4);
    appendCode(bytes, 0x100, 4);
    appendCode(bytes, 0x101, 4);
    const TempFile file(bytes);
    for (uint32_t flags : kWaysToGive) {
        Source source = Source::ofFile(file.path, flags);
        const std::vector<Unit> units = source.readAll();
        ASSERT_EQ(units.size(), 5u);
        EXPECT_EQ(units[1].bytes.size(), kLargest);
        EXPECT_EQ(units[1].codes, (std::vector<uint32_t>{0x101, 0x102}));
        EXPECT_EQ(units[2].bytes.size(), kLargest);
        EXPECT_TRUE(units[2].codes.empty());
        EXPECT_EQ(units[3].codes, (std::vector<uint32_t>{0x1B8, 0x100}));
        EXPECT_EQ(units[4].codes, (std::vector<uint32_t>{0x101}));
        EXPECT_EQ(joined(units), bytes);
    }
}

TEST(Unit, cutAtTheLargestSplitsNoStartCode) {
    for (size_t codeAt = kLargest - 6; codeAt <= kLargest + 2; ++codeAt) {
        Bytes bytes(codeAt, 0x55);
        appendCode(bytes, 0x1B3, 8);
        appendCode(bytes, 0x100, 4);
        const TempFile file(bytes);
        Source source = Source::ofFile(file.path);
        const std::vector<Unit> units = source.readAll();
        ASSERT_EQ(units.size(), 3u);
        const bool inFirst = codeAt + 4 <= kLargest;
        EXPECT_EQ(units[0].bytes.size(), inFirst ? kLargest : std::min(codeAt, kLargest));
        EXPECT_EQ(units[0].codes.size() + units[1].codes.size(), 2u);
        EXPECT_EQ(joined(units), bytes);
    }
}

TEST(Unit, pictureCodeEndingAtTheLargestIsStillInside) {
    Bytes bytes;
    appendCode(bytes, 0x1B3, 8);
    bytes.resize(kLargest - 4, 0x55);
    appendCode(bytes, 0x100, 4);
    const TempFile file(bytes);
    Source source = Source::ofFile(file.path);
    const Unit unit = source.read();
    EXPECT_EQ(unit.bytes.size(), kLargest);
    EXPECT_EQ(unit.codes, (std::vector<uint32_t>{0x1B3, 0x100}));
}

TEST(Unit, garbageInFrontBelongsToTheFirstUnit) {
    Bytes bytes(5000000, 0xA5);
    const Bytes stream = makeStream(2, 2, 10);
    bytes.insert(bytes.end(), stream.begin(), stream.end());
    const TempFile file(bytes);
    Source source = Source::ofFile(file.path);
    const std::vector<Unit> units = source.readAll();
    ASSERT_EQ(units.size(), 4u);
    EXPECT_EQ(units[0].start, 0u);
    EXPECT_TRUE(units[0].codes.empty());
    EXPECT_EQ(units[1].codes.front(), 0x1B3u);
    EXPECT_EQ(units[2].sliceCount, 2);
    EXPECT_EQ(joined(units), bytes);
}

TEST(Unit, ownedBufferIsExactlyTheUnit) {
    const Bytes bytes = makeStream(2, 2, 10);
    Source source = Source::ofMemory(bytes, tvkSourceOwnsBuffer);
    for (const Unit &unit : source.readAll()) EXPECT_FALSE(unit.bytes.empty());
    EXPECT_EQ(static_cast<size_t>(source.unit->capacity), bytes.size() - source.absolute(0));
}

}  // namespace
