// SPDX-License-Identifier: BSD-2-Clause
// Exported calls: settings and callbacks.
#include "core/calls.h"
#include "core/handles.h"
#include "tvk.h"

int32_t tvkSetVideoSP_Flags(VideoStream *stream, int32_t value) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::setFlags(stream, value);
}

int32_t tvkGetVideoSP_Flags(VideoStream *stream, uint32_t *out) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getFlags(stream, out);
}

int32_t tvkSetVideoSP_ReduceCoefficient(VideoStream *stream, int32_t value) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::setReduceCoefficient(stream, value);
}

int32_t tvkGetVideoSP_ReduceCoefficient(VideoStream *stream, uint32_t *out) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getReduceCoefficient(stream, out);
}

int32_t tvkSetVideoSP_FrameTypesToProcess(VideoStream *stream, int32_t value) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::setFrameTypesToProcess(stream, value);
}

int32_t tvkGetVideoSP_FrameTypesToProcess(VideoStream *stream, uint32_t *out) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getFrameTypesToProcess(stream, out);
}

// The two thread calls pass while a step is running, and have a code of their own for a foreign kind.
static int32_t checkForThreads(const VideoStream *stream) {
    const int32_t refusal = tvk::checkM(stream);
    return refusal ? refusal : tvk::checkKind(stream, tvkErrNoThreads);
}

int32_t tvkSetVideoSP_Threads(VideoStream *stream, int32_t count) {
    const int32_t refusal = checkForThreads(stream);
    return refusal ? refusal : tvk::setThreads(stream, count);
}

int32_t tvkGetVideoSP_Threads(VideoStream *stream, uint32_t *out) {
    const int32_t refusal = checkForThreads(stream);
    return refusal ? refusal : tvk::getThreads(stream, out);
}

int32_t tvkSetVideoSP_FrameList(VideoStream *stream, int32_t *list, int32_t count) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::setFrameList(stream, list, count);
}

int32_t tvkGetVideoSP_FrameList(VideoStream *stream, int32_t **list, int32_t *count) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getFrameList(stream, list, count);
}

// Prescan and precision report success whatever came of it: applications were written against that.
int32_t tvkSetVideoSP_Prescan(VideoStream *stream, int32_t value) {
    const int32_t refusal = tvk::checkAK(stream);
    if (!refusal) tvk::setPrescan(stream, value);
    return refusal;
}

int32_t tvkSetVideoSP_PrescanEdit(VideoStream *stream, int32_t value) {
    const int32_t refusal = tvk::checkAK(stream);
    if (!refusal) tvk::setPrescanEdit(stream, value);
    return refusal;
}

int32_t tvkGetVideoSP_Prescan(VideoStream *stream, uint32_t *out) {
    const int32_t refusal = tvk::checkMK(stream);
    if (!refusal) tvk::getPrescan(stream, out);
    return refusal;
}

int32_t tvkSetVideoSP_Precision(VideoStream *stream, int32_t value) {
    const int32_t refusal = tvk::checkAK(stream);
    if (!refusal) tvk::setPrecision(stream, value);
    return refusal;
}

int32_t tvkGetVideoSP_Precision(VideoStream *stream, uint32_t *out) {
    const int32_t refusal = tvk::checkMK(stream);
    if (!refusal) tvk::getPrecision(stream, out);
    return refusal;
}

int32_t tvkSetVideoWorkMode(VideoStream *stream, int32_t mode) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::setWorkMode(stream, mode);
}

int32_t tvkGetVideoWorkMode(VideoStream *stream, uint32_t *out) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getWorkMode(stream, out);
}

int32_t tvkSetVideoAdjustableSpeed(VideoStream *stream, int32_t command) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::setAdjustableSpeed(stream, command);
}

int32_t tvkSetVideoConversionType(VideoStream *stream, uint32_t fourcc) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::setConversionType(stream, fourcc);
}

int32_t tvkGetVideoConversionType(VideoStream *stream, uint32_t *out) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getConversionType(stream, out);
}

int32_t tvkSetVideoUserCallback(VideoStream *stream, VideoUserCallback callback, uint32_t userValue) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::setUserCallback(stream, callback, userValue);
}

int32_t tvkSetMemoryManager(VideoStream *stream, VideoMemoryManager manager, int32_t slots) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : tvk::setMemoryManager(stream, manager, slots);
}

int32_t tvkGetMemoryManager(VideoStream *stream, void **callback, uint32_t *slots) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : tvk::getMemoryManager(stream, callback, slots);
}

// The application may hand a slot back at any moment, so nothing is read but what the call needs.
int32_t tvkSetMemoryAvailable(VideoStream *stream, int32_t slot) {
    if (!stream) return tvkErrInvalidArgument;
    if (!tvk::isLiveHandle(stream)) return tvkErrBadHandle;
    const int32_t refusal = tvk::checkKind(stream);
    return refusal ? refusal : tvk::setMemoryAvailable(stream, slot);
}

// Settings and objects of other coding families, which keep their places among the exports.
int32_t tvkSetVideoSP_VOPTypesToProcess(VideoStream *stream, int32_t) {
    const int32_t refusal = tvk::checkAK(stream);
    return refusal ? refusal : static_cast<int32_t>(tvkErrNoVOP);
}

int32_t tvkGetVideoSP_VOPTypesToProcess(VideoStream *stream, uint32_t *) {
    const int32_t refusal = tvk::checkMK(stream);
    return refusal ? refusal : static_cast<int32_t>(tvkErrNoVOP);
}

int32_t tvkGetNextFAPPlain(VideoStream *stream, void *) {
    const int32_t refusal = tvk::checkA(stream);
    return refusal ? refusal : static_cast<int32_t>(tvkErrWrongDecoderKind);
}

int32_t tvkGetNextFAPSegment(VideoStream *stream, void *unused) {
    return tvkGetNextFAPPlain(stream, unused);
}
