// SPDX-License-Identifier: BSD-2-Clause
// Thousands of steps, jumps, settings and buffer calls in random order: every frame that comes out is held to a model
// that knows what a walk from the start delivers, and what of it the calls so far leave standing.
//
// TVK_WALK_STEPS lengthens the walks.
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "clip_walk.h"
#include "core/stream.h"
#include "stream_writer/random.h"

namespace tvktest {
namespace {

uint32_t stepsAWalk() {
    const char *steps = std::getenv("TVK_WALK_STEPS");
    return steps && *steps ? static_cast<uint32_t>(std::strtoul(steps, nullptr, 10)) : 500;
}

// What the frames of a clip are, by their number in coded order, at each size and precision that the walks set.
struct Truth {
    struct Setting {
        int32_t precision, reduce;
    };
    static constexpr Setting kSettings[] = {{2, 1}, {1, 1}, {2, 2}};

    std::map<int32_t, FrameLine> lines[std::size(kSettings)];
    std::map<int32_t, int32_t> codedOfShown;
    std::set<int32_t> loose;  // coded numbers
    int32_t frames = 0;

    explicit Truth(const Clip &clip) {
        for (size_t i = 0; i < std::size(kSettings); ++i) {
            ClipStream stream(clip, kSettings[i].precision, kSettings[i].reduce);
            while (const VideoFrame *frame = stream.step()) lines[i][frame->streamNumber] = lineOf(*frame);
        }
        for (const auto &[coded, line] : lines[0]) codedOfShown[line.number] = coded;
        for (const int32_t number : walkClip(clip).loose) loose.insert(codedOfShown.at(number));
        frames = static_cast<int32_t>(lines[0].size());
    }

    // The samples are those of the picture at one of the settings.
    bool holds(int32_t coded, const FrameLine &line) const {
        if (loose.count(coded) != 0) return true;
        for (const auto &table : lines) {
            const auto found = table.find(coded);
            if (found != table.end() && found->second.lumaMd5 == line.lumaMd5 &&
                found->second.chromaMd5 == line.chromaMd5)
                return true;
        }
        return false;
    }
    bool holdsAny(const FrameLine &line) const {
        for (const auto &[coded, walked] : lines[0])
            if (holds(coded, line)) return true;
        return false;
    }
};

struct Walk {
    const Truth &truth;
    ClipStream clip;
    VideoStream *stream;
    Random random;

    // What may be asked of a frame. A jump by number over no ring, or one that follows it, makes all of it true again.
    bool numbered = true;  // numbers are the walk's, and no estimates of a jump without an index
    bool whole = true;     // all anchors that predicted pictures lean on are decoded, at one size and precision
    bool scaled = true;    // the matrices are in the form of the precision set: a header has been read since
    bool shown = true;     // frameNumber is the place in display order; steps in stream order leave others
    bool blind = false;    // coded bytes stand where pictures stood, or the input is elsewhere

    bool editIndexMade = false;
    int32_t types = 3, mode = 0;
    bool slowed = false;
    int32_t previous = 0;  // frame number of the step before, when nothing came between
    uint32_t frames = 0;   // that were held to the model
    std::vector<int32_t> list;
    std::vector<std::string> calls;  // for a failure's message

    Walk(const Clip &c, const Truth &t, uint64_t seed) : truth(t), clip(c), stream(clip.stream), random(seed) {}

    void note(std::string call, double argument = 0) {
        call.append(" ").append(std::to_string(argument));
        calls.push_back(std::move(call));
    }
    std::string lastCalls() const {
        std::string text = "\ncalls:";
        for (size_t i = calls.size() > 40 ? calls.size() - 40 : 0; i < calls.size(); ++i)
            text.append("\n  ").append(calls[i]);
        return text;
    }

    bool hasRing() {
        uint32_t forward = 0, backward = 0;
        return tvkGetVideoFrameBufferSize(stream, &forward, &backward) == 0;
    }
    bool ringFollows() {
        uint32_t flags = 0;
        return tvkGetVideoSP_Flags(stream, &flags) == 0 && (flags & 2) != 0;
    }
    bool indexed() { return tvkIsVideoStreamIndexed(stream) == 0; }
    int32_t anyNumber() { return 1 + static_cast<int32_t>(random.below(static_cast<uint32_t>(truth.frames))); }

    void expectSound(const VideoFrame *frame) {
        if (frame == nullptr || blind) return;
        const FrameLine line = lineOf(*frame);
        const bool comparable = scaled && (whole || line.type == 'I');
        ++frames;
        if (!numbered) {
            if (comparable) {
                EXPECT_TRUE(truth.holdsAny(line)) << toText(line) << lastCalls();
            }
            return;
        }
        const auto found = truth.lines[0].find(line.streamNumber);
        ASSERT_NE(found, truth.lines[0].end()) << toText(line) << lastCalls();
        EXPECT_EQ(line.type, found->second.type) << toText(line) << lastCalls();
        if (shown) {
            EXPECT_EQ(line.number, found->second.number) << toText(line) << lastCalls();
        }
        if (comparable) {
            EXPECT_TRUE(truth.holds(line.streamNumber, line)) << toText(line) << lastCalls();
        }
    }

