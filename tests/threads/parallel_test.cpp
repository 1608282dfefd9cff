// SPDX-License-Identifier: BSD-2-Clause
// Streams on threads of their own beside each other: made, used and destroyed at once, looked at from another thread.
#include <atomic>
#include <functional>
#include <thread>

#include "decoding.h"
#include "stream_writer/profiles.h"

namespace tvktest {
namespace {

void runBeside(int count, const std::function<void(int)> &body) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(body, i);
    for (std::thread &thread : threads) thread.join();
}

RandomStream smallStream(uint64_t seed, uint32_t frames = 6) {
    RandomStreamOptions options = interlacedOptions(1, 40);
    options.seed = seed;
    options.frames = frames;
    return makeRandomStream(options);
}

TEST(ParallelThreads, slicesOnOneToSixteenWorkers) {
    RandomStreamOptions options = everythingOptions(2);
    options.frames = 4;
    options.sequence.height = 288;
    const RandomStream made = makeRandomStream(options);
    MemoryStream alone(made.bytes);
    const std::vector<uint64_t> expected = digestsOf(alone);
    for (int32_t threads = 2; threads <= 16; ++threads) {
        MemoryStream m(made.bytes, threads);
        EXPECT_EQ(digestsOf(m), expected) << threads;
    }
}

TEST(ParallelThreads, streamsDecodeBesideEachOther) {
    constexpr int kStreams = 6;
    std::vector<RandomStream> made;
    std::vector<std::vector<uint64_t>> expected, got(kStreams);
    for (int i = 0; i < kStreams; ++i) {
        made.push_back(smallStream(static_cast<uint64_t>(i) + 1));
        MemoryStream m(made.back().bytes, 1, 1 + i % 2);
        expected.push_back(digestsOf(m));
    }
    runBeside(kStreams, [&](int i) {
        const size_t n = static_cast<size_t>(i);
        MemoryStream m(made[n].bytes, 1 + i % 3, 1 + i % 2);
        got[n] = digestsOf(m);
    });
    EXPECT_EQ(got, expected);
}

TEST(ParallelThreads, streamsAreMadeAndDestroyedBesideEachOther) {
    const RandomStream made = smallStream(9, 2);
    std::atomic<int> frames{0};
    runBeside(4, [&](int i) {
        for (int n = 0; n < 12; ++n) {
            MemoryStream m(made.bytes, 1 + (i + n) % 4);
            if (n % 3 != 2) frames += m.next() != nullptr;
            if (n % 3 == 1) {
                EXPECT_EQ(tvkSetVideoSP_Threads(m.stream, 2), 0);
            }
        }
    });
    EXPECT_EQ(frames, 4 * 8);
}

// A call on a stream that is in the middle of a step is refused or answered; nothing is torn.
struct Step {
    std::atomic<VideoStream *> stream{nullptr};
    std::atomic<bool> inside{false}, looked{false};
};
Step step;

int32_t waitInside(CallbackEvent *event) {
    if (event->eventCode != 10 || step.looked) return 0;
    step.inside = true;
    while (!step.looked) std::this_thread::yield();
    return 0;
}

TEST(ParallelThreads, callsDuringAStepOfAnotherThreadAreAnswered) {
    const RandomStream made = smallStream(3);
    MemoryStream m(made.bytes, 2);
    ASSERT_EQ(tvkSetVideoFrameBufferSize(m.stream, 1, 1), 0);
    ASSERT_NE(m.next(), nullptr);
    ASSERT_EQ(tvkSetVideoUserCallback(m.stream, waitInside, 0), 0);
    step.inside = step.looked = false;
    std::thread stepping([&] {
        for (int i = 0; i < 3; ++i) m.next();
    });
    while (!step.inside) std::this_thread::yield();
    VideoFrame *frame = nullptr;
    EXPECT_EQ(tvkGetBufferedVideoFrame(m.stream, 0, &frame), 0);
    EXPECT_EQ(tvkGetNextVideoFrame(m.stream, &frame), tvkErrBusy);
    EXPECT_EQ(tvkSetVideoSP_Threads(m.stream, 4), tvkErrBusy);
    EXPECT_EQ(tvkDestroyVideoStream(m.stream), tvkErrBusy);
    step.looked = true;
    stepping.join();
    EXPECT_EQ(tvkSetVideoUserCallback(m.stream, nullptr, 0), 0);
    EXPECT_NE(m.next(), nullptr);
}

}  // namespace
}  // namespace tvktest
