// SPDX-License-Identifier: BSD-2-Clause
// One table: every clip, every contender, one process, the same bytes in memory, rounds interleaved.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

#include "contenders.h"

namespace {

using namespace bench;
namespace fs = std::filesystem;

struct Options {
    std::vector<fs::path> clips;
    std::vector<std::string> only;
    int rounds = 5;
    bool json = false;
    bool processorTime = false;  // what a busy machine can still measure, for contenders of one thread
};

struct Result {
    std::string name;
    uint32_t frames = 0;
    std::vector<double> seconds;

    double median() const {
        std::vector<double> sorted = seconds;
        std::sort(sorted.begin(), sorted.end());
        return sorted[sorted.size() / 2];
    }
    // Half the range of the middle rounds, as a share of the median.
    double spread() const {
        std::vector<double> sorted = seconds;
        std::sort(sorted.begin(), sorted.end());
        return (sorted[sorted.size() * 3 / 4] - sorted[sorted.size() / 4]) / 2 / median();
    }
};

Bytes readFile(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

std::vector<Contender> allContenders(const Options &options) {
    std::vector<Contender> all;
    for (auto make : {libmpeg2Contenders, libavcodecContenders, ownContenders})
        for (Contender &c : make())
            if (options.only.empty() || std::count(options.only.begin(), options.only.end(), c.name))
                all.push_back(std::move(c));
    return all;
}

double now(const Options &options) {
    timespec t;
    clock_gettime(options.processorTime ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

std::vector<Result> measure(const Bytes &bytes, const Options &options) {
    std::vector<Result> results;
    std::vector<Run> runs;
    for (const Contender &c : allContenders(options)) {
        runs.push_back(c.prepare(bytes));
        results.push_back({c.name, runs.back()(), {}});
    }
    for (int round = 0; round < options.rounds; ++round)
        for (size_t i = 0; i < runs.size(); ++i) {
            const double start = now(options);
            runs[i]();
            results[i].seconds.push_back(now(options) - start);
        }
    return results;
}

double reference(const std::vector<Result> &results, const char *name) {
    for (const Result &r : results)
        if (r.name == name && r.frames) return r.median();
    return 0;
}

void printTable(const fs::path &clip, const std::vector<Result> &results) {
    const double libmpeg2 = reference(results, "libmpeg2"), own = reference(results, "tvk");
    std::printf("%s\n%-24s %7s %9s %7s %12s %9s\n", clip.filename().c_str(), "", "frames", "frames/s", "spread",
                "x libmpeg2", "x tvk");
    for (const Result &r : results) {
        if (!r.frames) continue;
        std::printf("%-24s %7u %9.1f %6.1f%% %12.2f %9.2f\n", r.name.c_str(), r.frames, r.frames / r.median(),
                    100 * r.spread(), libmpeg2 / r.median(), own / r.median());
    }
    std::printf("\n");
    std::fflush(stdout);
}

void printJson(const fs::path &clip, const std::vector<Result> &results, bool first) {
    std::printf("%s  {\"clip\": \"%s\", \"results\": [", first ? "" : ",\n", clip.filename().c_str());
    for (size_t i = 0; i < results.size(); ++i)
        std::printf("%s\n    {\"name\": \"%s\", \"frames\": %u, \"seconds\": %.6f, \"spread\": %.4f}", i ? "," : "",
                    results[i].name.c_str(), results[i].frames, results[i].median(), results[i].spread());
    std::printf("]}");
}

[[noreturn]] void usage() {
    std::fprintf(stderr,
                 "usage: tvk_bench [--rounds N] [--only NAME]... [--cpu] [--json] CLIP-OR-FOLDER...\n"
                 "Elementary streams are decoded by every contender in turn, N rounds long; medians are printed.\n"
                 "--cpu takes processor time in place of the clock: for one thread, on a busy machine.\n");
    std::exit(2);
}

void addClips(std::vector<fs::path> &clips, const fs::path &path) {
    if (!fs::is_directory(path)) {
        clips.push_back(path);
        return;
    }
    for (const auto &entry : fs::directory_iterator(path))
        if (entry.path().extension() == ".m2v" || entry.path().extension() == ".m1v") clips.push_back(entry.path());
    std::sort(clips.begin(), clips.end());
}

Options parse(int argc, char **argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--json")
            options.json = true;
        else if (word == "--cpu")
            options.processorTime = true;
        else if (word == "--rounds" && i + 1 < argc)
            options.rounds = std::max(1, std::atoi(argv[++i]));
        else if (word == "--only" && i + 1 < argc)
            options.only.push_back(argv[++i]);
        else if (word.substr(0, 2) == "--" || !fs::exists(word))
            usage();
        else
            addClips(options.clips, word);
    }
    if (options.clips.empty()) usage();
    return options;
}

}  // namespace

int main(int argc, char **argv) {
    const Options options = parse(argc, argv);
    if (options.json) std::printf("[\n");
    bool first = true;
    for (const fs::path &clip : options.clips) {
        const Bytes bytes = readFile(clip);
        const std::vector<Result> results = measure(bytes, options);
        options.json ? printJson(clip, results, first) : printTable(clip, results);
        first = false;
    }
    if (options.json) std::printf("\n]\n");
}
