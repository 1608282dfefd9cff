// SPDX-License-Identifier: BSD-2-Clause
// Jumps by rate, time and the source's own positions.
#include "core/calls.h"
#include "core/handles.h"
#include "core/source_calls.h"
#include "input/video_input.h"
#include "pipeline/access.h"
#include "pipeline/index_table.h"

namespace tvk {

namespace {

enum class PositionKind { rate, time, absolute };

struct Jump {
    PositionKind kind;
    double value;  // rate or seconds
    AbsPosition position;
    bool edit;  // with the edit loop
};

int32_t seek(VideoStream *stream, const Jump &jump) {
    if (jump.kind == PositionKind::rate) return seekRate(stream, jump.value);
    if (jump.kind == PositionKind::time) return seekTime(stream, jump.value);
    return seekAbs(stream, jump.position);
}

int32_t truncateToNumber(double value) {
    if (!(value < 2147483647.0)) return INT32_MAX;
    return value < 0.0 ? 0 : static_cast<int32_t>(value);
}

uint32_t truncateToCount(double value) {
    if (!(value > 0.0)) return 0;
    return value < 4294967295.0 ? static_cast<uint32_t>(value) : 0xFFFFFFFF;
}

int32_t frameNumberAt(const VideoStream *stream, const Jump &jump) {
    const double scale = jump.kind == PositionKind::rate ? static_cast<double>(stream->index.frameCount)
                                                         : static_cast<double>(stream->frames.framesPerSecond);
    return truncateToNumber(scale * jump.value + 1.0);
}

// A frame number is not known without an index: it is the stream's share of what the stream may hold.
int32_t estimateNumber(VideoStream *stream) {
    double rate = 0.0;
    const int32_t told = ratePositionAt(stream, 0, &rate);
    const uint32_t known = stream->index.frameCount;
    const uint32_t total = known != 0 ? known : estimateFramesOfContainer(stream);
    FramePipeline &frames = stream->frames;
    frames.pictureCounter = truncateToCount(total * rate);
    frames.streamClock = frames.pictureCounter * frames.frameDuration;
    return told;
}

// The first run decodes one I picture, the second goes on to the next anchor and so delivers it. B pictures right
// behind the jump are skipped, since they may lean on anchors before it.
int32_t resynchronise(VideoStream *stream, StepFunction loop) {
    uint32_t &types = stream->settings.frameTypesToProcess;
    const uint32_t kept = types;
    stream->frames.resyncOnce = 1;
    types = 1;
    loop(stream);
    stream->frames.resyncOnce = 0;
    types = 2;
    const int32_t result = loop(stream);
    types = kept;
    return result;
}

int32_t decodeFirst(VideoStream *stream, const Jump &jump, int32_t told) {
    const StepFunction loop = jump.edit ? stepEdit : stepForward;
    const uint32_t types = stream->settings.frameTypesToProcess;
    const bool fromStart = jump.edit && jump.kind == PositionKind::rate && jump.value == 0.0;
    if (types == 1) return loop(stream);
    if (types != 2 && types != 3) return told;
    return fromStart ? loop(stream) : resynchronise(stream, loop);
}

int32_t jumpTo(VideoStream *stream, const Jump &jump) {
    VideoIndexTable &index = stream->index;
    if (hasIndex(index) && jump.kind != PositionKind::absolute)
        return setFrameNumber(stream, frameNumberAt(stream, jump));
    if (stream->counters.sequenceHeadersSeen == 0) {
        const int32_t made = rollForward(stream, 1);
        if (made != 0) return made;
    }
    clearPipeline(stream);
    // A table in the making needs all pictures in their order.
    if (!jump.edit && !index.indexed && index.prescanRequested) freeIndex(index);
    const int32_t sought = seek(stream, jump);
    if (sought != 0) return sought;
    if (RefillUnitNoJump(stream->input) < 0) return tvkErrFailed;
    const int32_t told = estimateNumber(stream);
    return decodeFirst(stream, jump, told);
}

int32_t jumpToRate(VideoStream *stream, double rate, bool edit) {
    if (!(rate >= 0.0 && rate <= 1.0)) return tvkErrPositionOutOfRange;
    return endJump(stream, jumpTo(stream, {PositionKind::rate, rate, {}, edit}));
}

}  // namespace

int32_t setRatePosition(VideoStream *stream, double rate) {
    return jumpToRate(stream, rate, false);
}

int32_t setRatePositionEdit(VideoStream *stream, double rate) {
    return jumpToRate(stream, rate, true);
}

int32_t setTimePosition(VideoStream *stream, double seconds) {
    if (!(seconds >= 0.0)) return tvkErrPositionOutOfRange;
    const uint32_t bitRate = stream->headers.sequence.bitRate;
    stream->source->setParameter(stream->source, stream->decoderId, parameterVideoRate, &bitRate);
    return endJump(stream, jumpTo(stream, {PositionKind::time, seconds, {}, false}));
}

int32_t setAbsPosition(VideoStream *stream, const AbsPosition &position) {
    return endJump(stream, jumpTo(stream, {PositionKind::absolute, 0.0, position, false}));
}

int32_t getTimePosition(VideoStream *stream, double *out) {
    if (!out) return tvkErrInvalidArgument;
    *out = stream->frames.streamClock;
    return 0;
}

}  // namespace tvk
