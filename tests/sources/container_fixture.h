// SPDX-License-Identifier: BSD-2-Clause
// Containers made with ffmpeg from the shipped clips, and those of a folder of further streams; decoding files whole.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sources/source_fixture.h"
#include "tvk.h"
#include "tvk_source.h"

namespace tvk::test {

namespace fs = std::filesystem;

inline int runQuietly(const std::string &command) {
    return std::system((command + " </dev/null >/dev/null 2>&1").c_str());
}

inline std::string outputOf(const std::string &command) {
    std::string text;
    std::FILE *pipe = popen((command + " 2>/dev/null").c_str(), "r");
    if (pipe == nullptr) return text;
    char piece[4096];
    for (size_t got; (got = std::fread(piece, 1, sizeof piece, pipe)) > 0;) text.append(piece, got);
    pclose(pipe);
    return text;
}

inline Bytes bytesOfFile(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

inline void writeFile(const std::string &path, const Bytes &bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline std::string clipPath(const std::string &name) {
    return (fs::path(__FILE__).parent_path().parent_path() / "clips" / name).string();
}

struct TempFolder {
    std::string path;
    TempFolder() {
        std::string name = (fs::temp_directory_path() / "tvk_containers_XXXXXX").string();
        path = mkdtemp(name.data());
    }
    TempFolder(const TempFolder &) = delete;
    ~TempFolder() { fs::remove_all(path); }
    std::string operator/(const std::string &name) const { return path + "/" + name; }
};

// A file and, on its own, the elementary stream that is in it.
struct Media {
    std::string file, stream;
};

struct Containers : public ::testing::Test {
    TempFolder folder;

    void SetUp() override {
        if (runQuietly("ffmpeg -version") != 0) GTEST_SKIP() << "ffmpeg is not there";
        put("progressive.m2v", "probe.ts", "");
        VideoSource *source = nullptr;
        const int32_t code = tvkOpenFileSource(&source, (folder / "probe.ts").c_str());
        if (code == tvkSourceErrMultiplexed) GTEST_SKIP() << "containers are not read by this build";
        ASSERT_EQ(code, 0);
        tvkCloseSource(source);
    }

    // A clip's packets in the container that the name's ending tells.
    std::string put(const std::string &clip, const std::string &name, const std::string &options) {
        const std::string file = folder / name;
        EXPECT_EQ(runQuietly("ffmpeg -y -fflags +genpts -i " + clipPath(clip) + " -c copy " + options + " " + file), 0)
            << name;
        return file;
    }

    // One clip in every container.
    std::vector<Media> everyContainer(const std::string &clip = "open_gop.m2v") {
        std::vector<Media> all;
        const std::string stem = clip.substr(0, clip.find('.'));
        const std::pair<const char *, const char *> kinds[] = {
            {"ts", ""},        {"m2ts", "-f mpegts -mpegts_m2ts_mode 1"},
            {"vob", "-f vob"}, {"mpg", "-f mpeg"},
            {"mxf", ""},       {"mkv", ""},
            {"avi", ""},       {"mov", ""}};
        for (const auto &[ending, options] : kinds) {
            if (clip == "mpeg1.m1v" && std::string(ending) == "mxf") continue;
            all.push_back({put(clip, stem + "." + ending, options), clipPath(clip)});
        }
        return all;
    }

    // Every container at hand: the shipped clips' and those of the folder mux of TVK_EXTRA_STREAMS.
    std::vector<Media> everything() {
        std::vector<Media> all;
        for (const char *clip : {"open_gop.m2v", "interlaced_bff.m2v", "mpeg1.m1v"}) {
            for (const Media &media : everyContainer(clip)) all.push_back(media);
        }
        const char *extra = std::getenv("TVK_EXTRA_STREAMS");
        const fs::path mux = fs::path(extra != nullptr ? extra : "/nonexistent") / "mux";
        if (!fs::is_directory(mux)) return all;
        for (const auto &entry : fs::directory_iterator(mux)) {
            const std::string file = entry.path().string();
            all.push_back({file, extractedStream(file)});
        }
        return all;
    }

    // What ffmpeg takes out of a file.
    std::string extractedStream(const std::string &file) {
        const std::string stream = folder / (fs::path(file).filename().string() + ".es");
        const std::string copy = " -map 0:v:0 -c copy -f ";
        if (runQuietly("ffmpeg -y -i " + file + copy + "mpeg2video " + stream) != 0) {
            EXPECT_EQ(runQuietly("ffmpeg -y -i " + file + copy + "mpeg1video " + stream), 0) << file;
        }
        return stream;
    }
};

inline Source openStamped(const std::string &file, uint32_t flags = tvkSourceFillsBuffer) {
    Source source = Source::ofFile(file, flags);
    source.stamped = true;
    return source;
}

struct DecodedFrame {
    int32_t number, streamNumber, type;
    double time;
    uint64_t digest;
};

inline uint64_t digestOf(const VideoFrame &frame) {
    uint64_t digest = 0xCBF29CE484222325u;
    for (const VideoPlane *plane : {&frame.lumaPlane, &frame.chromaPlane}) {
        for (int32_t y = 0; y < plane->height; ++y) {
            const uint8_t *row = plane->data + static_cast<ptrdiff_t>(y) * plane->stride;
            for (int32_t x = 0; x < plane->width; ++x) digest = (digest ^ row[x]) * 0x100000001B3u;
        }
    }
    return digest;
}

inline DecodedFrame described(const VideoFrame &frame) {
    return {frame.frameNumber, frame.streamNumber, frame.pictureCodingType, frame.presentationTime, digestOf(frame)};
}

// A file opened for decoding.
struct Decoder {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;

    explicit Decoder(const std::string &file, uint32_t flags = 0) {
        EXPECT_EQ(tvkOpenFileSourceEx(&source, file.c_str(), flags), 0) << file;
        if (source != nullptr) {
            EXPECT_EQ(tvkCreateVideoStream(&stream, source), 0) << file;
        }
    }
    Decoder(const Decoder &) = delete;
    ~Decoder() {
        if (stream != nullptr) tvkDestroyVideoStream(stream);
        if (source != nullptr) tvkCloseSource(source);
    }

    int32_t next(DecodedFrame &frame) {
        VideoFrame *found = nullptr;
        const int32_t code = tvkGetNextVideoFrame(stream, &found);
        if (code == 0) frame = described(*found);
        return code;
    }

    std::vector<DecodedFrame> all() {
        std::vector<DecodedFrame> frames;
        DecodedFrame frame;
        while (stream != nullptr && next(frame) == 0) frames.push_back(frame);
        return frames;
    }

    // The frame that a jump arrives at; number 0 when it fails.
    DecodedFrame jump(int32_t number) {
        VideoFrame *found = nullptr;
        if (tvkSetVideoFrameNumber(stream, number) != 0 || tvkGetVideoFrame(stream, &found) != 0) return {};
        return described(*found);
    }
};

}  // namespace tvk::test
