// SPDX-License-Identifier: BSD-2-Clause
// tvk info: what a file holds.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "clock_text.h"
#include "commands.h"
#include "facts.h"
#include "open.h"
#include "settings.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

// Enough for a whole cadence of repeated fields and a group of pictures or two.
constexpr uint32_t kFramesToLookAt = 24;

struct InfoOptions {
    std::string path;
    bool json = false;
    bool count = false;
};

struct Summary {
    SourceInfo source;
    StreamFacts facts;
    VideoStreamInfo info;
    Ratio rate, aspect;
    double seconds;
    bool counted;  // frameCount is no estimate
    bool timed;    // seconds are those of the container
};

// Rates that say nothing: none at all, and the code of all ones, MPEG-1's mark of a variable rate, which encoders write
// into MPEG-2 as well.
bool bitRateTells(const Summary &summary) {
    return summary.info.bitRate != 0 && summary.info.bitRate != 0x3FFFF * 400u;
}

// A container's size says little about its video, and a pipe has none.
bool isBare(const Summary &summary) {
    return summary.source.size != 0 && summary.source.seconds <= 0.0 && summary.source.firstTime < 0.0;
}

Summary summarise(const InfoOptions &options) {
    OpenedStream opened(options.path);
    Summary summary{};
    summary.source = sourceInfo(opened);
    if (options.count) needSeekable(opened);
    if (!nextFrameWithFacts(opened, summary.facts)) {
        throw ToolError(exitNoVideo, options.path + ": holds no picture that could be decoded");
    }
    uint32_t seen = 1;
    while (seen < kFramesToLookAt && nextFrameWithFacts(opened, summary.facts)) ++seen;
    const bool seenAll = seen < kFramesToLookAt;
    summary.counted = options.count || seenAll;
    if (options.count && !seenAll) {
        const int32_t result = tvkCreateVideoIndexTable(opened.stream);
        if (result != 0) throw ToolError(exitFailed, options.path + ": counting failed: " + describeError(result));
    }
    tvkGetVideoStreamInfo(opened.stream, &summary.info);
    summary.rate = frameRate(summary.facts);
    summary.aspect = sampleAspect(summary.facts, summary.info.width, summary.info.height);
    if (seenAll) summary.info.frameCount = seen;
    const double secondsPerFrame = periodsPerFrame(summary.facts) * summary.rate.denominator / summary.rate.numerator;
    summary.timed = !summary.counted && summary.source.seconds > 0.0;
    if (summary.timed) {
        summary.info.frameCount = static_cast<uint32_t>(std::lround(summary.source.seconds / secondsPerFrame));
    } else if (!summary.counted && (!bitRateTells(summary) || !isBare(summary))) {
        summary.info.frameCount = 0;
    }
    summary.seconds = summary.timed ? summary.source.seconds : summary.info.frameCount * secondsPerFrame;
    return summary;
}

std::string otherStreams(const Summary &summary) {
    const int32_t count = summary.source.videoStreams;
    return count < 2 ? "" : ", the widest of " + std::to_string(count) + " video streams";
}

void printText(const InfoOptions &options, const Summary &summary) {
    const VideoStreamInfo &info = summary.info;
    const double fps = static_cast<double>(summary.rate.numerator) / summary.rate.denominator;
    const std::string profile = describeProfile(summary.facts);
    std::printf("File         %s\n", options.path.c_str());
    std::printf("Container    %s%s\n", summary.source.container, otherStreams(summary).c_str());
    std::printf("Video        MPEG-%u%s%s\n", info.streamType, profile.empty() ? "" : ", ", profile.c_str());
    std::printf("Size         %u x %u, %s\n", info.width, info.height,
                chromaName(static_cast<int32_t>(info.chromaFormat)));
    std::printf("Sample shape %u:%u\n", summary.aspect.numerator, summary.aspect.denominator);
    std::printf("Frame rate   %.3f (%u/%u)\n", fps, summary.rate.numerator, summary.rate.denominator);
    std::printf("Scan         %s\n", describeScan(summary.facts).c_str());
    if (bitRateTells(summary)) {
        std::printf("Bit rate     %.3f Mbit/s at most\n", info.bitRate / 1e6);
    } else {
        std::printf("Bit rate     not stated\n");
    }
    if (info.frameCount == 0) {
        std::printf("Duration     unknown; --count reads the whole file to tell\n");
    } else {
        std::printf("Duration     %s%s (%u frames)\n", summary.counted ? "" : "about ",
                    clockText(summary.seconds).c_str(), info.frameCount);
    }
}

void printJson(const InfoOptions &options, const Summary &summary) {
    const VideoStreamInfo &info = summary.info;
    nlohmann::ordered_json out;
    out["file"] = options.path;
    out["container"] = summary.source.container;
    out["videoStreams"] = summary.source.videoStreams;
    out["mpegVersion"] = info.streamType;
    out["profile"] = describeProfile(summary.facts);
    out["width"] = info.width;
    out["height"] = info.height;
    out["chromaFormat"] = chromaName(static_cast<int32_t>(info.chromaFormat));
    out["sampleAspect"] = {summary.aspect.numerator, summary.aspect.denominator};
    out["frameRate"] = {summary.rate.numerator, summary.rate.denominator};
    out["scan"] = describeScan(summary.facts);
    out["bitRate"] = bitRateTells(summary) ? nlohmann::ordered_json(info.bitRate) : nullptr;
    out["frames"] = info.frameCount ? nlohmann::ordered_json(info.frameCount) : nullptr;
    out["seconds"] = info.frameCount ? nlohmann::ordered_json(summary.seconds) : nullptr;
    out["counted"] = summary.counted;
    const double firstTime = summary.source.firstTime;
    out["firstTime"] = firstTime >= 0.0 ? nlohmann::ordered_json(firstTime) : nullptr;
    // A file name need not be UTF-8; JSON text has to be.
    std::printf("%s\n", out.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
}

}  // namespace

void addInfoCommand(CLI::App &app) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App *command = app.add_subcommand("info", "Show what a file holds: size, rates, scan, duration");
    addFileOption(command, options->path);
    command->add_flag("--json", options->json, "Print JSON in place of text");
    command->add_flag("--count", options->count, "Read the whole file and count its frames, rather than estimate");
    command->callback([options] {
        const Summary summary = summarise(*options);
        options->json ? printJson(*options, summary) : printText(*options, summary);
    });
}

}  // namespace tvk::tool
