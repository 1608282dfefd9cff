/* SPDX-License-Identifier: BSD-2-Clause */
/* tvk: decoding of MPEG-1 and MPEG-2 video, the public interface. */
#ifndef TVK_H
#define TVK_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define TVK_API __attribute__((visibility("default")))
#else
#define TVK_API
#endif

enum {
    tvkErrFailed = -1,
    tvkErrOutOfMemory = -2,
    tvkErrNoThreads = -3,
    tvkErrInvalidArgument = -7,
    tvkErrCallbackReduce = -8,
    tvkErrPositionOutOfRange = -9,
    tvkErrSaveCreate = -11,
    tvkErrSaveWrite = -12,
    tvkErrStreamLayout = -13,
    tvkErrWrongDecoderKind = -14,
    tvkErrBadHandle = -15,
    tvkErrBusy = -16,
    tvkErrNoSequenceHeader = -17,
    tvkErrNoVOP = -18,
    tvkErrEndOfStream = -20,
    tvkErrFileCreate = -22,
    tvkErrFileOpen = -23,
    tvkErrIndexFile = -24,
    tvkErrNotIndexed = -25,
    tvkErrSavePath = -26,
    tvkErrNoTimeCode = -1001,
    tvkErrBufferTooSmall = -1009,
    tvkErrFrameListOrder = -2001,
    tvkErrWrongWorkMode = -2002,
    tvkErrNoPreviousFrame = -2003,
    tvkErrFrameOutOfRange = -2004,
    tvkErrBufferDisabled = -2005,
    tvkErrInputAborted = -2006,
    tvkErrNoFrameYet = -2007,
    tvkErrFrameListEnd = -2008,
    tvkErrNeedData = -2009,
    tvkErrWorkerFailed = -2010
};

typedef struct VideoStream VideoStream;

typedef struct VideoPlane {
    int32_t width, height, stride, size;
    uint8_t *data;
} VideoPlane;

typedef struct VideoFrame {
    int32_t chromaFormat, pictureCodingType, reduceCoefficient, frameNumber, streamNumber, frameState;
    double decodeRatePosition, deliveryRatePosition, presentationTime;
    VideoPlane lumaPlane, chromaPlane;
    int32_t bufferSlot;
    void *externalBuffer;
    int32_t progressiveFrame, topFieldFirst, repeatFirstField, userDataLevel, userDataSize;
    uint8_t userData[65540];
} VideoFrame;

typedef struct AbsPosition {
    uint32_t words[3];
} AbsPosition;

typedef struct VideoLayer {
    uint32_t layerId, reserved, layerUsable;
} VideoLayer;

typedef struct StreamDescription {
    uint32_t containerKind, layerKind, videoStreamCount, reserved, layerCount, layerCapacity;
    VideoLayer *layers;
} StreamDescription;

typedef struct PictureUnit {
    uint32_t startCodes[4096], startOffsets[4096];
    int32_t entryCount, currentEntry, firstSlice, lastSlice, sliceCount;
    uint8_t *buffer;
    int32_t capacity, resumeOffset;
    double timeStamp;
} PictureUnit;

typedef struct VideoSource VideoSource;
struct VideoSource {
    void *reserved0;
    int32_t (*readUnit)(VideoSource *, uint32_t decoderId, PictureUnit *, uint32_t *byteCount);
    int32_t (*describe)(VideoSource *, StreamDescription *);
    int32_t (*getAbsPosition)(VideoSource *, uint32_t decoderId, uint32_t unitOffset, AbsPosition *out);
    int32_t (*seekAbsPosition)(VideoSource *, uint32_t decoderId, const AbsPosition *);
    int32_t (*getRatePosition)(VideoSource *, uint32_t decoderId, uint32_t unitOffset, double *out);
    int32_t (*seekRatePosition)(VideoSource *, uint32_t decoderId, const double *rate);
    void *reserved7;
    int32_t (*seekTimePosition)(VideoSource *, uint32_t decoderId, const double *seconds);
    int32_t (*getParameter)(VideoSource *, uint32_t decoderId, uint32_t number, void *out);
    int32_t (*setParameter)(VideoSource *, uint32_t decoderId, uint32_t number, const void *value);
    void *reserved11, *reserved12, *reserved13;
    int32_t (*openClose)(VideoSource *, uint32_t *decoderId, uint32_t operation);
};

typedef struct VideoStreamInfo {
    uint32_t streamType, width, height, chromaFormat, frameCount;
    float framesPerSecond;
    uint32_t bitRate, infoReserved, keyFrameCount;
    const int32_t *keyFrames;
} VideoStreamInfo;

typedef struct VersionRecord {
    uint32_t versionMajor, versionMinor;
    const char *versionDate, *versionTag;
} VersionRecord;

