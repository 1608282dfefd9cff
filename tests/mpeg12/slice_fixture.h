// SPDX-License-Identifier: BSD-2-Clause
// A worker and its stream over coded bits in memory: enough to run the slice layer on, with recorders as its stages.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "input/video_input.h"
#include "mpeg12/macroblock_header.h"
#include "mpeg12/worker.h"
#include "support/bit_writer.h"

namespace tvktest {

struct SliceState {
    std::unique_ptr<VideoStream> stream = std::make_unique<VideoStream>();
    std::unique_ptr<tvk::SliceWorker> worker = std::make_unique<tvk::SliceWorker>();
    tvk::SliceWorker *workers[1] = {worker.get()};
    std::vector<uint32_t> words;

    // An MPEG-2 frame picture of 4:2:0, 64 x 64, without scalability.
    SliceState() {
        stream->streamType = 2;
        stream->threadCount = 1;
        stream->workers.workers = workers;
        stream->workers.inOrder = 1;
        worker->lastAddress = UINT32_MAX;
        stream->settings.reduceCoefficient = 1;
        stream->settings.precision = 2;
        tvk::Headers &h = headers();
        h.scalable.scalableMode = 15;
        h.picture.pictureCodingType = tvk::pictureI;
        h.pictureCoding.pictureStructure = tvk::structureFrame;
        worker->stream = stream.get();
        tvk::initWorkerEvents(worker.get());
        setPictureSize(64, 64);
        setFormat(tvk::chroma420, tvk::structureFrame);
    }

    tvk::Headers &headers() { return stream->headers; }
    PictureCodingRecord &coding() { return stream->headers.pictureCoding; }
    MacroblockRecord &macroblock() { return worker->macroblock; }

    void setPictureSize(uint32_t width, uint32_t height) {
        headers().sequence.horizontalSize = width;
        headers().sequence.verticalSize = height;
        stream->geometry.blockWidth8 = static_cast<int32_t>((width + 15) / 16 * 2);
        stream->geometry.blockHeight8 = static_cast<int32_t>((height + 31) / 32 * 4);
        stream->geometry.macroblockCount = stream->geometry.blockWidth8 * stream->geometry.blockHeight8 / 4;
    }

    void setFormat(tvk::ChromaFormat chroma, tvk::PictureStructure structure) {
        constexpr uint32_t kBlocks[] = {0, 6, 8, 12};
        headers().sequenceExtension.chromaFormat = static_cast<uint8_t>(chroma);
        headers().blocksPerMacroblock = kBlocks[chroma];
        headers().cbpExtraBits = kBlocks[chroma] - 6;
        macroblock().cbpExtraBits = headers().cbpExtraBits;
        coding().pictureStructure = static_cast<uint8_t>(structure);
        worker->pictureStructureIndex = static_cast<uint8_t>(structure - 1);
        tvk::selectBlockPlacement(stream.get());
    }

    // The reader and the window on the first bit. What lies behind the bits is zero.
    void load(const BitWriter &bits) {
        words.assign((bits.size() + 3) / 4 + tvk::kUnitPadding / 4, 0);
        for (size_t i = 0; i < bits.size(); ++i)
            words[i / 4] |= static_cast<uint32_t>(bits.bytes[i]) << (24 - 8 * (i % 4));
        worker->reader = {words.data(), words.data(), 31, static_cast<uint32_t>(bits.size())};
        tvk::openWindow(worker->bits, worker->reader);
    }

    int64_t consumed() const { return (worker->bits.next - words.data()) * 32 - worker->bits.valid; }
};

inline int64_t lengthOf(const BitWriter &bits) {
    return static_cast<int64_t>(bits.size()) * 8 - (bits.usedBits ? 8 - bits.usedBits : 0);
}

// What the stages saw of each macroblock, and the events raised.
struct SliceTest : testing::Test, SliceState {
    struct Seen {
        MacroblockRecord macroblock;
        int32_t index, blockX, blockY;
        int32_t dcPredictor[3];
    };
    static inline std::vector<Seen> seen;
    static inline std::vector<CallbackEvent> events;
    static inline std::vector<const CallbackEvent *> eventRecords;
    static inline std::vector<uint32_t> order;  // event codes, and the marks of the recording stages
    static inline int32_t current;              // index that the inter decoder was given
    static constexpr uint32_t kParsed = 1001, kIntra = 1002, kInter = 1003, kWritten = 1004;

    SliceTest() {
        seen.clear();
        events.clear();
        eventRecords.clear();
        order.clear();
        stream->callbacks.userCallback = [](CallbackEvent *event) {
            events.push_back(*event);
            eventRecords.push_back(event);
            order.push_back(event->eventCode);
            return 0;
        };
        tvk::ChosenFunctions &chosen = stream->chosen;
        chosen.coefficientParser = [](tvk::SliceWorker *) {
            order.push_back(kParsed);
            return 0;
        };
        chosen.intraReconstruct = [](tvk::SliceWorker *w) {
            order.push_back(kIntra);
            note(w, 0);
        };
        chosen.interDecoder = [](tvk::SliceWorker *w, int32_t index) {
            order.push_back(kInter);
            note(w, index);
        };
        chosen.macroblockWriter = [](tvk::SliceWorker *) { order.push_back(kWritten); };
    }

    static void note(tvk::SliceWorker *w, int32_t index) {
        seen.push_back(
            {w->macroblock, index, w->blockX, w->blockY, {w->dcPredictor[0], w->dcPredictor[1], w->dcPredictor[2]}});
    }

    static int64_t count(uint32_t mark) {
        int64_t n = 0;
        for (uint32_t m : order) n += m == mark;
        return n;
    }

    void setType(tvk::PictureType type) { headers().picture.pictureCodingType = static_cast<uint8_t>(type); }
    void decode(const BitWriter &bits) {
        load(bits);
        stream->chosen.headerReader = tvk::headerReaderFor(stream.get());
        tvk::DecodeSlice(worker.get());
    }
};

// Code, quantiser scale and the flag that ends the header of a slice.
inline BitWriter sliceOfRow(uint32_t row, uint32_t quantiserScale = 8) {
    BitWriter w;
    w.startCode(row + 1);
    w.put(5, quantiserScale).put(1, 0);
    return w;
}

}  // namespace tvktest
