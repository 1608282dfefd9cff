// SPDX-License-Identifier: BSD-2-Clause
// The shipped clips as bytes, and how long the tests that take them apart go on.
#pragma once

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tvktest {

using Bytes = std::vector<uint8_t>;

inline const char *const kClips[] = {"chroma422.m2v",      "demo.m2v",        "interlaced_bff.m2v",
                                     "interlaced_tff.m2v", "mpeg1.m1v",       "odd_size.m2v",
                                     "open_gop.m2v",       "progressive.m2v", "pulldown.m2v"};

inline Bytes readClip(const std::string &name) {
    std::ifstream file(std::string(TVK_CLIPS_FOLDER) + "/" + name, std::ios::binary);
    Bytes bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_FALSE(bytes.empty()) << name;
    return bytes;
}

// A number that a long run sets by an environment variable.
inline uint64_t countFrom(const char *variable, uint64_t usual) {
    const char *text = std::getenv(variable);
    return text ? std::strtoull(text, nullptr, 10) : usual;
}

}  // namespace tvktest
