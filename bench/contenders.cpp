// SPDX-License-Identifier: BSD-2-Clause
// This library's own runs: sizes, precisions, threads, stream order and direct output.
#include "contenders.h"

#include <memory>

#include "tvk.h"
#include "tvk_source.h"

namespace bench {

namespace {

struct Setting {
    const char *name;
    int32_t precision, reduce, threads;
    bool streamOrder;
};

uint32_t decodeAll(const Bytes &bytes, const Setting &setting) {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    if (tvkOpenMemorySource(&source, bytes.data(), bytes.size()) != 0) return 0;
    uint32_t frames = 0;
    if (tvkCreateVideoStream(&stream, source) == 0) {
        tvkSetVideoSP_Precision(stream, setting.precision);
        tvkSetVideoSP_ReduceCoefficient(stream, setting.reduce);
        tvkSetVideoSP_Threads(stream, setting.threads);
        const auto step = setting.streamOrder ? tvkGetNextVideoFrameStreamOrder : tvkGetNextVideoFrame;
        VideoFrame *frame = nullptr;
        while (step(stream, &frame) == 0) ++frames;
        tvkDestroyVideoStream(stream);
    }
    tvkCloseSource(source);
    return frames;
}

}  // namespace

std::vector<Contender> ownContenders() {
    static constexpr Setting kSettings[] = {
        {"tvk", 2, 1, 1, false},           {"tvk exact", 1, 1, 1, false},
        {"tvk 2 threads", 2, 1, 2, false}, {"tvk exact 2 threads", 1, 1, 2, false},
        {"tvk 1/2", 2, 2, 1, false},       {"tvk 1/4", 2, 4, 1, false},
        {"tvk 1/8", 2, 8, 1, false},       {"tvk stream order", 2, 1, 1, true},
    };
    std::vector<Contender> all;
    for (const Setting &setting : kSettings)
        all.push_back({setting.name, [&setting](const Bytes &bytes) -> Run {
                           return [&bytes, &setting] { return decodeAll(bytes, setting); };
                       }});
    return all;
}

}  // namespace bench
