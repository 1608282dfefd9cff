// SPDX-License-Identifier: BSD-2-Clause
// What a container costs: decoding, an index scan and reading alone, beside the same video as an elementary stream.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "tvk.h"
#include "tvk_source.h"

namespace {

// Of the processor alone, so that what else the machine does counts less.
double now() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

[[noreturn]] void fail(const char *path, int32_t code) {
    std::fprintf(stderr, "%s: %s\n", path, tvkSourceErrorText(code));
    std::exit(1);
}

VideoSource *openSource(const char *path) {
    VideoSource *source = nullptr;
    const int32_t code = tvkOpenFileSource(&source, path);
    if (code != 0) fail(path, code);
    return source;
}

double timeReading(const char *path) {
    const auto unit = std::make_unique<PictureUnit>();
    const double start = now();
    VideoSource *source = openSource(path);
    uint32_t count = 0;
    while (source->readUnit(source, 0, unit.get(), &count) == 0 && count > 0) {
    }
    tvkCloseSource(source);
    return now() - start;
}

template <class Work>
double timeStream(const char *path, Work work) {
    const double start = now();
    VideoSource *source = openSource(path);
    VideoStream *stream = nullptr;
    const int32_t code = tvkCreateVideoStream(&stream, source);
    if (code != 0) fail(path, code);
    work(stream);
    tvkDestroyVideoStream(stream);
    tvkCloseSource(source);
    return now() - start;
}

double timeScan(const char *path) {
    return timeStream(path, [](VideoStream *stream) { tvkCreateVideoIndexTable(stream); });
}

double timeDecode(const char *path) {
    return timeStream(path, [](VideoStream *stream) {
        while (tvkNextVideoFrame(stream) == 0) {
        }
    });
}

}  // namespace

int main(int argc, char **argv) {
    int rounds = 7, first = 1;
    if (argc > 2 && std::strcmp(argv[1], "--rounds") == 0) {
        rounds = std::max(std::atoi(argv[2]), 1);
        first = 3;
    }
    if (first >= argc) {
        std::fprintf(stderr, "usage: tvk_container_bench [--rounds N] STREAM.m2v CONTAINER...\n");
        return 2;
    }
    // The files take turns, and the best of the rounds counts.
    constexpr double (*kWorks[])(const char *) = {timeDecode, timeScan, timeReading};
    std::vector<std::array<double, 3>> best(static_cast<size_t>(argc), {1e9, 1e9, 1e9});
    for (int round = 0; round < rounds; ++round) {
        for (int file = first; file < argc; ++file) {
            for (size_t work = 0; work < 3; ++work) {
                double &least = best[static_cast<size_t>(file)][work];
                least = std::min(least, kWorks[work](argv[file]));
            }
        }
    }
    std::printf("| file | decode, ms | of the stream's | index scan, ms | reading, ms |\n|---|--:|--:|--:|--:|\n");
    for (int file = first; file < argc; ++file) {
        const auto &own = best[static_cast<size_t>(file)], &bare = best[static_cast<size_t>(first)];
        const char *slash = std::strrchr(argv[file], '/');
        std::printf("| %s | %.1f | %.3f | %.2f | %.2f |\n", slash != nullptr ? slash + 1 : argv[file], own[0] * 1e3,
                    own[0] / bare[0], own[1] * 1e3, own[2] * 1e3);
    }
    return 0;
}
