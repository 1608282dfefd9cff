// SPDX-License-Identifier: BSD-2-Clause
// Finds the clips that tests run over and reads them.
#include "clip_stream.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace tvktest {
namespace {

namespace fs = std::filesystem;

std::vector<Clip> readFolder(const std::string &folder, size_t limit) {
    std::vector<Clip> clips;
    std::error_code error;
    for (const auto &entry : fs::recursive_directory_iterator(folder, error)) {
        const fs::path &path = entry.path();
        const bool elementary = path.extension() == ".m2v" || path.extension() == ".m1v";
        if (!entry.is_regular_file() || !elementary || entry.file_size() > limit) continue;
        std::ifstream in(path, std::ios::binary);
        clips.push_back({path.filename(), path, std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {})});
    }
    std::sort(clips.begin(), clips.end(), [](const Clip &a, const Clip &b) { return a.path < b.path; });
    return clips;
}

}  // namespace

std::vector<Clip> readClips(size_t limit) {
    std::vector<Clip> clips = readFolder(TVK_CLIPS_FOLDER, limit);
    const char *extra = std::getenv("TVK_EXTRA_STREAMS");
    if (extra == nullptr || *extra == '\0') return clips;
    for (Clip &clip : readFolder(extra, limit)) clips.push_back(std::move(clip));
    return clips;
}

}  // namespace tvktest
