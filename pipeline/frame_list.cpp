// SPDX-License-Identifier: BSD-2-Clause
// The loop of work mode 2: only the frames of the application's list, each at the least cost.
#include "core/calls.h"
#include "pipeline/access.h"
#include "pipeline/index_table.h"

namespace tvk {

namespace {

int32_t listedFrame(const Settings &settings) {
    return settings.frameList[settings.frameListCursor];
}

// Entries that the I frame just served covers are done. One that lies behind it keeps its turn, and the same I frame
// is served again.
void passServedEntries(Settings &settings) {
    if (listedFrame(settings) > settings.lastListFrame) return;
    while (settings.frameListCursor < settings.frameListCount && listedFrame(settings) <= settings.lastListFrame)
        ++settings.frameListCursor;
}

int32_t rollFromEntry(VideoStream *stream, uint32_t entry, int32_t target) {
    clearFrames(stream);
    const int32_t moved = moveToEntry(stream, entry);
    return moved != 0 ? moved : rollForward(stream, target);
}

// A roll that waits for data goes on from where it stands.
bool isWaiting(const VideoStream *stream) {
    return stream->status == statusWaitingForData;
}

int32_t serveNearestIFrame(VideoStream *stream) {
    const VideoIndexTable &index = stream->index;
    Settings &settings = stream->settings;
    if (index.entryCount == 0) return tvkErrFailed;
    const uint32_t entry = entryForFrame(index, listedFrame(settings));
    const int32_t number = index.displayNumbers[entry];
    const int32_t result = isWaiting(stream) ? rollForward(stream, number) : rollFromEntry(stream, entry, number);
    if (result != 0) return result;
    settings.lastListFrame = number;
    passServedEntries(settings);
    return 0;
}

// The setting stays at I pictures.
int32_t serveNextIFrame(VideoStream *stream) {
    Settings &settings = stream->settings;
    settings.frameTypesToProcess = pictureI;
    const int32_t result = stepForward(stream);
    if (result != 0) return result;
    settings.lastListFrame = stream->frames.deliveredFrame->frameNumber;
    passServedEntries(settings);
    return 0;
}

// From where the stream stands when the target lies ahead in the same group, and from its I picture otherwise.
int32_t rollToIndexed(VideoStream *stream, int32_t target) {
    Settings &settings = stream->settings;
    const VideoFrame *delivered = stream->frames.deliveredFrame;
    const uint32_t entry = entryForFrame(stream->index, target);
    const bool sameEntry = static_cast<int32_t>(entry) == settings.lastListEntry;
    if (isWaiting(stream) || (sameEntry && (!delivered || target > delivered->frameNumber)))
        return rollForward(stream, target);
    settings.lastListEntry = static_cast<int32_t>(entry);
    return rollFromEntry(stream, entry, target);
}

int32_t serveListedFrame(VideoStream *stream) {
    Settings &settings = stream->settings;
    const int32_t target = listedFrame(settings);
    const int32_t result = hasIndex(stream->index) ? rollToIndexed(stream, target) : rollForward(stream, target);
    if (result != tvkErrNeedData) ++settings.frameListCursor;
    return result;
}

}  // namespace

int32_t stepFrameList(VideoStream *stream) {
    const Settings &settings = stream->settings;
    if (settings.frameListCursor >= settings.frameListCount) return tvkErrFrameListEnd;
    if (!settings.iFramesOnly) return serveListedFrame(stream);
    return hasIndex(stream->index) ? serveNearestIFrame(stream) : serveNextIFrame(stream);
}

}  // namespace tvk
