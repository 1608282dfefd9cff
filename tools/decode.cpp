// SPDX-License-Identifier: BSD-2-Clause
// tvk decode: pictures out, as Y4M or as digests.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "digest.h"
#include "facts.h"
#include "number_list.h"
#include "numbered.h"
#include "open.h"
#include "output_file.h"
#include "progress.h"
#include "settings.h"
#include "tool_error.h"
#include "y4m.h"

namespace tvk::tool {

namespace {

struct DecodeOptions {
    std::string path, output;
    DecodingSettings settings;
    int32_t from = 1, to = 0;  // to 0: the end
    double time = -1.0;        // seconds; negative: not asked for
    std::string types = "ipb", list;
    bool reverse = false;
    int32_t frames = 0;  // 0: all
    bool md5 = false;
};

void printDigest(std::FILE *to, const VideoFrame &frame) {
    const int32_t type = frame.pictureCodingType;
    const char letter = type >= 1 && type <= 4 ? "IPBD"[type - 1] : '?';
    std::fprintf(to, "%d %d %c %.6f %s %s\n", frame.frameNumber, frame.streamNumber, letter, frame.presentationTime,
                 planeMd5(frame.lumaPlane).c_str(), planeMd5(frame.chromaPlane).c_str());
}

class Y4mWriter {
  public:
    explicit Y4mWriter(const DecodeOptions &options) : file(options.output, options.path) {}

    void write(const VideoFrame &frame, const StreamFacts &facts) {
        if (!shape) {
            shape = shapeOf(frame);
            const std::string header = y4mHeader(*shape, facts);
            file.write(header.data(), header.size());
        } else if (shapeOf(frame) != *shape) {
            throw ToolError(exitFailed, "the picture size or chroma format changes at frame " +
                                            std::to_string(frame.frameNumber) +
                                            ", which Y4M cannot hold; use --frames to stop ahead of it");
        }
        makeY4mFrame(frame, bytes);
        file.write(bytes.data(), bytes.size());
    }
    void close() { file.close(); }

  private:
    OutputFile file;
    std::optional<Y4mShape> shape;
    std::vector<uint8_t> bytes;
};

// Takes frames one by one to where they are wanted, until there are enough of them.
class Output {
  public:
    Output(const DecodeOptions &asked, const StreamFacts &streamFacts) : options(asked), facts(streamFacts) {}

    bool take(const VideoFrame &frame) {
        // Made for the first frame, so that a file without video leaves no output.
        if (!writer && !options.output.empty()) writer = std::make_unique<Y4mWriter>(options);
        if (writer) writer->write(frame, facts);
        // Pictures own standard output when they go there; digests then take the other stream.
        if (options.md5) printDigest(options.output == "-" ? stderr : stdout, frame);
        ++frames;
        progress->update(frames, fractionDone(frame));
        return frames != options.frames;
    }

    void close() {
        const double elapsed = progress->seconds();
        progress.reset();
        if (writer) writer->close();
        if (writer || options.md5) return;
        std::printf("%d frames in %.3f s, %.0f fps\n", frames, elapsed,
                    static_cast<double>(frames) / std::max(elapsed, 1e-6));
    }

    int32_t frames = 0;
    int32_t expected = 0;  // 0: not known

  private:
    double fractionDone(const VideoFrame &frame) const {
        const int32_t most =
            expected && options.frames ? std::min(expected, options.frames) : expected + options.frames;
        const double byFrames = most ? static_cast<double>(frames) / static_cast<double>(most) : 0.0;
        return most ? byFrames : frame.deliveryRatePosition;
    }

