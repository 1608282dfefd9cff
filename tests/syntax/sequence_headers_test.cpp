// SPDX-License-Identifier: BSD-2-Clause
// Sequence level: header, extensions, defaults, group header, frame rate.
#include "header_fixture.h"

namespace {

using namespace tvk;
using namespace tvktest;

struct SequenceHeaders : HeaderTest {
    void parseSequence(const SequenceBits &bits = {}) {
        load(sequenceBits(bits));
        parseSequenceHeader(stream.get());
    }
    void parseExtensionBits(const SequenceExtensionBits &bits = {}) {
        load(sequenceExtensionBits(bits));
        parseSequenceExtension(stream.get());
    }
};

TEST_F(SequenceHeaders, headerFillsItsRecord) {
    parseSequence({.width = 1920, .height = 1088, .aspect = 2, .rate = 4, .bitRate = 25000, .vbv = 597});
    const SequenceHeaderRecord &record = headers().sequence;
    EXPECT_EQ(record.horizontalSize, 1920u);
    EXPECT_EQ(record.verticalSize, 1088u);
    EXPECT_EQ(record.aspectRatioCode, 2);
    EXPECT_EQ(record.frameRateCode, 4);
    EXPECT_EQ(record.bitRate, 10'000'000u);
    EXPECT_EQ(record.bitRateMarker, 1);
    EXPECT_EQ(record.vbvBufferSize, 597u);
    EXPECT_EQ(record.constrainedParameters, 0);
    EXPECT_EQ(stream->counters.sequenceHeadersSeen, 1u);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].eventCode, 1u);
    EXPECT_EQ(events[0].sequenceHeader, &record);
    EXPECT_EQ(worker->event.sequenceHeader, nullptr);
}

TEST_F(SequenceHeaders, variableBitRateValueIsNoSpecialCase) {
    parseSequence({.bitRate = 0x3FFFF});
    EXPECT_EQ(headers().sequence.bitRate, 0x3FFFFu * 400);
}

TEST_F(SequenceHeaders, withoutExtensionTheStreamIsMpeg1Of420FramePictures) {
    parseSequence();
    EXPECT_EQ(stream->streamType, 1u);
    EXPECT_EQ(headers().sequenceExtension.chromaFormat, 1);
    EXPECT_EQ(headers().sequenceExtension.progressiveSequence, 1);
    EXPECT_EQ(headers().pictureCoding.pictureStructure, 3);
    EXPECT_EQ(headers().pictureCoding.progressiveFrame, 1);
    EXPECT_EQ(headers().pictureCoding.framePredFrameDct, 1);
    EXPECT_EQ(headers().sequenceDisplay.matrixCoefficients, 5);
    EXPECT_EQ(headers().scalable.scalableMode, 15);
}

TEST_F(SequenceHeaders, creationSetsTheSameDefaultsButNoType) {
    EXPECT_EQ(stream->streamType, 0u);
    EXPECT_EQ(headers().pictureCoding.pictureStructure, 3);
    EXPECT_EQ(headers().blocksPerMacroblock, 6u);
    EXPECT_EQ(headers().cbpExtraBits, 0u);
    EXPECT_EQ(stream->frames.framesPerSecond, 30.0f);
    EXPECT_EQ(headers().quantMatrix.chromaNonIntra[63], 16);
}

TEST_F(SequenceHeaders, headerRestoresWhatExtensionsSet) {
    parseExtensionBits({.chromaFormat = 3});
    load(codingBits({.structure = 1}));
    parsePictureCodingExtension(stream.get());
    headers().scalable.scalableMode = 1;
    headers().scalable.scalableMarker = 1;
    parseSequence();
    EXPECT_EQ(stream->streamType, 1u);
    EXPECT_EQ(headers().sequenceExtension.chromaFormat, 1);
    EXPECT_EQ(headers().sequenceExtension.progressiveSequence, 1);
    EXPECT_EQ(headers().pictureCoding.pictureStructure, 3);
    EXPECT_EQ(headers().scalable.scalableMode, 15);
    EXPECT_EQ(headers().scalable.scalableMarker, 0);
    EXPECT_EQ(headers().blocksPerMacroblock, 12u) << "an MPEG-1 sequence keeps the block count of before";
    EXPECT_EQ(headers().cbpExtraBits, 6u);
}

