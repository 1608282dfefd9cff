// SPDX-License-Identifier: BSD-2-Clause
// tvk_make_seeds OUT CLIPS: writes the fuzzers' seeds below OUT: short random streams of every profile and heads of the
// clips with settings, programs of calls, index files, rows of jumps, shapes of frames.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/calls.h"
#include "stream_writer/profiles.h"
#include "stream_writer/random.h"

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

// Bytes that walk through a program's choices: every call in turn, with changing values.
Bytes programOf(uint32_t number, size_t length) {
    tvktest::Random random(number);
    Bytes program;
    uint32_t call = 11 * number;
    while (program.size() < length) {
        program.push_back(static_cast<uint8_t>(call++ % tvkfuzz::kExportedCallCount));
        for (uint32_t i = random.below(3) + 1; i > 0; --i) program.push_back(static_cast<uint8_t>(random.below(240)));
        // A step often: most calls ask for something decoded.
        program.push_back(14);
        program.push_back(0);
        program.push_back(0);
    }
    return program;
}

void writeCalls(const std::string &folder, uint32_t number, const Bytes &stream) {
    const Bytes program = programOf(number, 200);
    Bytes head = {static_cast<uint8_t>(number % 3 | (number % 2 ? 0x80 : 0)), static_cast<uint8_t>(program.size()),
                  static_cast<uint8_t>(program.size() >> 8)};
    head.insert(head.end(), program.begin(), program.end());
    write(folder + "/calls", "program" + std::to_string(number), head, stream);
}

// Rows of random choices: what they mean is the target's own.
void writeChoices(const std::string &folder, const std::string &name, uint32_t count, size_t length) {
    for (uint32_t i = 0; i < count; ++i) {
        tvktest::Random random(i + 1);
        Bytes bytes;
        for (size_t j = 0; j < length; ++j) bytes.push_back(static_cast<uint8_t>(random.below(256)));
        write(folder, name + std::to_string(i), bytes, {});
    }
}

// Behind the mark, which the target puts right: ten words of facts and `entries` entries that rise.
Bytes indexOf(uint32_t entries) {
    Bytes bytes(32);
    const auto word = [&bytes](uint32_t value) {
        for (uint32_t i = 0; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(value >> 8 * i));
    };
    for (const uint32_t fact : {4 * entries, entries, 2u, 32u, 32u, 1u, 0x41C80000u, 0x3F800000u, 1000000u, 4u})
        word(fact);
    for (uint32_t array = 0; array < 4; ++array)
        for (uint32_t i = 0; i < entries; ++i)
            for (const uint32_t part : {0u, 0u, i * 1500}) word(array == 1 ? 0 : part);
    for (uint32_t array = 0; array < 2; ++array)
        for (uint32_t i = 0; i < entries; ++i) word(4 * i + 1);
    for (uint32_t i = 0; i < 2 * entries; ++i) word(0);
    return bytes;
}

void writeIndexes(const std::string &folder) {
    for (uint32_t i = 0; i < 8; ++i) {
        Bytes head = {static_cast<uint8_t>(2 * i + i % 2)};
        for (uint32_t j = 0; j < 2 * i; ++j) head.push_back(static_cast<uint8_t>(29 * i + 37 * j));
        write(folder, "table" + std::to_string(i), head, indexOf(i % 5));
    }
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
    const std::string out = argv[1];
    for (const char *kind : {"streams", "calls", "indexes", "jumps", "shapes"})
        std::filesystem::create_directories(out + "/" + kind);
    uint32_t number = 0;
    for (const tvktest::Profile &profile : tvktest::allProfiles()) {
        tvktest::RandomStreamOptions options = profile.options;
        options.frames = std::min(options.frames, 4u);
        options.sequence.width = std::min(options.sequence.width, 240u) / 2;
        if (options.sequence.height < 2800) options.sequence.height = options.sequence.height / 2 + 16;
        if (options.sequence.height >= 2800) options.frames = 1;
        const Bytes stream = tvktest::makeRandomStream(options).bytes;
        write(out + "/streams", profile.name, number % 4 == 3 ? withActions(number / 4) : settings(number), stream);
        if (stream.size() < 4000) writeCalls(out, number, stream);
        ++number;
    }
    std::vector<std::filesystem::path> clips;
    for (const auto &entry : std::filesystem::directory_iterator(argv[2])) clips.push_back(entry.path());
    std::sort(clips.begin(), clips.end());
    for (const auto &clip : clips) {
        write(out + "/streams", clip.stem().string() + "Clip", number % 2 ? withActions(number) : settings(number),
              headOf(readFile(clip), 6000));
        ++number;
    }
    writeIndexes(out + "/indexes");
    writeChoices(out + "/jumps", "row", 16, 80);
    writeChoices(out + "/shapes", "shape", 24, 40);
}
