// SPDX-License-Identifier: BSD-2-Clause
// Clips in memory, and streams over them, for tests that move about in a clip.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "frame_line.h"
#include "tvk.h"
#include "tvk_source.h"

namespace tvktest {

struct Clip {
    std::string name, path;
    std::vector<uint8_t> bytes;
};

// The shipped clips, then the elementary streams of TVK_EXTRA_STREAMS; larger ones than `limit` bytes are left out.
std::vector<Clip> readClips(size_t limit);

struct ClipStream {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;

    explicit ClipStream(const Clip &clip, int32_t precision = 2, int32_t reduce = 1) {
        EXPECT_EQ(tvkOpenMemorySourceEx(&source, clip.bytes.data(), clip.bytes.size(), tvkSourceAnyContent), 0);
        EXPECT_EQ(tvkCreateVideoStream(&stream, source), 0);
        tvkSetVideoSP_Precision(stream, precision);
        tvkSetVideoSP_ReduceCoefficient(stream, reduce);
    }
    ClipStream(const ClipStream &) = delete;
    ClipStream &operator=(const ClipStream &) = delete;
    ~ClipStream() {
        tvkDestroyVideoStream(stream);
        tvkCloseSource(source);
    }

    VideoFrame *step(int32_t (*get)(VideoStream *, VideoFrame **) = tvkGetNextVideoFrame) {
        VideoFrame *frame = nullptr;
        result = get(stream, &frame);
        return frame;
    }
    // Steps over sequence end codes in mid-stream, each of which ends one call.
    VideoFrame *stepOverEnds(int32_t (*get)(VideoStream *, VideoFrame **) = tvkGetNextVideoFrame) {
        VideoFrame *frame = nullptr;
        for (int i = 0; i < 4 && !frame; ++i) frame = step(get);
        return frame;
    }
    int32_t indexedFrames() {
        VideoStreamInfo info = {};
        EXPECT_EQ(tvkGetVideoStreamInfo(stream, &info), 0);
        return static_cast<int32_t>(info.frameCount);
    }

    int32_t result = 0;
};

}  // namespace tvktest