TEST_F(SequenceHeaders, extensionMakesTheStreamMpeg2) {
    parseSequence();
    parseExtensionBits({.chromaFormat = 2, .n = 1, .d = 3});
    const SequenceExtensionRecord &record = headers().sequenceExtension;
    EXPECT_EQ(stream->streamType, 2u);
    EXPECT_EQ(record.profileEscape, 0);
    EXPECT_EQ(record.profile, 4);
    EXPECT_EQ(record.level, 8);
    EXPECT_EQ(record.progressiveSequence, 0);
    EXPECT_EQ(record.chromaFormat, 2);
    EXPECT_EQ(record.extensionMarker, 1);
    EXPECT_EQ(record.vbvBufferSizeExtension, 7);
    EXPECT_EQ(record.lowDelay, 1);
    EXPECT_EQ(record.frameRateExtensionN, 1);
    EXPECT_EQ(record.frameRateExtensionD, 3);
    EXPECT_EQ(stream->counters.sequenceExtensions, 1u);
    EXPECT_EQ(events.back().eventCode, 2u);
    EXPECT_EQ(events.back().sequenceExtension, &record);
    EXPECT_EQ(bitsLeft(), 4u) << "44 bits, and 4 to the end of the byte";
}

TEST_F(SequenceHeaders, chromaFormatGivesBlocksAndPatternBits) {
    const uint32_t blocks[4] = {5, 6, 8, 12}, extraBits[4] = {99, 0, 2, 6};
    for (uint32_t format = 0; format < 4; ++format) {
        headers().cbpExtraBits = 99;
        parseExtensionBits({.chromaFormat = format});
        EXPECT_EQ(headers().blocksPerMacroblock, blocks[format]);
        EXPECT_EQ(headers().cbpExtraBits, extraBits[format]) << "reserved format 0 leaves the bits of before";
    }
}

TEST_F(SequenceHeaders, bitRateExtensionStandsAboveTheEighteenBits) {
    parseSequence({.bitRate = 0});
    parseExtensionBits({.bitRate = 1});
    EXPECT_EQ(headers().sequence.bitRate, (1u << 18) * 400);
    parseSequence({.bitRate = 0x3FFFF});
    parseExtensionBits({.bitRate = 0xFFF});
    EXPECT_EQ(headers().sequence.bitRate, 0x3FFFFFFFu * 400u) << "wraps in 32 bits";
}

TEST_F(SequenceHeaders, sizesGrowWithEveryExtension) {
    parseSequence({.width = 16, .height = 32});
    parseExtensionBits({.widthExtension = 1, .heightExtension = 3});
    EXPECT_EQ(headers().sequence.horizontalSize, 4096u + 16);
    EXPECT_EQ(headers().sequence.verticalSize, 3u * 4096 + 32);
    parseExtensionBits({.widthExtension = 1, .heightExtension = 3});
    EXPECT_EQ(headers().sequence.horizontalSize, 2u * 4096 + 16);
}

TEST_F(SequenceHeaders, levelOfUserDataFollowsTheHeaders) {
    headers().userDataLength = 7;
    parseSequence();
    EXPECT_EQ(headers().userDataLevel, 1u);
    EXPECT_EQ(headers().userDataLength, 0u);
    headers().userDataLength = 7;
    load(BitWriter().put(27, 0));
    parseGroupHeader(stream.get());
    EXPECT_EQ(headers().userDataLevel, 2u);
    EXPECT_EQ(headers().userDataLength, 0u);
    headers().userDataLength = 7;
    parseExtensionBits();
    EXPECT_EQ(headers().userDataLevel, 1u);
    EXPECT_EQ(headers().userDataLength, 7u);
}

