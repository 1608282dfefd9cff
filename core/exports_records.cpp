// SPDX-License-Identifier: BSD-2-Clause
// Exported calls: frame records, their conversion and the files made of them.
#include "core/calls.h"
#include "core/handles.h"
#include "pipeline/frame.h"
#include "tvk.h"

int32_t tvkCreateVideoFrame(VideoStream *stream, VideoFrame **frame) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::createFrameForStream(stream, frame);
}

int32_t tvkCreateVideoFrameWHC(VideoFrame **frame, int32_t width, int32_t height, int32_t chromaFormat) {
    return tvk::createFrame(frame, width, height, chromaFormat);
}

int32_t tvkCopyVideoFrame(const VideoFrame *source, VideoFrame *target) {
    return tvk::copyFrame(source, target);
}

// The MT forms take a stream for the callers' sake and do not look at it.
int32_t tvkCopyVideoFrameMT(VideoStream *, const VideoFrame *source, VideoFrame *target) {
    return tvk::copyFrame(source, target);
}

int32_t tvkDuplicateVideoFrame(const VideoFrame *source, VideoFrame **target) {
    return tvk::duplicateFrame(source, target);
}

int32_t tvkDuplicateVideoFrameMT(VideoStream *, const VideoFrame *source, VideoFrame **target) {
    return tvk::duplicateFrame(source, target);
}

int32_t tvkDestroyVideoFrame(VideoFrame *frame) {
    if (!frame) return tvkErrInvalidArgument;
    tvk::destroyFrame(frame);
    return 0;
}

int32_t tvkConvertVideoFrame(const VideoFrame *frame, int32_t target, uint8_t *buffer, int32_t stride, int32_t rows,
                             int32_t channels) {
    return tvk::convertFrame(frame, target, buffer, stride, rows, channels);
}

int32_t tvkConvertVideoFrameEx(const VideoFrame *frame, int32_t target, uint8_t *first, uint8_t *second, uint8_t *third,
                               int32_t stride, int32_t channels) {
    return tvk::convertFramePlanes(frame, target, first, second, third, stride, channels);
}

int32_t tvkConvertVideoFrameMT(VideoStream *, const VideoFrame *frame, int32_t target, uint8_t *buffer, int32_t stride,
                               int32_t rows, int32_t channels) {
    return tvk::convertFrame(frame, target, buffer, stride, rows, channels);
}

int32_t tvkSaveVideoFrameToFile(const VideoFrame *frame, const char *name, uint32_t format) {
    return tvk::saveFrame(frame, name, format);
}
