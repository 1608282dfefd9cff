// SPDX-License-Identifier: BSD-2-Clause
// What holds of the units of any bytes whatever.
#include <random>

#include "sources/source_fixture.h"

namespace {

using namespace tvk::test;

bool isSlice(uint32_t code) {
    return code >= 0x101 && code <= 0x1AF;
}

void expectSoundTable(const Unit &unit) {
    ASSERT_EQ(unit.codes.size(), unit.offsets.size());
    int32_t slices = 0;
    for (size_t i = 0; i < unit.codes.size(); ++i) {
        const uint32_t offset = unit.offsets[i];
        ASSERT_LE(offset + 4, unit.bytes.size());
        ASSERT_GE(offset, i == 0 ? 0 : unit.offsets[i - 1] + 4);
        ASSERT_EQ(unit.bytes[offset] | unit.bytes[offset + 1], 0);
        ASSERT_EQ(unit.bytes[offset + 2], 1);
        ASSERT_EQ(unit.bytes[offset + 3] + 0x100u, unit.codes[i]);
        ASSERT_TRUE(unit.codes[i] != 0x100 || i + 1 == unit.codes.size());
        slices += isSlice(unit.codes[i]);
    }
    ASSERT_EQ(slices, unit.sliceCount);
    if (slices == 0) return;
    ASSERT_EQ(unit.lastSlice, unit.firstSlice + slices - 1);
    for (int32_t i = unit.firstSlice; i <= unit.lastSlice; ++i) {
        ASSERT_TRUE(isSlice(unit.codes[static_cast<size_t>(i)]));
    }
}

Bytes randomBytes(std::mt19937 &random) {
    Bytes bytes;
    const uint32_t codes[] = {0x100, 0x101, 0x102, 0x1AF, 0x1B2, 0x1B3, 0x1B5, 0x1B7, 0x1B8, 0x1BA, 0x1E0, 0x1FF};
    for (uint32_t i = random() % 200; i > 0; --i) {
        if (random() % 3 != 0) appendCode(bytes, codes[random() % std::size(codes)]);
        for (uint32_t n = random() % 6; n > 0; --n) bytes.push_back(static_cast<uint8_t>(random() % 3));
    }
    return bytes;
}

constexpr uint32_t kWaysToGive[] = {0, tvkSourceOwnsBuffer, tvkSourceFillsBuffer};

TEST(DamagedStream, unitsJoinToTheBytesAndTablesAreSound) {
    std::mt19937 random(7);
    for (int round = 0; round < 400; ++round) {
        const Bytes bytes = randomBytes(random);
        const uint32_t flags = tvkSourceAnyContent | kWaysToGive[round % 3];
        Source source = Source::ofMemory(bytes, flags);
        source.buffer.resize(1 + random() % 64);
        const std::vector<Unit> units = source.readAll();
        for (const Unit &unit : units) expectSoundTable(unit);
        ASSERT_EQ(joined(units), bytes) << "round " << round;
    }
}

TEST(DamagedStream, unitsFromAnyPositionAreTheRestOfTheBytes) {
    std::mt19937 random(8);
    Bytes bytes;
    for (int i = 0; i < 400; ++i) {
        const Bytes more = randomBytes(random);
        bytes.insert(bytes.end(), more.begin(), more.end());
        bytes.resize(bytes.size() + random() % 3000, 0x33);
    }
    const TempFile file(bytes);
    Source source = Source::ofFile(file.path, tvkSourceAnyContent);
    for (int round = 0; round < 200; ++round) {
        ASSERT_EQ(source.seekRate(static_cast<double>(random()) / 4294967295.0), 0);
        uint64_t at = source.absolute(0);
        for (int reads = static_cast<int>(random() % 400); reads > 0; --reads) {
            const Unit unit = source.read();
            expectSoundTable(unit);
            if (unit.bytes.empty()) break;
            ASSERT_EQ(unit.start, at);
            ASSERT_TRUE(
                std::equal(unit.bytes.begin(), unit.bytes.end(), bytes.begin() + static_cast<ptrdiff_t>(unit.start)));
            at += unit.bytes.size();
        }
    }
}

}  // namespace