/* Records that the user callback hands out. */

typedef struct SequenceHeaderRecord {
    uint32_t horizontalSize, verticalSize, bitRate, vbvBufferSize;
    uint8_t aspectRatioCode, frameRateCode, bitRateMarker, constrainedParameters;
} SequenceHeaderRecord;

typedef struct SequenceExtensionRecord {
    uint32_t bitRateExtension;
    uint8_t profileEscape, profile, level, progressiveSequence, chromaFormat, horizontalSizeExtension,
        verticalSizeExtension, extensionMarker, vbvBufferSizeExtension, lowDelay, frameRateExtensionN,
        frameRateExtensionD;
} SequenceExtensionRecord;

typedef struct SequenceDisplayRecord {
    uint32_t displayHorizontalSize, displayVerticalSize;
    uint8_t videoFormat, colourDescription, colourPrimaries, transferCharacteristics, matrixCoefficients, displayMarker;
} SequenceDisplayRecord;

typedef struct QuantMatrixRecord {
    uint8_t loadIntra, intra[64], loadNonIntra, nonIntra[64], loadChromaIntra, chromaIntra[64], loadChromaNonIntra,
        chromaNonIntra[64];
} QuantMatrixRecord;

typedef struct CopyrightRecord {
    uint32_t copyrightNumber1, copyrightNumber2, copyrightNumber3;
    uint8_t copyrightFlag, copyrightIdentifier, originalOrCopy, copyrightReserved, marker1, marker2, marker3;
} CopyrightRecord;

typedef struct GopRecord {
    uint8_t dropFrame, hours, minutes, gopMarker, seconds, pictures, closedGop, brokenLink;
    uint32_t timeCode;
} GopRecord;

typedef struct PictureHeaderRecord {
    uint32_t temporalReference, vbvDelay;
    uint8_t pictureCodingType, fullPelForward, forwardFCode, fullPelBackward, backwardFCode, extraBitPicture;
    uint8_t extraInformationPicture[1024];
} PictureHeaderRecord;

typedef struct PictureCodingRecord {
    uint32_t fCode[4];
    uint8_t intraDcPrecision, pictureStructure, topFieldFirst, framePredFrameDct, concealmentMotionVectors, qScaleType,
        intraVlcFormat, alternateScan, repeatFirstField, chroma420Type, progressiveFrame, compositeDisplayFlag, vAxis,
        fieldSequence, subCarrier, burstAmplitude, subCarrierPhase;
} PictureCodingRecord;

typedef struct PictureDisplayRecord {
    uint32_t frameCentreHorizontalOffset[4], frameCentreVerticalOffset[4];
    uint8_t marker1, marker2;
} PictureDisplayRecord;

typedef struct SliceHeaderRecord {
    uint32_t sliceStartCode;
    uint8_t sliceVerticalPositionExtension, priorityBreakpoint, intraSliceFlag, intraSlice, reservedBits, extraBitSlice;
} SliceHeaderRecord;

typedef struct MacroblockRecord {
    int32_t motionCode[2][2][2], motionResidual[2][2][2], dmVector[2];
    uint8_t motionVerticalFieldSelect[2][2];
    uint32_t macroblockIncrement, macroblockAddress, previousAddress, codedBlockMask, cbpExtraBits;
    uint8_t quantiserScaleCode, spatialTemporalWeightCode, frameMotionType, fieldMotionType, dctType;
    uint8_t macroblockQuant, macroblockMotionForward, macroblockMotionBackward, macroblockPattern, macroblockIntra,
        spatialTemporalWeightFlag, spatialTemporalClasses;
    uint8_t predictionType, motionVectorCount, mvFormat, dualPrime, spatialTemporalRow[4];
} MacroblockRecord;

typedef struct UserDataRecord {
    const uint8_t *buffer;
    uint32_t length;
} UserDataRecord;

typedef struct CallbackEvent {
    uint32_t eventCode;
    const SequenceHeaderRecord *sequenceHeader;
    const SequenceExtensionRecord *sequenceExtension;
    const SequenceDisplayRecord *sequenceDisplay;
    const QuantMatrixRecord *quantMatrix;
    const CopyrightRecord *copyright;
    const GopRecord *groupOfPictures;
    const PictureHeaderRecord *pictureHeader;
    const PictureCodingRecord *pictureCoding;
    const PictureDisplayRecord *pictureDisplay;
    const SliceHeaderRecord *slice;
    const MacroblockRecord *macroblock;
    const UserDataRecord *userData;
    void *privateArea[4];
    uint32_t userValue;
    const int16_t *blockData;
} CallbackEvent;

typedef int32_t (*VideoUserCallback)(CallbackEvent *);
typedef int32_t (*VideoMemoryManager)(int32_t command, void *pointer);