    void noteJump() {
        previous = 0;
        if (hasRing() && !ringFollows()) return;
        numbered = whole = scaled = shown = true;
        blind = false;
    }

    // Jumps that no index turns into a number.
    void noteEstimate(int32_t result) {
        previous = 0;
        numbered = false;
        if (result != 0 || types == 1) whole = false;
        if (hasRing()) blind = true;  // its frames have numbers of both kinds
    }

    void step(int32_t (*get)(VideoStream *, VideoFrame **), bool streamOrder) {
        note(streamOrder ? "step in stream order" : get == tvkGetNextVideoFrameEdit ? "edit step" : "step");
        if (types == 1 || (mode == 1 && slowed)) whole = false;
        if (mode == 2 && !streamOrder && !indexed() && (stream->settings.iFramesOnly != 0)) {
            types = 1;
            whole = false;
        }
        if (streamOrder) shown = false;
        const bool inRow =
            whole && scaled && mode == 0 && types == 3 && !streamOrder && shown && numbered && !blind && !hasRing();
        const VideoFrame *frame = clip.step(get);
        expectSound(frame);
        if (inRow && frame && previous != 0) {
            EXPECT_EQ(frame->frameNumber, previous + 1) << lastCalls();
        }
        previous = inRow && frame ? frame->frameNumber : 0;
    }

    void stepBack() {
        note("step back");
        const bool jumps = !hasRing() && indexed();
        const VideoFrame *frame = clip.step(tvkGetPrevVideoFrame);
        if (jumps && clip.result == 0) noteJump();
        previous = 0;
        expectSound(frame);
    }

    void jump(int32_t (*set)(VideoStream *, int32_t), int32_t number) {
        note(set == tvkSetVideoFrameNumber ? "jump" : "edit jump", number);
        const int32_t result = set(stream, number);
        if (result == tvkErrNotIndexed) return;
        if (result != 0) {
            blind = true;
            EXPECT_EQ(result, tvkErrEndOfStream) << number << lastCalls();
            return;
        }
        noteJump();
        const VideoFrame *frame = clip.step(tvkGetVideoFrame);
        ASSERT_NE(frame, nullptr) << number;
        if (types == 3) {
            EXPECT_EQ(frame->frameNumber, number) << lastCalls();
        }
        expectSound(frame);
    }

    void jumpToPosition() {
        const double share = random.below(100) / 100.0;
        const bool byNumber = indexed();
        note("position", share);
        int32_t result;
        switch (random.below(3)) {
            case 0:
                result = tvkSetRateVideoPosition(stream, share);
                break;
            case 1:
                result = tvkSetRateVideoPositionEdit(stream, share);
                break;
            default:
                result = tvkSetTimeVideoPosition(stream, share * truth.frames / 25.0);
        }
        if (!byNumber) return noteEstimate(result);
        if (result == 0) return noteJump();
        blind = true;
    }

    void jumpToAbsolute() {
        const tvk::VideoIndexTable &index = stream->index;
        if (!indexed() || index.entryCount == 0) return;
        note("absolute position");
        noteEstimate(tvkSetAbsVideoPosition(stream, index.sequencePositions[random.below(index.entryCount)]));
    }

    void readCodedBytes() {
        note("coded bytes");
        blind = true;
        VideoFrame *frame = nullptr;
        switch (random.below(3)) {
            case 0:
                tvkSetVideoFrameNumberBin(stream, anyNumber());
                break;
            case 1:
                tvkGetSequenceHeader(stream, &frame);
                break;
            default:
                for (uint32_t i = random.below(4); i > 0; --i) tvkGetNextVideoFrameBin(stream, &frame);
        }
    }

