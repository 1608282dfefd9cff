// SPDX-License-Identifier: BSD-2-Clause
// Index files that bear the right mark and then say anything.
#include <climits>
#include <cstdio>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "clips.h"
#include "fuzz/application.h"
#include "stream_writer/random.h"
#include "tvk_source.h"

namespace tvktest {
namespace {

using tvkfuzz::Action;
using tvkfuzz::Application;
using tvkfuzz::Loop;

constexpr size_t kFactsStart = 32;  // behind the magic and the mark
constexpr size_t kEntriesStart = 72;
constexpr uint32_t kEntryCountWord = 1;

class HostileIndex : public testing::Test {
  protected:
    std::string path =
        testing::TempDir() + "tvk_" + testing::UnitTest::GetInstance()->current_test_info()->name() + ".vidx";
    Bytes clip = readClip("open_gop.m2v");
    Bytes table;  // as it was written

    void SetUp() override {
        Application application;
        ASSERT_TRUE(application.open(clip.data(), clip.size(), tvkSourceAnyContent));
        ASSERT_EQ(tvkCreateVideoIndexTable(application.stream), 0);
        ASSERT_EQ(tvkWriteVideoIndexTable(application.stream, path.c_str()), 0);
        std::ifstream file(path, std::ios::binary);
        table.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        ASSERT_GT(table.size(), kEntriesStart);
    }

    void TearDown() override { std::remove(path.c_str()); }

    void save(const Bytes &bytes) {
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    static void setWord(Bytes &bytes, size_t at, uint32_t value) {
        for (size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(value >> 8 * i);
    }
};

// Not a number, infinite, huge and negative as a float; the ends of the whole numbers.
constexpr uint32_t kExtremes[] = {0,          1,          0x7FC00000, 0x7F800000, 0x7F7FFFFF,
                                  0xFF7FFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x00010000};

void useEverything(Application &application, Random &random) {
    for (int i = 0; i < 12; ++i) {
        application.act(static_cast<Action>(random.below(tvkfuzz::kActions)), static_cast<uint8_t>(random.below(8)));
        application.step(static_cast<Loop>(random.below(4)));
    }
    VideoFrame *frame = nullptr;
    if (tvkCreateVideoFrame(application.stream, &frame) == 0) tvkDestroyVideoFrame(frame);
    uint32_t number = 0;
    tvkSetRateVideoPosition(application.stream, 0.0);
    tvkGetLastFrameNumber(application.stream, &number);
    tvkGetPrevVideoFrame(application.stream, &frame);
}

TEST_F(HostileIndex, anyWordsLeaveTheStreamSafe) {
    const tvkfuzz::MemoryLimit limit(16u << 20, SIZE_MAX);
    for (uint64_t seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Bytes bytes = table;
        for (uint32_t i = 1 + random.below(4); i > 0; --i) {
            const bool fact = random.coin();
            const size_t start = fact ? kFactsStart : kEntriesStart;
            const size_t end = fact ? kEntriesStart : bytes.size();
            const size_t word = random.below(static_cast<uint32_t>((end - start) / 4));
            if (fact && word == kEntryCountWord) continue;
            setWord(bytes, start + 4 * word,
                    random.coin() ? kExtremes[random.below(10)] : static_cast<uint32_t>(random.next()));
        }
        save(bytes);
        Application application;
        ASSERT_TRUE(application.open(clip.data(), clip.size(), tvkSourceAnyContent));
        if (random.coin()) application.step(Loop::main);
        EXPECT_EQ(tvkReadVideoIndexTable(application.stream, path.c_str()), 0);
        useEverything(application, random);
    }
}

TEST_F(HostileIndex, frameRateThatIsNoNumberGivesALastFrameAllTheSame) {
    Bytes bytes = table;
    for (const uint32_t rate : {0x7FC00000u, 0x7F800000u, 0xFF800000u, 0x7F7FFFFFu}) {
        setWord(bytes, kFactsStart + 24, rate);
        save(bytes);
        Application application;
        ASSERT_TRUE(application.open(clip.data(), clip.size(), tvkSourceAnyContent));
        ASSERT_EQ(tvkReadVideoIndexTable(application.stream, path.c_str()), 0);
        uint32_t number = 0;
        EXPECT_EQ(tvkGetLastFrameNumber(application.stream, &number), 0);
    }
}

TEST_F(HostileIndex, reservedChromaFormatMakesNoFrames) {
    Bytes bytes = table;
    for (const uint32_t format : {0u, 4u, 77u, 255u, 0xFFFFFF00u}) {
        setWord(bytes, kFactsStart + 20, format);
        save(bytes);
        Application application;
        ASSERT_TRUE(application.open(clip.data(), clip.size(), tvkSourceAnyContent));
        ASSERT_EQ(tvkReadVideoIndexTable(application.stream, path.c_str()), 0);
        VideoFrame *frame = nullptr;
        EXPECT_EQ(tvkCreateVideoFrame(application.stream, &frame), tvkErrNoSequenceHeader);
        EXPECT_EQ(frame, nullptr);
        // The stream's own header knows better.
        EXPECT_NE(application.step(Loop::main), nullptr);
    }
}

TEST_F(HostileIndex, countsThatTheFileDoesNotHoldAreRefused) {
    Bytes bytes = table;
    for (const uint32_t count : {0x10000u, 0x3FFFFFFu, 0x4000000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        setWord(bytes, kFactsStart + 4 * kEntryCountWord, count);
        save(bytes);
        Application application;
        ASSERT_TRUE(application.open(clip.data(), clip.size(), tvkSourceAnyContent));
        EXPECT_EQ(tvkReadVideoIndexTable(application.stream, path.c_str()), tvkErrIndexFile);
    }
}

TEST_F(HostileIndex, cutOffFilesAreRefused) {
    for (size_t length = 0; length < table.size(); length += 1 + length / 8) {
        save(Bytes(table.begin(), table.begin() + static_cast<ptrdiff_t>(length)));
        Application application;
        ASSERT_TRUE(application.open(clip.data(), clip.size(), tvkSourceAnyContent));
        EXPECT_EQ(tvkReadVideoIndexTable(application.stream, path.c_str()), tvkErrIndexFile) << length;
        EXPECT_NE(application.step(Loop::main), nullptr);
    }
}

}  // namespace
}  // namespace tvktest