/* Creation and source. */
TVK_API int32_t tvkCreateVideoStream(VideoStream **out, VideoSource *source);
TVK_API int32_t tvkConnectVideoStream(VideoStream *stream);
TVK_API int32_t tvkDisconnectVideoStream(VideoStream *stream);
TVK_API int32_t tvkDestroyVideoStream(VideoStream *stream);
TVK_API int32_t tvkTestVideoStream(VideoStream *stream, StreamDescription *out);
TVK_API int32_t tvkGetVideoDecoderID(VideoStream *stream, uint32_t *out);

/* Stream facts and layers. */
TVK_API int32_t tvkGetVideoStreamInfo(VideoStream *stream, VideoStreamInfo *out);
TVK_API int32_t tvkGetVideoStreamType(VideoStream *stream, uint32_t *out);
TVK_API int32_t tvkGetSequenceHeader(VideoStream *stream, VideoFrame **out);
TVK_API int32_t tvkSetActiveVideoLayer(VideoStream *stream, int32_t layer);
TVK_API int32_t tvkGetActiveVideoLayer(VideoStream *stream, int32_t *out);

/* Stepping. */
TVK_API int32_t tvkNextVideoFrame(VideoStream *stream);
TVK_API int32_t tvkNextVideoFrameStreamOrder(VideoStream *stream);
TVK_API int32_t tvkPrevVideoFrame(VideoStream *stream);
TVK_API int32_t tvkGetNextVideoFrame(VideoStream *stream, VideoFrame **out);
TVK_API int32_t tvkGetNextVideoFrameStreamOrder(VideoStream *stream, VideoFrame **out);
TVK_API int32_t tvkGetNextVideoFrameEdit(VideoStream *stream, VideoFrame **out);
TVK_API int32_t tvkGetNextVideoFrameBin(VideoStream *stream, VideoFrame **out);
TVK_API int32_t tvkGetPrevVideoFrame(VideoStream *stream, VideoFrame **out);
TVK_API int32_t tvkGetVideoFrame(VideoStream *stream, VideoFrame **out);
TVK_API int32_t tvkGetVideoFrameBin(VideoStream *stream, VideoFrame **out);
TVK_API int32_t tvkCountVideoFrames(VideoStream *stream, uint32_t *out);

/* Positions. */
TVK_API int32_t tvkSetVideoFrameNumber(VideoStream *stream, int32_t number);
TVK_API int32_t tvkSetVideoFrameNumberEdit(VideoStream *stream, int32_t number);
TVK_API int32_t tvkSetVideoFrameNumberBin(VideoStream *stream, int32_t number);
TVK_API int32_t tvkGetBinaryStartEnd(VideoStream *stream, int32_t *first, int32_t *last);
TVK_API int32_t tvkGetLastFrameNumber(VideoStream *stream, uint32_t *out);
TVK_API int32_t tvkSetAbsVideoPosition(VideoStream *stream, AbsPosition position);
TVK_API int32_t tvkGetAbsVideoPosition(VideoStream *stream, AbsPosition *out);
TVK_API int32_t tvkSetRateVideoPosition(VideoStream *stream, double rate);
TVK_API int32_t tvkSetRateVideoPositionEdit(VideoStream *stream, double rate);
TVK_API int32_t tvkGetRateVideoPosition(VideoStream *stream, double *out);
TVK_API int32_t tvkSetTimeVideoPosition(VideoStream *stream, double seconds);
TVK_API int32_t tvkGetTimeVideoPosition(VideoStream *stream, double *out);

/* Index table. */
TVK_API int32_t tvkCreateVideoIndexTable(VideoStream *stream);
TVK_API int32_t tvkCreateVideoIndexTableEdit(VideoStream *stream, int32_t mode);
TVK_API int32_t tvkReadVideoIndexTable(VideoStream *stream, const char *path);
TVK_API int32_t tvkWriteVideoIndexTable(VideoStream *stream, const char *path);
TVK_API int32_t tvkIsVideoStreamIndexed(VideoStream *stream);

/* Buffers. */
TVK_API int32_t tvkSetVideoFrameBufferSize(VideoStream *stream, int32_t forward, int32_t backward);
TVK_API int32_t tvkGetVideoFrameBufferSize(VideoStream *stream, uint32_t *forward, uint32_t *backward);
TVK_API int32_t tvkGetVideoFrameBufferUtilization(VideoStream *stream, int32_t *forward, int32_t *backward);
TVK_API int32_t tvkGetBufferedVideoFrame(VideoStream *stream, int32_t index, VideoFrame **out);
TVK_API int32_t tvkSwapBuffer(VideoStream *stream);

