// SPDX-License-Identifier: BSD-2-Clause
// The settings: what each accepts, what it changes, what it hands back.
#include "core/calls.h"
#include "mpeg12/worker.h"
#include "stream_fixture.h"

namespace {

using Settings = tvktest::StreamTest;

int32_t ignoreEvent(CallbackEvent *) {
    return 0;
}

TEST_F(Settings, flagsKeepTwoBits) {
    uint32_t flags = 9;
    EXPECT_EQ(0, tvkGetVideoSP_Flags(stream, &flags));
    EXPECT_EQ(2u, flags);
    EXPECT_EQ(0, tvkSetVideoSP_Flags(stream, -3));  // all bits but bit 1
    EXPECT_EQ(1u, stream->settings.iFramesOnly);
    EXPECT_EQ(0u, stream->ring.ringFollowsSeek);
    EXPECT_EQ(0, tvkGetVideoSP_Flags(stream, &flags));
    EXPECT_EQ(1u, flags);
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetVideoSP_Flags(stream, nullptr));
}

TEST_F(Settings, reduceCoefficientAcceptsPowersOfTwoUpToEight) {
    uint32_t value = 0;
    for (const int32_t reduce : {2, 4, 8, 1}) {
        EXPECT_EQ(0, tvkSetVideoSP_ReduceCoefficient(stream, reduce));
        EXPECT_EQ(0, tvkGetVideoSP_ReduceCoefficient(stream, &value));
        EXPECT_EQ(static_cast<uint32_t>(reduce), value);
    }
    for (const int32_t reduce : {0, 3, 5, 16, -1}) {
        EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoSP_ReduceCoefficient(stream, reduce));
        EXPECT_EQ(1u, stream->settings.reduceCoefficient);
    }
}

TEST_F(Settings, precisionOneExcludesReducedSizes) {
    uint32_t value = 0;
    EXPECT_EQ(0, tvkSetVideoSP_Precision(stream, 1));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoSP_ReduceCoefficient(stream, 2));
    EXPECT_EQ(0, tvkSetVideoSP_ReduceCoefficient(stream, 1));
    EXPECT_EQ(0, tvkSetVideoSP_Precision(stream, 2));
    EXPECT_EQ(0, tvkSetVideoSP_ReduceCoefficient(stream, 2));
    EXPECT_EQ(0, tvkSetVideoSP_Precision(stream, 1));
    EXPECT_EQ(0, tvkGetVideoSP_Precision(stream, &value));
    EXPECT_EQ(2u, value);
}

TEST_F(Settings, badPrecisionReportsSuccessAndChangesNothing) {
    EXPECT_EQ(0, tvkSetVideoSP_Precision(stream, 7));
    EXPECT_EQ(0, tvkSetVideoSP_Precision(stream, 0));
    EXPECT_EQ(2u, stream->settings.precision);
    EXPECT_EQ(0, tvkGetVideoSP_Precision(stream, nullptr));
}

TEST_F(Settings, frameTypesAreOneToThree) {
    uint32_t value = 0;
    for (int32_t types = 1; types <= 3; ++types) {
        EXPECT_EQ(0, tvkSetVideoSP_FrameTypesToProcess(stream, types));
        EXPECT_EQ(0, tvkGetVideoSP_FrameTypesToProcess(stream, &value));
        EXPECT_EQ(static_cast<uint32_t>(types), value);
    }
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoSP_FrameTypesToProcess(stream, 0));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoSP_FrameTypesToProcess(stream, 4));
    EXPECT_EQ(3u, stream->settings.frameTypesToProcess);
}

TEST_F(Settings, frameListMustRise) {
    int32_t rising[] = {1, 5, 9}, equal[] = {3, 3}, zero[] = {0, 5}, zeroLater[] = {5, 0};
    int32_t *list = nullptr;
    int32_t count = 0;
    stream->settings.frameListCursor = 7;
    EXPECT_EQ(0, tvkSetVideoSP_FrameList(stream, rising, 3));
    EXPECT_EQ(0, stream->settings.frameListCursor);
    EXPECT_EQ(0, stream->settings.lastListFrame);
    stream->settings.frameListCursor = 2;
    EXPECT_EQ(tvkErrFrameListOrder, tvkSetVideoSP_FrameList(stream, equal, 2));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoSP_FrameList(stream, zero, 2));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoSP_FrameList(stream, zeroLater, 2));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoSP_FrameList(stream, nullptr, 2));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoSP_FrameList(stream, rising, 0));
    EXPECT_EQ(2, stream->settings.frameListCursor);
    EXPECT_EQ(0, tvkGetVideoSP_FrameList(stream, &list, &count));
    EXPECT_EQ(rising, list);
    EXPECT_EQ(3, count);
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetVideoSP_FrameList(stream, nullptr, &count));
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetVideoSP_FrameList(stream, &list, nullptr));
}

