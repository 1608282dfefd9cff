// SPDX-License-Identifier: BSD-2-Clause
// This library's own runs: sizes, precisions, threads, stream order and direct output.
#include "contenders.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include <dlfcn.h>

#include "tvk.h"
#include "tvk_source.h"

namespace bench {

namespace {

// How the pictures reach the application's buffer, if they do.
enum class Output : uint8_t { none, direct, converted };

// The calls that a run needs, of one build of the library.
struct Library {
    std::string name = "tvk";
    decltype(&tvkCreateVideoStream) create = tvkCreateVideoStream;
    decltype(&tvkDestroyVideoStream) destroy = tvkDestroyVideoStream;
    decltype(&tvkSetVideoSP_Precision) setPrecision = tvkSetVideoSP_Precision;
    decltype(&tvkSetVideoSP_ReduceCoefficient) setReduce = tvkSetVideoSP_ReduceCoefficient;
    decltype(&tvkSetVideoSP_Threads) setThreads = tvkSetVideoSP_Threads;
    decltype(&tvkSetVideoConversionType) setConversion = tvkSetVideoConversionType;
    decltype(&tvkSetMemoryManager) setMemoryManager = tvkSetMemoryManager;
    decltype(&tvkGetNextVideoFrame) next = tvkGetNextVideoFrame;
    decltype(&tvkGetNextVideoFrameStreamOrder) nextInStreamOrder = tvkGetNextVideoFrameStreamOrder;
    decltype(&tvkConvertVideoFrame) convert = tvkConvertVideoFrame;
};

template <class Call>
bool find(void *file, const char *name, Call &call) {
    call = reinterpret_cast<Call>(dlsym(file, name));
    return call != nullptr;
}

bool load(const std::string &file, Library &library) {
    // Its own calls first: the program's library has the same names.
    void *handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    return handle && find(handle, "tvkCreateVideoStream", library.create) &&
           find(handle, "tvkDestroyVideoStream", library.destroy) &&
           find(handle, "tvkSetVideoSP_Precision", library.setPrecision) &&
           find(handle, "tvkSetVideoSP_ReduceCoefficient", library.setReduce) &&
           find(handle, "tvkSetVideoSP_Threads", library.setThreads) &&
           find(handle, "tvkSetVideoConversionType", library.setConversion) &&
           find(handle, "tvkSetMemoryManager", library.setMemoryManager) &&
           find(handle, "tvkGetNextVideoFrame", library.next) &&
           find(handle, "tvkGetNextVideoFrameStreamOrder", library.nextInStreamOrder) &&
           find(handle, "tvkConvertVideoFrame", library.convert);
}

struct Setting {
    const char *name;  // what follows the library's
    int32_t precision, reduce, threads;
    bool streamOrder;
    Output output = Output::none;
    uint32_t layout = 0;  // FOURCC
};

constexpr uint32_t fourcc(const char (&text)[5]) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<uint8_t>(text[i]);
    return value;
}

// One buffer for all pictures, large enough for any layout. The manager's calls carry no context.
std::vector<uint8_t> outputBuffer;

void prepareBuffer(const Bytes &bytes) {
    const PictureSize size = pictureSize(bytes);
    const size_t stride = (size.width + 31) / 32 * 64, rows = (size.height + 31) / 32 * 32;
    if (outputBuffer.size() < stride * rows) outputBuffer.resize(stride * rows);
}

int32_t lendBuffer(int32_t command, void *pointer) {
    constexpr int32_t kPictureBegins = 2, kPictureEnds = 3;
    auto *frame = static_cast<VideoFrame *>(pointer);
    if (command == kPictureBegins) frame->externalBuffer = outputBuffer.data();
    return command == kPictureEnds ? 0 : 1;
}

void takeFrame(const Library &library, const VideoFrame *frame, const Setting &setting) {
    if (setting.output != Output::converted) return;
    const bool packed = setting.layout == fourcc("YUY2");
    const int32_t stride = (frame->lumaPlane.width + 31) / 32 * 32 * (packed ? 2 : 1);
    library.convert(frame, static_cast<int32_t>(setting.layout), outputBuffer.data(), stride, frame->lumaPlane.height,
                    7);
}

uint32_t decodeAll(const Library &library, const Bytes &bytes, const Setting &setting) {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    if (tvkOpenMemorySource(&source, bytes.data(), bytes.size()) != 0) return 0;
    uint32_t frames = 0;
    if (library.create(&stream, source) == 0) {
        library.setPrecision(stream, setting.precision);
        library.setReduce(stream, setting.reduce);
        library.setThreads(stream, setting.threads);
        if (setting.output == Output::direct) {
            library.setConversion(stream, setting.layout);
            library.setMemoryManager(stream, lendBuffer, 8);
        }
        const auto step = setting.streamOrder ? library.nextInStreamOrder : library.next;
        VideoFrame *frame = nullptr;
        for (; step(stream, &frame) == 0; ++frames) takeFrame(library, frame, setting);
        library.destroy(stream);
    }
    tvkCloseSource(source);
    return frames;
}

constexpr Setting kSettings[] = {
    {"", 2, 1, 1, false},
    {" exact", 1, 1, 1, false},
    {" 2 threads", 2, 1, 2, false},
    {" exact 2 threads", 1, 1, 2, false},
    {" 1/2", 2, 2, 1, false},
    {" 1/4", 2, 4, 1, false},
    {" 1/8", 2, 8, 1, false},
    {" stream order", 2, 1, 1, true},
    {" into YUY2", 2, 1, 1, false, Output::direct, fourcc("YUY2")},
    {", then YUY2", 2, 1, 1, false, Output::converted, fourcc("YUY2")},
    {" into YV12", 2, 1, 1, false, Output::direct, fourcc("YV12")},
    {", then YV12", 2, 1, 1, false, Output::converted, fourcc("YV12")},
};

std::vector<Contender> contendersOf(const Library &library) {
    std::vector<Contender> all;
    for (const Setting &setting : kSettings)
        all.push_back({library.name + setting.name, [library, &setting](const Bytes &bytes) -> Run {
                           prepareBuffer(bytes);
                           return [library, &bytes, &setting] { return decodeAll(library, bytes, setting); };
                       }});
    return all;
}

}  // namespace

PictureSize pictureSize(const Bytes &bytes) {
    constexpr uint8_t kSequenceHeader[] = {0, 0, 1, 0xB3};
    const auto at = std::search(bytes.begin(), bytes.end(), std::begin(kSequenceHeader), std::end(kSequenceHeader));
    if (bytes.end() - at < 7) return {};
    return {uint32_t{at[4]} << 4 | at[5] >> 4, (at[5] & 15u) << 8 | at[6]};
}

std::vector<Contender> ownContenders() {
    return contendersOf({});
}

std::vector<Contender> otherBuildContenders(const std::string &name, const std::string &file) {
    Library library;
    library.name += " " + name;
    if (load(file, library)) return contendersOf(library);
    const char *reason = dlerror();
    std::fprintf(stderr, "%s: %s\n", file.c_str(), reason ? reason : "is no build of this library");
    return {};
}

}  // namespace bench
