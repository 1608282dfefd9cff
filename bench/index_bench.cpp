// SPDX-License-Identifier: BSD-2-Clause
// Index scans beside a plain start-code scan of the same bytes, and what jumps through the index decode.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "tvk.h"
#include "tvk_source.h"

namespace {

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// A file, and where it is mapped.
struct MappedFile {
    int file = -1;
    const uint8_t *bytes = nullptr;
    size_t size = 0;

    explicit MappedFile(const char *path) : file(open(path, O_RDONLY)) {
        struct stat facts;
        if (file < 0 || fstat(file, &facts) != 0 || facts.st_size == 0) return;
        size = static_cast<size_t>(facts.st_size);
        void *mapped = mmap(nullptr, size, PROT_READ, MAP_SHARED, file, 0);
        bytes = mapped == MAP_FAILED ? nullptr : static_cast<const uint8_t *>(mapped);
    }
    ~MappedFile() {
        if (bytes) munmap(const_cast<uint8_t *>(bytes), size);
        if (file >= 0) close(file);
    }
    MappedFile(const MappedFile &) = delete;
    MappedFile &operator=(const MappedFile &) = delete;
};

// The yardstick: counts the prefixes 00 00 01 and does nothing else, as fast as the plain instruction set goes. 64
// places a step, and no branch but for the places where one is.
size_t countStartCodes(const uint8_t *p, const uint8_t *end) {
    size_t count = 0;
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128(), one = _mm_set1_epi8(1);
    const auto hits = [&](const uint8_t *at) {
        const auto load = [at](int n) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(at + n)); };
        return _mm_and_si128(_mm_cmpeq_epi8(_mm_or_si128(load(0), load(1)), zero), _mm_cmpeq_epi8(load(2), one));
    };
    const auto number = [](__m128i places) {
        size_t n = 0;
        for (auto mask = static_cast<unsigned>(_mm_movemask_epi8(places)); mask != 0; mask &= mask - 1) ++n;
        return n;
    };
    for (; end - p >= 66; p += 64) {
        const __m128i a = hits(p), b = hits(p + 16), c = hits(p + 32), d = hits(p + 48);
        if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d))) != 0)
            count += number(a) + number(b) + number(c) + number(d);
    }
#endif
    for (; end - p >= 3; ++p) count += p[0] == 0 && p[1] == 0 && p[2] == 1;
    return count;
}

size_t codes;

// What any reader of a file pays that does not map it: one copy out of the system's memory, then the same scan.
void scanByReading(const MappedFile &file) {
    static uint8_t block[0x20000];
    for (size_t at = 0; at < file.size;) {
        const ssize_t got = pread(file.file, block, sizeof block, static_cast<off_t>(at));
        if (got <= 0) return;
        codes += countStartCodes(block, block + got);
        at += static_cast<size_t>(got);
    }
}

// What a reader that maps the file pays for all of it: opening, mapping, the faults of its pages, the scan.
void scanAnew(const char *path) {
    const MappedFile file(path);
    if (file.bytes) codes += countStartCodes(file.bytes, file.bytes + file.size);
}

// The same of ours: from the file's name to the table.
void indexAnew(const char *path) {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    if (tvkOpenFileSource(&source, path) != 0) return;
    if (tvkCreateVideoStream(&stream, source) == 0) {
        tvkCreateVideoIndexTable(stream);
        tvkDestroyVideoStream(stream);
    }
    tvkCloseSource(source);
}

uint32_t slices, pictures, lastPicture;

int32_t countEvents(CallbackEvent *event) {
    constexpr uint32_t kPictureHeader = 7, kSlice = 10;
    if (event->eventCode == kPictureHeader) lastPicture = ++pictures;
    if (event->eventCode == kSlice && lastPicture) {
        ++slices;  // the first slice of a picture tells that it is decoded
        lastPicture = 0;
    }
    return 0;
}

// Pictures decoded and passed over in a jump to each of some frames, against the most that a group's anchors and one B
// picture come to.
void measureJumps(VideoStream *stream, uint32_t frames) {
    tvkSetVideoUserCallback(stream, countEvents, 0);
    uint32_t decoded = 0, headers = 0, jumps = 0;
    for (uint32_t i = 0; i < 40; ++i) {
        const auto number = static_cast<int32_t>(1 + (i * 7919) % frames);
        slices = pictures = lastPicture = 0;
        if (tvkSetVideoFrameNumber(stream, number) != 0) continue;
        decoded += slices;
        headers += pictures;
        ++jumps;
    }
    if (jumps)
        std::printf("jumps: %u, pictures decoded a jump %.1f, pictures walked a jump %.1f\n", jumps,
                    double(decoded) / jumps, double(headers) / jumps);
}

