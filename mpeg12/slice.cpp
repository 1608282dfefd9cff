// SPDX-License-Identifier: BSD-2-Clause
// One slice: its header, and its macroblocks up to the stages that the stream's settings and the picture have chosen.
#include <cstring>

#include "core/callbacks.h"
#include "core/inline.h"
#include "mpeg12/macroblock_header.h"
#include "mpeg12/position.h"
#include "mpeg12/worker.h"

namespace tvk {

namespace {

constexpr uint32_t kTallPicture = 2800;  // above it, slices carry the high part of their row

// Extra information bytes, each behind a flag bit; the first 1024 are kept.
void readExtraInformation(SliceWorker *w, BitWindow &b) {
    uint32_t count = 0;
    while (w->sliceHeader.extraBitSlice && !exhausted(b, w->reader)) {
        refill(b);
        const uint32_t byte = take(b, 8);
        if (count < sizeof w->extraInformationSlice) w->extraInformationSlice[count++] = static_cast<uint8_t>(byte);
        w->sliceHeader.extraBitSlice = static_cast<uint8_t>(take(b, 1));
    }
}

void readIntraSlice(SliceWorker *w, BitWindow &b) {
    SliceHeaderRecord &s = w->sliceHeader;
    refill(b);
    s.extraBitSlice = static_cast<uint8_t>(take(b, 1));
    s.intraSliceFlag = s.extraBitSlice;
    s.intraSlice = 0;
    if (!s.intraSliceFlag) return;
    s.intraSlice = static_cast<uint8_t>(take(b, 1));
    s.reservedBits = static_cast<uint8_t>(take(b, 7));
    s.extraBitSlice = static_cast<uint8_t>(take(b, 1));
    readExtraInformation(w, b);
}

// ISO/IEC 13818-2, 6.2.4; leaves the address of the macroblock before the slice's first row position.
void readSliceHeader(SliceWorker *w, BitWindow &b) {
    const VideoStream *stream = w->stream;
    const Headers &h = stream->headers;
    const bool tall = h.sequence.verticalSize > kTallPicture;
    SliceHeaderRecord &s = w->sliceHeader;
    s.extraBitSlice = 0;
    s.sliceStartCode = take(b, 32);
    refill(b);
    if (stream->streamType == 2) {
        s.sliceVerticalPositionExtension = tall ? static_cast<uint8_t>(take(b, 3)) : 0;
        if (h.scalable.scalableMarker == 1 && h.scalable.scalableMode == 0)
            s.priorityBreakpoint = static_cast<uint8_t>(take(b, 7));
    }
    w->macroblock.quantiserScaleCode = static_cast<uint8_t>(take(b, 5));
    readIntraSlice(w, b);
    resetDcPredictors(w);

    const uint32_t extension = tall ? static_cast<uint32_t>(s.sliceVerticalPositionExtension) << 7 : 0;
    const uint32_t row = (s.sliceStartCode & 0xFF) - 1 + extension;
    w->macroblock.previousAddress = ((h.sequence.horizontalSize + 15) >> 4) * row - 1;
}

void raiseSliceEvent(SliceWorker *w) {
    w->event.slice = &w->sliceHeader;
    raiseEvent(w->stream, &w->event, eventSlice);
}

// What the samples take from a macroblock whose coefficients stand. A picture of another type than I, P and B, and one
// for which no inter decoder was chosen, changes no sample.
void reconstruct(SliceWorker *w, int32_t index) {
    const VideoStream *stream = w->stream;
    const ChosenFunctions &chosen = stream->chosen;
    const uint8_t type = stream->headers.picture.pictureCodingType;
    if (type == pictureI) {
        AdvancePosition(w, index == 0);
        chosen.intraReconstruct(w);
        raiseEvent(w->stream, &w->event, eventMacroblockDone);
        if (w->outputY && chosen.macroblockWriter) chosen.macroblockWriter(w);
    } else if ((type == pictureP || type == pictureB) && chosen.interDecoder) {
        chosen.interDecoder(w, index);
    }
}

// Whether the macroblock whose header stands waits for the picture to be decoded in order, see dealing.cpp.
TVK_INLINE bool leavesItsOrder(SliceWorker *w) {
    w->wantsOrder |= w->macroblock.macroblockAddress > w->lastAddress;
    return w->wantsOrder && !w->stream->workers.inOrder;
}

}  // namespace

uint32_t firstAddressOfSlice(SliceWorker *w) {
    openWindow(w->bits, w->reader);
    readSliceHeader(w, w->bits);
    const uint32_t before = w->macroblock.previousAddress;
    return readAddressIncrement(w) ? w->macroblock.macroblockAddress : before + 1;
}

void DecodeSlice(SliceWorker *w) {
    const VideoStream *stream = w->stream;
    openWindow(w->bits, w->reader);
    readSliceHeader(w, w->bits);
    ++w->counters.slices;
    raiseSliceEvent(w);

    int32_t index = 0;
    do {
        if (!stream->chosen.headerReader(w)) {
            raiseBadCode(w->stream);
            return;
        }
        if (leavesItsOrder(w)) [[unlikely]]
            return;
        w->event.macroblock = &w->macroblock;
        raiseEvent(w->stream, &w->event, eventMacroblock);
        stream->chosen.coefficientParser(w);
        ++w->counters.coefficientCalls;
        reconstruct(w, index++);
        w->macroblock.previousAddress = w->macroblock.macroblockAddress;
        refill(w->bits);
    } while (peek(w->bits, 23) != 0 && !exhausted(w->bits, w->reader));
}

}  // namespace tvk
