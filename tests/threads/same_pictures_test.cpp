// SPDX-License-Identifier: BSD-2-Clause
// Any number of threads decodes the same pictures, also of fields whose vectors leave the picture they are in.
#include <atomic>

#include "decoding.h"
#include "stream_writer/profiles.h"

namespace tvktest {
namespace {

struct Setting {
    int32_t precision, reduce;
};
constexpr Setting kSettings[] = {{1, 1}, {2, 1}, {2, 2}, {2, 4}, {2, 8}};

using Bytes = std::vector<uint8_t>;

void expectSamePictures(const Bytes &bytes, size_t frames) {
    for (const Setting &s : kSettings) {
        SCOPED_TRACE(testing::Message() << "precision " << s.precision << " reduce " << s.reduce);
        MemoryStream alone(bytes, 1, s.precision, s.reduce);
        const std::vector<uint64_t> expected = digestsOf(alone);
        ASSERT_EQ(expected.size(), frames);
        for (const int32_t threads : {2, 3, 8, 16}) {
            MemoryStream m(bytes, threads, s.precision, s.reduce);
            EXPECT_EQ(digestsOf(m), expected) << threads << " threads";
        }
    }
}
void expectSamePictures(const RandomStreamOptions &options) {
    expectSamePictures(makeRandomStream(options).bytes, options.frames);
}

// Calls edit(the four bytes of the code and what follows) for every start code from `first` to `last`.
template <class Edit>
void editCodes(Bytes &bytes, uint8_t first, uint8_t last, Edit edit) {
    for (size_t at = 0; at + 8 < bytes.size(); ++at)
        if (bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1 && bytes[at + 3] >= first &&
            bytes[at + 3] <= last)
            edit(&bytes[at]);
}

constexpr uint8_t kSequenceCode = 0xB3, kFirstSlice = 1, kLastSlice = 0xAF;

// Pictures one macroblock narrower than their slices, each of which goes on where the next one begins.
Bytes withSlicesThatGoOn(const RandomStreamOptions &options) {
    Bytes bytes = makeRandomStream(options).bytes;
    editCodes(bytes, kSequenceCode, kSequenceCode, [](uint8_t *code) { --code[4]; });
    return bytes;
}

RandomStreamOptions damageable(const RandomStreamOptions &base, uint64_t seed) {
    RandomStreamOptions options = base;
    options.seed = seed;
    options.frames = 6;
    options.sequence.width = 96;
    options.sequence.height = 128;
    return options;
}

// A second P field is predicted from the field before it in the same frame, between whose lines its own are written.
TEST(ThreadsDecodeTheSame, secondFieldsWithVectorsBeyondEveryEdge) {
    for (const uint32_t chroma : {1u, 2u, 3u})
        for (uint64_t seed = 1; seed <= 4; ++seed) {
            SCOPED_TRACE(testing::Message() << "chroma " << chroma << " seed " << seed);
            RandomStreamOptions options = interlacedOptions(chroma, 100);
            options.seed = seed;
            options.frames = 5;
            options.maxB = 0;
            options.secondFieldP = 100;
            options.maxFCode = 5;
            options.wildVectors = 60;
            options.skip = 5;
            options.intra = 5;
            expectSamePictures(options);
        }
}

TEST(ThreadsDecodeTheSame, picturesOfEveryKindWithVectorsBeyondEveryEdge) {
    for (const Profile &profile : allProfiles()) {
        if (profile.name == "above2800Lines" || profile.name == "wide") continue;
        SCOPED_TRACE(profile.name);
        RandomStreamOptions options = profile.options;
        options.wildVectors = 50;
        expectSamePictures(options);
    }
}

// Of macroblocks that several slices store, that of the last slice stays.
TEST(ThreadsDecodeTheSame, slicesThatRunIntoTheNext) {
    for (const Profile &profile : allProfiles()) {
        if (profile.name == "above2800Lines" || profile.name == "wide" || profile.name == "oneMacroblockWide") continue;
        SCOPED_TRACE(profile.name);
        expectSamePictures(withSlicesThatGoOn(damageable(profile.options, 7)), 6);
    }
}

TEST(ThreadsDecodeTheSame, slicesThatBeginInTheSameRowOrOutsideThePicture) {
    for (const uint8_t row : {1, 3, 8, 9, 150}) {
        SCOPED_TRACE(static_cast<int>(row));
        Bytes bytes = makeRandomStream(damageable(mpeg2Options(1), row)).bytes;
        editCodes(bytes, kFirstSlice, kLastSlice, [row](uint8_t *code) {
            if (code[3] % 3 == 1) code[3] = row;
        });
        expectSamePictures(bytes, 6);
    }
}

std::atomic<uint32_t> sliceEvents;

int32_t countSlices(CallbackEvent *event) {
    if (event->eventCode == 10) sliceEvents.fetch_add(1);
    return 0;
}

TEST(ThreadsDecodeTheSame, slicesOfAPictureThatIsDecodedAgainAreToldOfOnce) {
    const Bytes bytes = withSlicesThatGoOn(damageable(mpeg2Options(1), 3));
    uint32_t slices = 0;
    Bytes counted = bytes;
    editCodes(counted, kFirstSlice, kLastSlice, [&slices](const uint8_t *) { ++slices; });
    for (const int32_t threads : {1, 3}) {
        sliceEvents = 0;
        MemoryStream m(bytes, threads);
        ASSERT_EQ(tvkSetVideoUserCallback(m.stream, countSlices, 0), 0);
        EXPECT_EQ(digestsOf(m).size(), 6u);
        EXPECT_EQ(sliceEvents.load(), slices) << threads << " threads";
    }
}

}  // namespace
}  // namespace tvktest