TEST_F(SequenceHeaders, displayExtensionKeepsColoursThatItDoesNotDescribe) {
    BitWriter described;
    described.put(3, 2).put(1, 1).put(8, 9).put(8, 10).put(8, 11).put(14, 1440).put(1, 1).put(14, 1080);
    load(described);
    parseSequenceDisplayExtension(stream.get());
    const SequenceDisplayRecord &record = headers().sequenceDisplay;
    EXPECT_EQ(record.videoFormat, 2);
    EXPECT_EQ(record.colourPrimaries, 9);
    EXPECT_EQ(record.transferCharacteristics, 10);
    EXPECT_EQ(record.matrixCoefficients, 11);
    EXPECT_EQ(record.displayHorizontalSize, 1440u);
    EXPECT_EQ(record.displayMarker, 1);
    EXPECT_EQ(record.displayVerticalSize, 1080u);
    EXPECT_EQ(events.back().sequenceDisplay, &record);
    load(BitWriter().put(3, 5).put(1, 0).put(14, 700).put(1, 1).put(14, 500));
    parseSequenceDisplayExtension(stream.get());
    EXPECT_EQ(record.colourPrimaries, 9);
    EXPECT_EQ(record.displayHorizontalSize, 700u);
    EXPECT_EQ(record.displayVerticalSize, 500u);
    EXPECT_EQ(stream->counters.sequenceDisplayExtensions, 2u);
    EXPECT_EQ(events.back().eventCode, 3u);
}

TEST_F(SequenceHeaders, copyrightExtensionFillsItsRecord) {
    BitWriter b;
    b.put(1, 1).put(8, 0xA5).put(1, 0).put(7, 0x55).put(1, 1).put(20, 0xABCDE).put(1, 0).put(22, 0x3ABCDE);
    b.put(1, 1).put(22, 0x123456);
    load(b);
    parseCopyrightExtension(stream.get());
    const CopyrightRecord &record = headers().copyright;
    EXPECT_EQ(record.copyrightFlag, 1);
    EXPECT_EQ(record.copyrightIdentifier, 0xA5);
    EXPECT_EQ(record.originalOrCopy, 0);
    EXPECT_EQ(record.copyrightReserved, 0x55);
    EXPECT_EQ(record.marker1, 1);
    EXPECT_EQ(record.copyrightNumber1, 0xABCDEu);
    EXPECT_EQ(record.marker2, 0);
    EXPECT_EQ(record.copyrightNumber2, 0x3ABCDEu);
    EXPECT_EQ(record.marker3, 1);
    EXPECT_EQ(record.copyrightNumber3, 0x123456u);
    EXPECT_EQ(events.back().eventCode, 5u);
    EXPECT_EQ(events.back().copyright, &record);
}

TEST_F(SequenceHeaders, spatialScalabilityChoosesItsMacroblockTypes) {
    BitWriter b;
    b.put(2, 1).put(4, 1).put(14, 360).put(1, 1).put(14, 288).put(5, 2).put(5, 3).put(5, 4).put(5, 5);
    load(b);
    parseSequenceScalableExtension(stream.get());
    const ScalableRecord &record = headers().scalable;
    EXPECT_EQ(record.layerId, 1);
    EXPECT_EQ(record.lowerLayerHorizontalSize, 360u);
    EXPECT_EQ(record.lowerLayerVerticalSize, 288u);
    EXPECT_EQ(record.horizontalSubsamplingM, 2);
    EXPECT_EQ(record.horizontalSubsamplingN, 3);
    EXPECT_EQ(record.verticalSubsamplingM, 4);
    EXPECT_EQ(record.verticalSubsamplingN, 5);
    EXPECT_EQ(headers().macroblockTypeSet, 1u);
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(stream->counters.sequenceScalableExtensions, 1u);
    load(BitWriter().put(2, 2).put(4, 1));
    parseSequenceScalableExtension(stream.get());
    EXPECT_EQ(headers().macroblockTypeSet, 2u) << "the marker of the spatial extension is still in force";
    parseSequence();
    load(BitWriter().put(2, 2).put(4, 1));
    parseSequenceScalableExtension(stream.get());
    EXPECT_EQ(headers().macroblockTypeSet, 0u);
}

TEST_F(SequenceHeaders, temporalScalabilityReadsItsMultiplex) {
    load(BitWriter().put(2, 3).put(4, 9).put(1, 1).put(1, 1).put(3, 5).put(3, 6));
    parseSequenceScalableExtension(stream.get());
    EXPECT_EQ(headers().scalable.muxToProgressive, 1);
    EXPECT_EQ(headers().scalable.pictureMuxOrder, 5);
    EXPECT_EQ(headers().scalable.pictureMuxFactor, 6);
    load(BitWriter().put(2, 3).put(4, 9).put(1, 0).put(3, 2).put(3, 1));
    parseSequenceScalableExtension(stream.get());
    EXPECT_EQ(headers().scalable.pictureMuxEnable, 0);
    EXPECT_EQ(headers().scalable.pictureMuxOrder, 2);
    EXPECT_EQ(headers().scalable.pictureMuxFactor, 1);
    EXPECT_EQ(headers().macroblockTypeSet, 0u);
}

