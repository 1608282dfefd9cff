// SPDX-License-Identifier: BSD-2-Clause
// The stream record: the whole state of one decoder instance, one group struct per owner.
#pragma once

#include <cstdint>
#include <type_traits>

#include "tvk.h"

namespace tvk {

struct SliceWorker;
struct VideoInput;

inline constexpr uint32_t kStreamMagic = 0x326B7674;  // the bytes "tvk2" in memory on a little-endian machine

enum StreamStatus : uint32_t {
    statusIdle = 1,
    statusReady = 2,
    statusBusy = 3,
    statusEndOfStream = 4,
    statusWaitingForData = 5
};

// Start codes as a unit's table names them: the code's low byte with 0x100 added.
enum StartCode : uint32_t {
    codePicture = 0x100,
    codeFirstSlice = 0x101,
    codeLastSlice = 0x1AF,
    codeUserData = 0x1B2,
    codeSequenceHeader = 0x1B3,
    codeExtension = 0x1B5,
    codeSequenceEnd = 0x1B7,
    codeGroup = 0x1B8
};

enum PictureType : uint32_t { pictureI = 1, pictureP = 2, pictureB = 3, pictureD = 4 };
enum PictureStructure : uint32_t { structureTopField = 1, structureBottomField = 2, structureFrame = 3 };
enum ChromaFormat : uint32_t { chroma420 = 1, chroma422 = 2, chroma444 = 3 };

// Ring of decoded frames. Index 0 of `centre` is the current frame, positive indexes are later frames.
struct FrameRing {
    uint32_t ringFollowsSeek;
    int32_t ringState;
    int32_t forwardSize, forwardFill, builtForwardSize;
    int32_t backwardSize, backwardFill, builtBackwardSize;
    VideoFrame **ringCentre;
    VideoFrame **ringFrames;
};

// Slice workers. `workersStop` and `workerFault` are touched through std::atomic_ref alone; the rest is written before
// the workers start on a picture.
struct WorkerSet {
    SliceWorker **workers;  // threadCount pointers; worker 0 is the calling thread's own
    uint32_t workersStop;
    uint32_t workerFault;
    uint32_t inOrder;  // worker 0 decodes the picture by itself
    // By slice, the address of the last macroblock that it may have.
    uint32_t lastAddress[std::extent_v<decltype(PictureUnit::startOffsets)>];
};

// What MPEG-2's scalable extensions announce; parsed, and used by the macroblock layer's syntax alone.
struct ScalableRecord {
    uint32_t lowerLayerHorizontalSize, lowerLayerVerticalSize;
    uint8_t scalableMode, layerId, scalableMarker;
    uint8_t horizontalSubsamplingM, horizontalSubsamplingN, verticalSubsamplingM, verticalSubsamplingN;
    uint8_t pictureMuxEnable, muxToProgressive, pictureMuxOrder, pictureMuxFactor;
};

struct SpatialScalableRecord {
    uint32_t lowerLayerTemporalReference;
    int32_t lowerLayerHorizontalOffset, lowerLayerVerticalOffset;
    uint8_t marker1, marker2, spatialTemporalWeightTableIndex, lowerLayerProgressiveFrame,
        lowerLayerDeinterlacedFieldSelect;
};

struct TemporalScalableRecord {
    uint32_t forwardTemporalReference, backwardTemporalReference;
    uint8_t referenceSelectCode, marker;
};

// factor[i] = weight[i] * aanScale[i] * 128, in storage order: the inverse transform's scale merged into the quantiser.
struct QuantiserFactors {
    alignas(16) uint32_t factor[64];
};

struct Headers {
    SequenceHeaderRecord sequence;
    SequenceExtensionRecord sequenceExtension;
    SequenceDisplayRecord sequenceDisplay;
    QuantMatrixRecord quantMatrix;  // the weights: intraLumaWeights is quantMatrix.intra, and so on
    CopyrightRecord copyright;
    ScalableRecord scalable;
    GopRecord group;
    PictureHeaderRecord picture;
    PictureCodingRecord pictureCoding;
    PictureDisplayRecord pictureDisplay;
    SpatialScalableRecord spatialScalable;
    TemporalScalableRecord temporalScalable;

    QuantiserFactors intraLumaFactors, nonIntraLumaFactors, intraChromaFactors, nonIntraChromaFactors;
    alignas(16) uint8_t scanTable[2][64];  // [alternateScan][scan position] -> storage position

    uint32_t blocksPerMacroblock;  // 6, 8 or 12 (5 for the reserved chroma format 0)
    uint32_t cbpExtraBits;         // 0, 2 or 6: bits of coded_block_pattern behind its six of 4:2:0
    uint32_t macroblockTypeSet;    // 0 plain, 1 spatial, 2 SNR scalability

    uint32_t lastPictureType, previousPictureType;
    uint32_t lastTemporalReference, previousTemporalReference;
    uint32_t halfFramePending;

