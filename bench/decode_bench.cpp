// SPDX-License-Identifier: BSD-2-Clause
// One table: every clip, every contender, one process, the same bytes in memory, rounds interleaved.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>
#include <utility>

#include "report.h"

namespace {

using namespace bench;
namespace fs = std::filesystem;

struct Options {
    std::vector<fs::path> clips;
    std::vector<std::string> only;
    std::vector<std::pair<std::string, std::string>> builds;  // names and files of further libraries
    std::string json;                                         // file, or -
    Rules rules;
};

[[noreturn]] void usage() {
    std::fprintf(stderr,
                 "usage: tvk_bench [OPTION]... CLIP-OR-FOLDER...\n"
                 "  --rounds N          runs of each contender on each clip (5); medians are told\n"
                 "  --only NAME         this contender alone; once or more\n"
                 "  --build NAME=FILE   another build of libtvk takes part too, as tvk NAME\n"
                 "  --cpu               processor time in place of the clock: for one thread, on a busy machine\n"
                 "  --json FILE         writes all results; - is standard output, in place of the table\n"
                 "Elementary streams are decoded by every contender in turn. Cycles are the processor's where its\n"
                 "counter can be read, else its time stamps; a pixel is one of the full size at every size.\n");
    std::exit(2);
}

Bytes readFile(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

void addClips(std::vector<fs::path> &clips, const fs::path &path) {
    if (!fs::is_directory(path)) {
        clips.push_back(path);
        return;
    }
    const size_t first = clips.size();
    for (const auto &entry : fs::directory_iterator(path))
        if (entry.path().extension() == ".m2v" || entry.path().extension() == ".m1v") clips.push_back(entry.path());
    std::sort(clips.begin() + static_cast<std::ptrdiff_t>(first), clips.end());
}

std::pair<std::string, std::string> parseBuild(std::string_view word) {
    const size_t equals = word.find('=');
    if (equals == word.npos) usage();
    return {std::string(word.substr(0, equals)), std::string(word.substr(equals + 1))};
}

Options parse(int argc, char **argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--cpu")
            options.rules.processorTime = true;
        else if (word == "--json" && i + 1 < argc)
            options.json = argv[++i];
        else if (word == "--rounds" && i + 1 < argc)
            options.rules.rounds = std::max(1, std::atoi(argv[++i]));
        else if (word == "--only" && i + 1 < argc)
            options.only.push_back(argv[++i]);
        else if (word == "--build" && i + 1 < argc)
            options.builds.push_back(parseBuild(argv[++i]));
        else if (word.substr(0, 2) == "--" || !fs::exists(word))
            usage();
        else
            addClips(options.clips, word);
    }
    if (options.clips.empty()) usage();
    return options;
}

std::vector<Contender> chosenContenders(const Options &options) {
    std::vector<Contender> all;
    const auto add = [&](const std::vector<Contender> &more) {
        for (const Contender &c : more)
            if (options.only.empty() || std::count(options.only.begin(), options.only.end(), c.name)) all.push_back(c);
    };
    add(libmpeg2Contenders());
    add(libavcodecContenders());
    add(ownContenders());
    for (const auto &[name, file] : options.builds) {
        const std::vector<Contender> more = otherBuildContenders(name, file);
        if (more.empty()) std::exit(1);
        add(more);
    }
    return all;
}

}  // namespace

int main(int argc, char **argv) {
    const Options options = parse(argc, argv);
    const std::vector<Contender> contenders = chosenContenders(options);
    std::vector<ClipResults> clips;
    for (const fs::path &path : options.clips) {
        const Bytes bytes = readFile(path);
        clips.push_back({path.filename(), pictureSize(bytes), bytes.size(), measure(contenders, bytes, options.rules)});
        if (options.json != "-") printTable(clips.back());
    }
    if (options.json.empty()) return 0;
    if (options.json == "-") {
        writeJson(std::cout, clips, options.rules, counterInUse());
        return 0;
    }
    std::ofstream file(options.json);
    writeJson(file, clips, options.rules, counterInUse());
    file.close();
    if (!file) std::fprintf(stderr, "%s: can't be written\n", options.json.c_str());
    return file ? 0 : 1;
}
