// SPDX-License-Identifier: BSD-2-Clause
// Property: whatever an index file holds, reading it returns, and a stream with what it said can be stepped, sought and
// asked like any other. A table that was read is written as it was read.
//
// Input: the number of actions, the actions in pairs of bytes, the file. A file's first 32 bytes, which bind it to the
// stream, are put right unless the number's highest bit is set: no fuzzer would guess them.
#include <algorithm>
#include <cstring>

#include "fuzz/byte_reader.h"
#include "fuzz/memory_file.h"
#include "fuzz/plan.h"
#include "stream_writer/profiles.h"
#include "tvk_source.h"

namespace tvkfuzz {
namespace {

constexpr size_t kMarkBytes = 32, kHeaderBytes = 72, kEntryBytes = 64;

using Bytes = std::vector<uint8_t>;

const Bytes &theStream() {
    static const Bytes bytes = [] {
        tvktest::RandomStreamOptions options = tvktest::interlacedOptions(1, 40);
        options.sequence.width = options.sequence.height = 32;
        options.frames = 14;
        options.groupFrames = 4;
        return tvktest::makeRandomStream(options).bytes;
    }();
    return bytes;
}

bool openTheStream(Application &application) {
    return application.open(theStream().data(), theStream().size(), 0);
}

// As the library writes it.
const Bytes &theIndex() {
    static const Bytes bytes = [] {
        Application application;
        const MemoryFile file;
        if (!openTheStream(application) || tvkCreateVideoIndexTable(application.stream) != 0 ||
            tvkWriteVideoIndexTable(application.stream, file.path().c_str()) != 0)
            fail("no index of a whole stream");
        return file.contents();
    }();
    return bytes;
}

void demandRoundTrip(Application &application, const Bytes &read) {
    const MemoryFile file;
    if (tvkWriteVideoIndexTable(application.stream, file.path().c_str()) != 0) return;  // of no entries
    const Bytes written = file.contents();
    if (written.size() < kHeaderBytes || (written.size() - kHeaderBytes) % kEntryBytes != 0) fail("an odd length");
    if (written.size() > read.size() || !std::equal(written.begin(), written.end(), read.begin()))
        fail("an index file that is not written as it was read");
}

void use(Application &application, ByteReader in) {
    for (int i = 0; i < 24 && in.left(); ++i) {
        const uint8_t action = in.byte(), value = in.byte();
        application.act(static_cast<Action>(action % kActions), value & 7);
        application.step(static_cast<Loop>(value >> 3 & 3));
    }
    VideoFrame *frame = nullptr;
    uint32_t number = 0;
    if (tvkCreateVideoFrame(application.stream, &frame) == 0) {
        readFrame(*frame);
        tvkDestroyVideoFrame(frame);
    }
    tvkSetVideoFrameNumber(application.stream, 3);
    tvkSetRateVideoPosition(application.stream, 0.5);
    tvkSetTimeVideoPosition(application.stream, 0.2);
    tvkGetPrevVideoFrame(application.stream, &frame);
    tvkGetLastFrameNumber(application.stream, &number);
}

}  // namespace
}  // namespace tvkfuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    theIndex();  // ahead of the limit
    ByteReader in(data, size);
    const uint8_t head = in.byte();
    const ByteReader actions(in.at, std::min<size_t>(head & 0x7E, in.left()));
    Bytes bytes(actions.end, in.end);
    if (!(head & 0x80) && bytes.size() >= kMarkBytes) std::copy_n(theIndex().begin(), kMarkBytes, bytes.begin());

    const MemoryLimit limit(kLargestAllocation, kMostMemory);
    const MemoryFile file(bytes.data(), bytes.size());
    Application application;
    if (!openTheStream(application)) fail("a whole stream is refused");
    if (head & 1) application.step(Loop::main);
    if (tvkReadVideoIndexTable(application.stream, file.path().c_str()) == 0) demandRoundTrip(application, bytes);
    use(application, actions);
    return 0;
}
