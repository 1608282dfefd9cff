// SPDX-License-Identifier: BSD-2-Clause
// Picture header and picture coding extension.
#include "core/callbacks.h"
#include "core/stream.h"
#include "input/video_input.h"
#include "syntax/headers.h"

namespace tvk {
namespace {

void shiftHistory(Headers &headers) {
    headers.previousTemporalReference = headers.lastTemporalReference;
    headers.lastTemporalReference = headers.picture.temporalReference;
    headers.previousPictureType = headers.lastPictureType;
    headers.lastPictureType = headers.picture.pictureCodingType;
}

// f_code less 1 counts the residual bits of a vector; the forbidden 0 wraps to all ones.
void readForwardCode(BitReader &r, Headers &headers) {
    headers.picture.fullPelForward = getByte(r, 1);
    headers.picture.forwardFCode = getByte(r, 3);
    headers.pictureCoding.fCode[0] = headers.pictureCoding.fCode[1] = headers.picture.forwardFCode - 1u;
}

void readBackwardCode(BitReader &r, Headers &headers) {
    headers.picture.fullPelBackward = getByte(r, 1);
    headers.picture.backwardFCode = getByte(r, 3);
    headers.pictureCoding.fCode[2] = headers.pictureCoding.fCode[3] = headers.picture.backwardFCode - 1u;
}

// The zeros behind a unit end the chain at the latest.
void readExtraInformation(BitReader &r, PictureHeaderRecord &record) {
    uint32_t stored = 0;
    record.extraBitPicture = getByte(r, 1);
    while (record.extraBitPicture) {
        const uint8_t value = getByte(r, 8);
        if (stored < sizeof record.extraInformationPicture) record.extraInformationPicture[stored++] = value;
        record.extraBitPicture = getByte(r, 1);
    }
}

// DEPARTURE(repeated progressive frame): in a progressive sequence a frame shown twice (topFieldFirst 0) owes a whole
// period by the standard; none is added, and one shown three times owes half a period.
bool lastsHalfFrameLonger(const Headers &headers) {
    const PictureCodingRecord &coding = headers.pictureCoding;
    if (coding.pictureStructure != structureFrame || !coding.progressiveFrame || !coding.repeatFirstField) return false;
    return !headers.sequenceExtension.progressiveSequence || coding.topFieldFirst;
}

}  // namespace

void parsePictureHeader(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    Headers &headers = stream->headers;
    PictureHeaderRecord &record = headers.picture;
    record.temporalReference = getField(r, 10);
    record.pictureCodingType = getByte(r, 3);
    record.vbvDelay = getField(r, 16);
    shiftHistory(headers);
    const uint32_t type = record.pictureCodingType;
    if (type < pictureI || type > pictureB) return;
    if (type != pictureI) readForwardCode(r, headers);
    if (type == pictureB) readBackwardCode(r, headers);
    if (PeekBits(r, 1)) takeOverSwapped(stream->input);  // the chain may be as long as the unit
    readExtraInformation(r, record);
    ++stream->counters.pictureHeadersSeen;
    raiseRecord(stream, eventPictureHeader, &CallbackEvent::pictureHeader, &record);
    headers.userDataLength = 0;
    headers.userDataLevel = 3;
}

void parsePictureCodingExtension(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    PictureCodingRecord &record = stream->headers.pictureCoding;
    for (uint32_t &fCode : record.fCode) fCode = getField(r, 4) - 1;
    record.intraDcPrecision = getByte(r, 2);
    record.pictureStructure = getByte(r, 2);
    record.topFieldFirst = getByte(r, 1);
    record.framePredFrameDct = getByte(r, 1);
    record.concealmentMotionVectors = getByte(r, 1);
    record.qScaleType = getByte(r, 1);
    record.intraVlcFormat = getByte(r, 1);
    record.alternateScan = getByte(r, 1);
    record.repeatFirstField = getByte(r, 1);
    record.chroma420Type = getByte(r, 1);
    record.progressiveFrame = getByte(r, 1);
    record.compositeDisplayFlag = getByte(r, 1);
    if (record.compositeDisplayFlag) {
        record.vAxis = getByte(r, 1);
        record.fieldSequence = getByte(r, 3);
        record.subCarrier = getByte(r, 1);
        record.burstAmplitude = getByte(r, 7);
        record.subCarrierPhase = getByte(r, 8);
    }
    if (record.pictureStructure == structureTopField) ++stream->counters.topFields;
    if (record.pictureStructure == structureBottomField) ++stream->counters.bottomFields;
    ++stream->counters.pictureCodingExtensions;
    raiseRecord(stream, eventPictureCoding, &CallbackEvent::pictureCoding, &record);
    if (lastsHalfFrameLonger(stream->headers)) stream->headers.halfFramePending = 1;
}

}  // namespace tvk
