// SPDX-License-Identifier: BSD-2-Clause
// A stream record with an input over bytes in memory, enough to run the header parsers on.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "core/stream.h"
#include "input/video_input.h"
#include "mpeg12/worker.h"
#include "support/bit_writer.h"
#include "support/fake_source.h"
#include "syntax/headers.h"

namespace tvktest {

struct HeaderTest : testing::Test {
    FakeSource source;
    std::unique_ptr<tvk::SliceWorker> worker = std::make_unique<tvk::SliceWorker>();
    tvk::SliceWorker *workers[1] = {worker.get()};
    std::unique_ptr<VideoStream> stream = std::make_unique<VideoStream>();
    static inline std::vector<CallbackEvent> events;
    static inline std::vector<uint8_t> eventUserData;

    HeaderTest() {
        events.clear();
        eventUserData.clear();
        stream->source = source.source();
        stream->workers.workers = workers;
        stream->threadCount = 1;
        stream->settings.precision = 2;
        stream->callbacks.userCallback = noteEvent;
        stream->input = tvk::createVideoInput(stream.get(), 0);
        tvk::initialiseHeaders(stream.get());
    }
    ~HeaderTest() override { tvk::destroyVideoInput(stream->input); }

    // Loads the bytes as one unit, the reader on the first.
    void load(const BitWriter &bits) {
        source.bytes = bits.bytes;
        source.position = 0;
        tvk::resetVideoInput(stream->input);
        ASSERT_EQ(tvk::RefillUnit(stream->input), static_cast<int32_t>(bits.size()));
    }

    uint32_t bitsLeft() const {
        const tvk::BitReader &r = stream->input->reader;
        const uint32_t position =
            static_cast<uint32_t>(r.wordPointer - r.bufferStart) * 32 + static_cast<uint32_t>(31 - r.bitPosition);
        return r.byteCount * 8 - position;
    }

    tvk::Headers &headers() { return stream->headers; }

    static int32_t noteEvent(CallbackEvent *event) {
        events.push_back(*event);
        if (event->eventCode == 13)
            eventUserData.assign(event->userData->buffer, event->userData->buffer + event->userData->length);
        return 0;
    }
};

// The fields of a sequence header that tests vary.
struct SequenceBits {
    uint32_t width = 720, height = 576, aspect = 3, rate = 3, bitRate = 10000, vbv = 112;
    const uint8_t *intra = nullptr, *nonIntra = nullptr;  // 64 bytes in zigzag order
};

inline void putMatrix(BitWriter &b, const uint8_t *matrix) {
    b.put(1, matrix ? 1 : 0);
    for (int i = 0; matrix && i < 64; ++i) b.put(8, matrix[i]);
}

inline BitWriter sequenceBits(const SequenceBits &s = {}) {
    BitWriter b;
    b.put(12, s.width).put(12, s.height).put(4, s.aspect).put(4, s.rate).put(18, s.bitRate).put(1, 1).put(10, s.vbv);
    b.put(1, 0);
    putMatrix(b, s.intra);
    putMatrix(b, s.nonIntra);
    return b;
}

struct SequenceExtensionBits {
    uint32_t progressive = 0, chromaFormat = 1, widthExtension = 0, heightExtension = 0, bitRate = 0, n = 0, d = 0;
};

// Behind the identifier.
inline BitWriter sequenceExtensionBits(const SequenceExtensionBits &s = {}) {
    BitWriter b;
    b.put(8, 0x48).put(1, s.progressive).put(2, s.chromaFormat).put(2, s.widthExtension).put(2, s.heightExtension);
    b.put(12, s.bitRate).put(1, 1).put(8, 7).put(1, 1).put(2, s.n).put(5, s.d);
    return b;
}

struct CodingBits {
    uint32_t fCode[4] = {1, 2, 15, 15};
    uint32_t dcPrecision = 2, structure = 3, topFieldFirst = 0, framePredFrameDct = 0, concealment = 0, qScaleType = 0,
             intraVlc = 0, alternateScan = 0, repeatFirstField = 0, chroma420 = 0, progressiveFrame = 0, composite = 0;
};

// Behind the identifier.
inline BitWriter codingBits(const CodingBits &c = {}) {
    BitWriter b;
    for (uint32_t f : c.fCode) b.put(4, f);
    b.put(2, c.dcPrecision).put(2, c.structure).put(1, c.topFieldFirst).put(1, c.framePredFrameDct);
    b.put(1, c.concealment).put(1, c.qScaleType).put(1, c.intraVlc).put(1, c.alternateScan);
    b.put(1, c.repeatFirstField).put(1, c.chroma420).put(1, c.progressiveFrame).put(1, c.composite);
    return b;
}

}  // namespace tvktest
