// SPDX-License-Identifier: BSD-2-Clause
// The table of exported calls, a line each, and the shapes that their arguments have.
#include "fuzz/calls.h"

#include <climits>
#include <iterator>
#include <limits>

#include "fuzz/application.h"
#include "fuzz/callbacks.h"

namespace tvkfuzz {
namespace {

template <auto Call>
void plain(Caller &c) {
    Call(c.handle());
}

// A frame comes with 0 and with nothing else. What it points at is read at once.
template <auto Call>
void givesFrame(Caller &c) {
    VideoFrame *frame = reinterpret_cast<VideoFrame *>(1);
    VideoFrame **out = c.orNull(&frame);
    const int32_t result = Call(c.handle(), out);
    if (result == 0 && !out) fail("a null pointer is taken");
    if (result == 0) readFrame(*frame);
}

template <auto Call>
void takesNumber(Caller &c) {
    Call(c.handle(), c.number());
}

template <auto Call>
void takesWord(Caller &c) {
    Call(c.handle(), static_cast<uint32_t>(c.number()));
}

template <auto Call>
void takesReal(Caller &c) {
    Call(c.handle(), c.real());
}

template <auto Call, class T>
void gives(Caller &c) {
    T value = {};
    if (Call(c.handle(), c.orNull(&value)) == 0) readBytes(&value, sizeof value);
}

template <auto Call, class T>
void givesTwo(Caller &c) {
    T first = {}, second = {};
    T *a = c.orNull(&first), *b = c.orNull(&second);
    if (Call(c.handle(), a, b) == 0) readBytes(&first, sizeof first);
}

void createStream(Caller &c) {
    if (c.stream) return;  // one stream to a source
    tvkCreateVideoStream(c.orNull(&c.stream), c.orNull(c.source));
}

void destroyStream(Caller &c) {
    VideoStream *stream = c.handle();
    if (tvkDestroyVideoStream(stream) != 0) return;
    c.dead = stream;
    c.stream = nullptr;
}

void testStream(Caller &c) {
    VideoLayer layers[3] = {};
    StreamDescription description = {};
    description.layerCapacity = c.in.byte() % 4;
    description.layers = description.layerCapacity ? layers : nullptr;
    tvkTestVideoStream(c.handle(), c.orNull(&description));
}

void streamInfo(Caller &c) {
    VideoStreamInfo info = {};
    if (tvkGetVideoStreamInfo(c.handle(), c.orNull(&info)) == 0 && info.keyFrames)
        readBytes(info.keyFrames, info.keyFrameCount * sizeof *info.keyFrames);
}

void toAbsPosition(Caller &c) {
    AbsPosition position = {};
    if (c.in.byte() % 4 == 0)
        for (uint32_t &word : position.words) word = static_cast<uint32_t>(c.number());
    else
        tvkGetAbsVideoPosition(c.stream, &position);
    tvkSetAbsVideoPosition(c.handle(), position);
}

template <auto Call>
void takesIndexPath(Caller &c) {
    switch (c.in.byte() % 8) {
        case 0:
            Call(c.handle(), nullptr);
            break;
        case 1:
            Call(c.handle(), "");
            break;
        case 2:
            Call(c.handle(), "/nowhere/at/all");
            break;
        default:
            Call(c.handle(), c.indexPath.c_str());
    }
}

// Large rings are built for as long as there is memory, which takes its time.
void ringSizes(Caller &c) {
    const auto size = [&c] {
        const uint8_t choice = c.in.byte();
        return choice < 0xF0 ? choice % 5 : choice % 2 ? -1 : INT_MAX;
    };
    const int32_t forward = size();
    tvkSetVideoFrameBufferSize(c.handle(), forward, size());
}

void bufferedFrame(Caller &c) {
    VideoFrame *frame = nullptr;
    if (tvkGetBufferedVideoFrame(c.handle(), c.number(), c.orNull(&frame)) == 0) readFrame(*frame);
}

void threads(Caller &c) {
    tvkSetVideoSP_Threads(c.handle(), static_cast<int32_t>(c.in.range(0, 6)) - 1);
}

void frameList(Caller &c) {
    constexpr int32_t kMost = 8;
    auto list = std::make_unique<int32_t[]>(kMost);
    int32_t last = 0;
    for (int32_t i = 0; i < kMost; ++i) last = list[static_cast<size_t>(i)] = last + c.in.byte() % 7;
    const int32_t count = c.in.byte() % (kMost + 2) - 1;
    tvkSetVideoSP_FrameList(c.handle(), c.orNull(list.get()), count);
    c.lists.push_back(std::move(list));
}

void getFrameList(Caller &c) {
    int32_t *list = nullptr, count = 0;
    int32_t **out = c.orNull(&list);
    if (tvkGetVideoSP_FrameList(c.handle(), out, c.orNull(&count)) == 0 && list)
        readBytes(list, static_cast<size_t>(count) * sizeof *list);
}

void conversionType(Caller &c) {
    constexpr uint32_t kTypes[] = {0x32595559, 0x59565955, 0x32315659, 0x39555659, 0x32797579, 0x39757679, 0};
    tvkSetVideoConversionType(c.handle(), kTypes[c.in.byte() % std::size(kTypes)]);
}

void otherFamily(Caller &c) {
    if (tvkGetNextFAPPlain(c.handle(), nullptr) == 0 || tvkGetNextFAPSegment(c.handle(), &c) == 0 ||
        tvkSetVideoSP_VOPTypesToProcess(c.handle(), c.number()) == 0 ||
        tvkGetVideoSP_VOPTypesToProcess(c.handle(), nullptr) == 0)
        fail("a call of another family succeeds");
}

void userCallback(Caller &c) {
    const uint8_t choice = c.in.byte();
    tvkSetVideoUserCallback(c.handle(), choice % 3 ? watchAndCall : nullptr, choice);
}

void memoryManager(Caller &c) {
    const uint8_t choice = c.in.byte();
    tvkSetMemoryManager(c.handle(), choice % 3 ? manageAndCall : nullptr,
                        c.in.byte() % 32 ? choice % 8 + 4 : c.number());
}

void getMemoryManager(Caller &c) {
    void *manager = nullptr;
    uint32_t slots = 0;
    void **out = c.orNull(&manager);
    tvkGetMemoryManager(c.handle(), out, c.orNull(&slots));
}

VideoFrame **freePlace(Caller &c) {
    VideoFrame *&place = c.owned[c.in.byte() % std::size(c.owned)];
    if (place) tvkDestroyVideoFrame(place);
    place = nullptr;
    return &place;
}

void createFrame(Caller &c) {
    tvkCreateVideoFrame(c.handle(), c.orNull(freePlace(c)));
}

void createFrameOfSize(Caller &c) {
    VideoFrame **place = freePlace(c);
    const int32_t width = c.number(), height = c.number();
    tvkCreateVideoFrameWHC(c.orNull(place), width, height, c.in.byte() % 5);
}

void destroyFrame(Caller &c) {
    freePlace(c);
    if (tvkDestroyVideoFrame(nullptr) != tvkErrInvalidArgument) fail("null is destroyed");
}

void copyFrame(Caller &c) {
    VideoFrame *source = c.frame(), *target = c.owned[c.in.byte() % std::size(c.owned)];
    if (c.in.flag())
        tvkCopyVideoFrame(source, target);
    else
        tvkCopyVideoFrameMT(c.handle(), source, target);
}

void duplicateFrame(Caller &c) {
    VideoFrame **place = freePlace(c), *source = c.frame();
    const int32_t result =
        c.in.flag() ? tvkDuplicateVideoFrame(source, place) : tvkDuplicateVideoFrameMT(c.handle(), source, place);
    if (result == 0) readFrame(**place);
}

// Room for what the largest layout takes; wrong strides and rows are the library's to refuse.
void convertFrame(Caller &c) {
    constexpr int32_t kTargets[] = {15, 16, 24, 32, 0x32595559, 0x59565955, 0x32315659, 0x39555659, 0, 7};
    const VideoFrame *frame = c.frame();
    if (!frame || frame->lumaPlane.width > 2048) return;
    const int32_t target = kTargets[c.in.byte() % std::size(kTargets)], channels = c.in.byte() % 18;
    const int32_t stride = ((frame->lumaPlane.width + 15) & ~15) + 16 * (c.in.byte() % 64) - 16;
    const int32_t rows = frame->lumaPlane.height + c.in.byte() % 4 - 1;
    if (stride < 0 || rows < 0) return;
    const size_t bytes = static_cast<size_t>(stride) * static_cast<size_t>(rows) * 3 / 2 + 2;
    const std::unique_ptr<uint8_t[]> buffer(new uint8_t[bytes]);
    if (c.in.flag())
        tvkConvertVideoFrame(frame, target, c.orNull(buffer.get()), stride, rows, channels);
    else
        tvkConvertVideoFrameMT(c.handle(), frame, target, c.orNull(buffer.get()), stride, rows, channels);
    const size_t plane = static_cast<size_t>(stride) * static_cast<size_t>(frame->lumaPlane.height);
    const std::unique_ptr<uint8_t[]> first(new uint8_t[plane]), second(new uint8_t[plane]), third(new uint8_t[plane]);
    tvkConvertVideoFrameEx(frame, target, c.orNull(first.get()), c.orNull(second.get()), c.orNull(third.get()), stride,
                           channels);
}

void saveFrame(Caller &c) {
    const VideoFrame *frame = c.frame();
    if (!frame || frame->lumaPlane.width > 512 || c.savePath.empty()) return;
    c.saved = true;
    const char *names[] = {c.savePath.c_str(), "", nullptr, "/nowhere/at/all"};
    tvkSaveVideoFrameToFile(frame, names[c.in.byte() % 16 < 13 ? 0 : c.in.byte() % 4], c.in.byte() % 5);
}

void version(Caller &c) {
    const VersionRecord *record = nullptr;
    if (tvkGetVideoLibraryVersion(c.orNull(&record)) == 0 && !record->versionDate) fail("a version without a date");
}

}  // namespace

const ExportedCall kExportedCalls[] = {
    {"tvkCreateVideoStream", createStream},
    {"tvkConnectVideoStream", plain<tvkConnectVideoStream>},
    {"tvkDisconnectVideoStream", plain<tvkDisconnectVideoStream>},
    {"tvkDestroyVideoStream", destroyStream},
    {"tvkTestVideoStream", testStream},
    {"tvkGetVideoDecoderID", gives<tvkGetVideoDecoderID, uint32_t>},
    {"tvkGetVideoStreamInfo", streamInfo},
    {"tvkGetVideoStreamType", gives<tvkGetVideoStreamType, uint32_t>},
    {"tvkGetSequenceHeader", givesFrame<tvkGetSequenceHeader>},
    {"tvkSetActiveVideoLayer", takesNumber<tvkSetActiveVideoLayer>},
    {"tvkGetActiveVideoLayer", gives<tvkGetActiveVideoLayer, int32_t>},
    {"tvkNextVideoFrame", plain<tvkNextVideoFrame>},
    {"tvkNextVideoFrameStreamOrder", plain<tvkNextVideoFrameStreamOrder>},
    {"tvkPrevVideoFrame", plain<tvkPrevVideoFrame>},
    {"tvkGetNextVideoFrame", givesFrame<tvkGetNextVideoFrame>},
    {"tvkGetNextVideoFrameStreamOrder", givesFrame<tvkGetNextVideoFrameStreamOrder>},
    {"tvkGetNextVideoFrameEdit", givesFrame<tvkGetNextVideoFrameEdit>},
    {"tvkGetNextVideoFrameBin", givesFrame<tvkGetNextVideoFrameBin>},
    {"tvkGetPrevVideoFrame", givesFrame<tvkGetPrevVideoFrame>},
    {"tvkGetVideoFrame", givesFrame<tvkGetVideoFrame>},
    {"tvkGetVideoFrameBin", givesFrame<tvkGetVideoFrameBin>},
    {"tvkCountVideoFrames", gives<tvkCountVideoFrames, uint32_t>},
    {"tvkSetVideoFrameNumber", takesNumber<tvkSetVideoFrameNumber>},
    {"tvkSetVideoFrameNumberEdit", takesNumber<tvkSetVideoFrameNumberEdit>},
    {"tvkSetVideoFrameNumberBin", takesNumber<tvkSetVideoFrameNumberBin>},
    {"tvkGetBinaryStartEnd", givesTwo<tvkGetBinaryStartEnd, int32_t>},
    {"tvkGetLastFrameNumber", gives<tvkGetLastFrameNumber, uint32_t>},
    {"tvkSetAbsVideoPosition", toAbsPosition},
    {"tvkGetAbsVideoPosition", gives<tvkGetAbsVideoPosition, AbsPosition>},
    {"tvkSetRateVideoPosition", takesReal<tvkSetRateVideoPosition>},
    {"tvkSetRateVideoPositionEdit", takesReal<tvkSetRateVideoPositionEdit>},
    {"tvkGetRateVideoPosition", gives<tvkGetRateVideoPosition, double>},
    {"tvkSetTimeVideoPosition", takesReal<tvkSetTimeVideoPosition>},
    {"tvkGetTimeVideoPosition", gives<tvkGetTimeVideoPosition, double>},
    {"tvkCreateVideoIndexTable", plain<tvkCreateVideoIndexTable>},
    {"tvkCreateVideoIndexTableEdit", takesNumber<tvkCreateVideoIndexTableEdit>},
    {"tvkReadVideoIndexTable", takesIndexPath<tvkReadVideoIndexTable>},
    {"tvkWriteVideoIndexTable", takesIndexPath<tvkWriteVideoIndexTable>},
    {"tvkIsVideoStreamIndexed", plain<tvkIsVideoStreamIndexed>},
    {"tvkSetVideoFrameBufferSize", ringSizes},
    {"tvkGetVideoFrameBufferSize", givesTwo<tvkGetVideoFrameBufferSize, uint32_t>},
    {"tvkGetVideoFrameBufferUtilization", givesTwo<tvkGetVideoFrameBufferUtilization, int32_t>},
    {"tvkGetBufferedVideoFrame", bufferedFrame},
    {"tvkSwapBuffer", plain<tvkSwapBuffer>},
    {"tvkSetVideoSP_Flags", takesNumber<tvkSetVideoSP_Flags>},
    {"tvkGetVideoSP_Flags", gives<tvkGetVideoSP_Flags, uint32_t>},
    {"tvkSetVideoSP_ReduceCoefficient", takesNumber<tvkSetVideoSP_ReduceCoefficient>},
    {"tvkGetVideoSP_ReduceCoefficient", gives<tvkGetVideoSP_ReduceCoefficient, uint32_t>},
    {"tvkSetVideoSP_FrameTypesToProcess", takesNumber<tvkSetVideoSP_FrameTypesToProcess>},
    {"tvkGetVideoSP_FrameTypesToProcess", gives<tvkGetVideoSP_FrameTypesToProcess, uint32_t>},
    {"tvkSetVideoSP_Threads", threads},
    {"tvkGetVideoSP_Threads", gives<tvkGetVideoSP_Threads, uint32_t>},
    {"tvkSetVideoSP_FrameList", frameList},
    {"tvkGetVideoSP_FrameList", getFrameList},
    {"tvkSetVideoSP_Prescan", takesNumber<tvkSetVideoSP_Prescan>},
    {"tvkSetVideoSP_PrescanEdit", takesNumber<tvkSetVideoSP_PrescanEdit>},
    {"tvkGetVideoSP_Prescan", gives<tvkGetVideoSP_Prescan, uint32_t>},
    {"tvkSetVideoSP_Precision", takesNumber<tvkSetVideoSP_Precision>},
    {"tvkGetVideoSP_Precision", gives<tvkGetVideoSP_Precision, uint32_t>},
    {"tvkSetVideoSP_VOPTypesToProcess", otherFamily},
    {"tvkGetVideoSP_VOPTypesToProcess", otherFamily},
    {"tvkSetVideoWorkMode", takesNumber<tvkSetVideoWorkMode>},
    {"tvkGetVideoWorkMode", gives<tvkGetVideoWorkMode, uint32_t>},
    {"tvkSetVideoAdjustableSpeed", takesNumber<tvkSetVideoAdjustableSpeed>},
    {"tvkSetVideoConversionType", conversionType},
    {"tvkGetVideoConversionType", gives<tvkGetVideoConversionType, uint32_t>},
    {"tvkGetNextFAPPlain", otherFamily},
    {"tvkGetNextFAPSegment", otherFamily},
    {"tvkSetVideoUserCallback", userCallback},
    {"tvkSetMemoryManager", memoryManager},
    {"tvkGetMemoryManager", getMemoryManager},
    {"tvkSetMemoryAvailable", takesNumber<tvkSetMemoryAvailable>},
    {"tvkCreateVideoFrame", createFrame},
    {"tvkCreateVideoFrameWHC", createFrameOfSize},
    {"tvkCopyVideoFrame", copyFrame},
    {"tvkCopyVideoFrameMT", copyFrame},
    {"tvkDuplicateVideoFrame", duplicateFrame},
    {"tvkDuplicateVideoFrameMT", duplicateFrame},
    {"tvkDestroyVideoFrame", destroyFrame},
    {"tvkConvertVideoFrame", convertFrame},
    {"tvkConvertVideoFrameEx", convertFrame},
    {"tvkConvertVideoFrameMT", convertFrame},
    {"tvkSaveVideoFrameToFile", saveFrame},
    {"tvkGetVideoLibraryVersion", version},
};
const size_t kExportedCallCount = std::size(kExportedCalls);

Caller::Caller(const uint8_t *program, size_t size, VideoSource *opened) : in(program, size), source(opened) {
    attachCallbacks(this);
    tvkCreateVideoStream(&stream, source);
}

Caller::~Caller() {
    if (stream) tvkDestroyVideoStream(stream);
    for (VideoFrame *frame : owned)
        if (frame) tvkDestroyVideoFrame(frame);
    attachCallbacks(nullptr);
}

void Caller::makeCall() {
    kExportedCalls[in.byte() % kExportedCallCount].make(*this);
}

int32_t Caller::number() {
    constexpr int32_t kEnds[] = {INT_MIN, INT_MIN + 1, -1, -2, 480, 495, 496, 1 << 16, INT_MAX - 1, INT_MAX};
    const uint8_t choice = in.byte();
    if (choice < 200) return choice % 40;
    if (choice < 230) return static_cast<int32_t>(in.word(2));
    return kEnds[choice % std::size(kEnds)];
}

double Caller::real() {
    constexpr double kEnds[] = {0.0,
                                1.0,
                                -0.0,
                                -1.0,
                                1e300,
                                std::numeric_limits<double>::quiet_NaN(),
                                std::numeric_limits<double>::infinity(),
                                5e-324};
    const uint8_t choice = in.byte();
    return choice < 220 ? choice / 200.0 : kEnds[choice % std::size(kEnds)];
}

VideoStream *Caller::handle() {
    const uint8_t choice = in.byte();
    if (choice < 250) return stream;
    return choice == 250 ? nullptr : choice < 253 ? dead : reinterpret_cast<VideoStream *>(in.word(3));
}

VideoFrame *Caller::frame() {
    const uint8_t choice = in.byte();
    if (choice % 2) return owned[choice / 2 % std::size(owned)];
    VideoFrame *delivered = nullptr;
    return tvkGetVideoFrame(stream, &delivered) == 0 ? delivered : nullptr;
}

}  // namespace tvkfuzz
