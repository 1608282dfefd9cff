// SPDX-License-Identifier: BSD-2-Clause
// Random streams that have what indexes and jumps must cope with.
#include <cstring>

#include "clip_walk.h"
#include "stream_writer/random_stream.h"

namespace tvktest {
namespace {

RandomStreamOptions interlaced(uint64_t seed) {
    RandomStreamOptions o;
    o.seed = seed;
    o.frames = 40;
    o.groupFrames = 9;
    o.maxB = 3;
    o.sequence.progressive = false;
    o.sequence.height = 64;
    o.interlacedFrames = 60;
    o.secondFieldP = 0;  // its random vectors lean on the anchor ahead of the I field too, which no entry brings back
    return o;
}

RandomStreamOptions progressive(uint64_t seed) {
    RandomStreamOptions o;
    o.seed = seed;
    o.frames = 40;
    o.groupFrames = 9;
    o.maxB = 3;
    return o;
}

Clip made(const std::string &name, const RandomStreamOptions &options) {
    return {name, name, makeRandomStream(options).bytes};
}

// As if the stream began with an open group: its first anchor is an I picture with B pictures shown ahead of it.
Clip withoutItsFirstGroup(const std::string &name, RandomStreamOptions options) {
    options.repeatSequenceHeaders = true;
    const RandomStream stream = makeRandomStream(options);
    constexpr uint8_t kHeader[] = {0, 0, 1, 0xB3};
    size_t from = 1;
    while (from + 4 < stream.bytes.size() && std::memcmp(&stream.bytes[from], kHeader, 4) != 0) ++from;
    return {name, name, {stream.bytes.begin() + static_cast<std::ptrdiff_t>(from), stream.bytes.end()}};
}

// Sequences with matrices of their own, one behind the other.
Clip withNewMatrices(const std::string &name) {
    Clip clip{name, name, {}};
    for (uint64_t seed = 31; seed < 35; ++seed) {
        RandomStreamOptions o = progressive(seed);
        o.frames = 12;
        o.groupFrames = 5;
        o.repeatSequenceHeaders = true;
        o.sequenceEnd = seed == 34;
        Matrix intra, nonIntra;
        for (size_t i = 0; i < 64; ++i) {
            intra[i] = static_cast<uint8_t>(i == 0 ? 8 : 8 + (i * seed) % 40);
            nonIntra[i] = static_cast<uint8_t>(9 + (i * seed * 3) % 30);
        }
        o.sequence.intraMatrix = intra;
        if (seed % 2 == 0) o.sequence.nonIntraMatrix = nonIntra;
        const RandomStream part = makeRandomStream(o);
        clip.bytes.insert(clip.bytes.end(), part.bytes.begin(), part.bytes.end());
    }
    return clip;
}

}  // namespace

std::vector<Clip> makeClips() {
    std::vector<Clip> clips;
    RandomStreamOptions closed = progressive(1);
    closed.closedGroups = true;
    clips.push_back(made("made_closed", closed));
    clips.push_back(made("made_open", progressive(2)));
    RandomStreamOptions repeated = progressive(3);
    repeated.repeatSequenceHeaders = true;
    repeated.sequenceEnd = false;
    clips.push_back(made("made_open_headers_no_end", repeated));
    clips.push_back(withoutItsFirstGroup("made_leading_b", progressive(4)));
    RandomStreamOptions fields = interlaced(5);
    fields.fieldPictures = 100;
    clips.push_back(made("made_field_pairs", fields));
    RandomStreamOptions mixed = interlaced(6);
    mixed.fieldPictures = 50;
    mixed.repeatSequenceHeaders = true;
    clips.push_back(made("made_fields_and_frames", mixed));
    clips.push_back(withoutItsFirstGroup("made_leading_b_fields", mixed));
    RandomStreamOptions one = progressive(7);
    one.groupFrames = one.frames = 30;
    one.maxB = 2;
    clips.push_back(made("made_one_group", one));
    RandomStreamOptions alone = progressive(8);
    alone.frames = alone.groupFrames = 1;
    clips.push_back(made("made_one_i_picture", alone));
    RandomStreamOptions pulldown = interlaced(9);
    pulldown.interlacedFrames = 0;
    pulldown.repeatFirstField = true;
    clips.push_back(made("made_pulldown", pulldown));
    RandomStreamOptions extensions = progressive(10);
    extensions.quantMatrixExtensions = 20;
    clips.push_back(made("made_matrix_extensions", extensions));
    clips.push_back(withNewMatrices("made_new_matrices"));
    RandomStreamOptions mpeg1 = progressive(11);
    mpeg1.sequence.mpeg2 = false;
    mpeg1.maxSlicesPerRow = 0;
    mpeg1.userData = 40;
    clips.push_back(made("made_mpeg1", mpeg1));
    RandomStreamOptions many = progressive(12);
    many.sequence.width = 32;
    many.sequence.height = 16;
    many.frames = 2400;
    many.groupFrames = 2;
    many.maxB = 1;
    clips.push_back(made("made_1200_key_frames", many));
    return clips;
}

}  // namespace tvktest
