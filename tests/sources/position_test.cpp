// SPDX-License-Identifier: BSD-2-Clause
// Positions, seeks and what they land on.
#include <cmath>
#include <limits>

#include "sources/abs_position.h"
#include "sources/source_fixture.h"

namespace {

using namespace tvk::test;
using tvk::elementary::BytePlace;
using tvk::elementary::fromAbsPosition;
using tvk::elementary::kPositionLimit;

constexpr uint64_t kGiB = uint64_t{1} << 30;

AbsPosition toAbsPosition(uint64_t packet, uint64_t offset = 0) {
    return tvk::elementary::toAbsPosition(BytePlace{packet, offset});
}

uint32_t measure(const AbsPosition &words) {
    return words.words[1] + words.words[2];
}

void expectBack(uint64_t packet, uint64_t offset) {
    const AbsPosition words = toAbsPosition(packet, offset);
    ASSERT_LE(uint64_t{words.words[1]} + words.words[2], 0xFFFFFFFFu) << packet << " " << offset;
    BytePlace back;
    ASSERT_TRUE(fromAbsPosition(words, back)) << packet << " " << offset;
    ASSERT_EQ(back.packet, packet) << offset;
    ASSERT_EQ(back.offset, offset) << packet;
}

TEST(AbsPositionWords, sumOfLastTwoNeverFallsAndNeverCarries) {
    uint32_t before = 0;
    for (uint64_t position = 0; position < kPositionLimit; position += position / 50 + 1) {
        expectBack(position, 0);
        ASSERT_GE(measure(toAbsPosition(position)), before) << position;
        before = measure(toAbsPosition(position));
    }
}

TEST(AbsPositionWords, everyByteAroundTheBordersComesBack) {
    for (uint64_t border : {uint64_t{70000}, 3 * kGiB, 4 * kGiB, 8 * kGiB, 1024 * kGiB}) {
        uint32_t before = 0;
        for (uint64_t position = border - 70000; position < border + 70000; ++position) {
            expectBack(position, 0);
            ASSERT_GE(measure(toAbsPosition(position)), before);
            before = measure(toAbsPosition(position));
        }
    }
}

TEST(AbsPositionWords, packetAndOffsetComeBackWhateverTheirSizes) {
    for (uint64_t packet = 0; packet < kPositionLimit / 2; packet += packet / 3 + 1) {
        for (uint64_t offset = 0; offset < kPositionLimit / 2; offset += offset / 3 + 1) expectBack(packet, offset);
    }
    expectBack(0, kPositionLimit - 1);
    expectBack(kPositionLimit - 1, 0);
}

TEST(AbsPositionWords, sumRisesWithTheOffsetAndIntoTheNextPacket) {
    for (uint64_t packet : {uint64_t{1000}, 3 * kGiB - 500, 7 * kGiB}) {
        uint32_t before = 0;
        for (uint64_t offset = 0; offset < 200000; ++offset) {
            ASSERT_GE(measure(toAbsPosition(packet, offset)), before) << packet << " " << offset;
            before = measure(toAbsPosition(packet, offset));
        }
        EXPECT_GE(measure(toAbsPosition(packet + 200000)), before);
    }
}

TEST(AbsPositionWords, sumIsStrictBelowThreeGiB) {
    EXPECT_EQ(measure(toAbsPosition(3 * kGiB - 1)), 3 * kGiB - 1);
    EXPECT_EQ(measure(toAbsPosition(12345)), 12345u);
}

TEST(AbsPositionWords, firstByteIsNotAllZero) {
    const AbsPosition words = toAbsPosition(0);
    EXPECT_NE(words.words[0] | words.words[1] | words.words[2], 0u);
}

TEST(AbsPositionWords, foreignWordsAreRefused) {
    BytePlace position;
    EXPECT_FALSE(fromAbsPosition({{0, 0, 0}}, position));
    EXPECT_FALSE(fromAbsPosition({{0x20000, 1, 5}}, position));
    EXPECT_FALSE(fromAbsPosition({{0x30000, 0, 5}}, position));
    EXPECT_FALSE(fromAbsPosition({{0x10001, 0, 5}}, position));
    EXPECT_FALSE(fromAbsPosition({{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}}, position));
}

TEST(Seek, nextUnitBeginsAtExactlyTheByteOfThePosition) {
    const Bytes bytes = makeStream(3, 3, 6);
    const TempFile file(bytes);
    Source reader = Source::ofFile(file.path), seeker = Source::ofFile(file.path);
    for (Unit unit = reader.read(); !unit.bytes.empty(); unit = reader.read()) {
        for (uint32_t offset = 0; offset < unit.bytes.size(); ++offset) {
            ASSERT_EQ(seeker.seekAbs(reader.position(offset)), 0);
            EXPECT_EQ(seeker.absolute(0), unit.start + offset);
            const Unit found = seeker.read();
            ASSERT_EQ(found.start, unit.start + offset);
            ASSERT_TRUE(std::equal(found.bytes.begin(), found.bytes.end(),
                                   bytes.begin() + static_cast<ptrdiff_t>(found.start)));
        }
    }
}

TEST(Seek, toPictureCodeGivesAUnitOfThatCodeAlone) {
    const Bytes bytes = makeStream(3, 3, 6);
    Source source = Source::ofMemory(bytes);
    const Unit first = source.read();
    ASSERT_EQ(source.seekAbs(source.position(first.offsets.back())), 0);
    const Unit code = source.read();
    EXPECT_EQ(code.bytes.size(), 4u);
    EXPECT_EQ(code.codes, (std::vector<uint32_t>{0x100}));
    EXPECT_EQ(code.offsets, (std::vector<uint32_t>{0}));
    EXPECT_EQ(source.read().codes.front(), 0x101u);
}

TEST(Seek, toTheEndIsAllowedAndReadsNothing) {
    const Bytes bytes = makeStream(1, 1, 6);
    Source source = Source::ofMemory(bytes);
    source.readAll();
    const AbsPosition end = source.position(0xFFFFFFFF);
    ASSERT_EQ(source.seekAbs(end), 0);
    EXPECT_TRUE(source.read().bytes.empty());
}

TEST(Seek, refusedPositionLeavesTheSourceWhereItStands) {
    const Bytes bytes = makeStream(2, 1, 6);
    Source source = Source::ofMemory(bytes);
    const Unit first = source.read();
    EXPECT_EQ(source.seekAbs({{0, 0, 0}}), tvkSourceErrBadPosition);
    EXPECT_EQ(source.seekAbs(toAbsPosition(bytes.size() + 1)), tvkSourceErrBadPosition);
    EXPECT_EQ(source.seekAbs(toAbsPosition(0, 5)), tvkSourceErrBadPosition);
    EXPECT_EQ(source.read().start, first.bytes.size());
}

TEST(Seek, duringAHalfReadUnitStartsAfresh) {
    const Bytes bytes = makeStream(2, 3, 100);
    Source source = Source::ofMemory(bytes);
    source.buffer.resize(8);
    uint32_t count;
    ASSERT_EQ(source.readOnce(count), tvkErrBufferTooSmall);
    ASSERT_EQ(source.seekAbs(toAbsPosition(0)), 0);
    EXPECT_EQ(joined(source.readAll()), bytes);
}

TEST(RatePosition, isTheShareOfTheByte) {
    const Bytes bytes = makeStream(3, 3, 6);
    Source source = Source::ofMemory(bytes);
    EXPECT_EQ(source.rate(0), 0.0);
    source.read();
    const Unit unit = source.read();
    const double size = static_cast<double>(bytes.size());
    EXPECT_EQ(source.rate(0), static_cast<double>(unit.start) / size);
    EXPECT_EQ(source.rate(5), static_cast<double>(unit.start + 5) / size);
    source.readAll();
    EXPECT_EQ(source.rate(0xFFFFFFFF), 1.0);
}

TEST(RatePosition, zeroIsTheFirstByteWhateverItIs) {
    Bytes bytes(100, 0x77);
    const Bytes stream = makeStream(2, 1, 6);
    bytes.insert(bytes.end(), stream.begin(), stream.end());
    Source source = Source::ofMemory(bytes);
    source.read();
    ASSERT_EQ(source.seekRate(0.0), 0);
    EXPECT_EQ(source.read().start, 0u);
}

// Eight groups of four pictures; the odd ones begin with a sequence header.
struct Groups {
    Bytes bytes;
    std::vector<uint64_t> entries, pictures;

