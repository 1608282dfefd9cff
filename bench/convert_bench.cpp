// SPDX-License-Identifier: BSD-2-Clause
// Frame conversion beside libswscale: milliseconds a frame, the best of many runs.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
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

double bestMilliseconds(const std::function<bool()> &convert) {
    if (!convert()) return -1;
    double best = 1e9;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(400);
    do {
        const Clock::time_point start = Clock::now();
        convert();
        best = std::min(best, std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    } while (Clock::now() < end);
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
double swscaleMilliseconds(const VideoFrame &frame, const Target &target, bool interleaved, uint8_t *buffer) {
    const bool half = frame.chromaFormat == 1;
    if (!half && interleaved) return -1;
    const AVPixelFormat from = interleaved ? AV_PIX_FMT_NV12 : (half ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_YUV422P);
    SwsContext *context =
        sws_getContext(kWidth, kHeight, from, kWidth, kHeight, static_cast<AVPixelFormat>(target.swscaleFormat),
                       SWS_FAST_BILINEAR, nullptr, nullptr, nullptr);
    if (context == nullptr) return -1;
    const int chromaStride = interleaved ? frame.chromaPlane.stride : frame.chromaPlane.stride / 2;
    const uint8_t *planes[4] = {frame.lumaPlane.data, frame.chromaPlane.data,
                                interleaved ? nullptr : frame.chromaPlane.data + frame.chromaPlane.size / 2, nullptr};
    const int strides[4] = {frame.lumaPlane.stride, chromaStride, interleaved ? 0 : chromaStride, 0};
    const int stride = kWidth * target.bytes, size = stride * kHeight;
    uint8_t *outPlanes[4] = {buffer, buffer + size, buffer + size + size / 4, nullptr};
    const int outStrides[4] = {stride, stride / 2, stride / 2, 0};
    const double best = bestMilliseconds(
        [&] { return sws_scale(context, planes, strides, 0, kHeight, outPlanes, outStrides) == kHeight; });
    sws_freeContext(context);
    return best;
}
#else
constexpr Target kTargets[] = {{"YUY2", fourcc("YUY2"), 2, 0},
                               {"UYVY", fourcc("UYVY"), 2, 0},
                               {"YV12", fourcc("YV12"), 1, 0},
                               {"15", 15, 2, 0},
                               {"16", 16, 2, 0},
                               {"24", 24, 3, 0},
                               {"32", 32, 4, 0}};

double swscaleMilliseconds(const VideoFrame &, const Target &, bool, uint8_t *) {
    return -1;
}
#endif

void printCell(double milliseconds) {
    if (milliseconds < 0) {
        std::printf("%12s", "-");
    } else {
        std::printf("%12.3f", milliseconds);
    }
}

}  // namespace

int main() {
    std::vector<uint8_t> buffer(static_cast<size_t>(kStrideOfLargest) * kHeight + 64);
    uint8_t *target = buffer.data() + (64 - reinterpret_cast<uintptr_t>(buffer.data()) % 64);
    std::printf("%d x %d, ms a frame\n%-14s%12s%12s%12s\n", kWidth, kHeight, "", "tvk", "sws planar", "sws nv12");
    for (int32_t format = 1; format <= 2; ++format) {
        VideoFrame *frame = nullptr;
        if (tvkCreateVideoFrameWHC(&frame, kWidth, kHeight, format) != 0) return EXIT_FAILURE;
        frame->progressiveFrame = 1;
        fillPlane(frame->lumaPlane);
        fillPlane(frame->chromaPlane);
        for (const Target &t : kTargets) {
            std::printf("%s to %-6s", format == 1 ? "4:2:0" : "4:2:2", t.name);
            const int32_t stride = kWidth * t.bytes;
            printCell(
                bestMilliseconds([&] { return tvkConvertVideoFrame(frame, t.code, target, stride, kHeight, 7) == 0; }));
            printCell(swscaleMilliseconds(*frame, t, false, target));
            printCell(swscaleMilliseconds(*frame, t, true, target));
            std::printf("\n");
        }
        tvkDestroyVideoFrame(frame);
    }
    return EXIT_SUCCESS;
}
