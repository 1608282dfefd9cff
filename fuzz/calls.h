// SPDX-License-Identifier: BSD-2-Clause
// Every exported call, made with arguments that an input chooses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/byte_reader.h"
#include "tvk.h"

namespace tvkfuzz {

// An application that makes any call at any time, keeps to the rules of OWNERSHIP, and breaks no other on its side but
// by values: nulls, dead handles, numbers out of range.
struct Caller {
    ByteReader in;
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    VideoStream *dead = nullptr;  // the last stream destroyed
    VideoFrame *owned[4] = {};
    std::vector<std::unique_ptr<int32_t[]>> lists;    // frame lists stay where they are
    std::vector<std::unique_ptr<uint8_t[]>> buffers;  // of the memory manager
    std::string indexPath, savePath;
    bool saved = false;

    Caller(const uint8_t *program, size_t size, VideoSource *opened);
    Caller(const Caller &) = delete;
    Caller &operator=(const Caller &) = delete;
    ~Caller();

    // Makes the next call of the program.
    void makeCall();

    // Choices of the program.
    int32_t number();  // small as a rule, at times an end of the whole numbers
    double real();
    VideoStream *handle();  // the stream; at times null or no stream
    VideoFrame *frame();    // one of the application's or the one delivered last; null when there is none
    template <class T>
    T *orNull(T *pointer) {
        return in.byte() % 32 == 31 ? nullptr : pointer;
    }
};

struct ExportedCall {
    const char *name;
    void (*make)(Caller &);
};
extern const ExportedCall kExportedCalls[];
extern const size_t kExportedCallCount;

}  // namespace tvkfuzz