    uint32_t userDataLevel;   // 1 sequence, 2 group, 3 picture
    uint32_t userDataLength;  // bytes gathered in userDataBuffer
    uint8_t userDataBuffer[65540];
};

// Statistics; nothing relies on them but sequenceHeadersSeen and pictureHeadersSeen.
struct Counters {
    uint32_t sequenceHeadersSeen, sequenceExtensions, sequenceDisplayExtensions, quantMatrixExtensions,
        copyrightExtensions, sequenceScalableExtensions, groups, pictureHeadersSeen, pictureCodingExtensions,
        pictureDisplayExtensions, pictureSpatialExtensions, pictureTemporalExtensions, userDataBlocks;
    uint32_t topFields, bottomFields;
    uint32_t slices, macroblocks, codedBlockPatterns, coefficientCalls;
};

// Working frames, references and time. Fields from builtWidth on are what an index scan starts afresh.
struct FramePipeline {
    VideoFrame *workFrame[3];  // 0 and 1 alternate as anchors, 2 holds B and D pictures
    VideoFrame *forwardRef, *backwardRef, *currentFrame, *deliveredFrame;
    struct RetiredFrames *retired;  // replaced working frames: applications may still hold pointers to them
    uint32_t workFramesShown;       // a pointer to a working frame may have reached the application
    double streamClock;             // pending time stamp in mode 0, running clock in the other loops; -1.0 none
    double frameDuration;           // seconds
    float framesPerSecond;

    uint32_t builtWidth, builtHeight, builtReduce, builtChromaFormat;
    uint32_t anchorToggle;
    uint32_t pictureCounter;  // pictures begun, a field pair counted once
    uint32_t countI, countP, countB, countD;
    uint32_t fieldPending;  // 1 between the two fields of a decoded pair
    uint32_t fieldSkip;     // pictures whose slices are to be passed over
    uint32_t resyncOnce;
    uint32_t timeStampPending, timeStampQueued;
    double queuedTimeStamp;
    double lastStampTime;
    uint32_t stampTemporalReference;
    double outputClock;

    // The picture whose start code was met last. A call that ends with tvkErrNeedData leaves them to the next one.
    uint32_t fetchPending;     // its unit has not come yet: the loop resumes there, and else in its start-code scan
    double pictureRate;        // rate position of its start code, -1.0 unknown
    AbsPosition pictureStart;  // position of its start code, while an index is being made
};

using StepFunction = int32_t (*)(VideoStream *);
using StageFunction = void (*)(SliceWorker *);
using ParserFunction = int32_t (*)(SliceWorker *);
using HeaderFunction = bool (*)(SliceWorker *);
using InterFunction = void (*)(SliceWorker *, int32_t index);

// Behaviour chosen ahead of time; core/reconfigure.cpp is the only writer of the step and stage pointers.
struct ChosenFunctions {
    StepFunction mainStep, streamOrderStep, editStep, binaryStep;
    ParserFunction coefficientParser;
    StageFunction intraReconstruct, residualReconstruct;
    HeaderFunction headerReader;     // per picture, see headerReaderFor
    InterFunction interDecoder;      // per picture, see SelectInterDecoder
    StageFunction macroblockWriter;  // per I picture
};

struct SlotTable {
    int32_t lastReleased, nextSlot, size;
    uint8_t used[256];
};

struct Callbacks {
    VideoUserCallback userCallback;
    uint32_t userValue;
    VideoMemoryManager memoryManager;
    int32_t memorySlots;
    SlotTable slots;
};

struct Conversion {
    uint32_t conversionType;  // FOURCC as the caller spelt it
    uint32_t conversionIndex;
    uint32_t outputStride, outputRows;
};

struct Settings {
    uint32_t workMode;
    uint32_t reduceCoefficient;
    uint32_t frameTypesToProcess;
    uint32_t precision;
    int32_t speedLevel, speedIStep, speedPLimit, speedBLimit;
    int32_t speedICount, speedPCount, speedBCount;
    uint32_t iFramesOnly;
    int32_t *frameList;
    int32_t frameListCount, frameListCursor, lastListFrame, lastListEntry;
};

// One entry per I picture, and in its edit strength three arrays per frame.
struct VideoIndexTable {
    uint32_t prescanRequested, indexed;
    uint32_t indexStreamType, indexWidth, indexHeight, indexChromaFormat;
    uint32_t frameCount;
    float indexDuration;
    uint32_t indexBitRate;
    uint32_t infoReserved;
    uint32_t maxGroupLength;
    uint32_t entryCapacity, entryCount;
    int32_t *displayNumbers, *streamNumbers;
    double *entryTimes;
    AbsPosition *sequencePositions, *matrixPositions, *picturePositions, *groupPositions;
    int32_t *frameTypes, *displayMap, *rootFrames;
    uint32_t frameCapacity, framesScanned, pendingAnchor, displayCount, previousIFrame, latestIFrame;
    struct EditScan *editScan;  // what the edit scan has read so far, for the call that goes on with it
};

struct Geometry {
    int32_t blockWidth8, blockHeight8;  // the picture in units of 8 coded samples
    int32_t macroblockCount;
    const uint8_t (*blockPlacement)[12];  // [dctType][block]: a non-intra block begins at value 4 * entry
};

}  // namespace tvk

struct VideoStream {
    uint32_t magic;
    uint32_t streamType;   // 0 before a sequence header, 1 MPEG-1, 2 MPEG-2
    uint32_t decoderKind;  // 1 once creation has succeeded
    uint32_t decoderId;
    uint32_t connected;
    uint32_t threadCount;
    uint32_t status;       // tvk::StreamStatus; written through tvk::setStatus, calls of check M read it concurrently
    uint32_t callRunning;  // 1 within a call that reads the source; touched through std::atomic_ref alone

    VideoSource *source;
    tvk::VideoInput *input;
    tvk::FrameRing ring;
    tvk::WorkerSet workers;
    tvk::Headers headers;
    tvk::Counters counters;
    tvk::FramePipeline frames;
    tvk::ChosenFunctions chosen;
    tvk::Callbacks callbacks;
    tvk::Conversion conversion;
    tvk::Settings settings;
    tvk::VideoIndexTable index;
    tvk::Geometry geometry;
};
