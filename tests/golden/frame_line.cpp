// SPDX-License-Identifier: BSD-2-Clause
// Frames as lines of text, and the files that hold them.
#include "frame_line.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "md5.h"

namespace tvktest {
namespace {

namespace fs = std::filesystem;

std::string planeMd5(const VideoPlane &plane) {
    Md5 md5;
    for (int32_t row = 0; row < plane.height; ++row)
        addBytes(md5, plane.data + static_cast<size_t>(row) * static_cast<size_t>(plane.stride),
                 static_cast<size_t>(plane.width));
    return finish(md5);
}

std::string sizeOf(const VideoPlane &plane) {
    return std::to_string(plane.width) + "x" + std::to_string(plane.height);
}

std::vector<fs::path> filesOf(const std::string &folder) {
    std::vector<fs::path> files;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(folder, error))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

// "NAME.pP.rR" into its parts.
bool splitSuffix(const std::string &fileName, ExpectedClip &clip) {
    const size_t dot = fileName.rfind(".p");
    if (dot == std::string::npos || dot == 0) return false;
    clip.name = fileName.substr(0, dot);
    return std::sscanf(fileName.c_str() + dot, ".p%d.r%d", &clip.precision, &clip.reduce) == 2;
}

void append(ExpectedClip &clip, const std::string &text, bool &whole) {
    if (!whole || text.empty()) return;
    FrameLine line;
    whole = fromText(text, line);
    clip.frames.push_back(whole ? line : FrameLine{});
}

}  // namespace

FrameLine lineOf(const VideoFrame &frame) {
    FrameLine line;
    line.number = frame.frameNumber;
    line.streamNumber = frame.streamNumber;
    if (frame.pictureCodingType >= 1 && frame.pictureCodingType <= 4) line.type = "IPBD"[frame.pictureCodingType - 1];
    line.lumaSize = sizeOf(frame.lumaPlane);
    line.chromaSize = sizeOf(frame.chromaPlane);
    line.lumaMd5 = planeMd5(frame.lumaPlane);
    line.chromaMd5 = planeMd5(frame.chromaPlane);
    return line;
}

std::string toText(const FrameLine &line) {
    std::ostringstream text;
    text << line.number << ' ' << line.streamNumber << ' ' << line.type << ' ' << line.lumaSize << ' '
         << line.chromaSize << ' ' << line.lumaMd5 << ' ' << line.chromaMd5;
    return text.str();
}

bool fromText(const std::string &text, FrameLine &line) {
    std::istringstream in(text);
    in >> line.number >> line.streamNumber >> line.type >> line.lumaSize >> line.chromaSize >> line.lumaMd5 >>
        line.chromaMd5;
    return !in.fail() && line.chromaMd5.size() == 32;
}

std::vector<ExpectedClip> readExpectedFolder(const std::string &folder) {
    std::vector<ExpectedClip> clips;
    for (const fs::path &file : filesOf(folder)) {
        ExpectedClip clip;
        if (!splitSuffix(file.filename().string(), clip)) continue;
        std::ifstream in(file);
        bool whole = true;
        for (std::string text; std::getline(in, text);) append(clip, text, whole);
        clips.push_back(std::move(clip));
    }
    return clips;
}

std::vector<ExpectedClip> readGoldenFolder(const std::string &folder) {
    std::vector<ExpectedClip> clips;
    for (const fs::path &file : filesOf(folder)) {
        if (file.extension() != ".txt") continue;
        std::ifstream in(file);
        bool whole = true, headed = false;
        for (std::string text; std::getline(in, text);) {
            ExpectedClip clip;
            if (std::sscanf(text.c_str(), "p %d r %d", &clip.precision, &clip.reduce) == 2) {
                clip.name = file.stem().string();
                clips.push_back(std::move(clip));
                whole = headed = true;
            } else if (headed) {
                append(clips.back(), text, whole);
            }
        }
    }
    return clips;
}

std::string findClip(const std::string &folder, const std::string &name) {
    std::error_code error;
    if (fs::is_regular_file(fs::path(folder) / name, error)) return (fs::path(folder) / name).string();
    for (const auto &entry : fs::directory_iterator(folder, error)) {
        const fs::path candidate = entry.path() / name;
        if (entry.is_directory() && entry.path().filename() != "expected" && fs::is_regular_file(candidate, error))
            return candidate.string();
    }
    return {};
}

}  // namespace tvktest
