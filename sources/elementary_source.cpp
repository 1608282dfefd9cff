// SPDX-License-Identifier: BSD-2-Clause
// The description, the parameters and the operation table of a source.
#include "sources/elementary_source.h"

#include <cstring>

#include "sources/container.h"
#include "sources/content.h"

namespace tvk::elementary {
namespace {

constexpr uint32_t kContainerElementary = 1;
constexpr uint32_t kContainerMultiplex = 2;

enum Parameter : uint32_t {
    parameterFingerprint = 0,
    parameterOwnBuffer = 8,
    parameterLayer = 9,
    parameterMultiplexRate = 11,
    parameterVideoRate = 12,
    parameterSize = 14
};

enum OpenCloseOperation : uint32_t { operationOpen = 1, operationClose = 2 };

void addLayer(StreamDescription &description, int32_t layer) {
    if (description.layers == nullptr || description.layerCount >= description.layerCapacity) return;
    description.layers[description.layerCount++] = {static_cast<uint32_t>(layer), 0, 1};
}

// The decoder takes the first layer that may be used: the one that is chosen stands first.
int32_t describe(VideoSource *table, StreamDescription *description) {
    if (table == nullptr || description == nullptr) return tvkErrInvalidArgument;
    const ElementarySource &source = *sourceOf(table);
    description->containerKind = source.container != nullptr ? kContainerMultiplex : kContainerElementary;
    description->layerKind = 0;
    description->videoStreamCount = 1;
    description->layerCount = 0;
    addLayer(*description, source.container != nullptr ? source.activeLayer : kFirstLayer);
    if (source.container == nullptr) return 0;
    const Demuxer &demuxer = *source.container->demuxer;
    for (int i = 0; i < trackCount(demuxer); ++i) {
        if (i != chosenTrack(demuxer)) addLayer(*description, trackOf(demuxer, i).layer);
    }
    return 0;
}

// An index belongs to one video stream of a container, on machines of either byte order.
int32_t getFingerprint(ElementarySource &source, void *out) {
    uint64_t value;
    if (source.raw.sequential) return tvkSourceErrNoSeek;
    const int32_t failure = fingerprint(source.raw, value);
    if (failure != 0) return failure;
    if (source.container != nullptr) value ^= static_cast<uint64_t>(source.activeLayer);
    for (size_t i = 0; i < sizeof value; ++i) static_cast<uint8_t *>(out)[i] = static_cast<uint8_t>(value >> 8 * i);
    return 0;
}

// Of a container by its length in time, since no header tells it for all kinds.
uint32_t multiplexRate(ElementarySource &source) {
    if (source.container == nullptr) return source.bitRate;
    const double seconds = containerSeconds(source);
    if (seconds <= 0.0 || source.raw.size == kEndUnknown) return source.bitRate;
    const double rate = static_cast<double>(source.raw.size) * 8.0 / seconds;
    return rate < 4294967295.0 ? static_cast<uint32_t>(rate) : 0xFFFFFFFF;
}

int32_t setLayer(ElementarySource &source, const void *value) {
    int32_t layer;
    std::memcpy(&layer, value, sizeof layer);
    if (layer < kFirstLayer || layer > kLastLayer) return tvkErrPositionOutOfRange;
    if (source.container != nullptr) return chooseContainerLayer(source, layer);
    source.activeLayer = layer;
    return 0;
}

int32_t getParameter(VideoSource *table, uint32_t, uint32_t number, void *out) {
    if (table == nullptr || out == nullptr) return tvkErrInvalidArgument;
    ElementarySource &source = *sourceOf(table);
    const uint32_t ownBuffer = (source.flags & tvkSourceFillsBuffer) == 0;
    const uint64_t size = source.raw.size == kEndUnknown ? 0 : source.raw.size;
    const uint32_t sizeWords[2] = {static_cast<uint32_t>(size >> 32), static_cast<uint32_t>(size)};
    uint32_t rate;
    switch (number) {
        case parameterFingerprint:
            return getFingerprint(source, out);
        case parameterOwnBuffer:
            std::memcpy(out, &ownBuffer, sizeof ownBuffer);
            return 0;
        case parameterLayer:
            std::memcpy(out, &source.activeLayer, sizeof source.activeLayer);
            return 0;
        case parameterMultiplexRate:
            rate = multiplexRate(source);
            std::memcpy(out, &rate, sizeof rate);
            return 0;
        case parameterSize:
            std::memcpy(out, sizeWords, sizeof sizeWords);
            return 0;
        default:
            return tvkSourceErrNoParameter;
    }
}

int32_t setParameter(VideoSource *table, uint32_t, uint32_t number, const void *value) {
    if (table == nullptr || value == nullptr) return tvkErrInvalidArgument;
    ElementarySource &source = *sourceOf(table);
    switch (number) {
        case parameterLayer:
            return setLayer(source, value);
        case parameterVideoRate:
            std::memcpy(&source.bitRate, value, sizeof source.bitRate);
            return 0;
        default:
            return tvkSourceErrNoParameter;
    }
}

int32_t openClose(VideoSource *table, uint32_t *decoderId, uint32_t operation) {
    if (table == nullptr) return tvkErrInvalidArgument;
    ElementarySource &source = *sourceOf(table);
    if (operation == operationOpen) {
        if (decoderId == nullptr) return tvkErrInvalidArgument;
        *decoderId = 0;  // one stream to a source: there is nothing to tell apart
        const int32_t failure = moveToStart(source);
        if (failure == 0) source.closed = false;
        return failure;
    }
    if (operation != operationClose) return tvkErrInvalidArgument;
    source.closed = true;
    return 0;
}

}  // namespace

void initSource(ElementarySource &source, uint32_t flags) {
    source.table.readUnit = readUnit;
    source.table.describe = describe;
    source.table.getAbsPosition = getAbsPosition;
    source.table.seekAbsPosition = seekAbsPosition;
    source.table.getRatePosition = getRatePosition;
    source.table.seekRatePosition = seekRatePosition;
    source.table.seekTimePosition = seekTimePosition;
    source.table.getParameter = getParameter;
    source.table.setParameter = setParameter;
    source.table.openClose = openClose;
    source.flags = flags;
    if (source.container == nullptr) source.activeLayer = kFirstLayer;
}

}  // namespace tvk::elementary
