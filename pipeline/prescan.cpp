// SPDX-License-Identifier: BSD-2-Clause
// The index table made while a frame loop walks the stream anyway.
#include "pipeline/prescan.h"

#include "pipeline/elements.h"
#include "pipeline/index_table.h"

namespace tvk {

void openPrescan(VideoStream *stream, bool edit) {
    VideoIndexTable &index = stream->index;
    if (index.indexed || !index.prescanRequested || index.entryCapacity != 0) return;
    const bool made = edit ? allocateIndex(index, kEditEntries, kEditFrames) : allocateIndex(index, kPlainEntries, 0);
    index.prescanRequested = made ? 1 : 0;
}

void prescanSequenceHeader(VideoStream *stream) {
    noteSequenceHeader(stream->index, positionOfStartCode(stream));
}

void prescanGroup(VideoStream *stream) {
    noteGroup(stream->index, positionOfStartCode(stream));
}

void prescanNewFrame(VideoStream *stream) {
    const FramePipeline &frames = stream->frames;
    addPicture(stream->index, {
                                  .number = frames.pictureCounter + 1,
                                  .type = stream->headers.picture.pictureCodingType,
                                  .closedGroup = stream->headers.group.closedGop != 0,
                                  .clock = frames.streamClock,
                                  .position = frames.pictureStart,
                              });
}

void closePrescanAtSequenceEnd(VideoStream *stream) {
    if (!hasEditArrays(stream->index)) return;
    showPendingAnchor(stream->index);
    finishPrescan(stream);
}

void finishPrescan(VideoStream *stream) {
    closeIndex(stream->index, stream);
    stream->index.prescanRequested = 0;
}

}  // namespace tvk
