// SPDX-License-Identifier: BSD-2-Clause
// Frame conversion beside libswscale and beside a plain copy of as many bytes: milliseconds a frame, the best of many
// runs in turns.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "tvk.h"

#if defined(TVK_HAVE_LIBSWSCALE)
extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}
#endif

namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t kWidth = 1920, kHeight = 1080, kStrideOfLargest = 4 * kWidth;

// One that can't do the conversion is empty.
using Contender = std::function<void()>;

// The best of each, below 0 for an empty one. They take turns, since machines change their pace; the first of two runs
// fills the caches with the contender's own data.
std::vector<double> bestMilliseconds(const std::vector<Contender> &contenders) {
    constexpr int kRounds = 60;
    std::vector<double> best(contenders.size(), -1);
    for (int round = 0; round < kRounds; ++round) {
        for (size_t i = 0; i < contenders.size(); ++i) {
            if (!contenders[i]) continue;
            contenders[i]();
            const Clock::time_point start = Clock::now();
            contenders[i]();
            const double taken = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
            best[i] = best[i] < 0 ? taken : std::min(best[i], taken);
        }
    }
    return best;
}

void fillPlane(const VideoPlane &plane) {
    uint32_t state = 1;
    for (int32_t i = 0; i < plane.size; ++i) {
        state = state * 1664525 + 1013904223;
        plane.data[i] = static_cast<uint8_t>(16 + state / 16777216 * 7 / 8);
    }
}

constexpr int32_t fourcc(const char (&name)[5]) {
    return name[0] | name[1] << 8 | name[2] << 16 | name[3] << 24;
}

struct Target {
    const char *name;
    int32_t code, bytes;  // bytes of a row for each sample
    int swscaleFormat;
};

#if defined(TVK_HAVE_LIBSWSCALE)
constexpr Target kTargets[] = {{"YUY2", fourcc("YUY2"), 2, AV_PIX_FMT_YUYV422},
                               {"UYVY", fourcc("UYVY"), 2, AV_PIX_FMT_UYVY422},
                               {"YV12", fourcc("YV12"), 1, AV_PIX_FMT_YUV420P},
                               {"15", 15, 2, AV_PIX_FMT_RGB555LE},
                               {"16", 16, 2, AV_PIX_FMT_RGB565LE},
                               {"24", 24, 3, AV_PIX_FMT_BGR24},
                               {"32", 32, 4, AV_PIX_FMT_BGRA}};

// `interleaved` takes the frame's own layout, else planes as libswscale likes them best.
Contender swscale(const VideoFrame &frame, const Target &target, bool interleaved, uint8_t *buffer) {
    const bool half = frame.chromaFormat == 1;
    if (!half && interleaved) return {};
    const AVPixelFormat from = interleaved ? AV_PIX_FMT_NV12 : (half ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_YUV422P);
    const std::shared_ptr<SwsContext> context(
        sws_getContext(kWidth, kHeight, from, kWidth, kHeight, static_cast<AVPixelFormat>(target.swscaleFormat),
                       SWS_FAST_BILINEAR, nullptr, nullptr, nullptr),
        sws_freeContext);
    if (!context) return {};
    return [&frame, target, interleaved, buffer, context] {
        const VideoPlane &chroma = frame.chromaPlane;
        const int chromaStride = interleaved ? chroma.stride : chroma.stride / 2;
        const uint8_t *planes[4] = {frame.lumaPlane.data, chroma.data,
                                    interleaved ? nullptr : chroma.data + chroma.size / 2, nullptr};
        const int strides[4] = {frame.lumaPlane.stride, chromaStride, interleaved ? 0 : chromaStride, 0};
        const int stride = kWidth * target.bytes, size = stride * kHeight;
        uint8_t *outPlanes[4] = {buffer, buffer + size, buffer + size + size / 4, nullptr};
        const int outStrides[4] = {stride, stride / 2, stride / 2, 0};
        if (sws_scale(context.get(), planes, strides, 0, kHeight, outPlanes, outStrides) != kHeight) std::abort();
    };
}
#else
constexpr Target kTargets[] = {{"YUY2", fourcc("YUY2"), 2, 0},
                               {"UYVY", fourcc("UYVY"), 2, 0},
                               {"YV12", fourcc("YV12"), 1, 0},
                               {"15", 15, 2, 0},
                               {"16", 16, 2, 0},
                               {"24", 24, 3, 0},
                               {"32", 32, 4, 0}};

Contender swscale(const VideoFrame &, const Target &, bool, uint8_t *) {
    return {};
}
#endif

Contender tvk(const VideoFrame &frame, const Target &target, uint8_t *buffer) {
    return [&frame, target, buffer] {
        if (tvkConvertVideoFrame(&frame, target.code, buffer, kWidth * target.bytes, kHeight, 7) != 0) std::abort();
    };
}

// Reads what the conversion has to read and writes as much as it has to write.
Contender plainCopy(const VideoFrame &frame, const Target &target, uint8_t *buffer) {
    const bool planar = target.bytes == 1;
    const size_t pixels = size_t{kWidth} * kHeight;
    const size_t chroma = frame.chromaFormat == 1 || planar ? pixels / 2 : pixels;
    const size_t written = planar ? pixels + pixels / 2 : pixels * static_cast<size_t>(target.bytes);
    return [&frame, buffer, pixels, chroma, written] {
        std::memcpy(buffer, frame.lumaPlane.data, pixels);
        std::memcpy(buffer + pixels, frame.chromaPlane.data, std::min(chroma, written - pixels));
        if (written > pixels + chroma) std::memset(buffer + pixels + chroma, 16, written - pixels - chroma);
    };
}

}  // namespace

int main() {
    std::vector<uint8_t> memory(static_cast<size_t>(kStrideOfLargest) * kHeight + 64);
    uint8_t *buffer = memory.data() + (64 - reinterpret_cast<uintptr_t>(memory.data()) % 64);
    std::printf("%d x %d, ms a frame\n%-14s%12s%12s%12s%12s\n", kWidth, kHeight, "", "tvk", "sws planar", "sws nv12",
                "copy");
    for (int32_t format = 1; format <= 2; ++format) {
        VideoFrame *frame = nullptr;
        if (tvkCreateVideoFrameWHC(&frame, kWidth, kHeight, format) != 0) return EXIT_FAILURE;
        frame->progressiveFrame = 1;
        fillPlane(frame->lumaPlane);
        fillPlane(frame->chromaPlane);
        for (const Target &t : kTargets) {
            const std::vector<Contender> contenders = {tvk(*frame, t, buffer), swscale(*frame, t, false, buffer),
                                                       swscale(*frame, t, true, buffer), plainCopy(*frame, t, buffer)};
            std::printf("%s to %-6s", format == 1 ? "4:2:0" : "4:2:2", t.name);
            for (const double best : bestMilliseconds(contenders)) {
                if (best < 0) {
                    std::printf("%12s", "-");
                } else {
                    std::printf("%12.3f", best);
                }
            }
            std::printf("\n");
        }
        tvkDestroyVideoFrame(frame);
    }
    return EXIT_SUCCESS;
}
