// SPDX-License-Identifier: BSD-2-Clause
// Property: a frame is the same by whichever way it is reached. The input describes a stream of whole structure, which
// is made anew, and a row of jumps by number and by position, steps both ways and ring sizes; each frame that comes has
// the samples of the frame of its number in a walk from the start.
#include <algorithm>

#include "core/memory.h"
#include "fuzz/byte_reader.h"
#include "fuzz/walk.h"
#include "stream_writer/random_stream.h"
#include "tvk_source.h"

namespace tvkfuzz {
namespace {

// No matrices of pictures: an index entry keeps one of its own group only, while they stay in force for longer. No
// second field that leans on the anchor ahead of its I frame.
tvktest::RandomStreamOptions optionsOf(ByteReader &in) {
    tvktest::RandomStreamOptions o;
    o.seed = in.word(2);
    o.sequence.mpeg2 = in.byte() % 4 != 0;
    o.sequence.width = 4 * in.range(4, 20);
    o.sequence.height = 4 * in.range(4, 20);
    o.sequence.chromaFormat = o.sequence.mpeg2 ? in.range(1, 3) : 1;
    o.sequence.progressive = in.flag();
    o.frames = in.range(1, 20);
    o.groupFrames = in.range(1, 9);
    o.maxB = in.range(0, 3);
    o.closedGroups = in.flag();
    o.secondFieldP = 0;
    const bool interlaced = o.sequence.mpeg2 && !o.sequence.progressive;
    o.fieldPictures = interlaced ? in.range(0, 100) : 0;
    o.interlacedFrames = interlaced ? in.range(0, 100) : 0;
    o.repeatFirstField = in.flag();
    o.concealment = o.sequence.mpeg2 ? in.range(0, 40) : 0;
    o.alternateScan = o.intraVlc = o.nonLinearQuantiser = in.range(0, 100);
    o.repeatSequenceHeaders = in.flag();
    o.maxSlicesPerRow = in.range(1, 3);
    o.userData = in.range(0, 30);
    return o;
}

uint64_t digestVisible(const VideoFrame &frame) {
    uint64_t hash = 7;
    for (const VideoPlane *plane : {&frame.lumaPlane, &frame.chromaPlane})
        for (int32_t row = 0; row < plane->height; ++row)
            hash = digest(plane->data + static_cast<size_t>(row) * static_cast<size_t>(plane->stride),
                          static_cast<size_t>(plane->width), hash);
    return hash;
}

struct Player {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;

    Player(const std::vector<uint8_t> &bytes, ByteReader settings) {
        if (tvkOpenMemorySource(&source, bytes.data(), bytes.size()) != 0) fail("a whole stream is refused");
        if (tvkCreateVideoStream(&stream, source) != 0) fail("no stream of it");
        if (settings.flag()) tvkSetVideoSP_Precision(stream, 1);
        tvkSetVideoSP_ReduceCoefficient(stream, 1 << settings.range(0, 3));
        tvkSetVideoSP_Threads(stream, static_cast<int32_t>(settings.range(1, 2)));
    }
    Player(const Player &) = delete;
    Player &operator=(const Player &) = delete;
    ~Player() {
        tvkDestroyVideoStream(stream);
        tvkCloseSource(source);
    }
};

// By frame number, from 1.
std::vector<uint64_t> walkThrough(Player &player) {
    std::vector<uint64_t> pictures(1);
    VideoFrame *frame = nullptr;
    while (tvkGetNextVideoFrame(player.stream, &frame) == 0) {
        if (frame->frameNumber != static_cast<int32_t>(pictures.size())) fail("a walk with a gap in its numbers");
        pictures.push_back(digestVisible(*frame));
    }
    return pictures;
}

// The frame that the call asked for, or any when `wanted` is 0.
void demandPicture(const Player &player, const std::vector<uint64_t> &pictures, int32_t wanted) {
    VideoFrame *frame = nullptr;
    if (tvkGetVideoFrame(player.stream, &frame) != 0) fail("a jump without a frame");
    if (wanted && frame->frameNumber != wanted) fail("a jump to another frame");
    if (frame->frameNumber < 1 || static_cast<size_t>(frame->frameNumber) >= pictures.size()) fail("a number outside");
    if (digestVisible(*frame) != pictures[static_cast<size_t>(frame->frameNumber)]) fail("other samples");
}

// What the program knows about where it stands.
struct Place {
    int32_t last;      // frames of the stream
    int32_t here = 0;  // number of the frame at hand, 0 when it is not known
    bool ringed = false;
};

// Makes one move; whether a frame is at hand for it.
bool move(VideoStream *stream, Place &place, uint32_t kind, int32_t number) {
    const double rate = (number - 0.5) / place.last;
    switch (kind) {
        case 0:
            if (tvkSetVideoFrameNumber(stream, number) != 0) fail("a frame number of the index is refused");
            place.here = number;
            return true;
        case 1:
            if (tvkSetVideoFrameNumberEdit(stream, number) != 0) fail("a number of the edit index is refused");
            place.here = number;
            return true;
        case 2:
            if (tvkSetRateVideoPosition(stream, rate) != 0) fail("a rate below 1 is refused");
            place.here = static_cast<int32_t>(rate * place.last + 1.0);
            return true;
        case 3:
        case 4: {
            const int32_t result = kind == 3 ? tvkNextVideoFrame(stream) : tvkPrevVideoFrame(stream);
            const int32_t there = place.here + (kind == 3 ? 1 : -1);
            const bool inside = place.here != 0 && there >= 1 && there <= place.last;
            place.here = inside ? there : 0;
            if (inside && !place.ringed && result != 0) fail("a step within the stream that fails");
            return result == 0;
        }
        default:
            tvkSetVideoFrameBufferSize(stream, number % 4, number / 4 % 4);
            place.ringed = number % 16 != 0;
            place.here = 0;
            return false;
    }
}

void jumpAround(Player &player, const std::vector<uint64_t> &pictures, ByteReader &in) {
    Place place = {.last = static_cast<int32_t>(pictures.size()) - 1};
    for (int moves = 0; in.left() && moves < 40; ++moves) {
        const uint32_t kind = in.range(0, 5);
        const int32_t number = static_cast<int32_t>(in.byte()) % place.last + 1;
        if (move(player.stream, place, kind, number))
            demandPicture(player, pictures, place.ringed && kind > 2 ? 0 : place.here);
    }
}

}  // namespace
}  // namespace tvkfuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    ByteReader in(data, std::min<size_t>(size, 200));
    const std::vector<uint8_t> bytes = tvktest::makeRandomStream(optionsOf(in)).bytes;
    const ByteReader settings = in;
    in.word(3);
    Player first(bytes, settings);
    const std::vector<uint64_t> pictures = walkThrough(first);
    if (pictures.size() < 2) fail("a whole stream without frames");
    Player player(bytes, settings);
    if (tvkCreateVideoIndexTableEdit(player.stream, 1000) != 0 || tvkIsVideoStreamIndexed(player.stream) != 0)
        fail("a whole stream without an index");
    // The scan has left the input at the end, and only this call looks for the first sequence header from the start.
    if (tvkSetVideoFrameNumberEdit(player.stream, 1) != 0) fail("the first frame is refused");
    jumpAround(player, pictures, in);
    return 0;
}
