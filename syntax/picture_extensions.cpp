// SPDX-License-Identifier: BSD-2-Clause
// Picture display extension and the picture extensions of scalable streams.
#include "core/callbacks.h"
#include "core/stream.h"
#include "input/video_input.h"
#include "syntax/headers.h"

namespace tvk {
namespace {

// Offsets are sent for each time that a frame or field of this picture is shown: 1 to 3.
uint32_t countCentreOffsets(const Headers &headers) {
    const PictureCodingRecord &coding = headers.pictureCoding;
    if (headers.sequenceExtension.progressiveSequence) {
        if (!coding.repeatFirstField) return 1;
        return coding.topFieldFirst ? 3 : 2;
    }
    if (coding.pictureStructure != structureFrame) return 1;
    return coding.repeatFirstField ? 3 : 2;
}

// 15 bits in two's complement.
int32_t signedOffset(uint32_t value) {
    return static_cast<int32_t>(value) - (value >= 16384 ? 32768 : 0);
}

}  // namespace

void parsePictureDisplayExtension(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    PictureDisplayRecord &record = stream->headers.pictureDisplay;
    const uint32_t count = countCentreOffsets(stream->headers);
    for (uint32_t i = 0; i < count; ++i) {
        record.frameCentreHorizontalOffset[i] = getField(r, 16);
        record.marker1 = getByte(r, 1);
        record.frameCentreVerticalOffset[i] = getField(r, 16);
        record.marker2 = getByte(r, 1);
    }
    ++stream->counters.pictureDisplayExtensions;
    raiseRecord(stream, eventPictureDisplay, &CallbackEvent::pictureDisplay, &record);
}

void parsePictureSpatialExtension(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    SpatialScalableRecord &record = stream->headers.spatialScalable;
    record.lowerLayerTemporalReference = getField(r, 10);
    record.marker1 = getByte(r, 1);
    record.lowerLayerHorizontalOffset = signedOffset(getField(r, 15));
    record.marker2 = getByte(r, 1);
    record.lowerLayerVerticalOffset = signedOffset(getField(r, 15));
    record.spatialTemporalWeightTableIndex = getByte(r, 2);
    record.lowerLayerProgressiveFrame = getByte(r, 1);
    record.lowerLayerDeinterlacedFieldSelect = getByte(r, 1);
    ++stream->counters.pictureSpatialExtensions;
}

void parsePictureTemporalExtension(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    TemporalScalableRecord &record = stream->headers.temporalScalable;
    record.referenceSelectCode = getByte(r, 2);
    record.forwardTemporalReference = getField(r, 10);
    record.marker = getByte(r, 1);
    record.backwardTemporalReference = getField(r, 10);
    ++stream->counters.pictureTemporalExtensions;
}

}  // namespace tvk
