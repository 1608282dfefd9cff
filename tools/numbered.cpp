// SPDX-License-Identifier: BSD-2-Clause
// Frames by their numbers, which are the same whichever way a frame is reached.
#include "numbered.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include "indexing.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

enum WorkMode : int32_t { modeForward = 0, modeFrameList = 2 };
constexpr int32_t kAllTypes = 3;

// Frames held at once while going backwards.
constexpr int32_t kLongestChunk = 24;

struct FrameDeleter {
    void operator()(VideoFrame *frame) const { tvkDestroyVideoFrame(frame); }
};
using OwnedFrame = std::unique_ptr<VideoFrame, FrameDeleter>;

OwnedFrame duplicate(const VideoFrame &frame) {
    VideoFrame *copy = nullptr;
    const int32_t result = tvkDuplicateVideoFrame(&frame, &copy);
    if (result != 0) throw ToolError(exitFailed, describeError(result));
    return OwnedFrame(copy);
}

// All frame types, for as long as it lives.
class AllTypes {
  public:
    explicit AllTypes(VideoStream *s) : stream(s) {
        tvkGetVideoSP_FrameTypesToProcess(stream, &kept);
        tvkSetVideoSP_FrameTypesToProcess(stream, kAllTypes);
    }
    ~AllTypes() { tvkSetVideoSP_FrameTypesToProcess(stream, static_cast<int32_t>(kept)); }
    AllTypes(const AllTypes &) = delete;
    AllTypes &operator=(const AllTypes &) = delete;

  private:
    VideoStream *stream;
    uint32_t kept = kAllTypes;
};

class ListMode {
  public:
    ListMode(VideoStream *s, std::vector<int32_t> &numbers) : stream(s) {
        tvkSetVideoWorkMode(stream, modeFrameList);
        tvkSetVideoSP_FrameList(stream, numbers.data(), static_cast<int32_t>(numbers.size()));
    }
    ~ListMode() { tvkSetVideoWorkMode(stream, modeForward); }
    ListMode(const ListMode &) = delete;
    ListMode &operator=(const ListMode &) = delete;

  private:
    VideoStream *stream;
};

[[noreturn]] void failAt(int32_t number) {
    throw ToolError(exitFailed, "frame " + std::to_string(number) + " could not be reached");
}

}  // namespace

NumberedFrames::NumberedFrames(OpenedStream &stream) : opened(stream) {
    needIndex(opened);
    VideoStreamInfo info{};
    tvkGetVideoStreamInfo(opened.stream, &info);
    indexed = static_cast<int32_t>(info.frameCount);
    keyFrames.assign(info.keyFrames, info.keyFrames + info.keyFrameCount);
}

// What a jump has arrived at. One that ended with its sequence goes on with the next.
VideoFrame *NumberedFrames::take(int32_t result) {
    if (result == tvkErrEndOfStream) return nextFrame(opened);
    if (result != 0) throw ToolError(exitFailed, opened.path + ": " + describeError(result));
    VideoFrame *frame = nullptr;
    tvkGetVideoFrame(opened.stream, &frame);
    return frame;
}

VideoFrame *NumberedFrames::at(int32_t number) {
    VideoFrame *frame = take(tvkSetVideoFrameNumber(opened.stream, std::min(number, indexed)));
    while (frame && frame->frameNumber < number) frame = nextFrame(opened);
    return frame;
}

int32_t NumberedFrames::last() {
    if (lastNumber != 0) return lastNumber;
    const AllTypes allTypes(opened.stream);
    lastNumber = indexed;
    for (const VideoFrame *frame = at(indexed); frame; frame = nextFrame(opened)) lastNumber = frame->frameNumber;
    return lastNumber;
}

void NumberedFrames::eachOf(std::vector<int32_t> numbers, const std::function<void(const VideoFrame &)> &takeFrame) {
    if (numbers.empty()) return;
    const auto behind = std::upper_bound(numbers.begin(), numbers.end(), indexed);
    std::vector<int32_t> reachable(numbers.begin(), behind);
    if (!reachable.empty()) {
        const ListMode mode(opened.stream, reachable);
        for (const int32_t number : reachable) {
            VideoFrame *frame = nullptr;
            if (tvkGetNextVideoFrame(opened.stream, &frame) != 0 || frame->frameNumber != number) failAt(number);
            takeFrame(*frame);
        }
    }
    if (behind == numbers.end()) return;
    auto wanted = behind;
    for (const VideoFrame *frame = at(*wanted); frame && wanted != numbers.end(); frame = nextFrame(opened)) {
        if (frame->frameNumber < *wanted) continue;
        takeFrame(*frame);
        ++wanted;
    }
}

// From the last key frame of the range where that is near, so that nothing is decoded only to reach the chunk.
int32_t NumberedFrames::startOfChunk(int32_t first, int32_t end) const {
    const int32_t farthest = std::max(first, end - kLongestChunk + 1);
    const auto behind = std::upper_bound(keyFrames.begin(), keyFrames.end(), end);
    if (behind == keyFrames.begin()) return farthest;
    return std::max(farthest, *(behind - 1));
}

void NumberedFrames::backwards(int32_t first, int32_t end, const std::function<bool(const VideoFrame &)> &takeFrame) {
    while (end >= first) {
        const int32_t start = startOfChunk(first, end);
        std::vector<OwnedFrame> chunk;
        for (const VideoFrame *frame = at(start); frame && frame->frameNumber <= end; frame = nextFrame(opened)) {
            chunk.push_back(duplicate(*frame));
        }
        for (auto frame = chunk.rbegin(); frame != chunk.rend(); ++frame) {
            if (!takeFrame(**frame)) return;
        }
        end = start - 1;
    }
}

// The stream's clock runs in coded order, so a jump's time is a few frames off at most: over the whole file that is
// little, and cadences that people use are told exactly.
double NumberedFrames::secondsPerFrame(double framePeriod) {
    constexpr double kReordering = 3.0;
    constexpr double kCadences[] = {1.0, 1.25};
    const AllTypes allTypes(opened.stream);
    if (keyFrames.empty() || indexed - keyFrames.front() < 1) return framePeriod;
    const double frames = indexed - keyFrames.front();
    const VideoFrame *frame = at(keyFrames.front());
    if (!frame) return framePeriod;
    const double start = frame->presentationTime;
    frame = at(indexed);
    if (!frame) return framePeriod;
    const double periods = (frame->presentationTime - start) / framePeriod / frames;
    for (const double cadence : kCadences) {
        if (std::abs(periods - cadence) * frames <= kReordering) return cadence * framePeriod;
    }
    return std::max(periods, 1.0) * framePeriod;
}

}  // namespace tvk::tool
