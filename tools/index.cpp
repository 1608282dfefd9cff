// SPDX-License-Identifier: BSD-2-Clause
// tvk index: writes the table that makes a file's frames quick to reach.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "clock_text.h"
#include "commands.h"
#include "facts.h"
#include "indexing.h"
#include "open.h"
#include "output_file.h"
#include "settings.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

struct IndexOptions {
    std::string path, output;
    bool json = false;
};

struct IndexSummary {
    std::string output;
    uint32_t frames, keyFrames;
    int32_t longestGroup;
    double seconds;
    bool goesOn;  // more video behind the sequence end code at which a table ends
};

// Frames from one key frame up to the next, or to the end.
int32_t longestGroup(const VideoStreamInfo &info) {
    int32_t longest = 0;
    for (uint32_t i = 0; i < info.keyFrameCount; ++i) {
        const bool isLast = i + 1 == info.keyFrameCount;
        const int32_t next = isLast ? static_cast<int32_t>(info.frameCount) + 1 : info.keyFrames[i + 1];
        longest = std::max(longest, next - info.keyFrames[i]);
    }
    return longest;
}

bool goesOn(OpenedStream &opened, const VideoStreamInfo &info) {
    if (tvkSetVideoFrameNumber(opened.stream, static_cast<int32_t>(info.frameCount)) != 0) return false;
    const VideoFrame *frame = nextFrame(opened);
    return frame && frame->frameNumber > static_cast<int32_t>(info.frameCount);
}

IndexSummary makeIndex(const IndexOptions &options) {
    OpenedStream opened(options.path);
    if (isStandardInput(options.path) && options.output.empty()) {
        throw ToolError(exitUsage, "standard input has no name to call the index after; use -o");
    }
    IndexSummary summary{};
    summary.output = options.output.empty() ? indexPathOf(options.path) : options.output;
    refuseSameFile(summary.output, options.path);
    StreamFacts facts{};
    scanIndex(opened, IndexKind::plain, [&facts](const CallbackEvent &event) { gather(facts, event); });
    const int32_t result = tvkWriteVideoIndexTable(opened.stream, summary.output.c_str());
    if (result != 0) throw ToolError(exitFailed, "cannot write " + summary.output);

    VideoStreamInfo info{};
    tvkGetVideoStreamInfo(opened.stream, &info);
    const Ratio rate = frameRate(facts);
    summary.frames = info.frameCount;
    summary.keyFrames = info.keyFrameCount;
    summary.longestGroup = longestGroup(info);
    summary.seconds = info.frameCount * periodsPerFrame(facts) * rate.denominator / rate.numerator;
    summary.goesOn = goesOn(opened, info);
    return summary;
}

void printText(const IndexSummary &summary) {
    std::printf("Index         %s\n", summary.output.c_str());
    std::printf("Frames        %u\n", summary.frames);
    std::printf("Key frames    %u\n", summary.keyFrames);
    std::printf("Longest group %d\n", summary.longestGroup);
    std::printf("Duration      %s\n", clockText(summary.seconds).c_str());
    if (summary.goesOn) std::printf("More frames follow behind a sequence end code; the index ends there.\n");
}

void printJson(const IndexOptions &options, const IndexSummary &summary) {
    nlohmann::ordered_json out;
    out["file"] = options.path;
    out["index"] = summary.output;
    out["frames"] = summary.frames;
    out["keyFrames"] = summary.keyFrames;
    out["longestGroup"] = summary.longestGroup;
    out["seconds"] = summary.seconds;
    out["complete"] = !summary.goesOn;
    std::printf("%s\n", out.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
}

}  // namespace

void addIndexCommand(CLI::App &app) {
    auto options = std::make_shared<IndexOptions>();
    CLI::App *command = app.add_subcommand("index", "Write the table that makes frames quick to reach");
    addFileOption(command, options->path);
    command->add_option("-o,--output", options->output, "Index file to write (default: FILE.vidx)")->type_name("FILE");
    command->add_flag("--json", options->json, "Print JSON in place of text");
    command->footer("The other commands use FILE.vidx when it lies beside FILE and belongs to it.");
    command->callback([options] {
        const IndexSummary summary = makeIndex(*options);
        options->json ? printJson(*options, summary) : printText(summary);
    });
}

}  // namespace tvk::tool
