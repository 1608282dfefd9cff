// SPDX-License-Identifier: BSD-2-Clause
// tvk compare: how far two videos are apart, as PSNR.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "facts.h"
#include "picture_reader.h"
#include "settings.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

struct CompareOptions {
    std::string first, second;
    int32_t threads = 0;
    bool quiet = false;
};

// Squared differences of the three planes.
struct Distance {
    std::array<uint64_t, 3> squares{};
    std::array<uint64_t, 3> samples{};

    void operator+=(const Distance &other) {
        for (size_t i = 0; i < 3; ++i) {
            squares[i] += other.squares[i];
            samples[i] += other.samples[i];
        }
    }
};

double psnr(uint64_t squares, uint64_t samples) {
    if (squares == 0) return std::numeric_limits<double>::infinity();
    return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(samples) / static_cast<double>(squares));
}

uint64_t squaresOf(const uint8_t *a, const uint8_t *b, size_t count) {
    uint64_t sum = 0;
    for (size_t i = 0; i < count; ++i) {
        const int32_t difference = a[i] - b[i];
        sum += static_cast<uint64_t>(difference * difference);
    }
    return sum;
}

Distance distance(const Y4mShape &shape, const std::vector<uint8_t> &a, const std::vector<uint8_t> &b) {
    const PlaneSizes sizes = planeSizes(shape);
    Distance result;
    size_t at = 0;
    for (size_t plane = 0; plane < 3; ++plane) {
        const size_t count = plane == 0 ? sizes.luma : sizes.chroma;
        result.squares[plane] = squaresOf(a.data() + at, b.data() + at, count);
        result.samples[plane] = count;
        at += count;
    }
    return result;
}

// Columns Y, Cb, Cr and all samples together.
void printLine(const std::string &name, const Distance &d) {
    const uint64_t squares = d.squares[0] + d.squares[1] + d.squares[2];
    const uint64_t samples = d.samples[0] + d.samples[1] + d.samples[2];
    std::printf("%6s", name.c_str());
    for (size_t plane = 0; plane < 3; ++plane) std::printf(" %8.3f", psnr(d.squares[plane], d.samples[plane]));
    std::printf(" %8.3f\n", psnr(squares, samples));
}

std::string text(const Y4mShape &shape) {
    return std::to_string(shape.width) + " x " + std::to_string(shape.height) + " " + chromaName(shape.chromaFormat);
}

void compare(const CompareOptions &options) {
    const auto first = openPictures(options.first, options.threads);
    const auto second = openPictures(options.second, options.threads);
    std::vector<uint8_t> a, b;
    Distance all;
    int32_t frames = 0;
    bool hasFirst = first->next(a), hasSecond = second->next(b);
    if (!hasFirst || !hasSecond) {
        throw ToolError(exitNoVideo, (hasFirst ? options.second : options.first) + ": holds no picture");
    }
    for (; hasFirst && hasSecond; hasFirst = first->next(a), hasSecond = second->next(b)) {
        if (first->shape != second->shape) {
            throw ToolError(exitFailed, "frame " + std::to_string(frames + 1) + " is " + text(first->shape) +
                                            " in one and " + text(second->shape) + " in the other");
        }
        if (frames++ == 0) std::printf(" frame        Y       Cb       Cr      all\n");
        const Distance d = distance(first->shape, a, b);
        if (!options.quiet) printLine(std::to_string(frames), d);
        all += d;
    }
    printLine("all", all);
    if (hasFirst || hasSecond) {
        throw ToolError(exitFailed, (hasFirst ? options.first : options.second) + ": has more frames than the " +
                                        std::to_string(frames) + " of the other");
    }
}

}  // namespace

void addCompareCommand(CLI::App &app) {
    auto options = std::make_shared<CompareOptions>();
    CLI::App *command = app.add_subcommand("compare", "Tell how far two videos are apart, as PSNR in dB");
    command->add_option("A", options->first, "Video or Y4M file; - reads video from standard input")
        ->required()
        ->type_name("");
    command->add_option("B", options->second, "The other one")->required()->type_name("");
    command->add_option("--threads", options->threads, "Threads to decode with (default: one a processor)")
        ->check(quiet(CLI::Range(1, 256)))
        ->type_name("N");
    command->add_flag("--total", options->quiet, "Only the line for the whole");
    command->footer("Equal samples give inf. The last line takes all frames together.");
    command->callback([options] { compare(*options); });
}

}  // namespace tvk::tool
