// SPDX-License-Identifier: BSD-2-Clause
// Index files are the same bytes on every machine, so that one made on one is read on any other.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "frame_line.h"
#include "tvk.h"
#include "tvk_source.h"

namespace tvktest {
namespace {

const std::string kClip = std::string(TVK_CLIPS_FOLDER) + "/open_gop.m2v";
const std::string kIndex = std::string(TVK_GOLDEN_FOLDER) + "/open_gop.m2v.index";

std::vector<char> contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct IndexExchange : testing::Test {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;

    void SetUp() override {
        ASSERT_EQ(tvkOpenFileSource(&source, kClip.c_str()), 0);
        ASSERT_EQ(tvkCreateVideoStream(&stream, source), 0);
    }
    void TearDown() override {
        tvkDestroyVideoStream(stream);
        tvkCloseSource(source);
    }
};

TEST_F(IndexExchange, filesAreTheSameBytesEverywhere) {
    std::string folder = (std::filesystem::temp_directory_path() / "tvk-index-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::string path = folder + "/index";
    ASSERT_EQ(tvkCreateVideoIndexTable(stream), 0);
    EXPECT_EQ(tvkWriteVideoIndexTable(stream, path.c_str()), 0);
    const std::vector<char> kept = contentOf(kIndex), written = contentOf(path);
    std::filesystem::remove_all(folder);
    EXPECT_FALSE(kept.empty());
    EXPECT_EQ(written, kept);
}

TEST_F(IndexExchange, keptFileLeadsToTheFramesOfTheClip) {
    ASSERT_EQ(tvkReadVideoIndexTable(stream, kIndex.c_str()), 0);
    ASSERT_EQ(tvkSetVideoSP_Precision(stream, 1), 0);
    size_t checked = 0;
    for (const ExpectedClip &clip : readGoldenFolder(TVK_GOLDEN_FOLDER)) {
        if (clip.name != "open_gop.m2v" || clip.precision != 1) continue;
        for (size_t i = clip.frames.size(); i-- > 0; ++checked) {
            VideoFrame *frame = nullptr;
            ASSERT_EQ(tvkSetVideoFrameNumber(stream, clip.frames[i].number), 0) << i;
            ASSERT_EQ(tvkGetVideoFrame(stream, &frame), 0) << i;
            EXPECT_EQ(toText(lineOf(*frame)), toText(clip.frames[i])) << i;
        }
    }
    EXPECT_EQ(checked, 24u);
}

}  // namespace
}  // namespace tvktest
