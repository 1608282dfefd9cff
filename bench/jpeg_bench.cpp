// SPDX-License-Identifier: BSD-2-Clause
// JPEG export beside libjpeg at equal sampling, quantisers and Huffman tables: milliseconds a file, in turns.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tvk.h"

#if defined(TVK_HAVE_LIBJPEG)
#include <jpeglib.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t kWidth = 1920, kHeight = 1080, kRounds = 60;

struct Timing {
    std::vector<double> milliseconds;

    template <class Work>
    void take(Work work) {
        const Clock::time_point start = Clock::now();
        work();
        milliseconds.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    double at(size_t part, size_t parts) {
        std::sort(milliseconds.begin(), milliseconds.end());
        return milliseconds.empty() ? 0 : milliseconds[(milliseconds.size() - 1) * part / parts];
    }
};

// Slopes, edges and a little grain.
uint8_t sampleAt(int32_t x, int32_t y, int32_t component, uint32_t &state) {
    state = state * 1664525 + 1013904223;
    const auto grain = static_cast<int32_t>(state / 268435456);  // 0..15
    const int32_t slope = component == 0 ? x / 16 + y / 12 : 60 + component * 30 + x / 32;
    const int32_t disc = (x % 240 - 120) * (x % 240 - 120) + (y % 180 - 90) * (y % 180 - 90) < 3600 ? 50 : 0;
    const int32_t value = 20 + slope % 160 + (component == 0 ? disc + grain / 2 : grain / 4);
    return static_cast<uint8_t>(std::clamp(value, 16, 235));
}

void fillFrame(const VideoFrame &frame) {
    uint32_t state = 1;
    const VideoPlane &luma = frame.lumaPlane, &chroma = frame.chromaPlane;
    for (int32_t y = 0; y < luma.size / luma.stride; ++y)
        for (int32_t x = 0; x < luma.stride; ++x) luma.data[y * luma.stride + x] = sampleAt(x, y, 0, state);
    for (int32_t y = 0; y < chroma.size / chroma.stride; ++y)
        for (int32_t x = 0; x < chroma.stride; ++x)
            chroma.data[y * chroma.stride + x] = sampleAt(x, y, 1 + x % 2, state);
}

long sizeOf(const std::string &path) {
    std::FILE *file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return 0;
    std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    std::fclose(file);
    return size;
}

#if defined(TVK_HAVE_LIBJPEG)
constexpr bool kHasPeer = true;

// Rows of planes as libjpeg takes them; chroma planes follow each other.
struct Planes {
    std::vector<uint8_t> samples[3];
    int32_t strides[3];
};

Planes planesOf(const VideoFrame &frame) {
    Planes planes;
    const VideoPlane &luma = frame.lumaPlane, &chroma = frame.chromaPlane;
    planes.samples[0].assign(luma.data, luma.data + luma.size);
    planes.strides[0] = luma.stride;
    for (int32_t c = 0; c < 2; ++c) {
        planes.strides[1 + c] = chroma.stride / 2;
        for (int32_t i = c; i < chroma.size; i += 2) planes.samples[1 + c].push_back(chroma.data[i]);
    }
    return planes;
}

void saveWithLibjpeg(Planes &planes, int32_t chromaFormat, const std::string &path) {
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) std::exit(EXIT_FAILURE);
    jpeg_stdio_dest(&info, file);
    info.image_width = kWidth;
    info.image_height = kHeight;
    info.input_components = 3;
    info.in_color_space = JCS_YCbCr;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 75, TRUE);  // half of the standard's tables
    info.raw_data_in = TRUE;
    info.dct_method = JDCT_IFAST;
    info.comp_info[0].h_samp_factor = chromaFormat == 3 ? 1 : 2;
    info.comp_info[0].v_samp_factor = chromaFormat == 1 ? 2 : 1;
    jpeg_start_compress(&info, TRUE);
    const auto lines = static_cast<int32_t>(8 * info.comp_info[0].v_samp_factor);
    JSAMPROW rows[3][16];
    JSAMPARRAY arrays[3] = {rows[0], rows[1], rows[2]};
    while (info.next_scanline < info.image_height) {
        const auto y = static_cast<int32_t>(info.next_scanline);
        for (int32_t c = 0; c < 3; ++c) {
            const int32_t divisor = c == 0 ? 1 : info.comp_info[0].v_samp_factor;
            for (int32_t i = 0; i < lines / divisor; ++i)
                rows[c][i] = planes.samples[c].data() + (y / divisor + i) * planes.strides[c];
        }
        jpeg_write_raw_data(&info, arrays, static_cast<JDIMENSION>(lines));
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::fclose(file);
}
#else
constexpr bool kHasPeer = false;

struct Planes {};
Planes planesOf(const VideoFrame &) {
    return {};
}
void saveWithLibjpeg(Planes &, int32_t, const std::string &) {}
#endif

}  // namespace

// The folder to write to should be in memory.
int main(int count, char **arguments) {
    const std::string folder = count > 1 ? arguments[1] : "/dev/shm";
    const std::string ours = folder + "/tvk_jpeg_bench", theirs = folder + "/tvk_jpeg_bench_peer.jpg";
    std::printf("%d x %d, ms a file: best, median; bytes\n", kWidth, kHeight);
    for (int32_t format = 1; format <= 3; ++format) {
        VideoFrame *frame = nullptr;
        if (tvkCreateVideoFrameWHC(&frame, kWidth, kHeight, format) != 0) return EXIT_FAILURE;
        fillFrame(*frame);
        Planes planes = planesOf(*frame);
        Timing own, peer;
        for (int32_t round = 0; round < kRounds; ++round) {
            own.take([&] {
                if (tvkSaveVideoFrameToFile(frame, ours.c_str(), 3) != 0) std::exit(EXIT_FAILURE);
            });
            if (kHasPeer) peer.take([&] { saveWithLibjpeg(planes, format, theirs); });
        }
        std::printf("4:%s  tvk %6.2f %6.2f %9ld", format == 1 ? "2:0" : (format == 2 ? "2:2" : "4:4"), own.at(0, 2),
                    own.at(1, 2), sizeOf(ours + ".jpg"));
        if (kHasPeer)
            std::printf("   libjpeg %6.2f %6.2f %9ld   speed %.2f", peer.at(0, 2), peer.at(1, 2), sizeOf(theirs),
                        peer.at(0, 2) / own.at(0, 2));
        std::printf("\n");
        tvkDestroyVideoFrame(frame);
        std::remove((ours + ".jpg").c_str());
        std::remove(theirs.c_str());
    }
    return EXIT_SUCCESS;
}
