// SPDX-License-Identifier: BSD-2-Clause
// What programs built against an earlier header rely on: sizes of public records, places of their members, codes.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tvk.h"
#include "tvk_source.h"

namespace {

// On 64-bit machines; other widths are not promised.
static_assert(sizeof(void *) == 8);

#define TVK_RECORD(record) #record, sizeof(record)
#define TVK_MEMBER(record, member) #record, #member, offsetof(record, member), sizeof(((record *)nullptr)->member)
#define TVK_CODE(code) #code, code

struct Record {
    const char *name;
    size_t size, promised;
};

struct Member {
    const char *record, *name;
    size_t offset, size, promisedOffset, promisedSize;
};

struct Code {
    const char *name;
    int32_t value, promised;
};

// clang-format off
const Record kRecords[] = {
    {TVK_RECORD(VideoPlane), 24},
    {TVK_RECORD(VideoFrame), 65672},
    {TVK_RECORD(AbsPosition), 12},
    {TVK_RECORD(VideoLayer), 12},
    {TVK_RECORD(StreamDescription), 32},
    {TVK_RECORD(PictureUnit), 32816},
    {TVK_RECORD(VideoSource), 120},
    {TVK_RECORD(VideoStreamInfo), 48},
    {TVK_RECORD(VersionRecord), 24},
    {TVK_RECORD(SequenceHeaderRecord), 20},
    {TVK_RECORD(SequenceExtensionRecord), 16},
    {TVK_RECORD(SequenceDisplayRecord), 16},
    {TVK_RECORD(QuantMatrixRecord), 260},
    {TVK_RECORD(CopyrightRecord), 20},
    {TVK_RECORD(GopRecord), 12},
    {TVK_RECORD(PictureHeaderRecord), 1040},
    {TVK_RECORD(PictureCodingRecord), 36},
    {TVK_RECORD(PictureDisplayRecord), 36},
    {TVK_RECORD(SliceHeaderRecord), 12},
    {TVK_RECORD(MacroblockRecord), 116},
    {TVK_RECORD(UserDataRecord), 16},
    {TVK_RECORD(CallbackEvent), 152},
    {TVK_RECORD(SourceInfo), 48},
};

const Member kMembers[] = {
    {TVK_MEMBER(VideoPlane, width), 0, 4},
    {TVK_MEMBER(VideoPlane, height), 4, 4},
    {TVK_MEMBER(VideoPlane, stride), 8, 4},
    {TVK_MEMBER(VideoPlane, size), 12, 4},
    {TVK_MEMBER(VideoPlane, data), 16, 8},
    {TVK_MEMBER(VideoFrame, chromaFormat), 0, 4},
    {TVK_MEMBER(VideoFrame, pictureCodingType), 4, 4},
    {TVK_MEMBER(VideoFrame, reduceCoefficient), 8, 4},
    {TVK_MEMBER(VideoFrame, frameNumber), 12, 4},
    {TVK_MEMBER(VideoFrame, streamNumber), 16, 4},
    {TVK_MEMBER(VideoFrame, frameState), 20, 4},
    {TVK_MEMBER(VideoFrame, decodeRatePosition), 24, 8},
    {TVK_MEMBER(VideoFrame, deliveryRatePosition), 32, 8},
    {TVK_MEMBER(VideoFrame, presentationTime), 40, 8},
    {TVK_MEMBER(VideoFrame, lumaPlane), 48, 24},
    {TVK_MEMBER(VideoFrame, chromaPlane), 72, 24},
    {TVK_MEMBER(VideoFrame, bufferSlot), 96, 4},
    {TVK_MEMBER(VideoFrame, externalBuffer), 104, 8},
    {TVK_MEMBER(VideoFrame, progressiveFrame), 112, 4},
    {TVK_MEMBER(VideoFrame, topFieldFirst), 116, 4},
    {TVK_MEMBER(VideoFrame, repeatFirstField), 120, 4},
    {TVK_MEMBER(VideoFrame, userDataLevel), 124, 4},
    {TVK_MEMBER(VideoFrame, userDataSize), 128, 4},
    {TVK_MEMBER(VideoFrame, userData), 132, 65540},
    {TVK_MEMBER(AbsPosition, words), 0, 12},
    {TVK_MEMBER(VideoLayer, layerId), 0, 4},
    {TVK_MEMBER(VideoLayer, reserved), 4, 4},
    {TVK_MEMBER(VideoLayer, layerUsable), 8, 4},
    {TVK_MEMBER(StreamDescription, containerKind), 0, 4},
    {TVK_MEMBER(StreamDescription, layerKind), 4, 4},
    {TVK_MEMBER(StreamDescription, videoStreamCount), 8, 4},
    {TVK_MEMBER(StreamDescription, reserved), 12, 4},
    {TVK_MEMBER(StreamDescription, layerCount), 16, 4},
    {TVK_MEMBER(StreamDescription, layerCapacity), 20, 4},
    {TVK_MEMBER(StreamDescription, layers), 24, 8},
    {TVK_MEMBER(PictureUnit, startCodes), 0, 16384},
    {TVK_MEMBER(PictureUnit, startOffsets), 16384, 16384},
    {TVK_MEMBER(PictureUnit, entryCount), 32768, 4},
    {TVK_MEMBER(PictureUnit, currentEntry), 32772, 4},
    {TVK_MEMBER(PictureUnit, firstSlice), 32776, 4},
    {TVK_MEMBER(PictureUnit, lastSlice), 32780, 4},
    {TVK_MEMBER(PictureUnit, sliceCount), 32784, 4},
    {TVK_MEMBER(PictureUnit, buffer), 32792, 8},
    {TVK_MEMBER(PictureUnit, capacity), 32800, 4},
    {TVK_MEMBER(PictureUnit, resumeOffset), 32804, 4},
    {TVK_MEMBER(PictureUnit, timeStamp), 32808, 8},
    {TVK_MEMBER(VideoSource, reserved0), 0, 8},
    {TVK_MEMBER(VideoSource, readUnit), 8, 8},
    {TVK_MEMBER(VideoSource, describe), 16, 8},
    {TVK_MEMBER(VideoSource, getAbsPosition), 24, 8},
    {TVK_MEMBER(VideoSource, seekAbsPosition), 32, 8},
    {TVK_MEMBER(VideoSource, getRatePosition), 40, 8},
    {TVK_MEMBER(VideoSource, seekRatePosition), 48, 8},
    {TVK_MEMBER(VideoSource, reserved7), 56, 8},
    {TVK_MEMBER(VideoSource, seekTimePosition), 64, 8},
    {TVK_MEMBER(VideoSource, getParameter), 72, 8},
    {TVK_MEMBER(VideoSource, setParameter), 80, 8},
    {TVK_MEMBER(VideoSource, reserved11), 88, 8},
    {TVK_MEMBER(VideoSource, reserved12), 96, 8},
    {TVK_MEMBER(VideoSource, reserved13), 104, 8},
    {TVK_MEMBER(VideoSource, openClose), 112, 8},
    {TVK_MEMBER(VideoStreamInfo, streamType), 0, 4},
    {TVK_MEMBER(VideoStreamInfo, width), 4, 4},
    {TVK_MEMBER(VideoStreamInfo, height), 8, 4},
    {TVK_MEMBER(VideoStreamInfo, chromaFormat), 12, 4},
    {TVK_MEMBER(VideoStreamInfo, frameCount), 16, 4},
    {TVK_MEMBER(VideoStreamInfo, framesPerSecond), 20, 4},
    {TVK_MEMBER(VideoStreamInfo, bitRate), 24, 4},
    {TVK_MEMBER(VideoStreamInfo, infoReserved), 28, 4},
    {TVK_MEMBER(VideoStreamInfo, keyFrameCount), 32, 4},
    {TVK_MEMBER(VideoStreamInfo, keyFrames), 40, 8},
    {TVK_MEMBER(VersionRecord, versionMajor), 0, 4},
    {TVK_MEMBER(VersionRecord, versionMinor), 4, 4},
    {TVK_MEMBER(VersionRecord, versionDate), 8, 8},
    {TVK_MEMBER(VersionRecord, versionTag), 16, 8},
    {TVK_MEMBER(SequenceHeaderRecord, horizontalSize), 0, 4},
    {TVK_MEMBER(SequenceHeaderRecord, verticalSize), 4, 4},
    {TVK_MEMBER(SequenceHeaderRecord, bitRate), 8, 4},
    {TVK_MEMBER(SequenceHeaderRecord, vbvBufferSize), 12, 4},
    {TVK_MEMBER(SequenceHeaderRecord, aspectRatioCode), 16, 1},
    {TVK_MEMBER(SequenceHeaderRecord, frameRateCode), 17, 1},
    {TVK_MEMBER(SequenceHeaderRecord, bitRateMarker), 18, 1},
    {TVK_MEMBER(SequenceHeaderRecord, constrainedParameters), 19, 1},
    {TVK_MEMBER(SequenceExtensionRecord, bitRateExtension), 0, 4},
    {TVK_MEMBER(SequenceExtensionRecord, profileEscape), 4, 1},
    {TVK_MEMBER(SequenceExtensionRecord, profile), 5, 1},
    {TVK_MEMBER(SequenceExtensionRecord, level), 6, 1},
    {TVK_MEMBER(SequenceExtensionRecord, progressiveSequence), 7, 1},
    {TVK_MEMBER(SequenceExtensionRecord, chromaFormat), 8, 1},
    {TVK_MEMBER(SequenceExtensionRecord, horizontalSizeExtension), 9, 1},
    {TVK_MEMBER(SequenceExtensionRecord, verticalSizeExtension), 10, 1},
    {TVK_MEMBER(SequenceExtensionRecord, extensionMarker), 11, 1},
    {TVK_MEMBER(SequenceExtensionRecord, vbvBufferSizeExtension), 12, 1},
    {TVK_MEMBER(SequenceExtensionRecord, lowDelay), 13, 1},
    {TVK_MEMBER(SequenceExtensionRecord, frameRateExtensionN), 14, 1},
    {TVK_MEMBER(SequenceExtensionRecord, frameRateExtensionD), 15, 1},
    {TVK_MEMBER(SequenceDisplayRecord, displayHorizontalSize), 0, 4},
    {TVK_MEMBER(SequenceDisplayRecord, displayVerticalSize), 4, 4},
    {TVK_MEMBER(SequenceDisplayRecord, videoFormat), 8, 1},
    {TVK_MEMBER(SequenceDisplayRecord, colourDescription), 9, 1},
    {TVK_MEMBER(SequenceDisplayRecord, colourPrimaries), 10, 1},
    {TVK_MEMBER(SequenceDisplayRecord, transferCharacteristics), 11, 1},
    {TVK_MEMBER(SequenceDisplayRecord, matrixCoefficients), 12, 1},
    {TVK_MEMBER(SequenceDisplayRecord, displayMarker), 13, 1},
    {TVK_MEMBER(QuantMatrixRecord, loadIntra), 0, 1},
    {TVK_MEMBER(QuantMatrixRecord, intra), 1, 64},
    {TVK_MEMBER(QuantMatrixRecord, loadNonIntra), 65, 1},
    {TVK_MEMBER(QuantMatrixRecord, nonIntra), 66, 64},
    {TVK_MEMBER(QuantMatrixRecord, loadChromaIntra), 130, 1},
    {TVK_MEMBER(QuantMatrixRecord, chromaIntra), 131, 64},
    {TVK_MEMBER(QuantMatrixRecord, loadChromaNonIntra), 195, 1},
    {TVK_MEMBER(QuantMatrixRecord, chromaNonIntra), 196, 64},
    {TVK_MEMBER(CopyrightRecord, copyrightNumber1), 0, 4},
    {TVK_MEMBER(CopyrightRecord, copyrightNumber2), 4, 4},
    {TVK_MEMBER(CopyrightRecord, copyrightNumber3), 8, 4},
    {TVK_MEMBER(CopyrightRecord, copyrightFlag), 12, 1},
    {TVK_MEMBER(CopyrightRecord, copyrightIdentifier), 13, 1},
    {TVK_MEMBER(CopyrightRecord, originalOrCopy), 14, 1},
    {TVK_MEMBER(CopyrightRecord, copyrightReserved), 15, 1},
    {TVK_MEMBER(CopyrightRecord, marker1), 16, 1},
    {TVK_MEMBER(CopyrightRecord, marker2), 17, 1},
    {TVK_MEMBER(CopyrightRecord, marker3), 18, 1},
    {TVK_MEMBER(GopRecord, dropFrame), 0, 1},
    {TVK_MEMBER(GopRecord, hours), 1, 1},
    {TVK_MEMBER(GopRecord, minutes), 2, 1},
    {TVK_MEMBER(GopRecord, gopMarker), 3, 1},
    {TVK_MEMBER(GopRecord, seconds), 4, 1},
    {TVK_MEMBER(GopRecord, pictures), 5, 1},
    {TVK_MEMBER(GopRecord, closedGop), 6, 1},
    {TVK_MEMBER(GopRecord, brokenLink), 7, 1},
    {TVK_MEMBER(GopRecord, timeCode), 8, 4},
    {TVK_MEMBER(PictureHeaderRecord, temporalReference), 0, 4},
    {TVK_MEMBER(PictureHeaderRecord, vbvDelay), 4, 4},
    {TVK_MEMBER(PictureHeaderRecord, pictureCodingType), 8, 1},
    {TVK_MEMBER(PictureHeaderRecord, fullPelForward), 9, 1},
    {TVK_MEMBER(PictureHeaderRecord, forwardFCode), 10, 1},
    {TVK_MEMBER(PictureHeaderRecord, fullPelBackward), 11, 1},
    {TVK_MEMBER(PictureHeaderRecord, backwardFCode), 12, 1},
    {TVK_MEMBER(PictureHeaderRecord, extraBitPicture), 13, 1},
    {TVK_MEMBER(PictureHeaderRecord, extraInformationPicture), 14, 1024},
    {TVK_MEMBER(PictureCodingRecord, fCode), 0, 16},
    {TVK_MEMBER(PictureCodingRecord, intraDcPrecision), 16, 1},
    {TVK_MEMBER(PictureCodingRecord, pictureStructure), 17, 1},
    {TVK_MEMBER(PictureCodingRecord, topFieldFirst), 18, 1},
    {TVK_MEMBER(PictureCodingRecord, framePredFrameDct), 19, 1},
    {TVK_MEMBER(PictureCodingRecord, concealmentMotionVectors), 20, 1},
    {TVK_MEMBER(PictureCodingRecord, qScaleType), 21, 1},
    {TVK_MEMBER(PictureCodingRecord, intraVlcFormat), 22, 1},
    {TVK_MEMBER(PictureCodingRecord, alternateScan), 23, 1},
    {TVK_MEMBER(PictureCodingRecord, repeatFirstField), 24, 1},
    {TVK_MEMBER(PictureCodingRecord, chroma420Type), 25, 1},
    {TVK_MEMBER(PictureCodingRecord, progressiveFrame), 26, 1},
    {TVK_MEMBER(PictureCodingRecord, compositeDisplayFlag), 27, 1},
    {TVK_MEMBER(PictureCodingRecord, vAxis), 28, 1},
    {TVK_MEMBER(PictureCodingRecord, fieldSequence), 29, 1},
    {TVK_MEMBER(PictureCodingRecord, subCarrier), 30, 1},
    {TVK_MEMBER(PictureCodingRecord, burstAmplitude), 31, 1},
    {TVK_MEMBER(PictureCodingRecord, subCarrierPhase), 32, 1},
    {TVK_MEMBER(PictureDisplayRecord, frameCentreHorizontalOffset), 0, 16},
    {TVK_MEMBER(PictureDisplayRecord, frameCentreVerticalOffset), 16, 16},
    {TVK_MEMBER(PictureDisplayRecord, marker1), 32, 1},
    {TVK_MEMBER(PictureDisplayRecord, marker2), 33, 1},
    {TVK_MEMBER(SliceHeaderRecord, sliceStartCode), 0, 4},
    {TVK_MEMBER(SliceHeaderRecord, sliceVerticalPositionExtension), 4, 1},
    {TVK_MEMBER(SliceHeaderRecord, priorityBreakpoint), 5, 1},
    {TVK_MEMBER(SliceHeaderRecord, intraSliceFlag), 6, 1},
    {TVK_MEMBER(SliceHeaderRecord, intraSlice), 7, 1},
    {TVK_MEMBER(SliceHeaderRecord, reservedBits), 8, 1},
    {TVK_MEMBER(SliceHeaderRecord, extraBitSlice), 9, 1},
    {TVK_MEMBER(MacroblockRecord, motionCode), 0, 32},
    {TVK_MEMBER(MacroblockRecord, motionResidual), 32, 32},
    {TVK_MEMBER(MacroblockRecord, dmVector), 64, 8},
    {TVK_MEMBER(MacroblockRecord, motionVerticalFieldSelect), 72, 4},
    {TVK_MEMBER(MacroblockRecord, macroblockIncrement), 76, 4},
    {TVK_MEMBER(MacroblockRecord, macroblockAddress), 80, 4},
    {TVK_MEMBER(MacroblockRecord, previousAddress), 84, 4},
    {TVK_MEMBER(MacroblockRecord, codedBlockMask), 88, 4},
    {TVK_MEMBER(MacroblockRecord, cbpExtraBits), 92, 4},
    {TVK_MEMBER(MacroblockRecord, quantiserScaleCode), 96, 1},
    {TVK_MEMBER(MacroblockRecord, spatialTemporalWeightCode), 97, 1},
    {TVK_MEMBER(MacroblockRecord, frameMotionType), 98, 1},
    {TVK_MEMBER(MacroblockRecord, fieldMotionType), 99, 1},
    {TVK_MEMBER(MacroblockRecord, dctType), 100, 1},
    {TVK_MEMBER(MacroblockRecord, macroblockQuant), 101, 1},
    {TVK_MEMBER(MacroblockRecord, macroblockMotionForward), 102, 1},
    {TVK_MEMBER(MacroblockRecord, macroblockMotionBackward), 103, 1},
    {TVK_MEMBER(MacroblockRecord, macroblockPattern), 104, 1},
    {TVK_MEMBER(MacroblockRecord, macroblockIntra), 105, 1},
    {TVK_MEMBER(MacroblockRecord, spatialTemporalWeightFlag), 106, 1},
    {TVK_MEMBER(MacroblockRecord, spatialTemporalClasses), 107, 1},
    {TVK_MEMBER(MacroblockRecord, predictionType), 108, 1},
    {TVK_MEMBER(MacroblockRecord, motionVectorCount), 109, 1},
    {TVK_MEMBER(MacroblockRecord, mvFormat), 110, 1},
    {TVK_MEMBER(MacroblockRecord, dualPrime), 111, 1},
    {TVK_MEMBER(MacroblockRecord, spatialTemporalRow), 112, 4},
    {TVK_MEMBER(UserDataRecord, buffer), 0, 8},
    {TVK_MEMBER(UserDataRecord, length), 8, 4},
    {TVK_MEMBER(CallbackEvent, eventCode), 0, 4},
    {TVK_MEMBER(CallbackEvent, sequenceHeader), 8, 8},
    {TVK_MEMBER(CallbackEvent, sequenceExtension), 16, 8},
    {TVK_MEMBER(CallbackEvent, sequenceDisplay), 24, 8},
    {TVK_MEMBER(CallbackEvent, quantMatrix), 32, 8},
    {TVK_MEMBER(CallbackEvent, copyright), 40, 8},
    {TVK_MEMBER(CallbackEvent, groupOfPictures), 48, 8},
    {TVK_MEMBER(CallbackEvent, pictureHeader), 56, 8},
    {TVK_MEMBER(CallbackEvent, pictureCoding), 64, 8},
    {TVK_MEMBER(CallbackEvent, pictureDisplay), 72, 8},
    {TVK_MEMBER(CallbackEvent, slice), 80, 8},
    {TVK_MEMBER(CallbackEvent, macroblock), 88, 8},
    {TVK_MEMBER(CallbackEvent, userData), 96, 8},
    {TVK_MEMBER(CallbackEvent, privateArea), 104, 32},
    {TVK_MEMBER(CallbackEvent, userValue), 136, 4},
    {TVK_MEMBER(CallbackEvent, blockData), 144, 8},
    {TVK_MEMBER(SourceInfo, container), 0, 8},
    {TVK_MEMBER(SourceInfo, size), 8, 8},
    {TVK_MEMBER(SourceInfo, videoStreams), 16, 4},
    {TVK_MEMBER(SourceInfo, layer), 20, 4},
    {TVK_MEMBER(SourceInfo, seekable), 24, 4},
    {TVK_MEMBER(SourceInfo, seconds), 32, 8},
    {TVK_MEMBER(SourceInfo, firstTime), 40, 8},
};

const Code kCodes[] = {
    {TVK_CODE(tvkErrFailed), -1},
    {TVK_CODE(tvkErrOutOfMemory), -2},
    {TVK_CODE(tvkErrNoThreads), -3},
    {TVK_CODE(tvkErrInvalidArgument), -7},
    {TVK_CODE(tvkErrCallbackReduce), -8},
    {TVK_CODE(tvkErrPositionOutOfRange), -9},
    {TVK_CODE(tvkErrSaveCreate), -11},
    {TVK_CODE(tvkErrSaveWrite), -12},
    {TVK_CODE(tvkErrStreamLayout), -13},
    {TVK_CODE(tvkErrWrongDecoderKind), -14},
    {TVK_CODE(tvkErrBadHandle), -15},
    {TVK_CODE(tvkErrBusy), -16},
    {TVK_CODE(tvkErrNoSequenceHeader), -17},
    {TVK_CODE(tvkErrNoVOP), -18},
    {TVK_CODE(tvkErrEndOfStream), -20},
    {TVK_CODE(tvkErrFileCreate), -22},
    {TVK_CODE(tvkErrFileOpen), -23},
    {TVK_CODE(tvkErrIndexFile), -24},
    {TVK_CODE(tvkErrNotIndexed), -25},
    {TVK_CODE(tvkErrSavePath), -26},
    {TVK_CODE(tvkErrNoTimeCode), -1001},
    {TVK_CODE(tvkErrBufferTooSmall), -1009},
    {TVK_CODE(tvkErrFrameListOrder), -2001},
    {TVK_CODE(tvkErrWrongWorkMode), -2002},
    {TVK_CODE(tvkErrNoPreviousFrame), -2003},
    {TVK_CODE(tvkErrFrameOutOfRange), -2004},
    {TVK_CODE(tvkErrBufferDisabled), -2005},
    {TVK_CODE(tvkErrInputAborted), -2006},
    {TVK_CODE(tvkErrNoFrameYet), -2007},
    {TVK_CODE(tvkErrFrameListEnd), -2008},
    {TVK_CODE(tvkErrNeedData), -2009},
    {TVK_CODE(tvkErrWorkerFailed), -2010},
    {TVK_CODE(tvkSourceErrNotFound), -3001},
    {TVK_CODE(tvkSourceErrNoAccess), -3002},
    {TVK_CODE(tvkSourceErrOpen), -3003},
    {TVK_CODE(tvkSourceErrNotAFile), -3004},
    {TVK_CODE(tvkSourceErrEmpty), -3005},
    {TVK_CODE(tvkSourceErrNoVideo), -3006},
    {TVK_CODE(tvkSourceErrMultiplexed), -3007},
    {TVK_CODE(tvkSourceErrTooLarge), -3008},
    {TVK_CODE(tvkSourceErrRead), -3009},
    {TVK_CODE(tvkSourceErrFileChanged), -3010},
    {TVK_CODE(tvkSourceErrClosed), -3011},
    {TVK_CODE(tvkSourceErrBadPosition), -3012},
    {TVK_CODE(tvkSourceErrNoParameter), -3013},
    {TVK_CODE(tvkSourceErrNoTime), -3014},
    {TVK_CODE(tvkSourceErrNoSeek), -3015},
    {TVK_CODE(tvkSourceErrContainer), -3016},
    {TVK_CODE(tvkSourceOwnsBuffer), 1},
    {TVK_CODE(tvkSourceAnyContent), 2},
    {TVK_CODE(tvkSourceGrowing), 4},
    {TVK_CODE(tvkSourceFillsBuffer), 8},
};
// clang-format on

const char kAdvice[] =
    "\nPrograms built against the header before would break. Undo it; if it has to be, raise SOVERSION in "
    "CMakeLists.txt "
    "and sources/CMakeLists.txt, name the packages of packaging/debian anew, and write the new numbers here.";

TEST(Abi, recordsKeepTheirSizes) {
    for (const Record &record : kRecords) {
        EXPECT_EQ(record.size, record.promised) << record.name << " has another size." << kAdvice;
    }
}

TEST(Abi, membersKeepTheirPlaces) {
    for (const Member &member : kMembers) {
        const std::string name = std::string(member.record) + "." + member.name;
        EXPECT_EQ(member.offset, member.promisedOffset) << name << " stands elsewhere." << kAdvice;
        EXPECT_EQ(member.size, member.promisedSize) << name << " has another size." << kAdvice;
    }
}

// The members listed fill their records but for the gaps of alignment, so none is missing from the list.
TEST(Abi, everyMemberIsListed) {
    for (const Record &record : kRecords) {
        size_t filled = 0;
        for (const Member &member : kMembers) {
            if (std::strcmp(member.record, record.name) != 0) continue;
            EXPECT_GE(member.offset, filled) << record.name << "." << member.name << " is out of order";
            EXPECT_LT(member.offset - filled, 8u) << "something ahead of " << record.name << "." << member.name;
            filled = member.offset + member.size;
        }
        EXPECT_LT(record.size - filled, 8u) << "something at the end of " << record.name;
    }
}

TEST(Abi, codesKeepTheirValues) {
    for (const Code &code : kCodes) EXPECT_EQ(code.value, code.promised) << code.name << " has changed." << kAdvice;
}

}  // namespace
