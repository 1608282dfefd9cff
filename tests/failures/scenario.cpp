// SPDX-License-Identifier: BSD-2-Clause
// The session.
#include "scenario.h"

#include "stream_writer/random_stream.h"

namespace tvktest {
namespace {

RandomStream sequenceOf(uint32_t width, uint32_t height, uint64_t seed) {
    RandomStreamOptions options;
    options.seed = seed;
    options.sequence.width = width;
    options.sequence.height = height;
    options.frames = kSessionFrames / 2;
    options.groupFrames = 4;
    options.maxB = 1;
    options.userData = 30;
    options.sequenceEnd = false;
    return makeRandomStream(options);
}

// Of every visible byte of a frame, which a checker of memory then has seen.
uint32_t sumOf(const VideoFrame &frame) {
    uint32_t sum = 0;
    for (const VideoPlane *plane : {&frame.lumaPlane, &frame.chromaPlane})
        for (int32_t y = 0; y < plane->height; ++y)
            for (int32_t x = 0; x < plane->width; ++x) sum = 31 * sum + plane->data[y * plane->stride + x];
    return sum;
}

}  // namespace

std::vector<uint8_t> sessionBytes() {
    std::vector<uint8_t> bytes = sequenceOf(48, 32, 1).bytes;
    const std::vector<uint8_t> more = sequenceOf(80, 64, 2).bytes;
    bytes.insert(bytes.end(), more.begin(), more.end());
    return bytes;
}

Session::~Session() {
    if (stream) tvkDestroyVideoStream(stream);
}

VideoFrame *Session::step(const char *call, int32_t (*get)(VideoStream *, VideoFrame **)) {
    VideoFrame *frame = nullptr;
    const int32_t code = get(stream, &frame);
    note(call, code);
    if (code != 0 || !frame) return nullptr;
    volatile uint32_t kept = sumOf(*frame);
    static_cast<void>(kept);
    return frame;
}

void Session::steps(const char *call, int32_t count) {
    for (int32_t i = 0; i < count; ++i) step(call, tvkGetNextVideoFrame);
}

void Session::watchFrames(int32_t threads) {
    VideoStreamInfo info;
    VideoFrame *header = nullptr;
    note("setThreads", tvkSetVideoSP_Threads(stream, threads));
    steps("first frames", 4);
    note("getStreamInfo", tvkGetVideoStreamInfo(stream, &info));
    note("getSequenceHeader", tvkGetSequenceHeader(stream, &header));
}

void Session::seekAround() {
    AbsPosition position;
    note("setRatePosition", tvkSetRateVideoPosition(stream, 0.3));
    steps("frame behind a rate", 1);
    note("getAbsPosition", tvkGetAbsVideoPosition(stream, &position));
    note("setAbsPosition", tvkSetAbsVideoPosition(stream, position));
    steps("frame at a position", 1);
    note("setTimePosition", tvkSetTimeVideoPosition(stream, 0.1));
    note("setFrameNumberEdit", tvkSetVideoFrameNumberEdit(stream, 6));
    step("edited frame", tvkGetNextVideoFrameEdit);
}

void Session::keepIndex(const std::string &path) {
    note("createIndex", tvkCreateVideoIndexTable(stream));
    note("writeIndex", tvkWriteVideoIndexTable(stream, path.c_str()));
    note("readIndex", tvkReadVideoIndexTable(stream, path.c_str()));
    note("setFrameNumber", tvkSetVideoFrameNumber(stream, 6));
    steps("indexed frame", 2);
}

void Session::stepThroughTheRing() {
    VideoFrame *frame = nullptr;
    note("setRing", tvkSetVideoFrameBufferSize(stream, 2, 2));
    steps("frame of the ring", 3);
    step("frame before", tvkGetPrevVideoFrame);
    note("getBufferedFrame", tvkGetBufferedVideoFrame(stream, 0, &frame));
    note("unsetRing", tvkSetVideoFrameBufferSize(stream, 0, 0));
}

void Session::reduceSizes() {
    note("setRatePosition", tvkSetRateVideoPosition(stream, 0.0));
    note("reduce", tvkSetVideoSP_ReduceCoefficient(stream, 4));
    steps("quarter frame", 3);
    note("enlarge", tvkSetVideoSP_ReduceCoefficient(stream, 1));
    steps("frame of a new size", kSessionFrames);
}

void Session::useFrame(const std::string &folder) {
    VideoFrame *last = nullptr, *frame = nullptr, *made = nullptr;
    note("getFrame", tvkGetVideoFrame(stream, &last));
    note("makeFrame", tvkCreateVideoFrameWHC(&made, 80, 64, 1));
    if (made) note("destroyFrame", tvkDestroyVideoFrame(made));
    if (!last) return;
    note("duplicate", tvkDuplicateVideoFrame(last, &frame));
    if (!frame) return;
    const auto stride = static_cast<int32_t>(4 * frame->lumaPlane.width);
    std::vector<uint8_t> pixels(static_cast<size_t>(stride) * static_cast<size_t>(frame->lumaPlane.height));
    note("convert", tvkConvertVideoFrame(frame, 32, pixels.data(), stride, frame->lumaPlane.height, 7));
    const std::string name = folder + "/picture";
    note("saveBmp", tvkSaveVideoFrameToFile(frame, name.c_str(), 1));
    note("saveRaw", tvkSaveVideoFrameToFile(frame, name.c_str(), 2));
    note("saveJpeg", tvkSaveVideoFrameToFile(frame, name.c_str(), 3));
    note("destroyFrame", tvkDestroyVideoFrame(frame));
}

void Session::run(VideoSource *source, const std::string &folder, int32_t threads) {
    note("create", tvkCreateVideoStream(&stream, source));
    if (!stream) return;
    watchFrames(threads);
    seekAround();
    keepIndex(folder + "/index");
    stepThroughTheRing();
    reduceSizes();
    useFrame(folder);
    note("disconnect", tvkDisconnectVideoStream(stream));
    note("connect", tvkConnectVideoStream(stream));
}

std::vector<uint32_t> Session::recover() {
    std::vector<uint32_t> sums;
    tvkConnectVideoStream(stream);
    const bool ready = tvkSetVideoSP_Threads(stream, 1) == 0 && tvkSetVideoFrameBufferSize(stream, 0, 0) == 0 &&
                       tvkSetVideoSP_ReduceCoefficient(stream, 1) == 0 && tvkSetRateVideoPosition(stream, 0.0) == 0;
    VideoFrame *frame = nullptr;
    int32_t code = ready ? 0 : tvkErrFailed;
    while (code == 0) {
        code = tvkGetNextVideoFrame(stream, &frame);
        if (code == 0) sums.push_back(sumOf(*frame));
    }
    return code == tvkErrEndOfStream ? sums : std::vector<uint32_t>{};
}

}  // namespace tvktest
