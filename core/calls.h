// SPDX-License-Identifier: BSD-2-Clause
// What stands behind the exported calls: one implementing function each, by the file group that owns it. The wrapper
// has checked the handle; whatever else a call tests, the implementing function tests.
#pragma once

#include <cstdint>

#include "core/stream.h"
#include "output/convert.h"  // convertFrame, convertFramePlanes
#include "output/save.h"     // saveFrame
#include "tvk.h"

namespace tvk {

// core/life_cycle.cpp
int32_t createStream(VideoStream **out, VideoSource *source);
int32_t destroyStream(VideoStream *stream);
int32_t getLibraryVersion(const VersionRecord **out);

// core/source_calls.cpp
int32_t connectSource(VideoStream *stream);
int32_t disconnectSource(VideoStream *stream);
int32_t describeSource(VideoStream *stream, StreamDescription *out);
int32_t setActiveLayer(VideoStream *stream, int32_t layer);
int32_t getActiveLayer(VideoStream *stream, int32_t *out);
int32_t getAbsPosition(VideoStream *stream, AbsPosition *out);
int32_t getRatePosition(VideoStream *stream, double *out);

// core/facts.cpp
int32_t getDecoderId(VideoStream *stream, uint32_t *out);
int32_t getStreamType(VideoStream *stream, uint32_t *out);
int32_t getDeliveredFrame(VideoStream *stream, VideoFrame **out);

// syntax/stream_info.cpp
int32_t getStreamInfo(VideoStream *stream, VideoStreamInfo *out);

// pipeline: stepping. The `next` forms go through the ring when one is configured and handle the status; `out` of the
// `getNext` forms is tested for null and set to null on failure.
int32_t nextFrame(VideoStream *stream);
int32_t nextFrameStreamOrder(VideoStream *stream);
int32_t getNextFrame(VideoStream *stream, VideoFrame **out);
int32_t getNextFrameStreamOrder(VideoStream *stream, VideoFrame **out);
int32_t getNextFrameEdit(VideoStream *stream, VideoFrame **out);
int32_t getNextFrameBin(VideoStream *stream, VideoFrame **out);
int32_t prevFrame(VideoStream *stream);
int32_t getPrevFrame(VideoStream *stream, VideoFrame **out);
int32_t countFrames(VideoStream *stream, uint32_t *out);
int32_t getLastFrameNumber(VideoStream *stream, uint32_t *out);
int32_t getSequenceHeader(VideoStream *stream, VideoFrame **out);
int32_t swapBuffer(VideoStream *stream);

// pipeline: the frame loops that the step pointers are set to by core/reconfigure.cpp.
int32_t stepForward(VideoStream *stream);
int32_t stepStreamOrder(VideoStream *stream);
int32_t stepEdit(VideoStream *stream);
int32_t stepBinary(VideoStream *stream);
int32_t stepAdjustableSpeed(VideoStream *stream);
int32_t stepFrameList(VideoStream *stream);

// pipeline: random access and positions.
int32_t setFrameNumber(VideoStream *stream, int32_t number);
int32_t setFrameNumberEdit(VideoStream *stream, int32_t number);
int32_t setFrameNumberBin(VideoStream *stream, int32_t number);
int32_t getBinaryStartEnd(VideoStream *stream, int32_t *first, int32_t *last);
int32_t setAbsPosition(VideoStream *stream, const AbsPosition &position);
int32_t setRatePosition(VideoStream *stream, double rate);
int32_t setRatePositionEdit(VideoStream *stream, double rate);
int32_t setTimePosition(VideoStream *stream, double seconds);
int32_t getTimePosition(VideoStream *stream, double *out);

// pipeline: index table. freeIndex frees all arrays and zeroes the record, prescanRequested included;
// dropUnfinishedIndex does so to a table that a prescan has not completed, with or without the edit arrays.
int32_t createIndex(VideoStream *stream);
int32_t createIndexEdit(VideoStream *stream, int32_t mode);
int32_t readIndex(VideoStream *stream, const char *path);
int32_t writeIndex(VideoStream *stream, const char *path);
int32_t isIndexed(VideoStream *stream);
void freeIndex(VideoIndexTable &index);

// pipeline: ring. destroyRing clears all fields, the sizes and ringFollowsSeek included, and deliveredFrame when that
// is one of the ring's frames.
void destroyRing(VideoStream *stream);
int32_t setBufferSize(VideoStream *stream, int32_t forward, int32_t backward);
int32_t getBufferSize(VideoStream *stream, uint32_t *forward, uint32_t *backward);
int32_t getBufferUtilization(VideoStream *stream, int32_t *forward, int32_t *backward);
int32_t getBufferedFrame(VideoStream *stream, int32_t index, VideoFrame **out);

// pipeline: the working frames that were replaced; destruction calls it.
void destroyRetiredFrames(VideoStream *stream);

// core/settings.cpp
int32_t setFlags(VideoStream *stream, int32_t value);
int32_t getFlags(VideoStream *stream, uint32_t *out);
int32_t setReduceCoefficient(VideoStream *stream, int32_t value);
int32_t getReduceCoefficient(VideoStream *stream, uint32_t *out);
int32_t setFrameTypesToProcess(VideoStream *stream, int32_t value);
int32_t getFrameTypesToProcess(VideoStream *stream, uint32_t *out);
int32_t setThreads(VideoStream *stream, int32_t count);
int32_t getThreads(VideoStream *stream, uint32_t *out);
int32_t setFrameList(VideoStream *stream, int32_t *list, int32_t count);
int32_t getFrameList(VideoStream *stream, int32_t **list, int32_t *count);
int32_t setPrescan(VideoStream *stream, int32_t value);
int32_t setPrescanEdit(VideoStream *stream, int32_t value);
int32_t getPrescan(VideoStream *stream, uint32_t *out);
int32_t setPrecision(VideoStream *stream, int32_t value);
int32_t getPrecision(VideoStream *stream, uint32_t *out);
int32_t setWorkMode(VideoStream *stream, int32_t mode);
int32_t getWorkMode(VideoStream *stream, uint32_t *out);
int32_t setConversionType(VideoStream *stream, uint32_t fourcc);
int32_t getConversionType(VideoStream *stream, uint32_t *out);

// core/speed.cpp
int32_t setAdjustableSpeed(VideoStream *stream, int32_t command);

// core/callbacks.cpp
int32_t setUserCallback(VideoStream *stream, VideoUserCallback callback, uint32_t userValue);
int32_t setMemoryManager(VideoStream *stream, VideoMemoryManager manager, int32_t slots);
int32_t getMemoryManager(VideoStream *stream, void **callback, uint32_t *slots);
int32_t setMemoryAvailable(VideoStream *stream, int32_t slot);

// core/reconfigure.cpp: turns the settings into chosen functions. The only writer of the step and stage pointers.
int32_t reconfigure(VideoStream *stream);

}  // namespace tvk
