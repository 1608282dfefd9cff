// SPDX-License-Identifier: BSD-2-Clause
// Sequence header, its extensions but the quantiser matrices, and the MPEG-1 defaults between them.
#include "core/callbacks.h"
#include "core/stream.h"
#include "input/video_input.h"
#include "syntax/headers.h"
#include "syntax/quant_matrices.h"

namespace tvk {
namespace {

constexpr uint32_t kBitRateUnit = 400;
constexpr uint8_t kUnspecifiedScalableMode = 15;
constexpr uint8_t kMatrixCoefficientsBt601 = 5;

// What a stream has as long as no extension says otherwise, which is what MPEG-1 streams mean.
void setDefaults(Headers &headers) {
    headers.sequenceExtension.progressiveSequence = 1;
    headers.sequenceExtension.chromaFormat = chroma420;
    headers.pictureCoding.progressiveFrame = 1;
    headers.pictureCoding.pictureStructure = structureFrame;
    headers.pictureCoding.framePredFrameDct = 1;
    headers.sequenceDisplay.matrixCoefficients = kMatrixCoefficientsBt601;
    headers.scalable.scalableMode = kUnspecifiedScalableMode;
}

// SNR scalability keeps an earlier spatial layer's marker in force, up to the next sequence header.
uint32_t chooseMacroblockTypeSet(const ScalableRecord &scalable) {
    if (!scalable.scalableMarker) return 0;
    if (scalable.scalableMode == 1) return 1;
    return scalable.scalableMode == 2 ? 2 : 0;
}

}  // namespace

void initialiseHeaders(VideoStream *stream) {
    setDefaults(stream->headers);
    takeDefaultMatrices(stream);
    stream->headers.blocksPerMacroblock = 6;
    stream->frames.framesPerSecond = 30.0f;
}

void parseSequenceHeader(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    Headers &headers = stream->headers;
    setDefaults(headers);
    headers.scalable.scalableMarker = 0;
    stream->streamType = 1;
    SequenceHeaderRecord &record = headers.sequence;
    record.horizontalSize = getField(r, 12);
    record.verticalSize = getField(r, 12);
    record.aspectRatioCode = getByte(r, 4);
    record.frameRateCode = getByte(r, 4);
    record.bitRate = getField(r, 18) * kBitRateUnit;
    record.bitRateMarker = getByte(r, 1);
    record.vbvBufferSize = getField(r, 10);
    record.constrainedParameters = getByte(r, 1);
    readSequenceMatrices(stream);
    ++stream->counters.sequenceHeadersSeen;
    raiseRecord(stream, eventSequenceHeader, &CallbackEvent::sequenceHeader, &record);
    headers.userDataLevel = 1;
    headers.userDataLength = 0;
}

void parseSequenceExtension(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    Headers &headers = stream->headers;
    SequenceExtensionRecord &record = headers.sequenceExtension;
    stream->streamType = 2;
    record.profileEscape = getByte(r, 1);
    record.profile = getByte(r, 3);
    record.level = getByte(r, 4);
    record.progressiveSequence = getByte(r, 1);
    record.chromaFormat = getByte(r, 2);
    record.horizontalSizeExtension = getByte(r, 2);
    record.verticalSizeExtension = getByte(r, 2);
    record.bitRateExtension = getField(r, 12);
    record.extensionMarker = getByte(r, 1);
    record.vbvBufferSizeExtension = getByte(r, 8);
    record.lowDelay = getByte(r, 1);
    record.frameRateExtensionN = getByte(r, 2);
    record.frameRateExtensionD = getByte(r, 5);

    // Chroma format 0 is reserved; it leaves 5 blocks and the pattern length of before.
    constexpr uint32_t kPatternExtraBits[4] = {0, 0, 2, 6};
    headers.blocksPerMacroblock = (1u << record.chromaFormat) + 4;
    if (record.chromaFormat != 0) headers.cbpExtraBits = kPatternExtraBits[record.chromaFormat];
    SequenceHeaderRecord &sequence = headers.sequence;
    sequence.bitRate = (record.bitRateExtension << 18 | sequence.bitRate / kBitRateUnit) * kBitRateUnit;
    sequence.horizontalSize += uint32_t{record.horizontalSizeExtension} << 12;
    sequence.verticalSize += uint32_t{record.verticalSizeExtension} << 12;
    ++stream->counters.sequenceExtensions;
    raiseRecord(stream, eventSequenceExtension, &CallbackEvent::sequenceExtension, &record);
    headers.userDataLevel = 1;
}

void parseSequenceDisplayExtension(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    SequenceDisplayRecord &record = stream->headers.sequenceDisplay;
    record.videoFormat = getByte(r, 3);
    record.colourDescription = getByte(r, 1);
    if (record.colourDescription) {
        record.colourPrimaries = getByte(r, 8);
        record.transferCharacteristics = getByte(r, 8);
        record.matrixCoefficients = getByte(r, 8);
    }
    record.displayHorizontalSize = getField(r, 14);
    record.displayMarker = getByte(r, 1);
    record.displayVerticalSize = getField(r, 14);
    ++stream->counters.sequenceDisplayExtensions;
    raiseRecord(stream, eventSequenceDisplay, &CallbackEvent::sequenceDisplay, &record);
}

void parseCopyrightExtension(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    CopyrightRecord &record = stream->headers.copyright;
    record.copyrightFlag = getByte(r, 1);
    record.copyrightIdentifier = getByte(r, 8);
    record.originalOrCopy = getByte(r, 1);
    record.copyrightReserved = getByte(r, 7);
    record.marker1 = getByte(r, 1);
    record.copyrightNumber1 = getField(r, 20);
    record.marker2 = getByte(r, 1);
    record.copyrightNumber2 = getField(r, 22);
    record.marker3 = getByte(r, 1);
    record.copyrightNumber3 = getField(r, 22);
    ++stream->counters.copyrightExtensions;
    raiseRecord(stream, eventCopyright, &CallbackEvent::copyright, &record);
}

void parseSequenceScalableExtension(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    ScalableRecord &record = stream->headers.scalable;
    record.scalableMode = getByte(r, 2);
    record.layerId = getByte(r, 4);
    if (record.scalableMode == 1) {
        record.lowerLayerHorizontalSize = getField(r, 14);
        record.scalableMarker = getByte(r, 1);
        record.lowerLayerVerticalSize = getField(r, 14);
        record.horizontalSubsamplingM = getByte(r, 5);
        record.horizontalSubsamplingN = getByte(r, 5);
        record.verticalSubsamplingM = getByte(r, 5);
        record.verticalSubsamplingN = getByte(r, 5);
    } else if (record.scalableMode == 3) {
        record.pictureMuxEnable = getByte(r, 1);
        if (record.pictureMuxEnable) record.muxToProgressive = getByte(r, 1);
        record.pictureMuxOrder = getByte(r, 3);
        record.pictureMuxFactor = getByte(r, 3);
    }
    stream->headers.macroblockTypeSet = chooseMacroblockTypeSet(record);
    ++stream->counters.sequenceScalableExtensions;
}

void parseGroupHeader(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    GopRecord &record = stream->headers.group;
    record.timeCode = PeekBits(r, 25);
    record.dropFrame = getByte(r, 1);
    record.hours = getByte(r, 5);
    record.minutes = getByte(r, 6);
    record.gopMarker = getByte(r, 1);
    record.seconds = getByte(r, 6);
    record.pictures = getByte(r, 6);
    record.closedGop = getByte(r, 1);
    record.brokenLink = getByte(r, 1);
    ++stream->counters.groups;
    raiseRecord(stream, eventGroup, &CallbackEvent::groupOfPictures, &record);
    stream->headers.userDataLevel = 2;
    stream->headers.userDataLength = 0;
}

}  // namespace tvk
