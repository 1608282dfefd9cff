// SPDX-License-Identifier: BSD-2-Clause
// A stream over an in-memory source, stepped through by its exported calls.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/stream.h"
#include "pipeline/tiny_stream.h"
#include "support/fake_source.h"
#include "tvk.h"

namespace tvktest {

struct Player {
    FakeSource source;
    VideoStream *stream = nullptr;

    explicit Player(std::vector<uint8_t> bytes) : source(std::move(bytes)) {
        EXPECT_EQ(tvkCreateVideoStream(&stream, source.source()), 0);
    }
    explicit Player(const TinyStream &tiny) : Player(tiny.bytes) {}
    explicit Player(const std::string &letters) : Player(TinyStream(letters)) {}
    Player(const Player &) = delete;
    Player &operator=(const Player &) = delete;
    ~Player() { tvkDestroyVideoStream(stream); }

    using Get = int32_t (*)(VideoStream *, VideoFrame **);

    // Null when the step gave no frame; `result` tells why.
    VideoFrame *step(Get get = tvkGetNextVideoFrame) {
        VideoFrame *frame = nullptr;
        result = get(stream, &frame);
        EXPECT_EQ(result == 0, frame != nullptr);
        return frame;
    }

    // Steps until a call fails; each frame as letter, frame number and stream number: "I1/1 B2/3".
    std::string play(Get get = tvkGetNextVideoFrame, int limit = 100) {
        std::string text;
        while (limit-- > 0) {
            const VideoFrame *frame = step(get);
            if (!frame) break;
            if (!text.empty()) text += ' ';
            text += describe(*frame);
        }
        return text;
    }

    // The same with frame numbers alone.
    std::string numbers(Get get = tvkGetNextVideoFrame, int limit = 100) {
        std::string text;
        while (limit-- > 0) {
            const VideoFrame *frame = step(get);
            if (!frame) break;
            if (!text.empty()) text += ' ';
            text += std::to_string(frame->frameNumber);
        }
        return text;
    }

    std::vector<double> times(Get get = tvkGetNextVideoFrame) {
        std::vector<double> all;
        while (const VideoFrame *frame = step(get)) all.push_back(frame->presentationTime);
        return all;
    }

    static std::string describe(const VideoFrame &frame) {
        const char *letters = "?IPBD";
        const int type = frame.pictureCodingType;
        std::string text(1, type >= 0 && type <= 4 ? letters[type] : '?');
        text.append(std::to_string(frame.frameNumber)).append("/").append(std::to_string(frame.streamNumber));
        return text;
    }

    VideoFrame *current() {
        VideoFrame *frame = nullptr;
        result = tvkGetVideoFrame(stream, &frame);
        return frame;
    }

    int32_t result = 0;
};

// Which picture in coded order, from 0, the samples come from; -1 for a frame that nothing was decoded into.
inline int shadeOf(const VideoFrame *frame) {
    const int luma = frame->lumaPlane.data[0];
    return luma < 160 ? -1 : luma - 160;
}

}  // namespace tvktest
