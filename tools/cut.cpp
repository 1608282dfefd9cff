// SPDX-License-Identifier: BSD-2-Clause
// tvk cut: whole groups of pictures copied as they are coded.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>

#include "coded_bytes.h"
#include "coded_table.h"
#include "commands.h"
#include "file_tail.h"
#include "open.h"
#include "output_file.h"
#include "progress.h"
#include "settings.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

constexpr uint8_t kSequenceEnd[] = {0, 0, 1, 0xB7};

struct CutOptions {
    std::string path, output;
    int32_t from = 1, to = std::numeric_limits<int32_t>::max();
};

// What is copied. Frames by their coded numbers.
struct Piece {
    int32_t firstFrame;     // 1, or the I frame of a group
    int32_t droppedFrames;  // behind it: B frames that lean on a group left out
    int32_t behindFrame;    // the I frame of the next group, or one more than there are
};

// The cut point at or ahead of a frame; the first I frame of all when there is none.
int32_t cutPointAt(OpenedStream &opened, const CodedTable &table, int32_t number) {
    for (;;) {
        int32_t behind = number, found = number;
        if (tvkGetBinaryStartEnd(opened.stream, &behind, &found) != 0 || found > number) return found;
        if (table.isCutPoint(found)) return found;
        if (found == 1) return found;
        number = found - 1;
    }
}

// The first cut point strictly behind a frame.
int32_t cutPointBehind(OpenedStream &opened, const CodedTable &table, int32_t number) {
    for (;;) {
        int32_t found = number, ahead = number;
        if (tvkGetBinaryStartEnd(opened.stream, &found, &ahead) != 0 || found <= number) {
            return static_cast<int32_t>(table.frames.size()) + 1;
        }
        if (table.isCutPoint(found)) return found;
        number = found;
    }
}

// The groups that hold the frames asked for, all of them decodable on their own.
Piece choosePiece(OpenedStream &opened, const CodedTable &table, const CutOptions &options) {
    const int32_t count = static_cast<int32_t>(table.frames.size());
    if (options.from > count) {
        throw ToolError(exitUsage, "--from " + std::to_string(options.from) + ": the file has " +
                                       std::to_string(count) + " frames ahead of its first sequence end code");
    }
    const int32_t firstEntry = cutPointAt(opened, table, 1);
    int32_t first = cutPointAt(opened, table, table.frameShownAt(options.from));
    const bool leansBack = table.openFramesBehind(first) > 0 && options.from < table.frame(first).shown;
    if (leansBack && first > firstEntry) first = cutPointAt(opened, table, first - 1);
    const int32_t behind = cutPointBehind(opened, table, table.frameShownAt(std::min(options.to, count)));
    // From the start of the stream everything is taken as it stands.
    if (first <= firstEntry) return {1, 0, behind};
    return {first, table.openFramesBehind(first), behind};
}

// The bytes of one picture after the other, in coded order.
class CodedWalk {
  public:
    // Starts where the sequence header in force at the picture comes along.
    CodedWalk(OpenedStream &stream, const CodedTable &pictures, int32_t picture) : opened(stream), table(pictures) {
        int32_t header = picture;
        while (header > 0 && !table.pictures[static_cast<size_t>(header)].sequenceAhead) --header;
        bool isFirstEntry = true;
        for (int32_t number = 1; number <= static_cast<int32_t>(table.frames.size()); ++number) {
            if (table.frame(number).type != typeI) continue;
            const int32_t landing = table.landing(number, isFirstEntry);
            if (!isFirstEntry && landing >= header) break;
            start = number;
            position = landing;
            isFirstEntry = false;
        }
    }

    int32_t nextPicture() const { return position; }

    SplitPicture next() {
        const CodedPicture &expected = table.pictures[static_cast<size_t>(position)];
        VideoFrame *frame = nullptr;
        int32_t result = 0;
        if (begun) {
            result = tvkGetNextVideoFrameBin(opened.stream, &frame);
        } else {
            result = tvkSetVideoFrameNumberBin(opened.stream, start);
            if (result == 0) result = tvkGetVideoFrameBin(opened.stream, &frame);
        }
        begun = true;
        if (result != 0) fail(describeError(result));
        SplitPicture split = splitPicture(frame->lumaPlane.data, static_cast<size_t>(frame->lumaPlane.size));
        if (pictureTypeOf(split.picture) != expected.type) fail("its headers are damaged");
        ++position;
        if (position == static_cast<int32_t>(table.pictures.size())) completeLast(split.picture);
        return split;
    }

  private:
    [[noreturn]] void fail(const std::string &reason) const {
        throw ToolError(exitFailed,
                        opened.path + ": copying stopped at picture " + std::to_string(position + 1) + ": " + reason);
    }

    // A picture ends where the next start code tells that it is over. Without a sequence end code behind the last one,
    // binary stepping keeps its last slice back.
    void completeLast(Bytes &picture) {
        VideoFrame *frame = nullptr;
        constexpr int kTries = 2;  // the first may stop at a sequence end code with more video behind it
        for (int i = 0; i < kTries; ++i) {
            if (tvkGetNextVideoFrameBin(opened.stream, &frame) == 0) return;
        }
        const Bytes tail = lastSliceOf(opened);
        picture.insert(picture.end(), tail.begin(), tail.end());
    }

    OpenedStream &opened;
    const CodedTable &table;
    int32_t start = 1, position = 0;
    bool begun = false;
};

