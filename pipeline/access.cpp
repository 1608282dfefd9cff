// SPDX-License-Identifier: BSD-2-Clause
// Jumps to a frame number: the input moved to where decoding can start, and the roll forward from there.
#include "pipeline/access.h"

#include "core/calls.h"
#include "core/handles.h"
#include "core/slots.h"
#include "core/source_calls.h"
#include "input/video_input.h"
#include "pipeline/elements.h"
#include "pipeline/index_table.h"
#include "pipeline/ring.h"
#include "syntax/headers.h"

namespace tvk {

namespace {

int32_t load(VideoStream *stream, const AbsPosition &position, int32_t (*refill)(VideoInput *) = RefillUnit) {
    const int32_t result = seekAbs(stream, position);
    if (result != 0) return result;
    return waitForUnit(stream->input, refill) == kInputEnded ? tvkErrFailed : 0;
}

int32_t nextBehindUserData(VideoInput *input) {
    int32_t code;
    do code = waitForCode(input);
    while (isCode(code, codeUserData));
    return code;
}

// The sequence header at which the input stands, and the extension that makes it MPEG-2.
void parseSequence(VideoStream *stream) {
    VideoInput *input = stream->input;
    if (isCode(waitForCode(input), codeSequenceHeader)) parseSequenceHeader(stream);
    if (!isCode(nextBehindUserData(input), codeExtension)) return;
    if (getField(input->reader, kExtensionIdBits) == extensionSequence) {
        parseSequenceExtension(stream);
    } else {
        UngetBits(input->reader, kExtensionIdBits);
    }
}

int32_t parseMatrix(VideoStream *stream, const AbsPosition &position) {
    if (isNoPosition(position)) return 0;
    const int32_t result = load(stream, position);
    if (result != 0) return result;
    BitReader &reader = stream->input->reader;
    GetWord(reader);
    if (getField(reader, kExtensionIdBits) == extensionQuantMatrix) parseQuantMatrixExtension(stream);
    return 0;
}

int32_t move(VideoStream *stream, uint32_t entry, const AbsPosition *last, int32_t (*refill)(VideoInput *)) {
    const VideoIndexTable &index = stream->index;
    if (entry >= index.entryCount) return tvkErrFailed;
    int32_t result = load(stream, index.sequencePositions[entry]);
    // The loops find the first sequence header by themselves.
    if (result == 0 && entry != 0) {
        parseSequence(stream);
        result = parseMatrix(stream, index.matrixPositions[entry]);
        if (result == 0) result = load(stream, last[entry], refill);
    }
    if (result != 0) return result;
    FramePipeline &frames = stream->frames;
    frames.fieldPending = frames.fieldSkip = 0;
    frames.pictureCounter = static_cast<uint32_t>(index.streamNumbers[entry]) - 1;
    frames.streamClock = index.entryTimes[entry];
    setStatus(stream, statusReady);
    return 0;
}

using RollFunction = int32_t (*)(VideoStream *, int32_t);

int32_t rollFromStart(VideoStream *stream, int32_t number, RollFunction roll) {
    const int32_t result = seekRate(stream, 0.0);
    if (result != 0) return result;
    stream->frames.pictureCounter = 0;
    return roll(stream, number);
}

int32_t rollFromEntry(VideoStream *stream, uint32_t entry, int32_t number, RollFunction roll) {
    const int32_t result = moveToEntry(stream, entry);
    return result != 0 ? result : roll(stream, number);
}

// A frame ahead of the first I frame in display order is a leading B picture, reached from the stream's start.
int32_t rollFromNearest(VideoStream *stream, uint32_t entry, int32_t number, RollFunction roll) {
    const VideoIndexTable &index = stream->index;
    if (index.entryCount == 0 || index.displayNumbers[entry] > number) return rollFromStart(stream, number, roll);
    return rollFromEntry(stream, entry, number, roll);
}

int32_t checkNumber(const VideoIndexTable &index, int32_t number) {
    if (!hasIndex(index)) return tvkErrNotIndexed;
    return number < 1 || static_cast<uint32_t>(number) > index.frameCount ? tvkErrFrameOutOfRange : 0;
}

int32_t checkEditNumber(const VideoIndexTable &index, int32_t number) {
    if (!index.displayNumbers || !hasEditArrays(index)) return tvkErrNotIndexed;
    if (number > 0 && static_cast<uint32_t>(number) > index.displayCount) return tvkErrNotIndexed;
    return number < 1 ? tvkErrFrameOutOfRange : 0;
}

// The entry of the oldest I picture that the frame depends on. An entry whose I frame has no display position yet
// ends the search.
uint32_t entryForRoot(const VideoIndexTable &index, int32_t number) {
    const int32_t coded = index.displayMap[number];
    const bool known = coded >= 0 && static_cast<uint32_t>(coded) < index.frameCapacity;
    const int32_t root = known ? index.rootFrames[coded] : 0;
    uint32_t found = 0;
    for (uint32_t i = 0; i < index.entryCount; ++i) {
        const int32_t shown = index.displayNumbers[i];
        if (shown <= 0 || static_cast<uint32_t>(shown) > index.displayCount) break;
        if (index.displayMap[shown] > root) break;
        found = i;
    }
    return found;
}

int32_t jump(VideoStream *stream, int32_t number) {
    const int32_t refusal = checkNumber(stream->index, number);
    if (refusal != 0) return refusal;
    if (stream->counters.sequenceHeadersSeen == 0) {
        const int32_t made = rollForward(stream, 1);
        if (made != 0) return made;
    }
    clearPipeline(stream);
    return rollFromNearest(stream, entryForFrame(stream->index, number), number, rollForward);
}

int32_t jumpEdit(VideoStream *stream, int32_t number) {
    const int32_t refusal = checkEditNumber(stream->index, number);
    if (refusal != 0) return refusal;
    if (stream->counters.sequenceHeadersSeen == 0) {
        // The scan has left the input where it stopped.
        const int32_t made = rollFromStart(stream, 1, rollForwardEdit);
        if (made != 0) return made;
    }
    clearPipeline(stream);
    return rollFromNearest(stream, entryForRoot(stream->index, number), number, rollForwardEdit);
}

int32_t jumpBin(VideoStream *stream, int32_t number) {
    const VideoIndexTable &index = stream->index;
    if (!index.streamNumbers) return tvkErrNotIndexed;
    if (number > 0 && static_cast<uint32_t>(number) > index.framesScanned) return tvkErrNotIndexed;
    if (number < 1) return tvkErrFrameOutOfRange;
    if (stream->counters.sequenceHeadersSeen == 0) {
        const int32_t made = stream->chosen.binaryStep(stream);
        if (made != 0) return made;
    }
    clearPipeline(stream);
    uint32_t entry = 0;
    while (entry < index.entryCount && index.streamNumbers[entry] < number) ++entry;
    // Behind the last I picture there is nowhere to go: stepping goes on from where the stream stands.
    if (entry < index.entryCount) {
        const int32_t moved = moveToGroup(stream, entry);
        if (moved != 0) return moved;
    }
    return stream->chosen.binaryStep(stream);
}

// The last entry whose I picture is coded at or before `number`; 0 when none is.
uint32_t entryForPicture(const VideoIndexTable &index, int32_t number) {
    uint32_t found = 0;
    for (uint32_t i = 0; i < index.entryCount; ++i)
        if (index.streamNumbers[i] <= number) found = i;
    return found;
}

int32_t streamNumberAt(const VideoIndexTable &index, uint32_t entry) {
    return entry < index.entryCount ? index.streamNumbers[entry] : 0;
}

}  // namespace

void clearFrames(VideoStream *stream) {
    FramePipeline &frames = stream->frames;
    for (VideoFrame *frame : frames.workFrame)
        if (frame) frame->frameNumber = frame->streamNumber = 0;
    frames.forwardRef = frames.backwardRef = frames.currentFrame = frames.deliveredFrame = nullptr;
    setStatus(stream, statusReady);
    frames.fieldPending = frames.fieldSkip = 0;
}

void clearPipeline(VideoStream *stream) {
    clearFrames(stream);
    emptyRing(stream->ring);
    resetSlots(stream->callbacks);
}

int32_t moveToEntry(VideoStream *stream, uint32_t entry) {
    return move(stream, entry, stream->index.picturePositions, RefillUnit);
}

int32_t moveToGroup(VideoStream *stream, uint32_t entry) {
    const VideoIndexTable &index = stream->index;
    const bool inGroup = entry < index.entryCount && !isNoPosition(index.groupPositions[entry]);
    return move(stream, entry, inGroup ? index.groupPositions : index.picturePositions, RefillUnitRaw);
}

int32_t endJump(VideoStream *stream, int32_t result) {
    if (stream->status == statusBusy) setStatus(stream, statusReady);
    return result;
}

int32_t reposition(VideoStream *stream, int32_t number) {
    const int32_t refusal = checkNumber(stream->index, number);
    if (refusal != 0) return refusal;
    clearFrames(stream);
    return rollFromEntry(stream, entryForFrame(stream->index, number), number, rollForward);
}

int32_t setFrameNumber(VideoStream *stream, int32_t number) {
    return endJump(stream, jump(stream, number));
}

int32_t setFrameNumberEdit(VideoStream *stream, int32_t number) {
    return endJump(stream, jumpEdit(stream, number));
}

int32_t setFrameNumberBin(VideoStream *stream, int32_t number) {
    return endJump(stream, jumpBin(stream, number));
}

int32_t getBinaryStartEnd(VideoStream *stream, int32_t *first, int32_t *last) {
    if (!first || !last) return tvkErrInvalidArgument;
    const VideoIndexTable &index = stream->index;
    if (!index.streamNumbers) return tvkErrNotIndexed;
    *first = streamNumberAt(index, entryForPicture(index, *first) + 1);
    *last = streamNumberAt(index, entryForPicture(index, *last));
    return 0;
}

}  // namespace tvk
