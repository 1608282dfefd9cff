// SPDX-License-Identifier: BSD-2-Clause
// A session of an application that uses a little of everything, and what each call said.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tvk.h"

namespace tvktest {

struct Answer {
    const char *call;
    int32_t code;
};

// A stream with a change of size in the middle, in two sequences.
std::vector<uint8_t> sessionBytes();
inline constexpr int32_t kSessionFrames = 16;

struct Session {
    VideoStream *stream = nullptr;
    std::vector<Answer> answers;

    Session() = default;
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    ~Session();

    // Opens, decodes on threads, seeks, indexes, changes the size, converts and saves, the files into `folder`. Goes on
    // whatever a call says, as long as there is a stream.
    void run(VideoSource *source, const std::string &folder, int32_t threads);
    // New workers, then from the start to the end: a number for the samples of each frame. Empty when a call on the way
    // fails.
    std::vector<uint32_t> recover();

  private:
    void note(const char *call, int32_t code) { answers.push_back({call, code}); }
    VideoFrame *step(const char *call, int32_t (*get)(VideoStream *, VideoFrame **));
    void steps(const char *call, int32_t count);
    void watchFrames(int32_t threads);
    void seekAround();
    void keepIndex(const std::string &path);
    void stepThroughTheRing();
    void reduceSizes();
    void useFrame(const std::string &folder);
};

}  // namespace tvktest
