// SPDX-License-Identifier: BSD-2-Clause
// The context of one thread that decodes slices, and the calls that make, run and stop a stream's set of them.
#pragma once

#include <cstdint>

#include "core/stream.h"
#include "core/threads.h"
#include "input/bit_reader.h"
#include "mpeg12/bit_window.h"
#include "mpeg12/block_form.h"
#include "tvk.h"

namespace tvk {

inline constexpr int32_t kBlockValues = 64;
inline constexpr int32_t kMaxBlocks = 12;

// A motion vector in half samples, as the predictors hold it.
struct MotionVector {
    int16_t x, y;
};

// All bits where a motion code is not 0, none where it is; a mask, since codes follow no pattern.
constexpr int32_t codeMask(int32_t code) {
    return (code | -code) >> 31;
}

// One plane of a frame as prediction and reconstruction address it.
struct PlaneView {
    uint8_t *data;
    int32_t size;    // bytes at data: the bound of every source address
    int32_t stride;  // bytes
};

// A non-intra block whose coefficients stand.
struct CodedBlock {
    int16_t *values;   // its value 0, in SliceWorker::blocks
    int32_t place;     // its entry of the placement table, see block_placement.cpp
    bool interleaved;  // rows 16 values apart in place of 8
    BlockForm form;

    ptrdiff_t rowValues() const { return interleaved ? 16 : 8; }
};

struct SliceCounters {
    uint32_t slices, macroblocks, codedBlockPatterns, coefficientCalls;
};

// Nothing here survives a picture but the event record, the back pointer, the thread and the position. What the kernels
// read in registers stands on cache lines of its own.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct alignas(64) SliceWorker {
    alignas(64) int16_t blocks[kMaxBlocks * kBlockValues];  // coefficients, then residuals
    alignas(64) int16_t reducedResidual[kMaxBlocks * 16];   // residual macroblock at reduce coefficients 2 and 4
    alignas(64) uint8_t macroblockPixels[768];  // luma 16 rows of 16, from byte 256 interleaved chroma rows of 16

    BitWindow bits;
    CodedBlock codedBlock;  // what residualReconstruct transforms
    MacroblockRecord macroblock;
    SliceHeaderRecord sliceHeader;
    int32_t dcPredictor[3];
    uint32_t lowBlockMask;     // bit 31 - i: block i may take the low form of the fast transform
    uint32_t dcOnlyBlockMask;  // bit 31 - i: block i holds nothing but its value 0
    uint32_t dirtyBlocks;      // bit 31 - i: block i of `blocks` may hold values other than zero
    bool dirtyReduced;         // reducedResidual may

    // Position in units of 8 coded samples (chroma: 8 bytes), rows on a frame-line basis.
    int32_t blockX, blockY, chromaX, chromaY;
    uint32_t lumaOffset, chromaOffset;  // byte offsets of the macroblock's first samples; writers read them

    // PMV[r][s]: vector r, s 0 forward and 1 backward.
    MotionVector PMV[2][2];
    MotionVector derivedVector[4];  // dual prime
    uint8_t previousMotionForward, previousMotionBackward;
    const int16_t *residual;            // `blocks`, the reduced area, or zeros during skipped macroblocks
    bool lumaResidual, chromaResidual;  // false lets prediction store without adding
    bool wantsOrder;                    // what the slices gave depends on those before them, whoever decoded these
    uint32_t lastAddress;               // of the slice at hand: macroblocks behind it are the next slice's

    PlaneView currentLuma, currentChroma, forwardLuma, forwardChroma, backwardLuma, backwardChroma;
    uint8_t *outputY, *outputU, *outputV;  // application output, worker 0 only
    uint8_t pictureStructureIndex;         // pictureStructure - 1
    uint8_t secondFieldFlag;

    BitReader reader;  // copied from the input at each picture
    CallbackEvent event;
    CallbackEvent badCodeEvent;  // what event 0x80000001 hands out, made once so that any worker may raise it
    VideoStream *stream;
    SliceCounters counters;
    uint8_t extraInformationSlice[1024];

