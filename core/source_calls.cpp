// SPDX-License-Identifier: BSD-2-Clause
// Everything that the library asks of its source but the reads of units.
#include "core/source_calls.h"

#include <iterator>

#include "core/calls.h"
#include "core/memory.h"
#include "input/video_input.h"

namespace tvk {

namespace {

enum OpenCloseOperation : uint32_t { operationOpen = 1, operationClose = 2 };

constexpr int32_t kFirstLayer = 480;  // stream id E0 with 0x100 added
constexpr int32_t kLastLayer = 495;
constexpr uint32_t kLayerCapacity = 256;

enum ContainerKind : uint32_t { containerElementary = 1, containerMultiplex = 2 };

void tellBitRate(VideoStream *stream) {
    const uint32_t bitRate = stream->headers.sequence.bitRate;
    stream->source->setParameter(stream->source, stream->decoderId, parameterVideoRate, &bitRate);
}

// What every seek ends with, whether it succeeded or not.
int32_t forgetLoadedUnit(VideoStream *stream, int32_t seekResult) {
    stream->input->unit->entryCount = 0;
    resetVideoInput(stream->input);
    return seekResult;
}

uint32_t toFrameCount(double frames) {
    if (!(frames > 0.0)) return 0;
    return frames < 4294967295.0 ? static_cast<uint32_t>(frames) : 0xFFFFFFFF;
}

// The halves of the size are scaled apart, so that no product outgrows the whole numbers of a double.
uint32_t framesOf(const TotalSize &size, double framesPerSecond, uint32_t bitRate) {
    if (bitRate == 0) return 0;
    const double high = size.high * framesPerSecond * 8.0 / bitRate * 4294967296.0;
    const double low = size.low * framesPerSecond * 8.0 / bitRate;
    return toFrameCount(high + low);
}

uint32_t bitRateOfContainer(VideoStream *stream) {
    StreamDescription description = {};
    stream->source->describe(stream->source, &description);
    if (description.containerKind == containerElementary) return stream->headers.sequence.bitRate;
    uint32_t bitRate = 0;
    if (description.containerKind == containerMultiplex) sourceParameter(stream, parameterMultiplexRate, &bitRate);
    return bitRate;
}

// The layer of the first usable record. The record behind the last one counts too, if the source filled it.
int32_t firstUsableLayer(const VideoLayer *layers, uint32_t layerCount) {
    for (uint32_t i = 0; i <= layerCount && i < kLayerCapacity; ++i)
        if (layers[i].layerUsable == 1) return static_cast<int32_t>(layers[i].layerId);
    return kFirstLayer;
}

int32_t findDefaultLayer(VideoStream *stream, int32_t *layer) {
    VideoLayer *layers = allocateArray<VideoLayer>(kLayerCapacity);
    if (!layers) return tvkErrOutOfMemory;
    StreamDescription description = {};
    description.layerCapacity = kLayerCapacity;
    description.layers = layers;
    const int32_t result = stream->source->describe(stream->source, &description);
    *layer = firstUsableLayer(layers, description.layerCount);
    release(layers);
    if (result != 0) return result;
    return description.videoStreamCount == 0 ? tvkErrWrongDecoderKind : 0;
}

}  // namespace

int32_t connectSource(VideoStream *stream) {
    if (stream->connected == 1) return 0;
    const int32_t result = stream->source->openClose(stream->source, &stream->decoderId, operationOpen);
    if (result == 0) stream->connected = 1;
    return result;
}

int32_t disconnectSource(VideoStream *stream) {
    if (stream->connected == 0) return 0;
    takeRest(stream->input);
    const int32_t result = stream->source->openClose(stream->source, &stream->decoderId, operationClose);
    if (result == 0) stream->connected = 0;
    return result;
}

int32_t selectDefaultLayer(VideoStream *stream) {
    int32_t layer = kFirstLayer;
    const int32_t found = findDefaultLayer(stream, &layer);
    if (found != 0) return found;
    const int32_t set = stream->source->setParameter(stream->source, stream->decoderId, parameterActiveLayer, &layer);
    return set < 0 ? set : 0;
}

int32_t describeSource(VideoStream *stream, StreamDescription *out) {
    return out ? stream->source->describe(stream->source, out) : tvkErrInvalidArgument;
}

int32_t setActiveLayer(VideoStream *stream, int32_t layer) {
    if (layer < kFirstLayer || layer > kLastLayer) return tvkErrPositionOutOfRange;
    takeRest(stream->input);  // what the source goes on to may take the place of what it has lent
    return stream->source->setParameter(stream->source, stream->decoderId, parameterActiveLayer, &layer);
}

int32_t getActiveLayer(VideoStream *stream, int32_t *out) {
    return out ? sourceParameter(stream, parameterActiveLayer, out) : tvkErrInvalidArgument;
}

int32_t seekAbs(VideoStream *stream, const AbsPosition &position) {
    tellBitRate(stream);
    return forgetLoadedUnit(stream, stream->source->seekAbsPosition(stream->source, stream->decoderId, &position));
}

int32_t seekRate(VideoStream *stream, double rate) {
    tellBitRate(stream);
    return forgetLoadedUnit(stream, stream->source->seekRatePosition(stream->source, stream->decoderId, &rate));
}

int32_t seekTime(VideoStream *stream, double seconds) {
    tellBitRate(stream);
    return forgetLoadedUnit(stream, stream->source->seekTimePosition(stream->source, stream->decoderId, &seconds));
}

uint32_t readOffset(const VideoStream *stream) {
    return BytePosition(stream->input->reader);
}

double ratePositionOfPicture(VideoStream *stream) {
    if (!stream) return -1.0;
    const PictureUnit *unit = stream->input->unit;
    const int32_t capacity = static_cast<int32_t>(std::size(unit->startOffsets));
    if (unit->entryCount < 1 || unit->entryCount > capacity) return -1.0;
    double rate = -1.0;
    ratePositionAt(stream, unit->startOffsets[unit->entryCount - 1], &rate);
    return rate;
}

int32_t ratePositionAt(VideoStream *stream, uint32_t unitOffset, double *out) {
    return stream->source->getRatePosition(stream->source, stream->decoderId, unitOffset, out);
}

int32_t ratePositionOfReader(VideoStream *stream, double *out) {
    return ratePositionAt(stream, readOffset(stream), out);
}

int32_t absPositionOfReader(VideoStream *stream, AbsPosition *out) {
    return stream->source->getAbsPosition(stream->source, stream->decoderId, readOffset(stream), out);
}

int32_t getAbsPosition(VideoStream *stream, AbsPosition *out) {
    return out ? absPositionOfReader(stream, out) : tvkErrInvalidArgument;
}

int32_t getRatePosition(VideoStream *stream, double *out) {
    if (!out) return tvkErrInvalidArgument;
    // The one caller that counts in words: sources have been written against it.
    const BitReader &reader = stream->input->reader;
    return ratePositionAt(stream, static_cast<uint32_t>(reader.wordPointer - reader.bufferStart), out);
}

int32_t sourceParameter(VideoStream *stream, uint32_t number, void *out) {
    return stream->source->getParameter(stream->source, stream->decoderId, number, out);
}

int32_t totalSize(VideoStream *stream, TotalSize *out) {
    uint32_t words[2] = {};
    const int32_t result = sourceParameter(stream, parameterTotalSize, words);
    *out = result == 0 ? TotalSize{words[0], words[1]} : TotalSize{};
    return result;
}

uint32_t estimateFramesOfContainer(VideoStream *stream) {
    TotalSize size;
    totalSize(stream, &size);
    return framesOf(size, static_cast<double>(stream->frames.framesPerSecond), bitRateOfContainer(stream));
}

uint32_t estimateFramesOfSequence(VideoStream *stream) {
    TotalSize size;
    totalSize(stream, &size);
    return framesOf(size, static_cast<double>(stream->frames.framesPerSecond), stream->headers.sequence.bitRate);
}

}  // namespace tvk
