// SPDX-License-Identifier: BSD-2-Clause
// Frames reached by number through an index, each beside the same frame of a decode from the start: how many differ.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "seek_exactness.h"
#include "tvk.h"
#include "tvk_source.h"

namespace {

using namespace tvk::bench;

// Frames of the library, numbered from 0 here.
class TvkFrames : public FrameServer {
  public:
    explicit TvkFrames(const std::string &path) {
        if (tvkOpenFileSource(&source, path.c_str()) != 0) return;
        if (tvkCreateVideoStream(&stream, source) != 0) return;
        // The first frame tells whether there is anything to index.
        if (tvkNextVideoFrame(stream) != 0 || tvkCreateVideoIndexTable(stream) != 0) return;
        VideoStreamInfo info = {};
        if (tvkGetVideoStreamInfo(stream, &info) == 0) count = static_cast<int>(info.frameCount);
    }
    ~TvkFrames() override {
        if (stream != nullptr) tvkDestroyVideoStream(stream);
        if (source != nullptr) tvkCloseSource(source);
    }

    int frameCount() const override { return count; }

    bool frame(int number, uint64_t &digest) override {
        if (tvkSetVideoFrameNumber(stream, number + 1) != 0) return false;
        VideoFrame *found = nullptr;
        if (tvkGetVideoFrame(stream, &found) != 0 || found->frameNumber != number + 1) return false;
        digest = digestOf(*found);
        return true;
    }

    std::vector<uint64_t> linear(const std::string &path) override {
        std::vector<uint64_t> digests;
        VideoSource *file = nullptr;
        VideoStream *decoder = nullptr;
        if (tvkOpenFileSource(&file, path.c_str()) != 0) return digests;
        if (tvkCreateVideoStream(&decoder, file) == 0) {
            VideoFrame *next = nullptr;
            while (tvkGetNextVideoFrame(decoder, &next) == 0) digests.push_back(digestOf(*next));
            tvkDestroyVideoStream(decoder);
        }
        tvkCloseSource(file);
        return digests;
    }

  private:
    static uint64_t digestOf(const VideoFrame &frame) {
        const VideoPlane &luma = frame.lumaPlane, &chroma = frame.chromaPlane;
        uint64_t digest = kDigestStart;
        addToDigest(digest, luma.data, luma.width, luma.height, luma.stride);
        addToDigest(digest, chroma.data, chroma.width, chroma.height, chroma.stride);
        return digest;
    }

    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    int count = 0;
};

struct Outcome {
    int wrongRandom, wrongBackward;
    double millisecondsRandom, millisecondsBackward;
};

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

int wrongOf(FrameServer &server, const std::vector<uint64_t> &linear, const std::vector<int> &requests, double &ms) {
    int wrong = 0;
    const double start = now();
    for (const int number : requests) {
        uint64_t digest = 0;
        wrong += !server.frame(number, digest) || digest != linear[static_cast<size_t>(number)];
    }
    ms = (now() - start) * 1000.0 / static_cast<double>(requests.size());
    return wrong;
}

std::vector<int> randomRequests(int frames, int count) {
    std::mt19937 generator(20240607);
    std::vector<int> requests;
    for (int i = 0; i < count; ++i) {
        requests.push_back(static_cast<int>(generator() % static_cast<unsigned>(frames)));
    }
    return requests;
}

// From the last frame to the first, again and again.
std::vector<int> backwardRequests(int frames, int count) {
    std::vector<int> requests;
    for (int i = 0; i < count; ++i) requests.push_back(frames - 1 - i % frames);
    return requests;
}

// A line of the table, or "none" where the server cannot open the file.
void measure(const std::string &path, const char *name, FrameServer *server, int count) {
    const std::string file = path.substr(path.rfind('/') + 1);
    const std::vector<uint64_t> linear = server != nullptr ? server->linear(path) : std::vector<uint64_t>();
    const int frames = server == nullptr ? 0 : std::min(server->frameCount(), static_cast<int>(linear.size()));
    if (frames == 0) {
        std::printf("| %s | %s | none | | | | |\n", file.c_str(), name);
        return;
    }
    Outcome outcome;
    outcome.wrongRandom = wrongOf(*server, linear, randomRequests(frames, count), outcome.millisecondsRandom);
    outcome.wrongBackward = wrongOf(*server, linear, backwardRequests(frames, count), outcome.millisecondsBackward);
    std::printf("| %s | %s | %d | %d | %d | %.1f | %.1f |\n", file.c_str(), name, frames, outcome.wrongRandom,
                outcome.wrongBackward, outcome.millisecondsRandom, outcome.millisecondsBackward);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
    int count = 300, first = 1;
    if (argc > 2 && std::strcmp(argv[1], "--requests") == 0) {
        count = std::max(std::atoi(argv[2]), 1);
        first = 3;
    }
    if (first >= argc) {
        std::fprintf(stderr, "usage: tvk_seek_exactness [--requests N] FILE...\n");
        return 2;
    }
    std::printf("| file | library | frames | wrong of %d random | wrong of %d backwards | ms random | ms backwards |\n",
                count, count);
    std::printf("|---|---|--:|--:|--:|--:|--:|\n");
    for (int i = first; i < argc; ++i) {
        TvkFrames frames(argv[i]);
        measure(argv[i], "tvk", &frames, count);
        if (!hasPeerFrames()) continue;
        const std::unique_ptr<FrameServer> peer = openPeerFrames(argv[i]);
        measure(argv[i], "FFMS2", peer.get(), count);
    }
    return 0;
}
