// SPDX-License-Identifier: BSD-2-Clause
// tvk sheet: one picture with frames from all over the file and their times.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "canvas.h"
#include "clock_text.h"
#include "commands.h"
#include "facts.h"
#include "numbered.h"
#include "open.h"
#include "output_file.h"
#include "picture_file.h"
#include "progress.h"
#include "settings.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

constexpr int32_t kMargin = 8;
constexpr int32_t kMostCells = 50, kWidest = 1920;
constexpr int32_t kLongestSide = 65535;  // of a JPEG

struct SheetOptions {
    std::string path, output;
    int32_t columns = 4, rows = 4, width = 320;
};

// The grid of the sheet; a cell has the shape in which the video is shown.
struct Grid {
    int32_t columns, cells, cellWidth, cellHeight;

    int32_t rows() const { return (cells + columns - 1) / columns; }
    int32_t width() const { return columns * (cellWidth + kMargin) + kMargin; }
    int32_t height() const { return rows() * (cellHeight + kMargin) + kMargin; }
    Box cell(int32_t index) const {
        return {kMargin + index % columns * (cellWidth + kMargin), kMargin + index / columns * (cellHeight + kMargin),
                cellWidth, cellHeight};
    }
};

// The smallest decoded size that is not below the cell's.
int32_t reductionFor(int32_t width, int32_t cellWidth) {
    int32_t reduce = 8;
    while (reduce > 1 && width / reduce < cellWidth) reduce /= 2;
    return reduce;
}

// Frames amid equal parts of the file.
std::vector<int32_t> evenNumbers(int32_t last, int32_t count) {
    std::vector<int32_t> numbers;
    for (int64_t i = 0; i < count; ++i) numbers.push_back(static_cast<int32_t>((2 * i + 1) * last / (2 * count)) + 1);
    return numbers;
}

Grid gridFor(const SheetOptions &options, const VideoStreamInfo &info, const StreamFacts &facts, int32_t frames) {
    const Ratio aspect = sampleAspect(facts, info.width, info.height);
    const double shape =
        static_cast<double>(info.width) * aspect.numerator / (static_cast<double>(info.height) * aspect.denominator);
    Grid grid{};
    grid.cells = std::min(options.columns * options.rows, frames);
    grid.columns = std::min(options.columns, grid.cells);
    grid.cellWidth = options.width;
    grid.cellHeight = static_cast<int32_t>(std::clamp(options.width / shape + 0.5, 16.0, 2.0 * kWidest));
    return grid;
}

void drawTime(Canvas &canvas, const Box &cell, double seconds) {
    constexpr int32_t kInset = 4;
    const std::string text = shortClockText(seconds);
    int32_t scale = cell.width >= 240 ? 2 : 1;
    if (Canvas::textWidth(text, scale) + 2 * kInset > cell.width) scale = 1;
    if (Canvas::textWidth(text, scale) > cell.width || Canvas::textHeight(scale) > cell.height) return;
    const int32_t top = std::max(cell.height - Canvas::textHeight(scale) - kInset, 0);
    const int32_t left = std::min(kInset, cell.width - Canvas::textWidth(text, scale));
    canvas.drawText(text, cell.left + left, cell.top + top, scale);
}

void makeSheet(const SheetOptions &options) {
    const PictureName name = parsePictureName(options.output);
    refuseSameFile(options.output, options.path);
    OpenedStream opened(options.path);
    StreamFacts facts{};
    if (!nextFrameWithFacts(opened, facts)) {
        throw ToolError(exitNoVideo, options.path + ": holds no picture that could be decoded");
    }
    VideoStreamInfo info{};
    tvkGetVideoStreamInfo(opened.stream, &info);
    DecodingSettings settings;
    settings.reduce = reductionFor(static_cast<int32_t>(info.width), options.width);
    applySettings(opened.stream, settings);

    NumberedFrames numbered(opened);
    const Grid grid = gridFor(options, info, facts, numbered.last());
    const Ratio rate = frameRate(facts);
    const double secondsPerFrame = numbered.secondsPerFrame(static_cast<double>(rate.denominator) / rate.numerator);

    if (grid.width() > kLongestSide || grid.height() > kLongestSide) {
        throw ToolError(exitUsage, "the sheet would be " + std::to_string(grid.width()) + " x " +
                                       std::to_string(grid.height()) + "; choose fewer frames or a smaller --width");
    }
    Canvas canvas(grid.width(), grid.height());
    canvas.fill({0, 0, grid.width(), grid.height()}, greyDark);
    {
        Progress progress;
        int32_t index = 0;
        for (const int32_t number : evenNumbers(numbered.last(), grid.cells)) {
            // In a damaged file another frame may come, or none: a sheet with a gap is better than no sheet.
            const VideoFrame *frame = numbered.at(number);
            const Box cell = grid.cell(index++);
            if (!frame) continue;
            canvas.drawFrame(*frame, cell);
            drawTime(canvas, cell, (frame->frameNumber - 1) * secondsPerFrame);
            progress.update(index, static_cast<double>(index) / grid.cells);
        }
    }
    savePicture(canvas.picture(), name);
    std::printf("%s: %d frames, %d x %d\n", options.output.c_str(), grid.cells, grid.width(), grid.height());
}

}  // namespace

void addSheetCommand(CLI::App &app) {
    auto options = std::make_shared<SheetOptions>();
    CLI::App *command = app.add_subcommand("sheet", "Make one picture of frames from all over the file");
    addFileOption(command, options->path);
    command->add_option("-o,--output", options->output, "Picture to write")->required()->type_name("SHEET.png|jpg|bmp");
    command->add_option("--columns", options->columns, "Frames side by side (default: 4)")
        ->check(quiet(CLI::Range(1, kMostCells)))
        ->type_name("C");
    command->add_option("--rows", options->rows, "Rows of frames (default: 4)")
        ->check(quiet(CLI::Range(1, kMostCells)))
        ->type_name("R");
    command->add_option("--width", options->width, "Width of one frame (default: 320)")
        ->check(quiet(CLI::Range(16, kWidest)))
        ->type_name("W");
    command->footer("The frames lie evenly over the file and carry their times.");
    command->callback([options] { makeSheet(*options); });
}

}  // namespace tvk::tool
