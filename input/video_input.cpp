// SPDX-License-Identifier: BSD-2-Clause
// The life of a stream's input.
#include "input/video_input.h"

#include "core/memory.h"
#include "core/stream.h"
#include "input/unit_words.h"

namespace tvk {

VideoInput *createVideoInput(VideoStream *stream, int32_t ownBuffer) {
    VideoInput *input = allocateArray<VideoInput>(1);
    PictureUnit *unit = allocateArray<PictureUnit>(1);
    uint8_t *block = allocateArray<uint8_t>(kFirstUnitCapacity + kUnitPadding);
    if (!input || !unit || !block) {
        release(block);
        release(unit);
        release(input);
        return nullptr;
    }
    input->unit = unit;
    input->ownedBytes = block;
    input->ownedCapacity = kFirstUnitCapacity;
    input->ownBuffer = ownBuffer;
    input->source = stream->source;
    input->stream = stream;
    if (!ownBuffer) {
        unit->buffer = block;
        unit->capacity = static_cast<int32_t>(kFirstUnitCapacity);
    }
    resetVideoInput(input);
    return input;
}

void destroyVideoInput(VideoInput *input) {
    if (!input) return;
    release(input->ownedBytes);
    release(input->unit);
    release(input);
}

void resetVideoInput(VideoInput *input) {
    input->partialBytes = 0;
    presentNothing(input);
}

}  // namespace tvk
