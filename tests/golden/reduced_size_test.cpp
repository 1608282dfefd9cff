// SPDX-License-Identifier: BSD-2-Clause
// Reduced sizes are pictures of the same scene: I pictures against the exact full-size decode, averaged in the same
// way.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "tvk.h"
#include "tvk_source.h"

namespace {

struct Luma {
    int32_t width = 0, height = 0;
    std::vector<uint8_t> samples;

    uint8_t at(int32_t x, int32_t y) const { return samples[static_cast<size_t>(y * width + x)]; }
};

std::vector<Luma> intraPictures(const std::string &path, int32_t precision, int32_t reduce) {
    std::vector<Luma> pictures;
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    if (tvkOpenFileSource(&source, path.c_str()) != 0) return pictures;
    if (tvkCreateVideoStream(&stream, source) == 0) {
        tvkSetVideoSP_Precision(stream, precision);
        tvkSetVideoSP_ReduceCoefficient(stream, reduce);
        tvkSetVideoSP_FrameTypesToProcess(stream, 1);
        VideoFrame *frame = nullptr;
        while (tvkGetNextVideoFrame(stream, &frame) == 0) {
            const VideoPlane &plane = frame->lumaPlane;
            Luma luma{plane.width, plane.height, {}};
            for (int32_t y = 0; y < plane.height; ++y)
                luma.samples.insert(luma.samples.end(), plane.data + y * plane.stride,
                                    plane.data + y * plane.stride + plane.width);
            pictures.push_back(std::move(luma));
        }
        tvkDestroyVideoStream(stream);
    }
    tvkCloseSource(source);
    return pictures;
}

// Half and quarter size keep the lines' parity: of each 2 * reduce lines the even ones make one stored line, the odd
// ones the next. Eighth size takes all eight.
double averaged(const Luma &full, int32_t x, int32_t y, int32_t reduce) {
    const bool parity = reduce != 8;
    const int32_t firstLine = parity ? y / 2 * 2 * reduce + y % 2 : y * reduce;
    const int32_t step = parity ? 2 : 1;
    double sum = 0;
    for (int32_t line = 0; line < reduce; ++line)
        for (int32_t column = 0; column < reduce; ++column)
            sum += full.at(x * reduce + column, firstLine + step * line);
    return sum / (reduce * reduce);
}

double psnr(const Luma &full, const Luma &reduced, int32_t reduce) {
    double error = 0;
    int32_t count = 0;
    // Whole groups of lines and columns alone.
    for (int32_t y = 0; y < full.height / (2 * reduce) * 2; ++y)
        for (int32_t x = 0; x < full.width / reduce; ++x, ++count) {
            const double difference = averaged(full, x, y, reduce) - reduced.at(x, y);
            error += difference * difference;
        }
    return 10 * std::log10(255.0 * 255.0 * count / (error > 0 ? error : 1e-9));
}

class ReducedSize : public testing::TestWithParam<int32_t> {};

TEST_P(ReducedSize, intraLumaIsTheAveragedFullPicture) {
    constexpr double kFloor = 45;
    for (const char *clip : {"mpeg1.m1v", "progressive.m2v", "chroma422.m2v", "open_gop.m2v"}) {
        const std::string path = std::string(TVK_CLIPS_FOLDER) + "/" + clip;
        const std::vector<Luma> full = intraPictures(path, 1, 1), reduced = intraPictures(path, 2, GetParam());
        ASSERT_FALSE(full.empty()) << clip;
        ASSERT_EQ(full.size(), reduced.size()) << clip;
        for (size_t i = 0; i < full.size(); ++i)
            EXPECT_GE(psnr(full[i], reduced[i], GetParam()), kFloor) << clip << " " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, ReducedSize, testing::Values(2, 4, 8));

}  // namespace
