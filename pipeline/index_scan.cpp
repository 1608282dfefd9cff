// SPDX-License-Identifier: BSD-2-Clause
// The scans that make an index table: the stream's headers are walked, no slice is decoded, and the decoder in use
// notices nothing.
#include <cstddef>
#include <cstring>

#include "core/calls.h"
#include "core/handles.h"
#include "core/memory.h"
#include "pipeline/elements.h"
#include "pipeline/index_table.h"
#include "syntax/headers.h"

namespace tvk {

// What an edit scan has read. With it a later call ends with the tables that one longer call would have made.
struct EditScan {
    uint32_t streamType;
    Headers headers;
    Counters counters;
    FramePipeline frames;
};

namespace {

struct Scan {
    VideoStream *stream;  // owns the table
    VideoStream *copy;    // parses
    bool edit;
    int32_t frames;  // display positions asked for
    int32_t result;

    VideoIndexTable &index() const { return stream->index; }
};

void startAfresh(VideoStream *copy) {
    FramePipeline &frames = copy->frames;
    const size_t from = offsetof(FramePipeline, builtWidth);
    std::memset(reinterpret_cast<uint8_t *>(&frames) + from, 0, sizeof frames - from);
    copy->counters = {};
}

// The shared input feeds the copy's clock until it is given back.
VideoStream *makeCopy(VideoStream *stream) {
    auto *copy = static_cast<VideoStream *>(allocate(sizeof(VideoStream)));
    if (!copy) return nullptr;
    std::memcpy(copy, stream, sizeof *copy);
    copy->index = {};
    copy->input->stream = copy;
    return copy;
}

void dropCopy(VideoStream *stream, VideoStream *copy) {
    stream->input->stream = stream;
    release(copy);
}

void endScan(Scan &scan) {
    setStatus(scan.copy, statusEndOfStream);
}

bool hasEnded(const Scan &scan) {
    return scan.copy->status == statusEndOfStream;
}

// The code stays unread for the call that goes on.
void unreadCode(VideoInput *input) {
    --input->unit->currentEntry;
    SetBytePosition(input->reader, lastCodeOffset(input->reader));
}

bool hasEnough(const Scan &scan) {
    return scan.edit && (scan.frames == 0 || static_cast<int64_t>(scan.index().displayCount) >= scan.frames);
}

void scanSequenceHeader(Scan &scan) {
    noteSequenceHeader(scan.index(), positionOfStartCode(scan.copy));
    parseSequenceHeader(scan.copy);
    restartFields(scan.copy);
}

void scanGroup(Scan &scan) {
    noteGroup(scan.index(), positionOfStartCode(scan.copy));
    if (scan.edit) parseGroupHeader(scan.copy);
}

void scanExtension(Scan &scan) {
    VideoStream *copy = scan.copy;
    const AbsPosition position = positionOfStartCode(copy);
    switch (getField(copy->input->reader, kExtensionIdBits)) {
        case extensionSequence:
            parseSequenceExtension(copy);
            break;
        case extensionQuantMatrix:
            noteMatrix(scan.index(), position);
            break;
        case extensionPictureCoding:
            parsePictureCodingExtension(copy);
            break;
        default:
            break;
    }
    addHalfFrame(copy);
}

void scanPicture(Scan &scan) {
    VideoStream *copy = scan.copy;
    FramePipeline &frames = copy->frames;
    const AbsPosition position = positionOfStartCode(copy);
    if (waitForUnit(copy->input) == kInputEnded) return endScan(scan);
    computeFrameDuration(copy);
    frames.builtWidth = copy->headers.sequence.horizontalSize;
    frames.builtHeight = copy->headers.sequence.verticalSize;
    parsePictureHeader(copy);
    if (frames.fieldPending) return;
    ++frames.pictureCounter;
    const bool added = addPicture(scan.index(), {
                                                    .number = frames.pictureCounter,
                                                    .type = copy->headers.picture.pictureCodingType,
                                                    .closedGroup = copy->headers.group.closedGop != 0,
                                                    .clock = frames.streamClock,
                                                    .position = position,
                                                });
    if (added) return;
    scan.result = tvkErrOutOfMemory;
    endScan(scan);
}

// Stands for all slices of the picture.
void scanSlice(VideoStream *copy) {
    if (copy->counters.pictureHeadersSeen == 0) return;
    FramePipeline &frames = copy->frames;
    frames.fieldPending = isFieldPicture(copy) ? frames.fieldPending ^ 1 : 0;
    if (frames.fieldPending == 0) frames.streamClock += frames.frameDuration;
}

void scanSequenceEnd(Scan &scan) {
    endScan(scan);
    if (!scan.edit) return;
    showPendingAnchor(scan.index());
    scan.index().prescanRequested = 0;
}

void scanElement(Scan &scan, int32_t code) {
    if (isCode(code, codePicture)) scanPicture(scan);
    if (isCode(code, codeSequenceHeader)) scanSequenceHeader(scan);
    if (isCode(code, codeExtension)) scanExtension(scan);
    if (isCode(code, codeGroup)) scanGroup(scan);
    if (isCode(code, codeSequenceEnd)) scanSequenceEnd(scan);
    if (isSlice(code)) scanSlice(scan.copy);
}

void walk(Scan &scan, bool fresh) {
    VideoInput *input = scan.copy->input;
    int32_t code = fresh ? waitForSequenceHeader(input) : waitForCode(input);
    for (bool first = true;; first = false) {
        if (code == kInputEnded) return endScan(scan);
        if (!first && !isCode(code, codeSequenceEnd) && hasEnough(scan)) return unreadCode(input);
        scanElement(scan, code);
        if (hasEnded(scan)) return;
        code = isSlice(code) ? waitForPicture(input) : waitForCode(input);
    }
}

// The facts that the decoder in use learns from a scan.
void finish(Scan &scan) {
    if (scan.result != 0) return;
    scan.stream->frames.framesPerSecond = scan.copy->frames.framesPerSecond;
    if (!hasEnded(scan)) return;
    closeIndex(scan.index(), scan.copy);
    if (scan.index().indexed) scan.stream->streamType = scan.index().indexStreamType;
}

int32_t scanPlain(VideoStream *stream) {
    VideoStream *copy = makeCopy(stream);
    if (!copy) return tvkErrOutOfMemory;
    startAfresh(copy);
    setStatus(copy, statusReady);
    Scan scan = {stream, copy, false, 0, seekRate(copy, 0.0)};
    if (scan.result == 0) {
        const uint32_t prescanRequested = stream->index.prescanRequested;
        if (!allocateIndex(stream->index, kPlainEntries, 0)) scan.result = tvkErrOutOfMemory;
        stream->index.prescanRequested = prescanRequested;
        if (scan.result == 0) walk(scan, true);
        finish(scan);
    }
    dropCopy(stream, copy);
    return scan.result;
}

void restore(VideoStream *copy, const EditScan &saved) {
    copy->streamType = saved.streamType;
    copy->headers = saved.headers;
    copy->counters = saved.counters;
    copy->frames = saved.frames;
}

void save(EditScan &saved, const VideoStream *copy) {
    saved.streamType = copy->streamType;
    saved.headers = copy->headers;
    saved.counters = copy->counters;
    saved.frames = copy->frames;
}

int32_t openEditScan(VideoStream *stream, VideoStream *copy) {
    startAfresh(copy);
    const int32_t sought = seekRate(copy, 0.0);
    if (sought != 0) return sought;
    VideoIndexTable &index = stream->index;
    if (!allocateIndex(index, kEditEntries, kEditFrames)) return tvkErrOutOfMemory;
    index.editScan = static_cast<EditScan *>(allocate(sizeof(EditScan)));
    if (index.editScan) return 0;
    freeIndex(index);
    return tvkErrOutOfMemory;
}

}  // namespace

int32_t createIndex(VideoStream *stream) {
    AbsPosition position = {};
    const bool known = absPositionOfReader(stream, &position) >= 0;
    const int32_t result = scanPlain(stream);
    if (known) {
        seekAbs(stream, position);
    } else {
        seekRate(stream, 0.0);
    }
    return result;
}

int32_t createIndexEdit(VideoStream *stream, int32_t frames) {
    VideoStream *copy = makeCopy(stream);
    if (!copy) return tvkErrOutOfMemory;
    setStatus(copy, statusReady);
    VideoIndexTable &index = stream->index;
    const bool fresh = !hasEditArrays(index) || !index.editScan;
    Scan scan = {stream, copy, true, frames, 0};
    if (fresh) {
        scan.result = openEditScan(stream, copy);
    } else {
        restore(copy, *index.editScan);
    }
    if (scan.result == 0) {
        walk(scan, fresh);
        finish(scan);
    }
    if (scan.result == 0) {
        index.framesScanned = copy->frames.pictureCounter;
        save(*index.editScan, copy);
    }
    dropCopy(stream, copy);
    return scan.result;
}

int32_t isIndexed(VideoStream *stream) {
    return stream->index.indexed ? 0 : tvkErrNotIndexed;
}

}  // namespace tvk