// From nothing to the first frame in the caller's hands; the best of some, in milliseconds.
double measureFirstFrame(const char *path) {
    double best = 1e9;
    for (int round = 0; round < 5; ++round) {
        const double start = now();
        VideoSource *source = nullptr;
        VideoStream *stream = nullptr;
        VideoFrame *frame = nullptr;
        if (tvkOpenFileSource(&source, path) != 0 || tvkCreateVideoStream(&stream, source) != 0) return 0;
        tvkGetNextVideoFrame(stream, &frame);
        best = std::min(best, now() - start);
        tvkDestroyVideoStream(stream);
        tvkCloseSource(source);
    }
    return best * 1e3;
}

struct Contender {
    const char *name;
    std::function<void()> run;
    std::vector<double> seconds = {};
};

// The yardsticks' places among the contenders.
constexpr size_t kPlainScan = 0, kPlainScanAnew = 1;

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Rounds are interleaved.
void measure(std::vector<Contender> &contenders, size_t size, int rounds) {
    for (int round = 0; round < rounds; ++round) {
        for (Contender &c : contenders) {
            const double start = now();
            c.run();
            c.seconds.push_back(now() - start);
        }
    }
    const double plain = median(contenders[kPlainScan].seconds), anew = median(contenders[kPlainScanAnew].seconds);
    std::printf("%-46s %9s %12s %12s\n", "", "MB/s", "x plain scan", "x anew");
    for (const Contender &c : contenders)
        std::printf("%-46s %9.0f %12.2f %12.2f\n", c.name, static_cast<double>(size) / 1e6 / median(c.seconds),
                    median(c.seconds) / plain, median(c.seconds) / anew);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr,
                     "usage: tvk_index_bench CLIP [ROUNDS]\n"
                     "An elementary stream without an end code in the middle; a few hundred megabytes tell most.\n");
        return 2;
    }
    const MappedFile file(argv[1]);
    VideoSource *source = nullptr, *memorySource = nullptr;
    VideoStream *stream = nullptr, *memoryStream = nullptr;
    if (!file.bytes || tvkOpenFileSource(&source, argv[1]) != 0 || tvkCreateVideoStream(&stream, source) != 0 ||
        tvkOpenMemorySource(&memorySource, file.bytes, file.size) != 0 ||
        tvkCreateVideoStream(&memoryStream, memorySource) != 0) {
        std::fprintf(stderr, "%s: can't be opened\n", argv[1]);
        return 1;
    }
    std::printf("%.1f MB, %zu start codes\n", static_cast<double>(file.size) / 1e6,
                countStartCodes(file.bytes, file.bytes + file.size));
    std::vector<Contender> contenders = {
        {"plain scan of bytes mapped once", [&] { codes += countStartCodes(file.bytes, file.bytes + file.size); }},
        {"plain scan, the file opened and mapped anew", [&] { scanAnew(argv[1]); }},
        {"plain scan, reading the file in blocks", [&] { scanByReading(file); }},
        {"index scan of bytes mapped once", [&] { tvkCreateVideoIndexTable(memoryStream); }},
        {"index scan of the open file", [&] { tvkCreateVideoIndexTable(stream); }},
        {"index scan, the file opened anew", [&] { indexAnew(argv[1]); }},
    };
    measure(contenders, file.size, argc == 3 ? std::max(1, std::atoi(argv[2])) : 9);
    VideoStreamInfo info;
    tvkGetVideoStreamInfo(stream, &info);
    std::printf("%u frames, %u key frames, first frame after %.1f ms\n", info.frameCount, info.keyFrameCount,
                measureFirstFrame(argv[1]));
    if (info.frameCount > 0) measureJumps(stream, info.frameCount);
    tvkDestroyVideoStream(memoryStream);
    tvkDestroyVideoStream(stream);
    tvkCloseSource(memorySource);
    tvkCloseSource(source);
}
