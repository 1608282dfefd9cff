// SPDX-License-Identifier: BSD-2-Clause
// Raising the events that the user callback is told of.
#pragma once

#include <cstdint>

#include "core/stream.h"
#include "tvk.h"

namespace tvk {

enum EventCode : uint32_t {
    eventSequenceHeader = 1,
    eventSequenceExtension = 2,
    eventSequenceDisplay = 3,
    eventQuantMatrix = 4,
    eventCopyright = 5,
    eventGroup = 6,
    eventPictureHeader = 7,
    eventPictureCoding = 8,
    eventPictureDisplay = 9,
    eventSlice = 10,
    eventMacroblock = 11,
    eventUserData = 13,
    eventMacroblockDone = 14,
    eventMacroblockDoneInter = 15,
    eventBadCode = 0x80000001
};

// What the memory manager is told, with the pointer that comes along.
enum MemoryCommand : int32_t {
    memoryFramesReplaced = 0,  // workFrame[0]
    memoryDestroy = 1,         // the array of working frames
    memoryPictureBegins = 2,   // currentFrame, which is to get its externalBuffer
    memoryPictureEnds = 3      // currentFrame
};

// An invalid code in a slice, on whichever thread meets it: the record of worker 0 that holds this event alone.
void raiseBadCode(VideoStream *stream);

// The event record of worker 0, in which sequence, group and picture events go out.
CallbackEvent *streamEvent(VideoStream *stream);

// Calls the user callback with the record as it stands; without a callback nothing happens.
inline void raiseEvent(VideoStream *stream, CallbackEvent *event, uint32_t code) {
    const VideoUserCallback callback = stream->callbacks.userCallback;
    if (!callback) return;
    event->eventCode = code;
    callback(event);
}

// raiseRecord(stream, eventGroup, &CallbackEvent::groupOfPictures, &record): the member points at the record for the
// length of the call. On the stream's own thread only.
template <class Record>
void raiseRecord(VideoStream *stream, uint32_t code, const Record *CallbackEvent::*member, const Record *record) {
    if (!stream->callbacks.userCallback) return;
    CallbackEvent *event = streamEvent(stream);
    event->*member = record;
    raiseEvent(stream, event, code);
    event->*member = nullptr;
}

}  // namespace tvk
