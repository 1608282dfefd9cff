// SPDX-License-Identifier: BSD-2-Clause
// Bytes decoded to the end through the public calls, on a number of threads.
#pragma once

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "tvk.h"
#include "tvk_source.h"

namespace tvktest {

// A stream over bytes that the caller keeps, with the settings that these tests vary.
struct MemoryStream {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;

    explicit MemoryStream(const std::vector<uint8_t> &bytes, int32_t threads = 1, int32_t precision = 2,
                          int32_t reduce = 1) {
        const uint32_t flags = tvkSourceAnyContent | tvkSourceOwnsBuffer;
        EXPECT_EQ(tvkOpenMemorySourceEx(&source, bytes.data(), bytes.size(), flags), 0);
        EXPECT_EQ(tvkCreateVideoStream(&stream, source), 0);
        EXPECT_EQ(tvkSetVideoSP_Precision(stream, precision), 0);
        EXPECT_EQ(tvkSetVideoSP_ReduceCoefficient(stream, reduce), 0);
        EXPECT_EQ(tvkSetVideoSP_Threads(stream, threads), 0);
    }
    MemoryStream(const MemoryStream &) = delete;
    MemoryStream &operator=(const MemoryStream &) = delete;
    ~MemoryStream() {
        tvkDestroyVideoStream(stream);
        tvkCloseSource(source);
    }

    const VideoFrame *next() {
        VideoFrame *frame = nullptr;
        return tvkGetNextVideoFrame(stream, &frame) == 0 ? frame : nullptr;
    }
};

// One number for all samples of a frame, by FNV-1a.
inline uint64_t digestOf(const VideoFrame &frame) {
    uint64_t digest = 14695981039346656037ULL;
    for (const VideoPlane *plane : {&frame.lumaPlane, &frame.chromaPlane})
        for (int32_t i = 0; i < plane->size; ++i) digest = (digest ^ plane->data[i]) * 1099511628211ULL;
    return digest;
}

inline std::vector<uint64_t> digestsOf(MemoryStream &m) {
    std::vector<uint64_t> digests;
    while (const VideoFrame *frame = m.next()) digests.push_back(digestOf(*frame));
    return digests;
}

}  // namespace tvktest