TEST_F(Settings, prescanTakesZeroAndOneAndAlwaysReportsSuccess) {
    uint32_t value = 9;
    EXPECT_EQ(0, tvkSetVideoSP_Prescan(stream, 1));
    EXPECT_EQ(0, tvkGetVideoSP_Prescan(stream, &value));
    EXPECT_EQ(1u, value);
    EXPECT_EQ(0, tvkSetVideoSP_PrescanEdit(stream, 5));
    EXPECT_EQ(1u, stream->index.prescanRequested);
    EXPECT_EQ(0, tvkSetVideoSP_PrescanEdit(stream, 0));
    EXPECT_EQ(0u, stream->index.prescanRequested);
    EXPECT_EQ(0, tvkGetVideoSP_Prescan(stream, nullptr));
}

TEST_F(Settings, prescanOffDropsAnUnfinishedTableAlone) {
    stream->index.prescanRequested = 1;
    stream->index.entryCount = 3;
    EXPECT_EQ(0, tvkSetVideoSP_Prescan(stream, 0));
    EXPECT_EQ(0u, stream->index.entryCount);

    stream->index.prescanRequested = 1;
    stream->index.indexed = 1;
    stream->index.entryCount = 3;
    EXPECT_EQ(0, tvkSetVideoSP_Prescan(stream, 0));
    EXPECT_EQ(3u, stream->index.entryCount);
    EXPECT_EQ(0u, stream->index.prescanRequested);
    stream->index = {};
}

TEST_F(Settings, workModesChooseTheMainStep) {
    uint32_t mode = 9;
    EXPECT_EQ(tvk::stepForward, stream->chosen.mainStep);
    EXPECT_EQ(0, tvkSetVideoWorkMode(stream, 1));
    EXPECT_EQ(tvk::stepAdjustableSpeed, stream->chosen.mainStep);
    EXPECT_EQ(tvk::stepStreamOrder, stream->chosen.streamOrderStep);
    EXPECT_EQ(0, tvkSetVideoWorkMode(stream, 2));
    EXPECT_EQ(tvk::stepFrameList, stream->chosen.mainStep);
    EXPECT_EQ(tvk::stepEdit, stream->chosen.editStep);
    EXPECT_EQ(tvk::stepBinary, stream->chosen.binaryStep);
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoWorkMode(stream, 3));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoWorkMode(stream, -1));
    EXPECT_EQ(0, tvkGetVideoWorkMode(stream, &mode));
    EXPECT_EQ(2u, mode);
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetVideoWorkMode(stream, nullptr));
}

struct StageCase {
    int32_t reduce, precision;
    tvk::ParserFunction parser;
    tvk::StageFunction intra, residual;
};

TEST_F(Settings, reduceAndPrecisionChooseTheStages) {
    const StageCase cases[] = {
        {1, 1, tvk::DecodeCoefficientsPrecise, tvk::IntraExact, tvk::ResidualExact},
        {1, 2, tvk::DecodeCoefficientsFast, tvk::IntraFast, tvk::ResidualFast},
        {2, 2, tvk::DecodeCoefficientsFast, tvk::IntraHalf, tvk::ResidualHalf},
        {4, 2, tvk::DecodeCoefficientsFast, tvk::IntraQuarter, tvk::ResidualQuarter},
        {8, 2, tvk::DecodeCoefficientsCompact, tvk::IntraEighth, tvk::ResidualEighth},
    };
    for (const StageCase &c : cases) {
        ASSERT_EQ(0, tvkSetVideoSP_ReduceCoefficient(stream, 1));
        ASSERT_EQ(0, tvkSetVideoSP_Precision(stream, c.precision));
        ASSERT_EQ(0, tvkSetVideoSP_ReduceCoefficient(stream, c.reduce));
        EXPECT_EQ(c.parser, stream->chosen.coefficientParser);
        EXPECT_EQ(c.intra, stream->chosen.intraReconstruct);
        EXPECT_EQ(c.residual, stream->chosen.residualReconstruct);
    }
}