TEST_F(SequenceHeaders, groupHeaderSplitsItsTimeCode) {
    load(BitWriter().put(1, 1).put(5, 23).put(6, 59).put(1, 1).put(6, 58).put(6, 29).put(1, 1).put(1, 0));
    parseGroupHeader(stream.get());
    const GopRecord &record = headers().group;
    EXPECT_EQ(record.dropFrame, 1);
    EXPECT_EQ(record.hours, 23);
    EXPECT_EQ(record.minutes, 59);
    EXPECT_EQ(record.gopMarker, 1);
    EXPECT_EQ(record.seconds, 58);
    EXPECT_EQ(record.pictures, 29);
    EXPECT_EQ(record.closedGop, 1);
    EXPECT_EQ(record.brokenLink, 0);
    EXPECT_EQ(record.timeCode, 1u << 24 | 23u << 19 | 59u << 13 | 1u << 12 | 58u << 6 | 29u);
    EXPECT_EQ(stream->counters.groups, 1u);
    EXPECT_EQ(events.back().eventCode, 6u);
    EXPECT_EQ(events.back().groupOfPictures, &record);
}

double durationOf(VideoStream *stream, uint32_t code, uint32_t n, uint32_t d) {
    stream->headers.sequence.frameRateCode = static_cast<uint8_t>(code);
    stream->headers.sequenceExtension.frameRateExtensionN = static_cast<uint8_t>(n);
    stream->headers.sequenceExtension.frameRateExtensionD = static_cast<uint8_t>(d);
    computeFrameDuration(stream);
    return stream->frames.frameDuration;
}

TEST_F(SequenceHeaders, frameRateCodes) {
    const double expected[16] = {1.0 / 30, 1001.0 / 24000, 1.0 / 24, 1.0 / 25, 1001.0 / 30000, 1.0 / 30,
                                 1.0 / 50, 1001.0 / 60000, 1.0 / 60, 1.0 / 30, 1.0 / 30,       1.0 / 30,
                                 1.0 / 30, 1.0 / 30,       1.0 / 30, 1.0 / 30};
    for (uint32_t code = 0; code < 16; ++code) {
        EXPECT_EQ(durationOf(stream.get(), code, 0, 0), expected[code]);
        EXPECT_EQ(stream->frames.framesPerSecond, static_cast<float>(1.0 / expected[code]));
    }
}

TEST_F(SequenceHeaders, forbiddenFrameRateCodesGiveThirtyFrames) {
    durationOf(stream.get(), 0, 0, 0);
    EXPECT_EQ(stream->frames.framesPerSecond, 30.0f);
    durationOf(stream.get(), 9, 0, 0);
    EXPECT_EQ(stream->frames.framesPerSecond, 30.0f);
}

TEST_F(SequenceHeaders, frameRateExtensionScalesThePeriod) {
    EXPECT_EQ(durationOf(stream.get(), 4, 0, 1), 1001.0 / 30000 * 2);
    EXPECT_EQ(durationOf(stream.get(), 3, 3, 0), 1.0 / 25 / 4);
    EXPECT_EQ(durationOf(stream.get(), 6, 1, 2), 1.0 / 50 * 1.5);
}

TEST_F(SequenceHeaders, withoutCallbackNothingIsRaised) {
    stream->callbacks.userCallback = nullptr;
    parseSequence();
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(stream->counters.sequenceHeadersSeen, 1u);
}

TEST_F(SequenceHeaders, unitThatEndsEarlyReadsAsZeros) {
    load(BitWriter().put(8, 0x2D));
    parseSequenceHeader(stream.get());
    EXPECT_EQ(headers().sequence.horizontalSize, 0x2D0u);
    EXPECT_EQ(headers().sequence.verticalSize, 0u);
    EXPECT_EQ(headers().quantMatrix.nonIntra[0], 16);
}

}  // namespace
