// SPDX-License-Identifier: BSD-2-Clause
// An index scan of a file beside a plain start-code scan of the same bytes, and what jumps through the index decode.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "tvk.h"
#include "tvk_source.h"

namespace {

using Bytes = std::vector<uint8_t>;

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Bytes readFile(const char *path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

// Prefixes 00 00 01, found by way of the ones.
size_t countStartCodes(const Bytes &bytes) {
    size_t count = 0;
    const uint8_t *p = bytes.data(), *end = p + bytes.size();
    while (p < end && (p = static_cast<const uint8_t *>(std::memchr(p, 1, static_cast<size_t>(end - p))))) {
        count += p - bytes.data() >= 2 && p[-1] == 0 && p[-2] == 0;
        ++p;
    }
    return count;
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

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: tvk_index_bench CLIP\nAn elementary stream; a few hundred megabytes tell most.\n");
        return 2;
    }
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    if (tvkOpenFileSource(&source, argv[1]) != 0 || tvkCreateVideoStream(&stream, source) != 0) {
        std::fprintf(stderr, "%s: can't be opened\n", argv[1]);
        return 1;
    }
    const Bytes bytes = readFile(argv[1]);
    std::vector<double> scan, index;
    size_t codes = 0;
    for (int round = 0; round < 9; ++round) {
        const double start = now();
        codes = countStartCodes(bytes);
        const double middle = now();
        tvkCreateVideoIndexTable(stream);
        scan.push_back(middle - start);
        index.push_back(now() - middle);
    }
    VideoStreamInfo info;
    tvkGetVideoStreamInfo(stream, &info);
    const double megabytes = static_cast<double>(bytes.size()) / 1e6;
    std::printf("%.1f MB, %zu start codes, %u frames, %u key frames\n", megabytes, codes, info.frameCount,
                info.keyFrameCount);
    std::printf("plain scan in memory %.0f MB/s, index scan from the file %.0f MB/s, ratio of medians %.2f\n",
                megabytes / median(scan), megabytes / median(index), median(index) / median(scan));
    measureJumps(stream, info.frameCount);
    tvkDestroyVideoStream(stream);
    tvkCloseSource(source);
}