/* Settings. */
TVK_API int32_t tvkSetVideoSP_Flags(VideoStream *stream, int32_t value);
TVK_API int32_t tvkGetVideoSP_Flags(VideoStream *stream, uint32_t *out);
TVK_API int32_t tvkSetVideoSP_ReduceCoefficient(VideoStream *stream, int32_t value);
TVK_API int32_t tvkGetVideoSP_ReduceCoefficient(VideoStream *stream, uint32_t *out);
TVK_API int32_t tvkSetVideoSP_FrameTypesToProcess(VideoStream *stream, int32_t value);
TVK_API int32_t tvkGetVideoSP_FrameTypesToProcess(VideoStream *stream, uint32_t *out);
TVK_API int32_t tvkSetVideoSP_Threads(VideoStream *stream, int32_t count);
TVK_API int32_t tvkGetVideoSP_Threads(VideoStream *stream, uint32_t *out);
TVK_API int32_t tvkSetVideoSP_FrameList(VideoStream *stream, int32_t *list, int32_t count);
TVK_API int32_t tvkGetVideoSP_FrameList(VideoStream *stream, int32_t **list, int32_t *count);
TVK_API int32_t tvkSetVideoSP_Prescan(VideoStream *stream, int32_t value);
TVK_API int32_t tvkSetVideoSP_PrescanEdit(VideoStream *stream, int32_t value);
TVK_API int32_t tvkGetVideoSP_Prescan(VideoStream *stream, uint32_t *out);
TVK_API int32_t tvkSetVideoSP_Precision(VideoStream *stream, int32_t value);
TVK_API int32_t tvkGetVideoSP_Precision(VideoStream *stream, uint32_t *out);
TVK_API int32_t tvkSetVideoSP_VOPTypesToProcess(VideoStream *stream, int32_t value);
TVK_API int32_t tvkGetVideoSP_VOPTypesToProcess(VideoStream *stream, uint32_t *out);
TVK_API int32_t tvkSetVideoWorkMode(VideoStream *stream, int32_t mode);
TVK_API int32_t tvkGetVideoWorkMode(VideoStream *stream, uint32_t *out);
TVK_API int32_t tvkSetVideoAdjustableSpeed(VideoStream *stream, int32_t command);
TVK_API int32_t tvkSetVideoConversionType(VideoStream *stream, uint32_t fourcc);
TVK_API int32_t tvkGetVideoConversionType(VideoStream *stream, uint32_t *out);
TVK_API int32_t tvkGetNextFAPPlain(VideoStream *stream, void *unused);
TVK_API int32_t tvkGetNextFAPSegment(VideoStream *stream, void *unused);

/* Callbacks. */
TVK_API int32_t tvkSetVideoUserCallback(VideoStream *stream, VideoUserCallback callback, uint32_t userValue);
TVK_API int32_t tvkSetMemoryManager(VideoStream *stream, VideoMemoryManager manager, int32_t slots);
TVK_API int32_t tvkGetMemoryManager(VideoStream *stream, void **callback, uint32_t *slots);
TVK_API int32_t tvkSetMemoryAvailable(VideoStream *stream, int32_t slot);

/* Frames. */
TVK_API int32_t tvkCreateVideoFrame(VideoStream *stream, VideoFrame **frame);
TVK_API int32_t tvkCreateVideoFrameWHC(VideoFrame **frame, int32_t width, int32_t height, int32_t chromaFormat);
TVK_API int32_t tvkCopyVideoFrame(const VideoFrame *source, VideoFrame *target);
TVK_API int32_t tvkCopyVideoFrameMT(VideoStream *stream, const VideoFrame *source, VideoFrame *target);
TVK_API int32_t tvkDuplicateVideoFrame(const VideoFrame *source, VideoFrame **target);
TVK_API int32_t tvkDuplicateVideoFrameMT(VideoStream *stream, const VideoFrame *source, VideoFrame **target);
TVK_API int32_t tvkDestroyVideoFrame(VideoFrame *frame);

/* Conversion and files. */
TVK_API int32_t tvkConvertVideoFrame(const VideoFrame *frame, int32_t target, uint8_t *buffer, int32_t stride,
                                     int32_t rows, int32_t channels);
TVK_API int32_t tvkConvertVideoFrameEx(const VideoFrame *frame, int32_t target, uint8_t *first, uint8_t *second,
                                       uint8_t *third, int32_t stride, int32_t channels);
TVK_API int32_t tvkConvertVideoFrameMT(VideoStream *stream, const VideoFrame *frame, int32_t target, uint8_t *buffer,
                                       int32_t stride, int32_t rows, int32_t channels);
TVK_API int32_t tvkSaveVideoFrameToFile(const VideoFrame *frame, const char *name, uint32_t format);

/* Library. */
TVK_API int32_t tvkGetVideoLibraryVersion(const VersionRecord **out);

#ifdef __cplusplus
}
#endif

#endif
