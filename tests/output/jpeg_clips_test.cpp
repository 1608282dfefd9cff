// SPDX-License-Identifier: BSD-2-Clause
// JPEG files of decoded pictures, read back plane by plane by another's decoder.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <string>
#include <vector>

#include "file_helpers.h"
#include "tvk.h"
#include "tvk_source.h"

#if defined(TVK_TEST_LIBJPEG)
#include <jpeglib.h>

namespace tvk::test {
namespace {

struct JpegPlanes {
    long warnings;
    int32_t strides[3];
    std::vector<uint8_t> samples[3];
};

// As they are coded: chroma at its own size, whole blocks.
JpegPlanes readPlanes(const std::string &path) {
    JpegPlanes planes{};
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    std::FILE *file = std::fopen(path.c_str(), "rb");
    jpeg_stdio_src(&info, file);
    jpeg_read_header(&info, TRUE);
    info.raw_data_out = TRUE;
    jpeg_start_decompress(&info);
    const auto lines = static_cast<JDIMENSION>(info.max_v_samp_factor * DCTSIZE);
    JSAMPROW rows[3][32];
    JSAMPARRAY arrays[3] = {rows[0], rows[1], rows[2]};
    while (info.output_scanline < info.output_height) {
        for (int c = 0; c < 3; ++c) {
            const size_t count = static_cast<size_t>(info.comp_info[c].v_samp_factor) * DCTSIZE;
            const size_t stride = size_t{info.comp_info[c].width_in_blocks + 4} * DCTSIZE,
                         done = planes.samples[c].size();
            planes.strides[c] = static_cast<int32_t>(stride);
            planes.samples[c].resize(done + count * stride);
            for (size_t i = 0; i < count; ++i) rows[c][i] = planes.samples[c].data() + done + i * stride;
        }
        jpeg_read_raw_data(&info, arrays, lines);
    }
    jpeg_finish_decompress(&info);
    planes.warnings = errors.num_warnings;
    jpeg_destroy_decompress(&info);
    std::fclose(file);
    return planes;
}

double psnr(double squares, double samples) {
    return squares == 0 ? 99 : 10 * std::log10(255 * 255 * samples / squares);
}

double lumaPsnr(const VideoPlane &plane, const JpegPlanes &read) {
    double squares = 0;
    for (int32_t y = 0; y < plane.height; ++y) {
        for (int32_t x = 0; x < plane.width; ++x) {
            const int32_t difference =
                plane.data[y * plane.stride + x] - read.samples[0][static_cast<size_t>(y * read.strides[0] + x)];
            squares += difference * difference;
        }
    }
    return psnr(squares, static_cast<double>(plane.width) * plane.height);
}

double chromaPsnr(const VideoPlane &plane, const JpegPlanes &read) {
    double squares = 0;
    for (int32_t y = 0; y < plane.height; ++y) {
        for (int32_t x = 0; x < plane.width; ++x) {
            const size_t component = 1 + static_cast<size_t>(x % 2);
            const auto at = static_cast<size_t>(y * read.strides[component] + x / 2);
            const int32_t difference = plane.data[y * plane.stride + x] - read.samples[component][at];
            squares += difference * difference;
        }
    }
    return psnr(squares, static_cast<double>(plane.width) * plane.height);
}

std::vector<std::string> clipsIn(const std::filesystem::path &folder) {
    std::vector<std::string> clips;
    std::error_code none;
    for (const auto &entry : std::filesystem::directory_iterator(folder, none)) {
        const std::string suffix = entry.path().extension().string();
        if (suffix == ".m1v" || suffix == ".m2v") clips.push_back(entry.path().string());
    }
    std::sort(clips.begin(), clips.end());
    return clips;
}

class JpegClips : public PictureFiles {
  protected:
    std::vector<double> luma, chroma;  // dB of each picture

    // The quantisers leave that much of the finest texture; what odd ones do to saturated colours is in chroma.
    void checkPicture(const VideoFrame &frame, const std::string &clip) {
        constexpr double kLeastLuma = 32, kLeastChroma = 29;
        ASSERT_EQ(0, tvkSaveVideoFrameToFile(&frame, path("p").c_str(), 3)) << clip;
        const JpegPlanes read = readPlanes(path("p.jpg"));
        EXPECT_EQ(0, read.warnings) << clip;
        luma.push_back(lumaPsnr(frame.lumaPlane, read));
        chroma.push_back(chromaPsnr(frame.chromaPlane, read));
        EXPECT_GE(luma.back(), kLeastLuma) << clip << " frame " << frame.frameNumber;
        EXPECT_GE(chroma.back(), kLeastChroma) << clip << " frame " << frame.frameNumber;
    }
    static double mean(const std::vector<double> &values) {
        return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
    }

    // The first pictures of a clip, an I picture and its like.
    void checkClip(const std::string &clip) {
        constexpr int kPictures = 4;
        VideoSource *source = nullptr;
        VideoStream *stream = nullptr;
        ASSERT_EQ(0, tvkOpenFileSource(&source, clip.c_str())) << clip;
        ASSERT_EQ(0, tvkCreateVideoStream(&stream, source)) << clip;
        tvkSetVideoSP_Precision(stream, 1);
        VideoFrame *frame = nullptr;
        for (int i = 0; i < kPictures && tvkGetNextVideoFrame(stream, &frame) == 0; ++i) checkPicture(*frame, clip);
        tvkDestroyVideoStream(stream);
        tvkCloseSource(source);
    }
};

TEST_F(JpegClips, shippedPicturesComeBackCleanly) {
    for (const std::string &clip : clipsIn(TVK_CLIPS_FOLDER)) checkClip(clip);
    EXPECT_FALSE(luma.empty());
}

TEST_F(JpegClips, naturalPicturesComeBackAt35) {
    const char *folder = std::getenv("TVK_EXTRA_STREAMS");
    if (folder == nullptr || *folder == '\0') GTEST_SKIP() << "TVK_EXTRA_STREAMS names no folder";
    for (const char *part : {"real", "bench"})
        for (const std::string &clip : clipsIn(std::filesystem::path(folder) / part)) checkClip(clip);
    ASSERT_FALSE(luma.empty());
    EXPECT_GE(mean(luma), 35);
    EXPECT_GE(mean(chroma), 35);
    std::printf("%zu pictures: luma %.1f dB in the mean, %.1f at worst; chroma %.1f, %.1f\n", luma.size(), mean(luma),
                *std::min_element(luma.begin(), luma.end()), mean(chroma),
                *std::min_element(chroma.begin(), chroma.end()));
}

}  // namespace
}  // namespace tvk::test
#endif
