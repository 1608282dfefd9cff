// SPDX-License-Identifier: BSD-2-Clause
// tvk_check_expected: decodes clips, compares their frames with the kept checksums, and says where they part.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "clip_decoder.h"
#include "frame_line.h"

namespace tvktest {
namespace {

struct Options {
    std::string folder, filter, golden, dump;
    int32_t precision = 0, reduce = 0;  // 0: all
    int32_t threads = 1, frame = 0;
    bool quiet = false;
};

const char *const kUsage =
    "tvk_check_expected FOLDER [FILTER] [options]\n"
    "  compares the clips below FOLDER whose names hold FILTER with FOLDER/expected/NAME.pP.rR\n"
    "  --precision P  --reduce R   only this setting\n"
    "  --threads N                 decode on N threads (1)\n"
    "  --quiet                     only the totals and the names of clips that differ\n"
    "  --list                      print the frames' lines instead of comparing; FOLDER may be a clip\n"
    "  --dump FILE --frame N       write the planes of frame N of the clip FOLDER: luma, then interleaved chroma\n"
    "  --write-golden OUT NAME...  write OUT/NAME.txt for the named clips of FOLDER, in all settings\n";

int32_t listClip(const std::string &path, const DecodeSettings &settings) {
    const std::string error = decodeClip(path, settings, [](const VideoFrame &frame) {
        std::printf("%s\n", toText(lineOf(frame)).c_str());
        return true;
    });
    if (!error.empty()) std::fprintf(stderr, "%s: %s\n", path.c_str(), error.c_str());
    return error.empty() ? 0 : 1;
}

void writePlane(std::ofstream &out, const VideoPlane &plane) {
    for (int32_t row = 0; row < plane.height; ++row)
        out.write(reinterpret_cast<const char *>(plane.data) + static_cast<ptrdiff_t>(row) * plane.stride, plane.width);
}

int32_t dumpFrame(const Options &o, const DecodeSettings &settings) {
    bool found = false;
    decodeClip(o.folder, settings, [&](const VideoFrame &frame) {
        if (frame.frameNumber != o.frame) return true;
        std::ofstream out(o.dump, std::ios::binary);
        writePlane(out, frame.lumaPlane);
        writePlane(out, frame.chromaPlane);
        found = true;
        std::printf("%s\n", toText(lineOf(frame)).c_str());
        return false;
    });
    if (!found) std::fprintf(stderr, "no frame %d\n", o.frame);
    return found ? 0 : 1;
}

// One file a clip.
int32_t writeGolden(const Options &o, const std::vector<std::string> &names) {
    for (const std::string &name : names) {
        std::ofstream out(o.golden + "/" + name + ".txt");
        for (const DecodeSettings settings : {DecodeSettings{1, 1, 1}, {2, 1, 1}, {2, 2, 1}, {2, 4, 1}, {2, 8, 1}}) {
            std::vector<FrameLine> lines;
            const std::string error = decodeClip(findClip(o.folder, name), settings, lines);
            if (!error.empty()) std::fprintf(stderr, "%s: %s\n", name.c_str(), error.c_str());
            out << "p " << settings.precision << " r " << settings.reduce << '\n';
            for (const FrameLine &line : lines) out << toText(line) << '\n';
        }
    }
    return 0;
}

bool selected(const Options &o, const ExpectedClip &clip) {
    return clip.name.find(o.filter) != std::string::npos && (!o.precision || o.precision == clip.precision) &&
           (!o.reduce || o.reduce == clip.reduce);
}

int32_t checkFolder(const Options &o) {
    const auto start = std::chrono::steady_clock::now();
    size_t equal = 0, differing = 0, frames = 0;
    for (const ExpectedClip &clip : readExpectedFolder(o.folder + "/expected")) {
        if (!selected(o, clip)) continue;
        std::printf("%s p%d r%d: ", clip.name.c_str(), clip.precision, clip.reduce);
        std::fflush(stdout);  // so that the name stands there when the decoder dies
        std::vector<FrameLine> lines;
        const std::string error =
            decodeClip(findClip(o.folder, clip.name), {clip.precision, clip.reduce, o.threads}, lines);
        frames += lines.size();
        Difference difference;
        if (!compare(clip.frames, lines, difference) && error.empty()) {
            ++equal;
            std::printf("ok, %zu frames\n", lines.size());
            continue;
        }
        ++differing;
        if (!error.empty()) std::printf("%s; ", error.c_str());
        const std::string text = report(clip.frames, lines, difference);
        std::printf("%s", o.quiet ? (text.substr(0, text.find('\n')) + "\n").c_str() : text.c_str());
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::printf("%zu equal, %zu differ; %zu frames in %.1f s\n", equal, differing, frames, seconds.count());
    return differing == 0 && equal != 0 ? 0 : 1;
}

int32_t run(int argc, char **argv) {
    Options o;
    bool list = false;
    std::vector<std::string> names;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto value = [&]() -> const char * { return i + 1 < argc ? argv[++i] : ""; };
        if (word == "--precision") {
            o.precision = std::atoi(value());
        } else if (word == "--reduce") {
            o.reduce = std::atoi(value());
        } else if (word == "--threads") {
            o.threads = std::atoi(value());
        } else if (word == "--frame") {
            o.frame = std::atoi(value());
        } else if (word == "--dump") {
            o.dump = value();
        } else if (word == "--write-golden") {
            o.golden = value();
        } else if (word == "--quiet") {
            o.quiet = true;
        } else if (word == "--list") {
            list = true;
        } else if (o.folder.empty() && word[0] != '-') {
            o.folder = word;
        } else if (word[0] != '-') {
            o.filter = word;
            names.push_back(word);
        } else {
            o.folder.clear();
            break;
        }
    }
    if (o.folder.empty()) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const int32_t reduce = o.reduce ? o.reduce : 1;
    const DecodeSettings settings{o.precision ? o.precision : (reduce == 1 ? 1 : 2), reduce, o.threads};
    if (!o.golden.empty()) return writeGolden(o, names);
    if (!o.dump.empty()) return dumpFrame(o, settings);
    if (list) return listClip(o.folder, settings);
    return checkFolder(o);
}

}  // namespace
}  // namespace tvktest

int main(int argc, char **argv) {
    return tvktest::run(argc, argv);
}
