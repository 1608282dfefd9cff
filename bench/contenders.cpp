// SPDX-License-Identifier: BSD-2-Clause
// This library's own runs: sizes, precisions, threads, stream order and direct output.
#include "contenders.h"

#include <memory>

#include "tvk.h"
#include "tvk_source.h"

namespace bench {

namespace {

// How the pictures reach the application's buffer, if they do.
enum class Output : uint8_t { none, direct, converted };

struct Setting {
    const char *name;
    int32_t precision, reduce, threads;
    bool streamOrder;
    Output output = Output::none;
    uint32_t layout = 0;  // FOURCC
};

constexpr uint32_t fourcc(const char (&text)[5]) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<uint8_t>(text[i]);
    return value;
}

// One buffer for all pictures, large enough for the largest of the table. The manager's calls carry no context.
std::vector<uint8_t> outputBuffer(size_t{1920} * 1088 * 2);

int32_t lendBuffer(int32_t command, void *pointer) {
    constexpr int32_t kPictureBegins = 2, kPictureEnds = 3;
    auto *frame = static_cast<VideoFrame *>(pointer);
    if (command == kPictureBegins) frame->externalBuffer = outputBuffer.data();
    return command == kPictureEnds ? 0 : 1;
}

void takeFrame(const VideoFrame *frame, const Setting &setting) {
    if (setting.output != Output::converted) return;
    const bool packed = setting.layout == fourcc("YUY2");
    const int32_t stride = (frame->lumaPlane.width + 31) / 32 * 32 * (packed ? 2 : 1);
    tvkConvertVideoFrame(frame, static_cast<int32_t>(setting.layout), outputBuffer.data(), stride,
                         frame->lumaPlane.height, 7);
}

uint32_t decodeAll(const Bytes &bytes, const Setting &setting) {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    if (tvkOpenMemorySource(&source, bytes.data(), bytes.size()) != 0) return 0;
    uint32_t frames = 0;
    if (tvkCreateVideoStream(&stream, source) == 0) {
        tvkSetVideoSP_Precision(stream, setting.precision);
        tvkSetVideoSP_ReduceCoefficient(stream, setting.reduce);
        tvkSetVideoSP_Threads(stream, setting.threads);
        if (setting.output == Output::direct) {
            tvkSetVideoConversionType(stream, setting.layout);
            tvkSetMemoryManager(stream, lendBuffer, 8);
        }
        const auto step = setting.streamOrder ? tvkGetNextVideoFrameStreamOrder : tvkGetNextVideoFrame;
        VideoFrame *frame = nullptr;
        for (; step(stream, &frame) == 0; ++frames) takeFrame(frame, setting);
        tvkDestroyVideoStream(stream);
    }
    tvkCloseSource(source);
    return frames;
}

}  // namespace

std::vector<Contender> ownContenders() {
    static constexpr Setting kSettings[] = {
        {"tvk", 2, 1, 1, false},
        {"tvk exact", 1, 1, 1, false},
        {"tvk 2 threads", 2, 1, 2, false},
        {"tvk exact 2 threads", 1, 1, 2, false},
        {"tvk 1/2", 2, 2, 1, false},
        {"tvk 1/4", 2, 4, 1, false},
        {"tvk 1/8", 2, 8, 1, false},
        {"tvk stream order", 2, 1, 1, true},
        {"tvk into YUY2", 2, 1, 1, false, Output::direct, fourcc("YUY2")},
        {"tvk, then YUY2", 2, 1, 1, false, Output::converted, fourcc("YUY2")},
        {"tvk into YV12", 2, 1, 1, false, Output::direct, fourcc("YV12")},
        {"tvk, then YV12", 2, 1, 1, false, Output::converted, fourcc("YV12")},
    };
    std::vector<Contender> all;
    for (const Setting &setting : kSettings)
        all.push_back({setting.name, [&setting](const Bytes &bytes) -> Run {
                           return [&bytes, &setting] { return decodeAll(bytes, setting); };
                       }});
    return all;
}

}  // namespace bench
