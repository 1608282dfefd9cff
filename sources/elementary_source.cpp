// SPDX-License-Identifier: BSD-2-Clause
// The description, the parameters and the operation table of a source.
#include "sources/elementary_source.h"

#include <cstring>

#include "sources/content.h"

namespace tvk::elementary {
namespace {

constexpr int32_t kFirstLayer = 480;
constexpr int32_t kLastLayer = 495;
constexpr uint32_t kContainerElementary = 1;

enum Parameter : uint32_t {
    parameterFingerprint = 0,
    parameterOwnBuffer = 8,
    parameterLayer = 9,
    parameterMultiplexRate = 11,
    parameterVideoRate = 12,
    parameterSize = 14
};

enum OpenCloseOperation : uint32_t { operationOpen = 1, operationClose = 2 };

int32_t describe(VideoSource *table, StreamDescription *description) {
    if (table == nullptr || description == nullptr) return tvkErrInvalidArgument;
    description->containerKind = kContainerElementary;
    description->layerKind = 0;
    description->videoStreamCount = 1;
    description->layerCount = 0;
    if (description->layers != nullptr && description->layerCapacity > 0) {
        description->layers[0] = {static_cast<uint32_t>(kFirstLayer), 0, 1};
        description->layerCount = 1;
    }
    return 0;
}

int32_t getFingerprint(ElementarySource &source, void *out) {
    uint64_t value;
    if (!fingerprint(source.window, value)) return source.window.failure;
    std::memcpy(out, &value, sizeof value);
    return 0;
}

int32_t getParameter(VideoSource *table, uint32_t, uint32_t number, void *out) {
    if (table == nullptr || out == nullptr) return tvkErrInvalidArgument;
    ElementarySource &source = *sourceOf(table);
    const uint32_t ownBuffer = (source.flags & tvkSourceOwnsBuffer) != 0;
    const uint64_t size = source.window.size;
    const uint32_t sizeWords[2] = {static_cast<uint32_t>(size >> 32), static_cast<uint32_t>(size)};
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
            std::memcpy(out, &source.bitRate, sizeof source.bitRate);
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
    int32_t layer;
    switch (number) {
        case parameterLayer:
            std::memcpy(&layer, value, sizeof layer);
            if (layer < kFirstLayer || layer > kLastLayer) return tvkErrPositionOutOfRange;
            source.activeLayer = layer;
            return 0;
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
        moveTo(source, 0);
        source.closed = false;
        return 0;
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
    source.activeLayer = kFirstLayer;
}

}  // namespace tvk::elementary