    uint32_t workerIndex;
    bool threadStarted;
    AutoResetEvent startEvent, doneEvent;
    Thread thread;
};

// Blocks of a macroblock: 6, 8 or 12. The reserved chroma format counts 5 and so has no pair of chroma blocks.
inline int32_t blockCount(const SliceWorker *worker) {
    const uint32_t blocks = worker->stream->headers.blocksPerMacroblock;
    return blocks < kMaxBlocks ? static_cast<int32_t>(blocks) : kMaxBlocks;
}

// mpeg12/workers.cpp

// Slices are dealt out by index modulo threadCount, and no unit has more than this many: contexts beyond it would
// never see one and are not made.
inline constexpr uint32_t kMostWorkers = 4096;

// The number of contexts behind stream->workers.workers.
inline uint32_t workerCount(const VideoStream *stream) {
    return stream->threadCount < kMostWorkers ? stream->threadCount : kMostWorkers;
}

// Gives the stream `count` contexts and their threads in place of those it has, and stores threadCount; also clears
// workerFault. False when a context cannot be allocated: all stays as it was.
// A thread that cannot be started leaves its worker without one and sets workerFault.
bool replaceWorkers(VideoStream *stream, uint32_t count);
// Stops and joins the threads and frees the contexts.
void destroyWorkers(VideoStream *stream);
// The stream's user value and the worker's blocks into its event records.
void initWorkerEvents(SliceWorker *worker);
// A worker has no thread: nothing is decoded until the stream gets other workers, and steps on several threads fail.
bool workerFault(const VideoStream *stream);
bool workerFailed(const VideoStream *stream);

// mpeg12/motion_vectors.cpp

// Updates PMV for the directions whose motion flag is set.
void ReconstructMotionVectors(SliceWorker *worker);
inline void ClearMotionPredictors(SliceWorker *worker) {
    for (auto &vector : worker->PMV)
        for (MotionVector &direction : vector) direction = {0, 0};
}

// mpeg12/dealing.cpp

// Decodes all slices of the loaded unit into currentFrame; see there for when nothing is decoded.
void decodePicture(VideoStream *stream);
// The worker's share of the picture's slices.
void decodeShare(SliceWorker *worker);

// mpeg12/slice.cpp

// Decodes one slice; worker->reader stands on its start code. Never fails: a bad code ends the slice.
void DecodeSlice(SliceWorker *worker);
// The address of the first macroblock of the slice that worker->reader stands on; that of its row where no valid
// increment follows. Leaves worker->macroblock and sliceHeader as reading left them.
uint32_t firstAddressOfSlice(SliceWorker *worker);
// mpeg12/inter_table.cpp: chooses stream->chosen.interDecoder for the picture, leaving it on I and D pictures.
void SelectInterDecoder(VideoStream *stream);
// mpeg12/block_placement.cpp: points the stream at the placement row of its chroma format and picture structure.
void selectBlockPlacement(VideoStream *stream);

// Stage functions (reduce coefficient 1).
int32_t DecodeCoefficientsFast(SliceWorker *worker);
int32_t DecodeCoefficientsPrecise(SliceWorker *worker);
// The residual functions transform codedBlock, at eighth size all blocks of the macroblock.
// An intra macroblock into macroblockPixels in place of the frame, at either precision.
void LocalIntraTransform(SliceWorker *worker);
void IntraFast(SliceWorker *worker);
void IntraExact(SliceWorker *worker);
void ResidualFast(SliceWorker *worker);
void ResidualExact(SliceWorker *worker);
// Reduce coefficients 2, 4 and 8.
int32_t DecodeCoefficientsCompact(SliceWorker *worker);
void IntraHalf(SliceWorker *worker);
void IntraQuarter(SliceWorker *worker);
void IntraEighth(SliceWorker *worker);
void ResidualHalf(SliceWorker *worker);
void ResidualQuarter(SliceWorker *worker);
void ResidualEighth(SliceWorker *worker);

}  // namespace tvk
