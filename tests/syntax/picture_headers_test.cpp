// SPDX-License-Identifier: BSD-2-Clause
// Picture level: header, its extensions, the extension dispatch.
#include "header_fixture.h"

namespace {

using namespace tvk;
using namespace tvktest;

struct PictureHeaders : HeaderTest {
    static BitWriter begin(uint32_t temporalReference, uint32_t type) {
        return BitWriter().put(10, temporalReference).put(3, type).put(16, 0xFFFF);
    }
    void parse(const BitWriter &bits) {
        load(bits);
        parsePictureHeader(stream.get());
    }
    void parseCoding(const CodingBits &bits) {
        headers().halfFramePending = 0;
        load(codingBits(bits));
        parsePictureCodingExtension(stream.get());
    }
    void setFrameFlags(uint8_t structure, uint8_t progressive, uint8_t topFieldFirst, uint8_t repeatFirstField) {
        headers().pictureCoding.pictureStructure = structure;
        headers().sequenceExtension.progressiveSequence = progressive;
        headers().pictureCoding.topFieldFirst = topFieldFirst;
        headers().pictureCoding.repeatFirstField = repeatFirstField;
    }
};

TEST_F(PictureHeaders, intraHeaderFillsItsRecord) {
    parse(begin(513, 1).put(1, 0));
    const PictureHeaderRecord &record = headers().picture;
    EXPECT_EQ(record.temporalReference, 513u);
    EXPECT_EQ(record.pictureCodingType, 1);
    EXPECT_EQ(record.vbvDelay, 0xFFFFu);
    EXPECT_EQ(record.extraBitPicture, 0);
    EXPECT_EQ(stream->counters.pictureHeadersSeen, 1u);
    EXPECT_EQ(events.back().eventCode, 7u);
    EXPECT_EQ(events.back().pictureHeader, &record);
    EXPECT_EQ(bitsLeft(), 2u);
}

TEST_F(PictureHeaders, userDataRestartsAtPictureLevel) {
    headers().userDataLength = 9;
    parse(begin(0, 1).put(1, 0));
    EXPECT_EQ(headers().userDataLevel, 3u);
    EXPECT_EQ(headers().userDataLength, 0u);
}

TEST_F(PictureHeaders, historyMovesOnePictureBack) {
    parse(begin(5, 1).put(1, 0));
    parse(begin(7, 2).put(4, 1).put(1, 0));
    EXPECT_EQ(headers().lastTemporalReference, 7u);
    EXPECT_EQ(headers().previousTemporalReference, 5u);
    EXPECT_EQ(headers().lastPictureType, 2u);
    EXPECT_EQ(headers().previousPictureType, 1u);
}

TEST_F(PictureHeaders, typesWithoutDecoderEndTheHeaderAtOnce) {
    headers().userDataLevel = 2;
    headers().userDataLength = 9;
    for (uint32_t type : {0u, 4u, 5u, 6u, 7u}) {
        parse(begin(3, type).put(32, 0xFFFFFFFF));
        EXPECT_EQ(bitsLeft(), 35u) << "61 bits filled up to 64, 29 read";
        EXPECT_EQ(headers().picture.pictureCodingType, type);
        EXPECT_EQ(headers().lastPictureType, type);
    }
    EXPECT_EQ(stream->counters.pictureHeadersSeen, 0u);
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(headers().userDataLevel, 2u);
    EXPECT_EQ(headers().userDataLength, 9u);
}

TEST_F(PictureHeaders, forwardPictureLeavesTheBackwardCodeOfBefore) {
    parse(begin(2, 3).put(1, 1).put(3, 4).put(1, 1).put(3, 6).put(1, 0));
    const uint32_t both[4] = {3, 3, 5, 5};
    EXPECT_EQ(std::memcmp(headers().pictureCoding.fCode, both, sizeof both), 0);
    EXPECT_EQ(headers().picture.fullPelForward, 1);
    EXPECT_EQ(headers().picture.fullPelBackward, 1);
    parse(begin(3, 2).put(1, 0).put(3, 2).put(1, 0));
    const uint32_t forward[4] = {1, 1, 5, 5};
    EXPECT_EQ(std::memcmp(headers().pictureCoding.fCode, forward, sizeof forward), 0);
    EXPECT_EQ(headers().picture.fullPelForward, 0);
    EXPECT_EQ(headers().picture.backwardFCode, 6);
}

TEST_F(PictureHeaders, extraInformationIsKeptUpTo1024Bytes) {
    BitWriter bits = begin(0, 1);
    for (uint32_t i = 0; i < 1025; ++i) bits.put(1, 1).put(8, i == 1024 ? 0xEE : i & 0x7F);
    bits.put(1, 0).put(5, 0x15);
    headers().picture.extraInformationPicture[1023] = 0;
    parse(bits);
    EXPECT_EQ(headers().picture.extraInformationPicture[0], 0);
    EXPECT_EQ(headers().picture.extraInformationPicture[1], 1);
    EXPECT_EQ(headers().picture.extraInformationPicture[1023], 1023 & 0x7F);
    EXPECT_EQ(headers().picture.extraBitPicture, 0);
    EXPECT_EQ(getField(stream->input->reader, 5), 0x15u) << "the last byte is read and dropped";
}

TEST_F(PictureHeaders, extraInformationEndsWithTheUnit) {
    BitWriter bits;
    bits.bytes.assign(100000, 0xFF);
    bits.bytes[1] = 0xCF;  // type 1
    parse(bits);
    EXPECT_EQ(headers().picture.pictureCodingType, 1);
    EXPECT_EQ(headers().picture.extraBitPicture, 0);
}

TEST_F(PictureHeaders, codingExtensionFillsItsRecord) {
    CodingBits bits;
    bits.topFieldFirst = bits.concealment = bits.intraVlc = bits.repeatFirstField = bits.progressiveFrame = 1;
    bits.composite = 1;
    BitWriter writer = codingBits(bits);
    writer.put(1, 1).put(3, 5).put(1, 1).put(7, 0x55).put(8, 0xAA).put(6, 0x2A);
    load(writer);
    parsePictureCodingExtension(stream.get());
    const PictureCodingRecord &record = headers().pictureCoding;
    const uint32_t codes[4] = {0, 1, 14, 14};
    EXPECT_EQ(std::memcmp(record.fCode, codes, sizeof codes), 0) << "15 is no special case";
    EXPECT_EQ(record.intraDcPrecision, 2);
    EXPECT_EQ(record.pictureStructure, 3);
    EXPECT_EQ(record.topFieldFirst, 1);
    EXPECT_EQ(record.framePredFrameDct, 0);
    EXPECT_EQ(record.concealmentMotionVectors, 1);
    EXPECT_EQ(record.qScaleType, 0);
    EXPECT_EQ(record.intraVlcFormat, 1);
    EXPECT_EQ(record.alternateScan, 0);
    EXPECT_EQ(record.repeatFirstField, 1);
    EXPECT_EQ(record.chroma420Type, 0);
    EXPECT_EQ(record.progressiveFrame, 1);
    EXPECT_EQ(record.compositeDisplayFlag, 1);
    EXPECT_EQ(record.vAxis, 1);
    EXPECT_EQ(record.fieldSequence, 5);
    EXPECT_EQ(record.subCarrier, 1);
    EXPECT_EQ(record.burstAmplitude, 0x55);
    EXPECT_EQ(record.subCarrierPhase, 0xAA);
    EXPECT_EQ(getField(stream->input->reader, 6), 0x2Au);
    EXPECT_EQ(events.back().eventCode, 8u);
    EXPECT_EQ(events.back().pictureCoding, &record);
}

TEST_F(PictureHeaders, fieldsAreCountedByParity) {
    parseCoding({.structure = 1});
    parseCoding({.structure = 2});
    parseCoding({.structure = 2});
    parseCoding({.structure = 3});
    EXPECT_EQ(stream->counters.topFields, 1u);
    EXPECT_EQ(stream->counters.bottomFields, 2u);
    EXPECT_EQ(stream->counters.pictureCodingExtensions, 4u);
}

TEST_F(PictureHeaders, halfPeriodIsOwedByTheseFramesAlone) {
    for (uint32_t i = 0; i < 64; ++i) {
        const uint32_t structure = 1 + i % 4 % 3, progressiveSequence = i >> 2 & 1, progressiveFrame = i >> 3 & 1,
                       topFieldFirst = i >> 4 & 1, repeat = i >> 5 & 1;
        headers().sequenceExtension.progressiveSequence = static_cast<uint8_t>(progressiveSequence);
        CodingBits bits;
        bits.structure = structure;
        bits.progressiveFrame = progressiveFrame;
        bits.topFieldFirst = topFieldFirst;
        bits.repeatFirstField = repeat;
        parseCoding(bits);
        const bool interlaced = !progressiveSequence && progressiveFrame && repeat;
        const bool progressive = progressiveSequence && progressiveFrame && topFieldFirst && repeat;
        EXPECT_EQ(headers().halfFramePending, structure == 3 && (interlaced || progressive) ? 1u : 0u) << i;
    }
}

// DEPARTURE(repeated progressive frame): shown twice, it owes nothing; shown three times, half a period.
TEST_F(PictureHeaders, repeatedProgressiveFrameOwesHalfAPeriodAtMost) {
    headers().sequenceExtension.progressiveSequence = 1;
    parseCoding({.topFieldFirst = 0, .repeatFirstField = 1, .progressiveFrame = 1});
    EXPECT_EQ(headers().halfFramePending, 0u);
    parseCoding({.topFieldFirst = 1, .repeatFirstField = 1, .progressiveFrame = 1});
    EXPECT_EQ(headers().halfFramePending, 1u);
}

TEST_F(PictureHeaders, interlacedFrameThatRepeatsAFieldOwesNothing) {
    headers().sequenceExtension.progressiveSequence = 0;
    CodingBits bits;
    bits.repeatFirstField = 1;
    parseCoding(bits);
    EXPECT_EQ(headers().halfFramePending, 0u);
}

TEST_F(PictureHeaders, displayOffsetsComeOncePerShownFieldOrFrame) {
    struct Case {
        uint8_t structure, progressive, topFieldFirst, repeat;
        uint32_t pairs;
    };
    for (const Case &c : {Case{3, 1, 1, 1, 3},
                          {3, 1, 0, 1, 2},
                          {3, 1, 1, 0, 1},
                          {1, 0, 1, 1, 1},
                          {2, 0, 0, 0, 1},
                          {3, 0, 0, 1, 3},
                          {3, 0, 1, 0, 2}}) {
        setFrameFlags(c.structure, c.progressive, c.topFieldFirst, c.repeat);
        headers().pictureDisplay = {};
        BitWriter bits;
        for (uint32_t i = 0; i < 4; ++i) bits.put(16, 0xFF00 + i).put(1, 1).put(16, 0x8000 + i).put(1, 1);
        load(bits);
        parsePictureDisplayExtension(stream.get());
        for (uint32_t i = 0; i < 4; ++i) {
            EXPECT_EQ(headers().pictureDisplay.frameCentreHorizontalOffset[i], i < c.pairs ? 0xFF00 + i : 0);
            EXPECT_EQ(headers().pictureDisplay.frameCentreVerticalOffset[i], i < c.pairs ? 0x8000 + i : 0);
        }
        EXPECT_EQ(events.back().eventCode, 9u);
    }
    EXPECT_EQ(stream->counters.pictureDisplayExtensions, 7u);
}

TEST_F(PictureHeaders, spatialOffsetsAreSigned) {
    BitWriter bits;
    bits.put(10, 1000).put(1, 1).put(15, 32767).put(1, 1).put(15, 16384).put(2, 3).put(1, 1).put(1, 0);
    load(bits);
    parsePictureSpatialExtension(stream.get());
    const SpatialScalableRecord &record = headers().spatialScalable;
    EXPECT_EQ(record.lowerLayerTemporalReference, 1000u);
    EXPECT_EQ(record.lowerLayerHorizontalOffset, -1);
    EXPECT_EQ(record.lowerLayerVerticalOffset, -16384);
    EXPECT_EQ(record.spatialTemporalWeightTableIndex, 3);
    EXPECT_EQ(record.lowerLayerProgressiveFrame, 1);
    EXPECT_EQ(record.lowerLayerDeinterlacedFieldSelect, 0);
    load(BitWriter().put(10, 0).put(1, 1).put(15, 16383).put(1, 1).put(15, 0).put(4, 0));
    parsePictureSpatialExtension(stream.get());
    EXPECT_EQ(record.lowerLayerHorizontalOffset, 16383);
    EXPECT_EQ(record.lowerLayerVerticalOffset, 0);
    EXPECT_EQ(stream->counters.pictureSpatialExtensions, 2u);
    EXPECT_TRUE(events.empty());
}

TEST_F(PictureHeaders, temporalExtensionFillsItsRecord) {
    load(BitWriter().put(2, 2).put(10, 700).put(1, 1).put(10, 701));
    parsePictureTemporalExtension(stream.get());
    EXPECT_EQ(headers().temporalScalable.referenceSelectCode, 2);
    EXPECT_EQ(headers().temporalScalable.forwardTemporalReference, 700u);
    EXPECT_EQ(headers().temporalScalable.marker, 1);
    EXPECT_EQ(headers().temporalScalable.backwardTemporalReference, 701u);
    EXPECT_EQ(stream->counters.pictureTemporalExtensions, 1u);
    EXPECT_TRUE(events.empty());
}

TEST_F(PictureHeaders, identifierAloneChoosesTheParser) {
    for (uint32_t id = 0; id < 16; ++id) {
        load(BitWriter().put(4, id).put(32, 0).put(32, 0).put(32, 0));
        parseExtension(stream.get());
    }
    const Counters &c = stream->counters;
    for (uint32_t count : {c.sequenceExtensions, c.sequenceDisplayExtensions, c.quantMatrixExtensions,
                           c.copyrightExtensions, c.sequenceScalableExtensions, c.pictureDisplayExtensions,
                           c.pictureCodingExtensions, c.pictureSpatialExtensions, c.pictureTemporalExtensions})
        EXPECT_EQ(count, 1u);
}

TEST_F(PictureHeaders, reservedExtensionsReadTheirIdentifierOnly) {
    for (uint32_t id : {0u, 6u, 11u, 15u}) {
        load(BitWriter().put(4, id).put(28, 0));
        parseExtension(stream.get());
        EXPECT_EQ(bitsLeft(), 28u);
    }
    EXPECT_TRUE(events.empty());
}

TEST_F(PictureHeaders, prescanAsksWhereAnExtensionStands) {
    const auto parseBehindStartCode = [this] {
        load(BitWriter().put(32, 0x01020304).startCode(0x1B5).put(4, 0));
        SetBytePosition(stream->input->reader, 8);
        parseExtension(stream.get());
        return source.count(Slot::getAbsPosition);
    };
    EXPECT_EQ(parseBehindStartCode(), 0u);
    stream->index.prescanRequested = 1;
    EXPECT_EQ(parseBehindStartCode(), 1u);
    EXPECT_EQ(source.last(Slot::getAbsPosition)->number, 4u);
    EXPECT_EQ(bitsLeft(), 4u) << "the reader goes on behind the identifier";
    stream->index.indexed = 1;
    EXPECT_EQ(parseBehindStartCode(), 1u);
}

}  // namespace
