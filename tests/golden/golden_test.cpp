// SPDX-License-Identifier: BSD-2-Clause
// Clips decode to the checksums that are kept for them, under every setting and on any number of threads.
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "clip_decoder.h"
#include "frame_line.h"

namespace tvktest {
namespace {

class Golden : public testing::TestWithParam<DecodeSettings> {};

// Decodes each clip that has frames expected under the settings; returns how many did.
size_t checkClips(const std::vector<ExpectedClip> &clips, const std::string &folder, const DecodeSettings &settings) {
    size_t checked = 0;
    for (const ExpectedClip &clip : clips) {
        if (clip.precision != settings.precision || clip.reduce != settings.reduce) continue;
        const std::string path = findClip(folder, clip.name);
        if (path.empty()) {
            ADD_FAILURE() << clip.name << " is not in " << folder;
            continue;
        }
        std::vector<FrameLine> lines;
        const std::string error = decodeClip(path, settings, lines);
        EXPECT_TRUE(error.empty()) << clip.name << ": " << error;
        Difference difference;
        EXPECT_FALSE(compare(clip.frames, lines, difference))
            << clip.name << ": " << report(clip.frames, lines, difference);
        ++checked;
    }
    return checked;
}

TEST_P(Golden, shippedClipsGiveTheirFrames) {
    const std::vector<ExpectedClip> clips = readGoldenFolder(TVK_GOLDEN_FOLDER);
    EXPECT_GT(checkClips(clips, TVK_CLIPS_FOLDER, GetParam()), 0u);
}

// Folders of further clips hold their frames in a subfolder `expected`.
TEST_P(Golden, extraClipsGiveTheirFrames) {
    const char *folder = std::getenv("TVK_EXTRA_STREAMS");
    if (folder == nullptr || *folder == '\0') GTEST_SKIP() << "TVK_EXTRA_STREAMS names no folder";
    const std::vector<ExpectedClip> clips = readExpectedFolder(std::string(folder) + "/expected");
    EXPECT_GT(checkClips(clips, folder, GetParam()), 0u);
}

std::vector<DecodeSettings> allSettings() {
    std::vector<DecodeSettings> all;
    for (const int32_t threads : {1, 2, 3, 8}) {
        all.push_back({1, 1, threads});
        for (const int32_t reduce : {1, 2, 4, 8}) all.push_back({2, reduce, threads});
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Settings, Golden, testing::ValuesIn(allSettings()), [](const auto &info) {
    const DecodeSettings &s = info.param;
    return "precision" + std::to_string(s.precision) + "Reduce" + std::to_string(s.reduce) + "Threads" +
           std::to_string(s.threads);
});

}  // namespace
}  // namespace tvktest
