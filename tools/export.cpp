// SPDX-License-Identifier: BSD-2-Clause
// tvk export: single frames as picture files.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "number_list.h"
#include "numbered.h"
#include "open.h"
#include "picture_file.h"
#include "settings.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

struct ExportOptions {
    std::string path, output, list;
    int32_t frame = 0;  // 0: the list
    DecodingSettings settings;
};

// Wide enough that names sort as numbers do.
std::string numberedBase(const std::string &base, int32_t number, int32_t largest) {
    constexpr size_t kLeastDigits = 5;
    const size_t digits = std::max(std::to_string(largest).size(), kLeastDigits);
    const std::string text = std::to_string(number);
    return base + "-" + std::string(digits - text.size(), '0') + text;
}

void exportFrames(const ExportOptions &options) {
    checkSettings(options.settings);
    if (options.frame == 0 && options.list.empty()) throw ToolError(exitUsage, "which frames? Use --frame or --list");
    const PictureName name = parsePictureName(options.output);
    const std::vector<NumberRange> ranges =
        options.frame ? std::vector<NumberRange>{{options.frame, options.frame}} : parseNumberList(options.list);

    OpenedStream opened(options.path);
    applySettings(opened.stream, options.settings);
    if (!nextFrame(opened)) throw ToolError(exitNoVideo, options.path + ": holds no picture that could be decoded");
    NumberedFrames numbered(opened);
    const std::vector<int32_t> numbers = expandNumberList(ranges, numbered.last());
    numbered.eachOf(numbers, [&](const VideoFrame &frame) {
        PictureName own = name;
        if (numbers.size() > 1) own.base = numberedBase(name.base, frame.frameNumber, numbers.back());
        savePicture(frame, own);
        std::printf("%s\n", pictureFileName(own).c_str());
    });
}

}  // namespace

void addExportCommand(CLI::App &app) {
    auto options = std::make_shared<ExportOptions>();
    CLI::App *command = app.add_subcommand("export", "Save frames as picture files");
    addFileOption(command, options->path);
    CLI::Option *frame = command->add_option("--frame", options->frame, "The frame, counted from 1 in display order")
                             ->check(countFromOne())
                             ->type_name("N");
    command->add_option("--list", options->list, "Several frames, such as 5,9,100-120")
        ->type_name("N,N-N")
        ->excludes(frame);
    command
        ->add_option("-o,--output", options->output,
                     "Picture to write; its ending chooses PNG, JPEG, BMP or raw planes")
        ->required()
        ->type_name("NAME.png|jpg|bmp|raw");
    addDecodingOptions(command, options->settings);
    command->footer(
        "Several frames get their numbers into the names: NAME-00005.png.\n"
        "Raw planes are four files: NAME.i tells format, width and height, NAME.y, .u and .v hold the samples.");
    command->callback([options] { exportFrames(*options); });
}

}  // namespace tvk::tool
