// SPDX-License-Identifier: BSD-2-Clause
// The same for what sources use: allocations, reads, the file's facts, in elementary streams and in containers.
#include <algorithm>
#include <functional>

#include <unistd.h>

#include "faults.h"
#include "scenario.h"
#include "sources/container_fixture.h"

namespace tvktest {
namespace {

using tvk::test::Containers;

// What opening a file, walking, jumping and asking said, and how many frames came.
struct Visit {
    std::vector<int32_t> codes;
    int32_t opened = 0, frames = 0;
};

bool has(const std::vector<int32_t> &codes, int32_t code) {
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

// The first code that is not the usual one; 0 when the source could do without what failed.
int32_t firstNews(const Visit &usual, const Visit &visit) {
    if (visit.opened != usual.opened) return visit.opened;
    const size_t common = std::min(usual.codes.size(), visit.codes.size());
    const auto [was, is] =
        std::mismatch(usual.codes.begin(), usual.codes.begin() + static_cast<ptrdiff_t>(common), visit.codes.begin());
    return was == usual.codes.begin() + static_cast<ptrdiff_t>(common) ? 0 : *is;
}

void walk(VideoStream *stream, int32_t most, Visit &visit) {
    VideoFrame *frame = nullptr;
    for (; most > 0; --most) {
        visit.codes.push_back(tvkGetNextVideoFrame(stream, &frame));
        if (visit.codes.back() != 0) return;
        ++visit.frames;
    }
}

void lookAround(VideoStream *stream, VideoSource *source, Visit &visit) {
    AbsPosition position;
    SourceInfo info;
    StreamDescription description = {};
    double value = 0.0;
    uint8_t identity[8];
    walk(stream, 4, visit);
    visit.codes.push_back(tvkGetAbsVideoPosition(stream, &position));
    visit.codes.push_back(tvkGetTimeVideoPosition(stream, &value));
    visit.codes.push_back(tvkSetRateVideoPosition(stream, 0.5));
    walk(stream, 2, visit);
    visit.codes.push_back(tvkSetAbsVideoPosition(stream, position));
    walk(stream, 2, visit);
    visit.codes.push_back(tvkSetTimeVideoPosition(stream, 0.2));
    walk(stream, 2, visit);
    visit.codes.push_back(tvkGetSourceInfo(source, &info));
    visit.codes.push_back(source->describe(source, &description));
    visit.codes.push_back(source->getParameter(source, 0, 0, identity));
    visit.codes.push_back(tvkEndSourceGrowth(source));  // a scan would wait for the rest
    visit.codes.push_back(tvkCreateVideoIndexTable(stream));
}

using Open = std::function<int32_t(VideoSource **)>;

// With the fault in place up to the end of the first look around; `after` is a walk from the start without it.
Visit visitFile(const Open &open, Service service, int64_t n, bool &happened, Visit &after) {
    Visit visit;
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    {
        const Fault fault(service, n);
        visit.opened = open(&source);
        EXPECT_EQ(source != nullptr, visit.opened == 0);
        if (source) visit.codes.push_back(tvkCreateVideoStream(&stream, source));
        if (stream) lookAround(stream, source, visit);
        happened = fault.happened();
    }
    if (stream) {
        after.codes.push_back(tvkSetRateVideoPosition(stream, 0.0));
        walk(stream, 1000, after);
        EXPECT_EQ(tvkDestroyVideoStream(stream), 0);
    }
    if (source) tvkCloseSource(source);
    return visit;
}

// Every call of the service fails once: the first news is one of `codes`, nothing is lost, and the walk from the start
// is whole again.
void expectToldAndPassedOver(const Open &open, Service service, const std::vector<int32_t> &codes) {
    bool happened = false;
    Visit whole;
    const Visit usual = visitFile(open, service, -1, happened, whole);
    ASSERT_EQ(usual.opened, 0);
    int64_t n = 0;
    for (happened = true; happened && !testing::Test::HasFailure(); ++n) {
        SCOPED_TRACE(testing::Message() << "call " << n);
        const int64_t blocks = blocksHeld(), descriptors = descriptorsHeld();
        Visit after;
        const Visit visit = visitFile(open, service, n, happened, after);
        EXPECT_EQ(blocksHeld(), blocks);
        EXPECT_EQ(descriptorsHeld(), descriptors);
        if (!happened) break;
        EXPECT_TRUE(has(codes, firstNews(usual, visit))) << firstNews(usual, visit) << " says nothing of it";
        if (!after.codes.empty()) {
            EXPECT_EQ(after.frames, whole.frames);
        }
    }
    EXPECT_TRUE(n > 0 || testing::Test::HasFailure()) << "nothing to fail";
}

Open fileOf(const std::string &path, uint32_t flags) {
    return [=](VideoSource **source) { return tvkOpenFileSourceEx(source, path.c_str(), flags); };
}

TEST(SourceFailures, areToldInElementaryStreams) {
    const std::string clip = tvk::test::clipPath("odd_size.m2v");
    for (const uint32_t flags : {0u, uint32_t{tvkSourceFillsBuffer}, uint32_t{tvkSourceGrowing}}) {
        SCOPED_TRACE(flags);
        const Open open = fileOf(clip, flags);
        // A refill that fails within a step is an end, from which jumps lead back; within a jump it is a failed jump.
        expectToldAndPassedOver(open, Service::allocation, {tvkErrOutOfMemory});
        expectToldAndPassedOver(open, Service::fileOpen, {tvkSourceErrOpen});
        expectToldAndPassedOver(open, Service::fileRead,
                                {0, tvkSourceErrRead, tvkSourceErrNoTime, tvkErrFailed, tvkErrEndOfStream});
        expectToldAndPassedOver(open, Service::fileFacts,
                                {0, tvkSourceErrOpen, tvkErrFailed, tvkErrNeedData, tvkErrEndOfStream});
    }
}

TEST(SourceFailures, areToldInPipes) {
    const tvk::test::Bytes bytes = tvk::test::bytesOfFile(tvk::test::clipPath("odd_size.m2v"));
    const Open open = [&](VideoSource **source) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        // A pipe holds 64 KiB, and the clip has less.
        EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(ends[1]);
        const int32_t code = tvkOpenDescriptorSource(source, ends[0], tvkSourceFillsBuffer);
        close(ends[0]);
        return code;
    };
    expectToldAndPassedOver(open, Service::allocation, {tvkErrOutOfMemory});
    expectToldAndPassedOver(open, Service::fileOpen, {tvkSourceErrOpen});
    expectToldAndPassedOver(open, Service::fileRead, {0, tvkSourceErrRead});  // 0: the end is met anyway
    expectToldAndPassedOver(open, Service::fileFacts, {tvkSourceErrOpen});
}

struct ContainerFailures : Containers {};

TEST_F(ContainerFailures, areTold) {
    for (const char *ending : {"ts", "mkv"}) {
        SCOPED_TRACE(ending);
        const Open open = fileOf(put("odd_size.m2v", std::string("clip.") + ending, ""), 0);
        expectToldAndPassedOver(open, Service::allocation, {0, tvkErrOutOfMemory, tvkErrEndOfStream});
        expectToldAndPassedOver(open, Service::fileOpen, {tvkSourceErrOpen});
        expectToldAndPassedOver(open, Service::fileRead,
                                {0, tvkSourceErrRead, tvkSourceErrContainer, tvkErrEndOfStream});
    }
}

}  // namespace
}  // namespace tvktest
