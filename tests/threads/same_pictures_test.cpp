// SPDX-License-Identifier: BSD-2-Clause
// Any number of threads decodes the same pictures, also of fields whose vectors leave the picture they are in.
#include "decoding.h"
#include "stream_writer/profiles.h"

namespace tvktest {
namespace {

struct Setting {
    int32_t precision, reduce;
};
constexpr Setting kSettings[] = {{1, 1}, {2, 1}, {2, 2}, {2, 4}, {2, 8}};

void expectSamePictures(const RandomStreamOptions &options) {
    const RandomStream made = makeRandomStream(options);
    for (const Setting &s : kSettings) {
        SCOPED_TRACE(testing::Message() << "precision " << s.precision << " reduce " << s.reduce);
        MemoryStream alone(made.bytes, 1, s.precision, s.reduce);
        const std::vector<uint64_t> expected = digestsOf(alone);
        ASSERT_EQ(expected.size(), options.frames);
        for (const int32_t threads : {2, 3, 8, 16}) {
            MemoryStream m(made.bytes, threads, s.precision, s.reduce);
            EXPECT_EQ(digestsOf(m), expected) << threads << " threads";
        }
    }
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

}  // namespace
}  // namespace tvktest
