// SPDX-License-Identifier: BSD-2-Clause
// tvk_replay: runs the fuzzer's property over files, as they are and damaged, with any compiler.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "stream_writer/damage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

using Bytes = std::vector<uint8_t>;

// A block of exactly the input's size, as the fuzzer hands it over.
void run(const Bytes &bytes) {
    Bytes exact(bytes);
    exact.shrink_to_fit();
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

Bytes damaged(const Bytes &seed, uint64_t number) {
    Bytes bytes = seed;
    tvktest::Random random(number);
    for (size_t i = 0; i < 3 && i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(random.below(256));
    const size_t first = number % 4 == 0 ? 3 : 8;  // now and then an action appears
    switch (number % 5) {
        case 0:
            tvktest::dropPieces(bytes, first, 1 + random.below(6), 200, number);
            break;
        case 1:
            tvktest::scribble(bytes, first, 1 + random.below(6), 40, number);
            break;
        case 2:
            bytes.resize(first + random.below(static_cast<uint32_t>(bytes.size())));
            break;
        default:
            tvktest::flipBits(bytes, first, 1 + random.below(40), number);
    }
    return bytes;
}

std::vector<std::string> filesBelow(const std::string &path) {
    std::vector<std::string> files;
    if (std::filesystem::is_directory(path)) {
        for (const auto &entry : std::filesystem::directory_iterator(path)) files.push_back(entry.path().string());
        std::sort(files.begin(), files.end());
    } else {
        files.push_back(path);
    }
    return files;
}

Bytes readFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace

int main(int argc, char **argv) {
    uint64_t variants = 0;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--damage") == 0 && i + 1 < argc) {
            variants = std::strtoull(argv[++i], nullptr, 10);
            continue;
        }
        for (std::string &file : filesBelow(argv[i])) files.push_back(std::move(file));
    }
    if (files.empty()) {
        std::fputs("tvk_replay [--damage VARIANTS] FILE_OR_FOLDER...\n", stderr);
        return 2;
    }
    if (variants == 0) {
        for (const std::string &file : files) {
            std::printf("%s\n", file.c_str());
            std::fflush(stdout);  // so that the name stands there when the process dies
            run(readFile(file));
        }
    }
    for (uint64_t i = 0; i < variants; ++i) {
        const std::string &file = files[i % files.size()];
        std::printf("%s, damaged by %llu\n", file.c_str(), static_cast<unsigned long long>(i));
        std::fflush(stdout);
        run(damaged(readFile(file), i));
    }
    return 0;
}
