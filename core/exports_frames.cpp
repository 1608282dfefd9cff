// SPDX-License-Identifier: BSD-2-Clause
// Exported calls: stepping, positions, the index table and the ring of decoded frames.
#include "core/calls.h"
#include "core/handles.h"
#include "tvk.h"

int32_t tvkNextVideoFrame(VideoStream *stream) {
    return tvk::runAlone(stream, tvk::nextFrame);
}

int32_t tvkNextVideoFrameStreamOrder(VideoStream *stream) {
    return tvk::runAlone(stream, tvk::nextFrameStreamOrder);
}

int32_t tvkPrevVideoFrame(VideoStream *stream) {
    return tvk::runAlone(stream, tvk::prevFrame);
}

int32_t tvkGetNextVideoFrame(VideoStream *stream, VideoFrame **out) {
    return tvk::runAlone(stream, tvk::getNextFrame, out);
}

int32_t tvkGetNextVideoFrameStreamOrder(VideoStream *stream, VideoFrame **out) {
    return tvk::runAlone(stream, tvk::getNextFrameStreamOrder, out);
}

int32_t tvkGetNextVideoFrameEdit(VideoStream *stream, VideoFrame **out) {
    return tvk::runAlone(stream, tvk::getNextFrameEdit, out);
}

int32_t tvkGetNextVideoFrameBin(VideoStream *stream, VideoFrame **out) {
    return tvk::runAlone(stream, tvk::getNextFrameBin, out);
}

int32_t tvkGetPrevVideoFrame(VideoStream *stream, VideoFrame **out) {
    return tvk::runAlone(stream, tvk::getPrevFrame, out);
}

int32_t tvkGetVideoFrame(VideoStream *stream, VideoFrame **out) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::getDeliveredFrame(stream, out);
}

int32_t tvkGetVideoFrameBin(VideoStream *stream, VideoFrame **out) {
    return tvkGetVideoFrame(stream, out);
}

int32_t tvkCountVideoFrames(VideoStream *stream, uint32_t *out) {
    return tvk::runAlone(stream, tvk::countFrames, out);
}

int32_t tvkSetVideoFrameNumber(VideoStream *stream, int32_t number) {
    return tvk::runAlone(stream, tvk::setFrameNumber, number);
}

int32_t tvkSetVideoFrameNumberEdit(VideoStream *stream, int32_t number) {
    return tvk::runAlone(stream, tvk::setFrameNumberEdit, number);
}

int32_t tvkSetVideoFrameNumberBin(VideoStream *stream, int32_t number) {
    return tvk::runAlone(stream, tvk::setFrameNumberBin, number);
}

int32_t tvkGetBinaryStartEnd(VideoStream *stream, int32_t *first, int32_t *last) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::getBinaryStartEnd(stream, first, last);
}

int32_t tvkGetLastFrameNumber(VideoStream *stream, uint32_t *out) {
    return tvk::runAlone(stream, tvk::getLastFrameNumber, out);
}

int32_t tvkSetAbsVideoPosition(VideoStream *stream, AbsPosition position) {
    return tvk::runAlone(stream, tvk::setAbsPosition, position);
}

int32_t tvkGetAbsVideoPosition(VideoStream *stream, AbsPosition *out) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getAbsPosition(stream, out);
}

int32_t tvkSetRateVideoPosition(VideoStream *stream, double rate) {
    return tvk::runAlone(stream, tvk::setRatePosition, rate);
}

int32_t tvkSetRateVideoPositionEdit(VideoStream *stream, double rate) {
    return tvk::runAlone(stream, tvk::setRatePositionEdit, rate);
}

int32_t tvkGetRateVideoPosition(VideoStream *stream, double *out) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getRatePosition(stream, out);
}

int32_t tvkSetTimeVideoPosition(VideoStream *stream, double seconds) {
    return tvk::runAlone(stream, tvk::setTimePosition, seconds);
}

int32_t tvkGetTimeVideoPosition(VideoStream *stream, double *out) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getTimePosition(stream, out);
}

int32_t tvkCreateVideoIndexTable(VideoStream *stream) {
    return tvk::runAlone(stream, tvk::createIndex);
}

int32_t tvkCreateVideoIndexTableEdit(VideoStream *stream, int32_t mode) {
    return tvk::runAlone(stream, tvk::createIndexEdit, mode);
}

int32_t tvkReadVideoIndexTable(VideoStream *stream, const char *path) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::readIndex(stream, path);
}

int32_t tvkWriteVideoIndexTable(VideoStream *stream, const char *path) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::writeIndex(stream, path);
}

int32_t tvkIsVideoStreamIndexed(VideoStream *stream) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::isIndexed(stream);
}

// The kind is checked inside, behind the destruction of the old ring.
int32_t tvkSetVideoFrameBufferSize(VideoStream *stream, int32_t forward, int32_t backward) {
    const int32_t refusal = tvk::checkA(stream);
    return refusal ? refusal : tvk::setBufferSize(stream, forward, backward);
}

int32_t tvkGetVideoFrameBufferSize(VideoStream *stream, uint32_t *forward, uint32_t *backward) {
    const int32_t refusal = tvk::checkM(stream);
    return refusal ? refusal : tvk::getBufferSize(stream, forward, backward);
}

int32_t tvkGetVideoFrameBufferUtilization(VideoStream *stream, int32_t *forward, int32_t *backward) {
    const int32_t refusal = tvk::checkM(stream);
    return refusal ? refusal : tvk::getBufferUtilization(stream, forward, backward);
}

int32_t tvkGetBufferedVideoFrame(VideoStream *stream, int32_t index, VideoFrame **out) {
    const int32_t refusal = tvk::checkM(stream);
    return refusal ? refusal : tvk::getBufferedFrame(stream, index, out);
}

int32_t tvkSwapBuffer(VideoStream *stream) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::swapBuffer(stream);
}
