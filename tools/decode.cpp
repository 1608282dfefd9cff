// SPDX-License-Identifier: BSD-2-Clause
// tvk decode: pictures out, as Y4M or as digests.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "commands.h"
#include "digest.h"
#include "facts.h"
#include "open.h"
#include "output_file.h"
#include "progress.h"
#include "tool_error.h"
#include "y4m.h"

namespace tvk::tool {

namespace {

enum Precision : int32_t { precisionExact = 1, precisionFast = 2 };

struct DecodeOptions {
    std::string path, output;
    std::string precision;  // empty: exact where it can be
    int32_t threads = 0;
    int32_t reduce = 1;
    int32_t frames = 0;  // 0: all
    bool md5 = false;
};

void require(int32_t result, const char *setting) {
    if (result != 0) throw ToolError(exitFailed, std::string(setting) + ": " + describeError(result));
}

int32_t threadsFor(const DecodeOptions &options) {
    constexpr unsigned kMostUseful = 16;
    if (options.threads > 0) return options.threads;
    return static_cast<int32_t>(std::clamp(std::thread::hardware_concurrency(), 1u, kMostUseful));
}

void applySettings(VideoStream *stream, const DecodeOptions &options) {
    // Reduced sizes exist in the fast arithmetic alone; full size is exact unless told otherwise.
    const bool exact = options.precision == "exact" || (options.precision.empty() && options.reduce == 1);
    require(tvkSetVideoSP_Precision(stream, exact ? precisionExact : precisionFast), "--precision");
    require(tvkSetVideoSP_ReduceCoefficient(stream, options.reduce), "--reduce");
    require(tvkSetVideoSP_Threads(stream, threadsFor(options)), "--threads");
}

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

double fractionDone(const DecodeOptions &options, int32_t frames, const VideoFrame &frame) {
    const double byFrames = options.frames ? static_cast<double>(frames) / static_cast<double>(options.frames) : 0.0;
    return std::max(byFrames, frame.deliveryRatePosition);
}

void decode(const DecodeOptions &options) {
    if (options.reduce != 1 && options.precision == "exact") {
        throw ToolError(exitUsage, "--reduce needs --precision fast");
    }
    OpenedStream opened(options.path);
    applySettings(opened.stream, options);
    std::unique_ptr<Y4mWriter> writer;  // made for the first frame, so that a file without video leaves no output
    // Pictures own standard output when they go there; digests then take the other stream.
    std::FILE *const digests = options.output == "-" ? stderr : stdout;

    StreamFacts facts{};
    int32_t frames = 0;
    double elapsed = 0.0;
    {
        Progress progress;
        for (VideoFrame *frame = nextFrameWithFacts(opened, facts); frame; frame = nextFrame(opened)) {
            if (!writer && !options.output.empty()) writer = std::make_unique<Y4mWriter>(options);
            if (writer) writer->write(*frame, facts);
            if (options.md5) printDigest(digests, *frame);
            ++frames;
            progress.update(frames, fractionDone(options, frames, *frame));
            if (frames == options.frames) break;
        }
        elapsed = progress.seconds();
    }
    if (frames == 0) throw ToolError(exitNoVideo, options.path + ": holds no picture that could be decoded");
    if (writer) writer->close();
    if (!writer && !options.md5) {
        std::printf("%d frames in %.3f s, %.0f fps\n", frames, elapsed,
                    static_cast<double>(frames) / std::max(elapsed, 1e-6));
    }
}

// Without CLI11's own words about a check: the type's name in the help says the same.
CLI::Validator quiet(CLI::Validator check) {
    return check.description("");
}

}  // namespace

void addDecodeCommand(CLI::App &app) {
    auto options = std::make_shared<DecodeOptions>();
    CLI::App *command = app.add_subcommand("decode", "Decode a file to Y4M pictures, or to digests of them");
    command->add_option("FILE", options->path, "MPEG-1 or MPEG-2 video elementary stream")->required()->type_name("");
    command->add_option("-o,--output", options->output, "Y4M file to write; - writes to standard output")
        ->type_name("OUT.y4m");
    command
        ->add_option("--precision", options->precision,
                     "exact: closest to the standard's transform (default); fast: 16-bit arithmetic")
        ->check(quiet(CLI::IsMember({"fast", "exact"})))
        ->type_name("fast|exact");
    command->add_option("--threads", options->threads, "Threads to decode with (default: one a processor)")
        ->check(quiet(CLI::Range(1, 256)))
        ->type_name("N");
    command->add_option("--frames", options->frames, "Stop after this many frames")
        ->check(quiet(CLI::Range(1, std::numeric_limits<int32_t>::max())))
        ->type_name("N");
    command->add_option("--reduce", options->reduce, "Decode at 1/N of the size in each direction")
        ->check(quiet(CLI::IsMember({1, 2, 4, 8})))
        ->type_name("1|2|4|8");
    command->add_flag("--md5", options->md5,
                      "A line a frame: number, number in coded order, type, seconds, MD5 of luma, of chroma pairs");
    command->footer(
        "Without -o and --md5 the file is decoded and the speed told.\n"
        "Example: tvk decode clip.m2v -o - | ffmpeg -i - clip.mkv");
    command->callback([options] { decode(*options); });
}

}  // namespace tvk::tool
