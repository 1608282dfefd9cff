// SPDX-License-Identifier: BSD-2-Clause
// Decodes a clip through the public interface, as an application does.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "frame_line.h"
#include "tvk.h"

namespace tvktest {

struct DecodeSettings {
    int32_t precision = 1, reduce = 1, threads = 1;

    // How a failing test names its settings.
    friend std::ostream &operator<<(std::ostream &out, const DecodeSettings &s) {
        return out << "precision " << s.precision << ", reduce " << s.reduce << ", threads " << s.threads;
    }
};

// Calls `frame` with each delivered frame until it returns false. Empty when all went well, else what failed.
std::string decodeClip(const std::string &path, const DecodeSettings &settings,
                       const std::function<bool(const VideoFrame &)> &frame);
// The lines of all frames; a failure is told as decodeClip does.
std::string decodeClip(const std::string &path, const DecodeSettings &settings, std::vector<FrameLine> &lines);

struct Difference {
    size_t index;  // first frame in display order that differs
    bool luma, chroma, numbers, sizes;
    size_t wrongFrames, missingFrames, surplusFrames;
    size_t firstCoded;  // of the frames with wrong samples the one coded first: the others may predict from it
};

// False when nothing differs.
bool compare(const std::vector<FrameLine> &expected, const std::vector<FrameLine> &actual, Difference &difference);
// Some lines that say which frames differ and in what.
std::string report(const std::vector<FrameLine> &expected, const std::vector<FrameLine> &actual, const Difference &d);

}  // namespace tvktest