// Writes the pictures of a piece, with what the first one needs from ahead of it.
class PieceWriter {
  public:
    PieceWriter(const CodedTable &pictures, const Piece &wanted, OutputFile &output)
        : table(pictures), piece(wanted), file(output) {}

    void take(int32_t number, SplitPicture &split) {
        const int32_t first = table.frame(piece.firstFrame).picture;
        const CodedPicture &picture = table.pictures[static_cast<size_t>(number)];
        if (hasSequenceHeader(split)) {
            sequence = split.sequence;
            matrices.clear();
        }
        matrices.hear(split.picture);
        if (number == first && number > 0) {
            beginPiece(split, picture);
        } else {
            if (picture.groupAhead) lowering = 0;
            lowerTemporalReference(split.picture, lowering);
        }
        const bool dropped =
            picture.frame > piece.firstFrame && picture.frame <= piece.firstFrame + piece.droppedFrames;
        if (number < first || dropped) {
            skipped = true;
            return;
        }
        // Matrices that a skipped picture has loaded stay in force behind it.
        if (skipped) matrices.insertInto(split.picture);
        skipped = false;
        write(split);
    }

  private:
    // The leading B pictures that are left out were the first to be shown: the I picture takes their place.
    void beginPiece(SplitPicture &split, const CodedPicture &picture) {
        if (piece.droppedFrames > 0 || !picture.groupAhead) lowering = temporalReferenceOf(split.picture);
        lowerTemporalReference(split.picture, lowering);
        markClosed(split.group);
        split.sequence = sequence;
    }

    void write(const SplitPicture &split) {
        for (const Bytes *part : {&split.sequence, &split.group, &split.picture})
            file.write(part->data(), part->size());
    }

    const CodedTable &table;
    const Piece &piece;
    OutputFile &file;
    Bytes sequence;
    LoadedMatrices matrices;
    bool skipped = false;
    int32_t lowering = 0;
};

struct ShownRange {
    int32_t first, last, count, groups;
};

ShownRange shownRange(const CodedTable &table, const Piece &piece) {
    ShownRange range = {std::numeric_limits<int32_t>::max(), 0, 0, 0};
    for (int32_t number = piece.firstFrame; number < piece.behindFrame; ++number) {
        if (number > piece.firstFrame && number <= piece.firstFrame + piece.droppedFrames) continue;
        const CodedFrame &frame = table.frame(number);
        range.first = std::min(range.first, frame.shown);
        range.last = std::max(range.last, frame.shown);
        ++range.count;
        range.groups += table.isCutPoint(number);
    }
    return range;
}

void cut(const CutOptions &options) {
    if (options.to < options.from) throw ToolError(exitUsage, "--to lies ahead of --from");
    OpenedStream opened(options.path);
    needSeekable(opened);
    // Binary stepping gathers its bytes in a working frame, which the first decoded frame makes.
    if (!nextFrame(opened)) throw ToolError(exitNoVideo, options.path + ": holds no picture that could be decoded");
    const CodedTable table = scanCodedTable(opened);
    const Piece piece = choosePiece(opened, table, options);
    const int32_t pictures = static_cast<int32_t>(table.pictures.size());
    const int32_t behind = piece.behindFrame > static_cast<int32_t>(table.frames.size())
                               ? pictures
                               : table.frame(piece.behindFrame).picture;

    OutputFile file(options.output, options.path);
    {
        Progress progress;
        CodedWalk walk(opened, table, table.frame(piece.firstFrame).picture);
        PieceWriter writer(table, piece, file);
        const int32_t start = walk.nextPicture();
        while (walk.nextPicture() < behind) {
            const int32_t number = walk.nextPicture();
            SplitPicture split = walk.next();
            writer.take(number, split);
            progress.update(number - start + 1, static_cast<double>(number - start + 1) / (behind - start));
        }
    }
    file.write(kSequenceEnd, sizeof kSequenceEnd);
    file.close();
    const ShownRange taken = shownRange(table, piece);
    std::fprintf(options.output == "-" ? stderr : stdout, "Took frames %d to %d: %d frame%s in %d group%s\n",
                 taken.first, taken.last, taken.count, taken.count == 1 ? "" : "s", taken.groups,
                 taken.groups == 1 ? "" : "s");
}

}  // namespace

void addCutCommand(CLI::App &app) {
    auto options = std::make_shared<CutOptions>();
    CLI::App *command = app.add_subcommand("cut", "Copy a part of a file without coding it anew");
    addFileOption(command, options->path);
    command->add_option("--from", options->from, "First frame wanted (default: 1)")
        ->check(countFromOne())
        ->type_name("N");
    command->add_option("--to", options->to, "Last frame wanted (default: the last)")
        ->check(countFromOne())
        ->type_name("N");
    command->add_option("-o,--output", options->output, "File to write; - writes to standard output")
        ->required()
        ->type_name("OUT");
    command->footer(
        "Pictures are copied bit by bit, in whole groups: all that hold a frame asked for, so the cut may begin\n"
        "earlier and end later than asked; what was really taken is printed.\n"
        "B pictures at the start of the first group that need the group before it are left out, and the group is\n"
        "marked as closed: every frame of the cut decodes as it did in the file.\n"
        "The cut begins with the sequence header in force and ends with a sequence end code. Out of a container comes\n"
        "the video alone, as an elementary stream.");
    command->callback([options] { cut(*options); });
}

}  // namespace tvk::tool
