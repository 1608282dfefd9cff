// SPDX-License-Identifier: BSD-2-Clause
// Facts about the stream, from its index when there is one.
#include "core/calls.h"
#include "core/source_calls.h"
#include "core/stream.h"

namespace tvk {
namespace {

VideoStreamInfo infoFromIndex(const VideoStream *stream) {
    const VideoIndexTable &index = stream->index;
    VideoStreamInfo info = {};
    info.streamType = index.indexStreamType;
    info.width = index.indexWidth;
    info.height = index.indexHeight;
    info.chromaFormat = index.indexChromaFormat;
    info.frameCount = index.frameCount;
    info.bitRate = index.indexBitRate;
    info.infoReserved = index.infoReserved;
    info.keyFrameCount = index.entryCount;
    info.keyFrames = index.displayNumbers;
    return info;
}

// The sizes are those of the working frames, so they are 0 ahead of the first picture.
VideoStreamInfo infoFromHeaders(VideoStream *stream) {
    VideoStreamInfo info = {};
    info.streamType = stream->streamType;
    info.width = stream->frames.builtWidth;
    info.height = stream->frames.builtHeight;
    info.chromaFormat = stream->headers.sequenceExtension.chromaFormat;
    info.frameCount = estimateFramesOfSequence(stream);
    info.bitRate = stream->headers.sequence.bitRate;
    return info;
}

}  // namespace

int32_t getStreamInfo(VideoStream *stream, VideoStreamInfo *out) {
    if (!out) return tvkErrInvalidArgument;
    *out = stream->index.indexed ? infoFromIndex(stream) : infoFromHeaders(stream);
    out->framesPerSecond = stream->frames.framesPerSecond;
    return 0;
}

}  // namespace tvk
