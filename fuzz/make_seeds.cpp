// SPDX-License-Identifier: BSD-2-Clause
// tvk_make_seeds OUT CLIPS: writes the fuzzer's seeds, short random streams of every profile and heads of the clips.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "stream_writer/profiles.h"

namespace {

using Bytes = std::vector<uint8_t>;

void write(const std::string &folder, const std::string &name, const Bytes &head, const Bytes &stream) {
    std::ofstream out(folder + "/" + name, std::ios::binary);
    out.write(reinterpret_cast<const char *>(head.data()), static_cast<std::streamsize>(head.size()));
    out.write(reinterpret_cast<const char *>(stream.data()), static_cast<std::streamsize>(stream.size()));
}

// Settings that differ from seed to seed, so that together they reach each of their values.
Bytes settings(uint32_t number) {
    const uint32_t reduce = number % 4, loop = number / 2 % 4, mode = number % 5 == 4 ? 1 : 0;
    return {static_cast<uint8_t>(reduce | (number % 3 == 0 ? 4 : 0) | (number % 2 << 3) | (number % 2 << 6)),
            static_cast<uint8_t>(mode | loop << 2 | (number % 3 == 1 ? 16 : 0) | number / 3 % 4 << 5),
            static_cast<uint8_t>(number % 7 == 3 ? 6 : 0), 0};
}

// Settings with actions: each of them behind one frame of some seed.
Bytes withActions(uint32_t number) {
    Bytes head = settings(number);
    head[3] = 8;
    for (uint32_t i = 0; i < 8; ++i)
        head.push_back(static_cast<uint8_t>((8 * number + i) % 32 | (number + i) % 8 << 5));
    return head;
}

Bytes readFile(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// Up to and with the picture start code behind `least` bytes.
Bytes headOf(Bytes bytes, size_t least) {
    for (size_t i = least; i + 4 <= bytes.size(); ++i) {
        if (bytes[i] != 0 || bytes[i + 1] != 0 || bytes[i + 2] != 1 || bytes[i + 3] != 0) continue;
        bytes.resize(i + 4);
        break;
    }
    return bytes;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) return 2;
    uint32_t number = 0;
    for (const tvktest::Profile &profile : tvktest::allProfiles()) {
        tvktest::RandomStreamOptions options = profile.options;
        options.frames = std::min(options.frames, 4u);
        options.sequence.width = std::min(options.sequence.width, 240u) / 2;
        if (options.sequence.height < 2800) options.sequence.height = options.sequence.height / 2 + 16;
        if (options.sequence.height >= 2800) options.frames = 1;
        const Bytes stream = tvktest::makeRandomStream(options).bytes;
        write(argv[1], profile.name, number % 4 == 3 ? withActions(number / 4) : settings(number), stream);
        ++number;
    }
    std::vector<std::filesystem::path> clips;
    for (const auto &entry : std::filesystem::directory_iterator(argv[2])) clips.push_back(entry.path());
    std::sort(clips.begin(), clips.end());
    for (const auto &clip : clips) {
        write(argv[1], clip.stem().string() + "Clip", number % 2 ? withActions(number) : settings(number),
              headOf(readFile(clip), 6000));
        ++number;
    }
}
