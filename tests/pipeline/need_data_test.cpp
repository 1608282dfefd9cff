// SPDX-License-Identifier: BSD-2-Clause
// Sources that have no data yet: calls come back and go on where they stood.
#include "pipeline/player.h"

namespace tvktest {
namespace {

// Plays on over tvkErrNeedData and counts how often it came.
std::string playPatiently(Player &player, Player::Get get, int *waits, int limit = 200) {
    std::string text;
    while (limit-- > 0) {
        const VideoFrame *frame = player.step(get);
        if (player.result == tvkErrNeedData) {
            ++*waits;
            continue;
        }
        if (!frame) break;
        text += (text.empty() ? "" : " ") + Player::describe(*frame);
        EXPECT_EQ(shadeOf(frame), frame->streamNumber - 1);
    }
    return text;
}

constexpr const char *kLetters = "SGIPBBPBBGIBBP";
constexpr const char *kFrames = "I1/1 B2/3 B3/4 P4/2 B5/6 B6/7 P7/5 B8/9 B9/10 I10/8 P11/11";

TEST(NeedData, comesBackAndTheNextCallLosesNoPicture) {
    Player player(kLetters);
    player.source.readPlan.assign(3, ReadPlan::ordinary);
    player.source.readPlan.push_back(ReadPlan::needData);
    EXPECT_EQ(Player::describe(*player.step()), "I1/1");
    EXPECT_EQ(player.step(), nullptr);
    EXPECT_EQ(player.result, tvkErrNeedData);
    EXPECT_EQ(player.stream->status, tvk::statusWaitingForData);
    EXPECT_EQ(player.play(), std::string(kFrames).substr(5));
}

TEST(NeedData, atAnySingleReadChangesNothing) {
    for (size_t read = 0; read < 14; ++read) {
        Player player(kLetters);
        player.source.readPlan.assign(read, ReadPlan::ordinary);
        player.source.readPlan.push_back(ReadPlan::needData);
        int waits = 0;
        EXPECT_EQ(playPatiently(player, tvkGetNextVideoFrame, &waits), kFrames) << "read " << read;
        EXPECT_EQ(waits, 1) << "read " << read;
    }
}

TEST(NeedData, aheadOfEveryReadChangesNothing) {
    Player player(kLetters);
    for (int i = 0; i < 40; ++i) {
        player.source.readPlan.push_back(ReadPlan::needData);
        player.source.readPlan.push_back(ReadPlan::ordinary);
    }
    int waits = 0;
    EXPECT_EQ(playPatiently(player, tvkGetNextVideoFrame, &waits), kFrames);
    EXPECT_GE(waits, 12);
}

TEST(NeedData, betweenTheFieldsOfAPairKeepsThePair) {
    const std::string letters = "SXGiippbbE";
    for (size_t read = 0; read < 8; ++read) {
        Player player(letters);
        player.source.readPlan.assign(read, ReadPlan::ordinary);
        player.source.readPlan.push_back(ReadPlan::needData);
        player.step();
        std::string text;
        if (player.result == tvkErrNeedData) {
            text = player.numbers();
        } else {
            text = "1 ";
            while (true) {
                const VideoFrame *frame = player.step();
                if (frame) text += std::to_string(frame->frameNumber) + " ";
                if (!frame && player.result != tvkErrNeedData) break;
            }
            text.pop_back();
        }
        EXPECT_EQ(text, "1 2 3") << "read " << read;
        EXPECT_EQ(player.stream->frames.pictureCounter, 3u) << "read " << read;
    }
}

TEST(NeedData, keepsTheRatePositionOfThePictureWaitedFor) {
    TinyStream tiny("SGIPE");
    Player player(tiny);
    player.source.readPlan = {ReadPlan::ordinary, ReadPlan::needData};
    EXPECT_EQ(player.step(), nullptr);
    const VideoFrame *frame = player.step();
    ASSERT_NE(frame, nullptr);
    EXPECT_DOUBLE_EQ(frame->decodeRatePosition,
                     static_cast<double>(tiny.pictureCodes[0]) / static_cast<double>(tiny.bytes.size()));
}

TEST(NeedData, inTheStreamOrderLoopComesBackFromTheUnitFetchOnly) {
    Player player("SGIPBP");
    for (int i = 0; i < 20; ++i) {
        player.source.readPlan.push_back(ReadPlan::needData);
        player.source.readPlan.push_back(ReadPlan::ordinary);
    }
    int waits = 0;
    EXPECT_EQ(playPatiently(player, tvkGetNextVideoFrameStreamOrder, &waits), "I1/1 P2/2 B2/3 P4/4");
    EXPECT_EQ(waits, 5);  // the first sequence header and four units
}

// Each loop that hands the code on, with one dry read at each read of the stream.
TEST(NeedData, atAnySingleReadOfAnyLoopLosesNoPicture) {
    static int32_t list[] = {1, 3, 5, 6, 10, 11};
    struct Way {
        const char *name, *frames;
        Player::Get get;
        int32_t workMode;
        bool indexed;
    };
    constexpr Way kWays[] = {
        {"forward", kFrames, tvkGetNextVideoFrame, 0, false},
        {"forward, indexed", kFrames, tvkGetNextVideoFrame, 0, true},
        {"stream order", "I1/1 P2/2 B2/3 B3/4 P5/5 B5/6 B6/7 I8/8 B8/9 B9/10 P11/11", tvkGetNextVideoFrameStreamOrder,
         0, false},
        {"adjustable speed", kFrames, tvkGetNextVideoFrame, 1, false},
        {"frame list", "I1/1 B3/4 B5/6 B6/7 I10/8 P11/11", tvkGetNextVideoFrame, 2, false},
        {"frame list, indexed", "I1/1 B3/4 B5/6 B6/7 I10/8 P11/11", tvkGetNextVideoFrame, 2, true},
    };
    for (const Way &way : kWays) {
        SCOPED_TRACE(way.name);
        int dry = 0;
        for (size_t read = 0; read < 40; ++read) {
            Player player(kLetters);
            if (way.indexed) {
                ASSERT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
            }
            ASSERT_EQ(tvkSetVideoSP_FrameList(player.stream, list, 6), 0);
            ASSERT_EQ(tvkSetVideoWorkMode(player.stream, way.workMode), 0);
            player.source.readPlan.assign(player.source.reads + read, ReadPlan::ordinary);
            player.source.readPlan.push_back(ReadPlan::needData);
            int waits = 0;
            EXPECT_EQ(playPatiently(player, way.get, &waits), way.frames) << "read " << read;
            EXPECT_LE(waits, 1) << "read " << read;
            dry += waits;
        }
        EXPECT_GE(dry, 11);
    }
}

TEST(NeedData, inTheEditLoopLosesNothing) {
    Player player(kLetters);
    for (int i = 0; i < 40; ++i) {
        player.source.readPlan.push_back(ReadPlan::needData);
        player.source.readPlan.push_back(ReadPlan::ordinary);
    }
    int waits = 0;
    EXPECT_EQ(playPatiently(player, tvkGetNextVideoFrameEdit, &waits), kFrames);
}

TEST(NeedData, whileScanningTheStreamIsWaitedFor) {
    Player player("SGIPBBPE");
    for (int i = 0; i < 40; ++i) {
        player.source.readPlan.push_back(ReadPlan::needData);
        player.source.readPlan.push_back(ReadPlan::ordinary);
    }
    uint32_t count = 0;
    EXPECT_EQ(tvkCountVideoFrames(player.stream, &count), 0);
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(tvkCreateVideoIndexTable(player.stream), 0);
    EXPECT_EQ(player.stream->index.frameCount, 5u);
}

}  // namespace
}  // namespace tvktest
