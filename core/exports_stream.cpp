// SPDX-License-Identifier: BSD-2-Clause
// Exported calls: creation and source, stream facts and layers.
#include "core/calls.h"
#include "core/handles.h"
#include "tvk.h"

int32_t tvkCreateVideoStream(VideoStream **out, VideoSource *source) {
    return tvk::createStream(out, source);
}

int32_t tvkConnectVideoStream(VideoStream *stream) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::connectSource(stream);
}

int32_t tvkDisconnectVideoStream(VideoStream *stream) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::disconnectSource(stream);
}

int32_t tvkDestroyVideoStream(VideoStream *stream) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::destroyStream(stream);
}

int32_t tvkTestVideoStream(VideoStream *stream, StreamDescription *out) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::describeSource(stream, out);
}

int32_t tvkGetVideoDecoderID(VideoStream *stream, uint32_t *out) {
    const int32_t refusal = tvk::checkM(stream);
    return refusal ? refusal : tvk::getDecoderId(stream, out);
}

int32_t tvkGetVideoStreamInfo(VideoStream *stream, VideoStreamInfo *out) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getStreamInfo(stream, out);
}

int32_t tvkGetVideoStreamType(VideoStream *stream, uint32_t *out) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getStreamType(stream, out);
}

int32_t tvkGetSequenceHeader(VideoStream *stream, VideoFrame **out) {
    return tvk::runAlone(stream, tvk::getSequenceHeader, out);
}

int32_t tvkSetActiveVideoLayer(VideoStream *stream, int32_t layer) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::setActiveLayer(stream, layer);
}

int32_t tvkGetActiveVideoLayer(VideoStream *stream, int32_t *out) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getActiveLayer(stream, out);
}

int32_t tvkGetVideoLibraryVersion(const VersionRecord **out) {
    return tvk::getLibraryVersion(out);
}
