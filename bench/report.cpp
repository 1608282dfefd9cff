// SPDX-License-Identifier: BSD-2-Clause
#include "report.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string_view>
#include <thread>

#include <sys/utsname.h>

namespace bench {

namespace {

// How often `result` goes into the time of the one it is held against: the median of the rounds' own ratios, since what
// slows a machine for a while slows a whole round.
double times(const Result *base, const Result &result) {
    if (!base) return 0;
    std::vector<double> ratios;
    for (size_t i = 0; i < result.rounds.size(); ++i)
        ratios.push_back(base->rounds[i].seconds / result.rounds[i].seconds);
    std::sort(ratios.begin(), ratios.end());
    return ratios[ratios.size() / 2];
}

double cyclesPerPixel(const ClipResults &clip, const Result &result) {
    return result.cycles() / result.frames / clip.size.width / clip.size.height;
}

// A number of a table; "-" for one that there is none of.
std::string cell(double value, int digits) {
    if (!(value > 0)) return "-";
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string processorName() {
    std::ifstream in("/proc/cpuinfo");
    for (std::string line; std::getline(in, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown";
}

std::string kernelName() {
    utsname system = {};
    uname(&system);
    return std::string(system.sysname) + " " + system.release + " " + system.machine;
}

std::string compilerName() {
#if defined(__clang__)
    return __VERSION__;
#else
    return std::string("GCC ") + __VERSION__;
#endif
}

std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    }
    return out + '"';
}

std::string number(double value) {
    const std::string text = cell(value, 6);
    return text == "-" ? "null" : text;
}

// Of each round.
std::string secondsOf(const Result &result) {
    std::string text;
    for (const Round &round : result.rounds) text += (text.empty() ? "[" : ", ") + number(round.seconds);
    return text + "]";
}

std::string today() {
    char text[16];
    const time_t seconds = std::time(nullptr);
    std::strftime(text, sizeof text, "%Y-%m-%d", std::gmtime(&seconds));
    return text;
}

void writeMachine(std::ostream &out, const Rules &rules, Counter counter) {
    out << "{\"date\": " << quoted(today()) << ",\n \"processor\": " << quoted(processorName())
        << ",\n \"processors\": " << std::thread::hardware_concurrency() << ",\n \"kernel\": " << quoted(kernelName())
        << ",\n \"compiler\": " << quoted(compilerName()) << ",\n \"libmpeg2\": " << quoted(libmpeg2Version())
        << ",\n \"libavcodec\": " << quoted(libavcodecVersion()) << ",\n \"rounds\": " << rules.rounds
        << ",\n \"clock\": " << quoted(rules.processorTime ? "processor time" : "time")
        << ",\n \"counter\": " << quoted(nameOf(counter)) << ",\n";
}

}  // namespace

void printTable(const ClipResults &clip) {
    const Result *libmpeg2 = find(clip.results, "libmpeg2"), *own = find(clip.results, "tvk");
    std::printf("%s, %u x %u\n%-24s %7s %9s %9s %12s %7s %7s\n", clip.clip.c_str(), clip.size.width, clip.size.height,
                "", "frames", "frames/s", "cycles/px", "x libmpeg2", "x tvk", "spread");
    for (const Result &r : clip.results)
        std::printf("%-24s %7u %9.1f %9s %12s %7s %6.1f%%\n", r.name.c_str(), r.frames, r.framesPerSecond(),
                    cell(cyclesPerPixel(clip, r), 1).c_str(), cell(times(libmpeg2, r), 2).c_str(),
                    cell(times(own, r), 2).c_str(), 100 * r.spread());
    std::printf("\n");
    std::fflush(stdout);
}

void writeJson(std::ostream &out, const std::vector<ClipResults> &clips, const Rules &rules, Counter counter) {
    writeMachine(out, rules, counter);
    out << " \"clips\": [";
    for (const ClipResults &clip : clips) {
        out << (&clip == &clips.front() ? "\n" : ",\n") << "  {\"clip\": " << quoted(clip.clip)
            << ", \"width\": " << clip.size.width << ", \"height\": " << clip.size.height
            << ", \"bytes\": " << clip.bytes << ", \"results\": [";
        for (const Result &r : clip.results)
            out << (&r == &clip.results.front() ? "\n" : ",\n") << "    {\"name\": " << quoted(r.name)
                << ", \"frames\": " << r.frames << ", \"framesPerSecond\": " << number(r.framesPerSecond())
                << ", \"cyclesPerPixel\": " << number(cyclesPerPixel(clip, r))
                << ", \"timesLibmpeg2\": " << number(times(find(clip.results, "libmpeg2"), r))
                << ", \"spread\": " << number(r.spread()) << ", \"seconds\": " << secondsOf(r) << "}";
        out << "]}";
    }
    out << "]}\n";
}

}  // namespace bench