TEST_F(Settings, anySettingForgetsTheInterDecoder) {
    stream->chosen.interDecoder = [](tvk::SliceWorker *, int32_t) {};
    EXPECT_EQ(0, tvkSetVideoSP_Flags(stream, 2));
    EXPECT_EQ(nullptr, stream->chosen.interDecoder);
}

TEST_F(Settings, callbackAtOneEighthWarnsAndStays) {
    EXPECT_EQ(0, tvkSetVideoUserCallback(stream, ignoreEvent, 1));
    EXPECT_EQ(0, tvkSetVideoSP_ReduceCoefficient(stream, 4));
    EXPECT_EQ(tvkErrCallbackReduce, tvkSetVideoSP_ReduceCoefficient(stream, 8));
    EXPECT_EQ(8u, stream->settings.reduceCoefficient);
    EXPECT_EQ(tvkErrCallbackReduce, tvkSetVideoUserCallback(stream, ignoreEvent, 2));
    EXPECT_EQ(&ignoreEvent, stream->callbacks.userCallback);
    EXPECT_EQ(0, tvkSetVideoUserCallback(stream, nullptr, 0));
}

TEST_F(Settings, conversionTypeKeepsItsSpelling) {
    const uint32_t names[][2] = {
        {0x32595559, 0x32797579}, {0x59565955, 0x79767975}, {0x32315659, 0x32317679}, {0x39555659, 0x39757679}};
    uint32_t value = 0;
    for (uint32_t index = 0; index < 4; ++index)
        for (const uint32_t name : names[index]) {
            EXPECT_EQ(0, tvkSetVideoConversionType(stream, name));
            EXPECT_EQ(0, tvkGetVideoConversionType(stream, &value));
            EXPECT_EQ(name, value);
            EXPECT_EQ(index, stream->conversion.conversionIndex);
        }
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoConversionType(stream, 0x32597559));  // mixed case
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetVideoConversionType(stream, 0));
    EXPECT_EQ(names[3][1], stream->conversion.conversionType);
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetVideoConversionType(stream, nullptr));
}

TEST_F(Settings, ringSizesAreZeroByDefaultAndThenHandedBack) {
    uint32_t forward = 0, backward = 0;
    int32_t ahead = 9, behind = 9;
    VideoFrame *frame = nullptr;
    EXPECT_EQ(tvkErrBufferDisabled, tvkGetVideoFrameBufferSize(stream, &forward, &backward));
    EXPECT_EQ(tvkErrBufferDisabled, tvkGetVideoFrameBufferUtilization(stream, &ahead, &behind));
    EXPECT_EQ(tvkErrBufferDisabled, tvkGetBufferedVideoFrame(stream, 0, &frame));
    EXPECT_EQ(tvkErrBufferDisabled, tvkGetBufferedVideoFrame(stream, 100, &frame));
    EXPECT_EQ(0, tvkSetVideoFrameBufferSize(stream, 2, 0));
    EXPECT_EQ(0, tvkGetVideoFrameBufferSize(stream, &forward, &backward));
    EXPECT_EQ(2u, forward);
    EXPECT_EQ(0u, backward);
    EXPECT_EQ(0, tvkGetVideoFrameBufferUtilization(stream, &ahead, &behind));
    EXPECT_EQ(0, ahead);
    EXPECT_EQ(0, behind);
    EXPECT_EQ(tvkErrBufferDisabled, tvkGetBufferedVideoFrame(stream, 0, &frame));
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetVideoFrameBufferSize(stream, nullptr, &backward));
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetVideoFrameBufferUtilization(stream, &ahead, nullptr));
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetBufferedVideoFrame(stream, 0, nullptr));
    EXPECT_EQ(0, tvkSetVideoFrameBufferSize(stream, 0, 0));
    EXPECT_EQ(tvkErrBufferDisabled, tvkGetVideoFrameBufferSize(stream, &forward, &backward));
}

}  // namespace
