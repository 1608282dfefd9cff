// SPDX-License-Identifier: BSD-2-Clause
// tvk explain: what kinds of pictures and macroblocks a stream is made of.
#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "commands.h"
#include "facts.h"
#include "listening.h"
#include "open.h"
#include "progress.h"
#include "settings.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

struct ExplainOptions {
    std::string path;
    int32_t frames = 0;  // 0: all
};

struct MacroblockTally {
    uint64_t pictures, all, intra, forward, backward, both, skipped, withCoefficients;
    uint64_t fieldTransform, fieldPrediction, dualPrime;
};

constexpr size_t kTypes = 5, kStructures = 4;

// Counts by picture type and structure. It hears macroblocks, so the stream has to decode on one thread.
class Tally {
  public:
    void hear(const CallbackEvent &event) {
        switch (event.eventCode) {
            case eventPicture:
                type = event.pictureHeader->pictureCodingType % kTypes;
                structure = structureFrame;
                counted = false;
                break;
            case eventPictureCoding:
                structure = event.pictureCoding->pictureStructure % kStructures;
                break;
            case eventMacroblock:
                add(*event.macroblock);
                break;
            default:
                break;
        }
    }

    std::array<std::array<MacroblockTally, kStructures>, kTypes> kinds{};

  private:
    void add(const MacroblockRecord &block) {
        constexpr uint8_t kFieldMotion = 1, kDualPrime = 3;
        MacroblockTally &kind = kinds[type][structure];
        kind.pictures += !counted;
        counted = true;
        ++kind.all;
        kind.skipped += block.macroblockIncrement > 1 ? block.macroblockIncrement - 1 : 0;
        kind.withCoefficients += block.macroblockIntra || block.macroblockPattern;
        kind.fieldTransform += structure == structureFrame && block.dctType;
        if (block.macroblockIntra) {
            ++kind.intra;
            return;
        }
        const bool forward = block.macroblockMotionForward, backward = block.macroblockMotionBackward;
        kind.forward += forward && !backward;
        kind.backward += backward && !forward;
        kind.both += forward && backward;
        if (!forward && !backward) return;
        const uint8_t motion = structure == structureFrame ? block.frameMotionType : block.fieldMotionType;
        kind.dualPrime += motion == kDualPrime;
        kind.fieldPrediction += structure == structureFrame && motion == kFieldMotion;
    }

    size_t type = 0, structure = structureFrame;
    bool counted = false;
};

const char *structureName(size_t structure) {
    static constexpr const char *kNames[kStructures] = {"?", "top field", "bottom field", "frame"};
    return kNames[structure];
}

void printShare(const char *name, uint64_t part, uint64_t all) {
    if (part == 0) return;
    std::printf("    %-28s %10llu  %5.1f%%\n", name, static_cast<unsigned long long>(part),
                100.0 * static_cast<double>(part) / static_cast<double>(all));
}

void printKind(char type, size_t structure, const MacroblockTally &kind) {
    std::printf("%c, %s: %llu picture%s\n", type, structureName(structure),
                static_cast<unsigned long long>(kind.pictures), kind.pictures == 1 ? "" : "s");
    const uint64_t all = kind.all + kind.skipped;
    printShare("intra", kind.intra, all);
    printShare("forward", kind.forward, all);
    printShare("backward", kind.backward, all);
    printShare("both directions", kind.both, all);
    printShare("skipped", kind.skipped, all);
    printShare("no vector", kind.all - kind.intra - kind.forward - kind.backward - kind.both, all);
    printShare("with coefficients", kind.withCoefficients, all);
    printShare("field transform", kind.fieldTransform, all);
    printShare("field prediction", kind.fieldPrediction, all);
    printShare("dual prime", kind.dualPrime, all);
}

void explain(const ExplainOptions &options) {
    OpenedStream opened(options.path);
    DecodingSettings settings;
    settings.threads = 1;
    applySettings(opened.stream, settings);
    StreamFacts facts{};
    Tally tally;
    int32_t frames = 0;
    {
        Progress progress;
        const Listening listening(opened.stream, [&](const CallbackEvent &event) {
            gather(facts, event);
            tally.hear(event);
        });
        while (const VideoFrame *frame = nextFrame(opened)) {
            progress.update(++frames, frame->deliveryRatePosition);
            if (frames == options.frames) break;
        }
    }
    if (frames == 0) throw ToolError(exitNoVideo, options.path + ": holds no picture that could be decoded");
    VideoStreamInfo info{};
    tvkGetVideoStreamInfo(opened.stream, &info);
    std::printf("Video       MPEG-%u, %s, %s\n", info.streamType, chromaName(static_cast<int32_t>(info.chromaFormat)),
                describeScan(facts).c_str());
    for (size_t type = 1; type < kTypes; ++type) {
        for (size_t structure = 1; structure < kStructures; ++structure) {
            const MacroblockTally &kind = tally.kinds[type][structure];
            if (kind.all > 0) printKind("?IPBD"[type], structure, kind);
        }
    }
}

}  // namespace

void addExplainCommand(CLI::App &app) {
    auto options = std::make_shared<ExplainOptions>();
    CLI::App *command = app.add_subcommand("explain", "Tell what kinds of pictures and macroblocks a file is made of");
    addFileOption(command, options->path);
    command->add_option("--frames", options->frames, "Look at this many frames (default: all)")
        ->check(countFromOne())
        ->type_name("N");
    command->callback([options] { explain(*options); });
}

}  // namespace tvk::tool
