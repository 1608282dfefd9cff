// SPDX-License-Identifier: BSD-2-Clause
// Slots, buffers and writers of pictures that go straight to the application.
#include "mpeg12/output_stage.h"

#include "core/callbacks.h"
#include "core/slots.h"
#include "mpeg12/worker.h"
#include "mpeg12/writers.h"

namespace tvk {

namespace {

enum ConversionIndex : uint32_t { conversionYv12 = 2, conversionYvu9 = 3 };

uint32_t reduceOffset(uint32_t reduce) {
    return reduce == 2 ? 12 : reduce == 4 ? 24 : reduce == 8 ? 36 : 0;
}

// The writer's place among those of an I picture; 0 for a chroma format that has none.
uint32_t kindOffset(const Headers &headers) {
    const uint32_t chromaFormat = headers.sequenceExtension.chromaFormat;
    if (chromaFormat < chroma420 || chromaFormat > chroma444) return 0;
    return 2 * (chromaFormat - 1) + (headers.pictureCoding.pictureStructure != structureFrame ? 6 : 0);
}

// Planar targets hold luma, then Cr, then Cb, each chroma plane 1 / `chromaShare` of the luma.
void setOutput(SliceWorker *worker, uint8_t *buffer, size_t area, size_t chromaShare) {
    worker->outputY = buffer;
    worker->outputV = buffer && chromaShare ? buffer + area : nullptr;
    worker->outputU = buffer && chromaShare ? buffer + area + area / chromaShare : nullptr;
}

}  // namespace

// By the picture's own type: an I field may complete a frame that began as another, and the writer of an earlier
// picture may be for frames and buffers of other shapes.
void chooseMacroblockWriter(VideoStream *stream) {
    if (stream->headers.picture.pictureCodingType != pictureI) return;
    stream->chosen.macroblockWriter =
        macroblockWriterAt(48 * stream->conversion.conversionIndex + reduceOffset(stream->settings.reduceCoefficient) +
                           kindOffset(stream->headers));
}

void openOutput(SliceWorker *worker) {
    VideoStream *stream = worker->stream;
    VideoFrame *frame = stream->frames.currentFrame;
    // A second field goes to the buffer of the first.
    if (stream->frames.fieldPending == 0) frame->bufferSlot = drawSlot(stream->callbacks.slots);
    stream->frames.workFramesShown = 1;
    stream->callbacks.memoryManager(memoryPictureBegins, frame);

    Conversion &conversion = stream->conversion;
    conversion.outputStride = (static_cast<uint32_t>(frame->lumaPlane.width) + 31) & ~31u;
    conversion.outputRows = (static_cast<uint32_t>(frame->lumaPlane.height) + 15) & ~15u;
    const size_t area = size_t{conversion.outputStride} * conversion.outputRows;
    const size_t chromaShare = conversion.conversionIndex == conversionYv12   ? 4
                               : conversion.conversionIndex == conversionYvu9 ? 16
                                                                              : 0;
    setOutput(worker, static_cast<uint8_t *>(frame->externalBuffer), area, chromaShare);
}

void closeOutput(VideoStream *stream) {
    if (stream->callbacks.memoryManager)
        stream->callbacks.memoryManager(memoryPictureEnds, stream->frames.currentFrame);
}

}  // namespace tvk