    Groups() {
        for (int group = 0; group < 8; ++group) {
            entries.push_back(bytes.size());
            if (group % 2 == 0) appendCode(bytes, 0x1B3, 8);
            appendCode(bytes, 0x1B8, 4);
            for (int picture = 0; picture < 4; ++picture) {
                pictures.push_back(bytes.size());
                appendCode(bytes, 0x100, 4);
                appendCode(bytes, 0x101, 500);
            }
        }
    }
};

TEST(RatePosition, landsOnTheNextSequenceHeaderOrGroup) {
    const Groups groups;
    Source source = Source::ofMemory(groups.bytes);
    const double size = static_cast<double>(groups.bytes.size());
    for (size_t i = 1; i < groups.entries.size(); ++i) {
        if (i % 2 == 1) continue;
        ASSERT_EQ(source.seekRate((static_cast<double>(groups.entries[i]) - 700.0) / size), 0);
        EXPECT_EQ(source.absolute(0), groups.entries[i]);
        ASSERT_EQ(source.seekRate((static_cast<double>(groups.entries[i]) + 50.0) / size), 0);
        EXPECT_EQ(source.absolute(0), groups.entries[i + 1]);
    }
}

TEST(RatePosition, withoutAHeaderBehindLandsOnTheNextPicture) {
    const Groups groups;
    Source source = Source::ofMemory(groups.bytes);
    const uint64_t picture = groups.pictures[groups.pictures.size() - 2];
    ASSERT_EQ(source.seekRate(static_cast<double>(picture - 10) / static_cast<double>(groups.bytes.size())), 0);
    EXPECT_EQ(source.absolute(0), picture);
    EXPECT_EQ(source.read().codes, (std::vector<uint32_t>{0x100}));
}

TEST(RatePosition, oneLandsOnTheLastPicture) {
    const Groups groups;
    Source source = Source::ofMemory(groups.bytes);
    ASSERT_EQ(source.seekRate(1.0), 0);
    EXPECT_EQ(source.absolute(0), groups.pictures.back());
}

TEST(RatePosition, roundTripOfAnEntryPointIsTheEntryPoint) {
    const Groups groups;
    Source source = Source::ofMemory(groups.bytes);
    for (uint64_t entry : groups.entries) {
        ASSERT_EQ(source.seekAbs(toAbsPosition(entry)), 0);
        ASSERT_EQ(source.seekRate(source.rate(0)), 0);
        EXPECT_EQ(source.absolute(0), entry);
    }
}

TEST(RatePosition, farFromAnyHeaderThePictureIsTaken) {
    Bytes bytes;
    appendCode(bytes, 0x1B3, 8);
    const size_t picture = 2000000;
    bytes.resize(picture, 0x55);
    appendCode(bytes, 0x100, 6000000);
    appendCode(bytes, 0x1B8, 4);
    appendCode(bytes, 0x100, 4);
    const TempFile file(bytes);
    Source source = Source::ofFile(file.path);
    ASSERT_EQ(source.seekRate(1000.0 / static_cast<double>(bytes.size())), 0);
    EXPECT_EQ(source.absolute(0), picture);
    ASSERT_EQ(source.seekRate(3000000.0 / static_cast<double>(bytes.size())), 0);
    EXPECT_EQ(source.absolute(0), picture + 4 + 6000000);
}

TEST(RatePosition, outOfRangeIsRefused) {
    const Bytes bytes = makeStream(1, 1, 6);
    Source source = Source::ofMemory(bytes);
    for (double rate : {-0.001, 1.001, std::nan("")}) EXPECT_EQ(source.seekRate(rate), tvkErrPositionOutOfRange);
}

TEST(TimePosition, followsTheAnnouncedBitRate) {
    const Groups groups;
    Source source = Source::ofMemory(groups.bytes);
    const uint32_t rate = 8000;
    ASSERT_EQ(source.table->setParameter(source.table, 0, 12, &rate), 0);
    ASSERT_EQ(source.seekTime(0.0), 0);
    EXPECT_EQ(source.absolute(0), 0u);
    ASSERT_EQ(source.seekTime((static_cast<double>(groups.entries[3]) - 5.0) / 1000.0), 0);
    EXPECT_EQ(source.absolute(0), groups.entries[3]);
}

TEST(TimePosition, behindTheEndIsTheLastPicture) {
    const Groups groups;
    Source source = Source::ofMemory(groups.bytes);
    const uint32_t rate = 4000000000;
    ASSERT_EQ(source.table->setParameter(source.table, 0, 12, &rate), 0);
    for (double seconds : {1000.0, 1e300, std::numeric_limits<double>::infinity()}) {
        ASSERT_EQ(source.seekTime(seconds), 0);
        EXPECT_EQ(source.absolute(0), groups.pictures.back());
    }
}

TEST(TimePosition, variableAndMissingRatesAreMeasured) {
    // 25 pictures a second, each of 1012 bytes with its codes.
    Bytes bytes = makeStream(0, 0, 0);
    bytes.resize(bytes.size() - 4);
    const uint64_t front = bytes.size();
    for (int i = 0; i < 200; ++i) {
        appendCode(bytes, 0x100, 4);
        appendCode(bytes, 0x101, 1000);
    }
    Source source = Source::ofMemory(bytes);
    for (uint32_t rate : {0u, 0x3FFFFu * 400}) {
        ASSERT_EQ(source.table->setParameter(source.table, 0, 12, &rate), 0);
        ASSERT_EQ(source.seekTime(2.0), 0);
        EXPECT_EQ(source.absolute(0), front + 50 * 1012);
    }
}

TEST(TimePosition, measuringCountsAFieldPairOnce) {
    Bytes bytes = makeStream(0, 0, 0);
    bytes.resize(bytes.size() - 4);
    const uint64_t front = bytes.size();
    for (int i = 0; i < 400; ++i) {
        appendCode(bytes, 0x100, 4);
        appendCode(bytes, 0x1B5);
        append(bytes, {0x8F, 0xFF, 0xF0 | (1 + i % 2), 0x80, 0x80});
        appendCode(bytes, 0x101, 487);
    }
    Source source = Source::ofMemory(bytes);
    ASSERT_EQ(source.seekTime(4.0), 0);
    const int64_t off = static_cast<int64_t>(source.absolute(0)) - static_cast<int64_t>(front + 200 * 508);
    EXPECT_LE(std::abs(off), 508);
}

TEST(TimePosition, withoutAnyRateOnlyTheStartIsReachable) {
    Bytes bytes(1000, 0x55);
    Source source = Source::ofMemory(bytes, tvkSourceAnyContent);
    EXPECT_EQ(source.seekTime(0.0), 0);
    EXPECT_EQ(source.seekTime(1.0), tvkSourceErrNoTime);
    EXPECT_EQ(source.seekTime(-1.0), tvkErrPositionOutOfRange);
    EXPECT_EQ(source.seekTime(std::nan("")), tvkErrPositionOutOfRange);
}

TEST(LargeFile, positionsAboveFourGiBRiseAndComeBack) {
    const uint64_t far = 5 * kGiB + 12345;
    const Bytes stream = makeStream(3, 2, 50);
    TempFile file(stream);
    file.resize(far + stream.size());
    file.write(far, stream);
    Source source = Source::ofFile(file.path);

    uint32_t words[2];
    ASSERT_EQ(source.table->getParameter(source.table, 0, 14, words), 0);
    EXPECT_EQ(words[0], 1u);
    EXPECT_EQ((uint64_t{words[0]} << 32) + words[1], far + stream.size());

    const double size = static_cast<double>(far + stream.size());
    ASSERT_EQ(source.seekRate(static_cast<double>(far) / size), 0);
    EXPECT_EQ(source.absolute(0), far);
    const AbsPosition first = source.position(0);
    source.read();
    const Unit second = source.read();
    EXPECT_EQ(second.start, far + kHeadBytes);
    EXPECT_EQ(second.sliceCount, 2);
    const AbsPosition later = source.position(10);
    EXPECT_GE(measure(later), measure(first));
    EXPECT_GT(measure(first), measure(toAbsPosition(4 * kGiB)));
    ASSERT_EQ(source.seekAbs(first), 0);
    EXPECT_EQ(source.read().codes.front(), 0x1B3u);
    ASSERT_EQ(source.seekAbs(later), 0);
    EXPECT_EQ(source.read().start, far + kHeadBytes + 10);
    ASSERT_EQ(source.seekRate(1.0), 0);
    EXPECT_EQ(source.read().codes, (std::vector<uint32_t>{0x100}));
}

}  // namespace