    void set() {
        previous = 0;
        const uint32_t setting = random.below(8);
        note("setting", setting);
        switch (setting) {
            case 0:
                types = random.below(3) == 0 ? 1 + static_cast<int32_t>(random.below(2)) : 3;
                EXPECT_EQ(tvkSetVideoSP_FrameTypesToProcess(stream, types), 0);
                break;
            case 1:
                mode = random.below(2) == 0 ? static_cast<int32_t>(random.below(3)) : 0;
                EXPECT_EQ(tvkSetVideoWorkMode(stream, mode), 0);
                break;
            case 2:
                if (tvkSetVideoAdjustableSpeed(stream, 1 + static_cast<int32_t>(random.below(6))) == 0) slowed = true;
                break;
            case 3:
                EXPECT_EQ(tvkSetVideoSP_Threads(stream, 1 + static_cast<int32_t>(random.below(3))), 0);
                break;
            case 4: {
                const auto &[precision, reduce] = Truth::kSettings[random.below(std::size(Truth::kSettings))];
                EXPECT_EQ(tvkSetVideoSP_Precision(stream, precision), 0);
                EXPECT_EQ(tvkSetVideoSP_ReduceCoefficient(stream, reduce), 0);
                whole = scaled = false;
                break;
            }
            case 5:
                EXPECT_EQ(tvkSetVideoSP_Flags(stream, static_cast<int32_t>(random.below(4))), 0);
                break;
            case 6:
                setList();
                break;
            default:
                EXPECT_EQ(tvkSetVideoFrameBufferSize(stream, static_cast<int32_t>(random.below(4)),
                                                     static_cast<int32_t>(random.below(4))),
                          0);
                tvkSetVideoSP_Flags(stream, 2);
        }
    }

    void setList() {
        list.clear();
        for (int32_t number = anyNumber(); number <= truth.frames; number += 1 + static_cast<int32_t>(random.below(6)))
            list.push_back(number);
        EXPECT_EQ(tvkSetVideoSP_FrameList(stream, list.data(), static_cast<int32_t>(list.size())), 0);
    }

    void makeIndex() {
        previous = 0;
        const bool edit = !editIndexMade && random.below(3) == 0;
        note(edit ? "edit index" : "index", editIndexMade);
        // An edit scan goes on where the input stands, so it is made once, as long as it will ever be.
        if (edit) {
            editIndexMade = true;
            blind = true;
            EXPECT_EQ(tvkCreateVideoIndexTableEdit(stream, 1 + static_cast<int32_t>(random.below(100))), 0);
        } else if (!editIndexMade) {
            EXPECT_EQ(tvkCreateVideoIndexTable(stream), 0);
        }
    }

    void lookAround() {
        uint32_t number = 0;
        VideoFrame *frame = nullptr;
        const uint32_t look = random.below(4);
        note("look", look);
        switch (look) {
            case 0:
                blind = true;
                tvkCountVideoFrames(stream, &number);
                break;
            case 1:
                blind = true;
                tvkGetLastFrameNumber(stream, &number);
                break;
            case 2:
                tvkSwapBuffer(stream);
                break;
            default:
                if (!hasRing()) return;
                step(tvkGetNextVideoFrame, false);
                for (int32_t i = -4; i <= 4; ++i)
                    if (clip.result == 0 && tvkGetBufferedVideoFrame(stream, i, &frame) == 0) expectSound(frame);
        }
    }

    void act() {
        if (blind && indexed() && random.coin()) return jump(tvkSetVideoFrameNumber, anyNumber());
        switch (random.below(24)) {
            case 0:
            case 1:
                return set();
            case 2:
            case 3:
            case 4:
                return jump(tvkSetVideoFrameNumber, anyNumber());
            case 5:
            case 6:
                return jump(tvkSetVideoFrameNumberEdit, anyNumber());
            case 7:
                return jumpToPosition();
            case 8:
                return jumpToAbsolute();
            case 9:
                return random.below(4) == 0 ? readCodedBytes() : step(tvkGetNextVideoFrame, false);
            case 10:
                return random.below(3) == 0 ? makeIndex() : stepBack();
            case 11:
                return lookAround();
            case 12:
            case 13:
                return stepBack();
            case 14:
                return step(tvkGetNextVideoFrameStreamOrder, true);
            case 15:
                return step(tvkGetNextVideoFrameEdit, false);
            default:
                return step(tvkGetNextVideoFrame, false);
        }
    }
};

TEST(Model, everyFrameOfRandomWalksIsWhatAWalkFromTheStartDelivers) {
    uint64_t seed = 1;
    uint32_t frames = 0, steps = 0;
    for (const Clip &clip : makeClips()) {
        if (clip.name == "made_matrix_extensions" || clip.name == "made_1200_key_frames") continue;
        if (clip.name == "made_new_matrices")
            continue;  // sequence ends in the middle: numbers of the last anchors wait
        SCOPED_TRACE(clip.name);
        const Truth truth(clip);
        for (int i = 0; i < 3; ++i, ++seed) {
            SCOPED_TRACE(seed);
            Walk walk(clip, truth, seed);
            if (i != 0) walk.makeIndex();
            for (uint32_t n = 0; n < stepsAWalk() && !testing::Test::HasFailure(); ++n, ++steps) walk.act();
            frames += walk.frames;
        }
    }
    std::printf("%u calls, %u frames held to the model\n", steps, frames);
    EXPECT_GT(3 * frames, steps);
}

}  // namespace
}  // namespace tvktest
