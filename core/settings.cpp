// SPDX-License-Identifier: BSD-2-Clause
// The settings of a stream: what each accepts, and the reconfiguration that follows.
#include "core/calls.h"
#include "core/handles.h"
#include "mpeg12/worker.h"

namespace tvk {

namespace {

enum Flag : uint32_t { flagIFramesOnly = 1, flagRingFollowsSeek = 2 };

constexpr uint32_t fourccOf(const char (&text)[5]) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<uint8_t>(text[i]);
    return value;
}

struct ConversionName {
    uint32_t upper, lower;
};

// In the order of conversionIndex.
constexpr ConversionName kConversions[] = {
    {fourccOf("YUY2"), fourccOf("yuy2")},
    {fourccOf("UYVY"), fourccOf("uyvy")},
    {fourccOf("YV12"), fourccOf("yv12")},
    {fourccOf("YVU9"), fourccOf("yvu9")},
};
static_assert(kConversions[0].upper == 0x32595559);

int32_t store(uint32_t *out, uint32_t value) {
    if (!out) return tvkErrInvalidArgument;
    *out = value;
    return 0;
}

int32_t checkFrameList(const int32_t *list, int32_t count) {
    if (!list || count < 1) return tvkErrInvalidArgument;
    for (int32_t i = 0; i < count; ++i) {
        if (list[i] < 1) return tvkErrInvalidArgument;
        if (i > 0 && list[i] <= list[i - 1]) return tvkErrFrameListOrder;
    }
    return 0;
}

}  // namespace

int32_t setFlags(VideoStream *stream, int32_t value) {
    const uint32_t flags = static_cast<uint32_t>(value);
    stream->settings.iFramesOnly = flags & flagIFramesOnly ? 1 : 0;
    stream->ring.ringFollowsSeek = flags & flagRingFollowsSeek ? 1 : 0;
    return reconfigure(stream);
}

int32_t getFlags(VideoStream *stream, uint32_t *out) {
    return store(out, (stream->settings.iFramesOnly ? flagIFramesOnly : 0u) |
                          (stream->ring.ringFollowsSeek ? flagRingFollowsSeek : 0u));
}

int32_t setReduceCoefficient(VideoStream *stream, int32_t value) {
    const bool reduced = value == 2 || value == 4 || value == 8;
    if (value != 1 && !(reduced && stream->settings.precision == 2)) return tvkErrInvalidArgument;
    stream->settings.reduceCoefficient = static_cast<uint32_t>(value);
    return reconfigure(stream);
}

int32_t getReduceCoefficient(VideoStream *stream, uint32_t *out) {
    return store(out, stream->settings.reduceCoefficient);
}

int32_t setPrecision(VideoStream *stream, int32_t value) {
    if (value != 1 && value != 2) return tvkErrInvalidArgument;
    if (stream->settings.reduceCoefficient != 1) return tvkErrInvalidArgument;
    stream->settings.precision = static_cast<uint32_t>(value);
    return reconfigure(stream);
}

int32_t getPrecision(VideoStream *stream, uint32_t *out) {
    return store(out, stream->settings.precision);
}

int32_t setFrameTypesToProcess(VideoStream *stream, int32_t value) {
    if (value < 1 || value > 3) return tvkErrInvalidArgument;
    stream->settings.frameTypesToProcess = static_cast<uint32_t>(value);
    return reconfigure(stream);
}

int32_t getFrameTypesToProcess(VideoStream *stream, uint32_t *out) {
    return store(out, stream->settings.frameTypesToProcess);
}

int32_t setThreads(VideoStream *stream, int32_t count) {
    if (count < 1) return tvkErrInvalidArgument;
    const uint32_t wanted = static_cast<uint32_t>(count);
    if (wanted == stream->threadCount) return 0;
    // Out of a callback: the contexts to be freed are the ones that are calling.
    if (isBusy(stream)) return tvkErrBusy;
    return replaceWorkers(stream, wanted) ? 0 : tvkErrOutOfMemory;
}

int32_t getThreads(VideoStream *stream, uint32_t *out) {
    return store(out, stream->threadCount);
}

int32_t setFrameList(VideoStream *stream, int32_t *list, int32_t count) {
    const int32_t refusal = checkFrameList(list, count);
    if (refusal) return refusal;
    Settings &settings = stream->settings;
    settings.lastListFrame = 0;
    settings.frameListCursor = 0;
    settings.frameList = list;
    settings.frameListCount = count;
    return reconfigure(stream);
}

int32_t getFrameList(VideoStream *stream, int32_t **list, int32_t *count) {
    if (!list || !count) return tvkErrInvalidArgument;
    *list = stream->settings.frameList;
    *count = stream->settings.frameListCount;
    return 0;
}

int32_t setPrescan(VideoStream *stream, int32_t value) {
    if (value != 0 && value != 1) return tvkErrInvalidArgument;
    VideoIndexTable &index = stream->index;
    if (value == 0 && !index.indexed && index.prescanRequested) freeIndex(index);
    index.prescanRequested = static_cast<uint32_t>(value);
    return reconfigure(stream);
}

// The edit arrays belong to the same record, which is freed as a whole.
int32_t setPrescanEdit(VideoStream *stream, int32_t value) {
    return setPrescan(stream, value);
}

int32_t getPrescan(VideoStream *stream, uint32_t *out) {
    return store(out, stream->index.prescanRequested);
}

int32_t setWorkMode(VideoStream *stream, int32_t mode) {
    if (mode < 0 || mode > 2) return tvkErrInvalidArgument;
    stream->settings.workMode = static_cast<uint32_t>(mode);
    return reconfigure(stream);
}

int32_t getWorkMode(VideoStream *stream, uint32_t *out) {
    return store(out, stream->settings.workMode);
}

int32_t setConversionType(VideoStream *stream, uint32_t fourcc) {
    uint32_t index = 0;
    for (const ConversionName &name : kConversions) {
        if (fourcc == name.upper || fourcc == name.lower) {
            stream->conversion.conversionType = fourcc;
            stream->conversion.conversionIndex = index;
            return 0;
        }
        ++index;
    }
    return tvkErrInvalidArgument;
}

int32_t getConversionType(VideoStream *stream, uint32_t *out) {
    return store(out, stream->conversion.conversionType);
}

}  // namespace tvk