    const DecodeOptions &options;
    const StreamFacts &facts;
    std::unique_ptr<Y4mWriter> writer;
    std::unique_ptr<Progress> progress = std::make_unique<Progress>();
};

int32_t typesValue(const std::string &types) {
    return types == "i" ? 1 : types == "ip" ? 2 : 3;
}

int32_t frameAtTime(NumberedFrames &numbered, const StreamFacts &facts, double seconds) {
    const Ratio rate = frameRate(facts);
    const double period = static_cast<double>(rate.denominator) / rate.numerator;
    // A time that was itself made from a frame number, and rounded, means that frame.
    constexpr double kRounding = 1e-3;
    const double number = std::floor(seconds / numbered.secondsPerFrame(period) + kRounding) + 1.0;
    if (number > numbered.last()) {
        throw ToolError(exitUsage,
                        "--time: the file is shorter, it has " + std::to_string(numbered.last()) + " frames");
    }
    return static_cast<int32_t>(number);
}

int32_t firstNumber(const DecodeOptions &options, NumberedFrames &numbered, const StreamFacts &facts) {
    if (options.time >= 0.0) return frameAtTime(numbered, facts, options.time);
    if (options.from > numbered.last()) {
        throw ToolError(exitUsage, "--from " + std::to_string(options.from) + ": the file has " +
                                       std::to_string(numbered.last()) + " frames");
    }
    return options.from;
}

void stepThrough(OpenedStream &opened, VideoFrame *first, int32_t to, Output &output) {
    for (VideoFrame *frame = first; frame && (to == 0 || frame->frameNumber <= to); frame = nextFrame(opened)) {
        if (!output.take(*frame)) break;
    }
}

void decodeChosen(OpenedStream &opened, const DecodeOptions &options, const StreamFacts &facts, Output &output) {
    NumberedFrames numbered(opened);
    if (!options.list.empty()) {
        const std::vector<int32_t> numbers = expandNumberList(parseNumberList(options.list), numbered.last());
        output.expected = static_cast<int32_t>(numbers.size());
        numbered.eachOf(numbers, [&](const VideoFrame &frame) { output.take(frame); });
        return;
    }
    const int32_t from = firstNumber(options, numbered, facts);
    const int32_t to = options.to ? std::min(options.to, numbered.last()) : numbered.last();
    output.expected = std::max(to - from + 1, 0);
    if (options.reverse) {
        numbered.backwards(from, to, [&](const VideoFrame &frame) { return output.take(frame); });
    } else {
        stepThrough(opened, numbered.at(from), to, output);
    }
}

void checkOptions(const DecodeOptions &options) {
    checkSettings(options.settings);
    if (!options.list.empty()) parseNumberList(options.list);
    if (options.to != 0 && options.to < options.from) throw ToolError(exitUsage, "--to lies ahead of --from");
}

void decode(const DecodeOptions &options) {
    checkOptions(options);
    OpenedStream opened(options.path);
    applySettings(opened.stream, options.settings);

    StreamFacts facts{};
    VideoFrame *first = nextFrameWithFacts(opened, facts);
    if (!first) throw ToolError(exitNoVideo, options.path + ": holds no picture that could be decoded");
    // Only now, so that the facts are those of the first picture whatever the types.
    tvkSetVideoSP_FrameTypesToProcess(opened.stream, typesValue(options.types));

    Output output(options, facts);
    if (options.from > 1 || options.time >= 0.0 || options.reverse || !options.list.empty()) {
        decodeChosen(opened, options, facts, output);
    } else {
        // A first picture that is no I picture counts by its type like any other.
        if (first->pictureCodingType > typesValue(options.types)) first = nextFrame(opened);
        stepThrough(opened, first, options.to, output);
    }
    if (output.frames == 0) throw ToolError(exitUsage, "no frame of the types asked for lies in that range");
    output.close();
}

}  // namespace

void addDecodeCommand(CLI::App &app) {
    auto options = std::make_shared<DecodeOptions>();
    CLI::App *command = app.add_subcommand("decode", "Decode a file to Y4M pictures, or to digests of them");
    addFileOption(command, options->path);
    command->add_option("-o,--output", options->output, "Y4M file to write; - writes to standard output")
        ->type_name("OUT.y4m");
    addDecodingOptions(command, options->settings);
    CLI::Option *from = command->add_option("--from", options->from, "First frame, counted from 1 in display order")
                            ->check(countFromOne())
                            ->type_name("N");
    CLI::Option *to = command->add_option("--to", options->to, "Last frame")->check(countFromOne())->type_name("N");
    CLI::Option *time = command->add_option("--time", options->time, "First frame by its time in seconds")
                            ->check(quiet(CLI::NonNegativeNumber))
                            ->type_name("S")
                            ->excludes(from);
    CLI::Option *types = command->add_option("--types", options->types, "Frame types to decode (default: all)")
                             ->check(quiet(CLI::IsMember({"i", "ip", "ipb"})))
                             ->type_name("i|ip|ipb");
    CLI::Option *reverse = command->add_flag("--reverse", options->reverse, "From the last frame back to the first");
    CLI::Option *frames = command->add_option("--frames", options->frames, "Stop after this many frames")
                              ->check(countFromOne())
                              ->type_name("N");
    CLI::Option *list =
        command->add_option("--list", options->list, "Only these frames, such as 5,9,100-120")->type_name("N,N-N");
    for (CLI::Option *other : {from, to, time, types, reverse, frames}) list->excludes(other);
    command->add_flag("--md5", options->md5,
                      "A line a frame: number, number in coded order, type, seconds, MD5 of luma, of chroma pairs");
    command->footer(
        "Without -o and --md5 the frames are decoded and the speed told.\n"
        "A frame has one number, however it is reached. Jumps use FILE.vidx (tvk index) or scan the file first.\n"
        "Example: tvk decode clip.m2v -o - | ffmpeg -i - clip.mkv");
    command->callback([options] { decode(*options); });
}

}  // namespace tvk::tool
