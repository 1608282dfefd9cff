// SPDX-License-Identifier: BSD-2-Clause
// Walks over clips, over memory that shows where nothing was written.
#include "clip_walk.h"

#include <cstring>

#include "core/stream.h"

namespace tvktest {
namespace {

constexpr uint32_t kPictureHeaderEvent = 7, kSliceEvent = 10;

// Fills the frame of each picture ahead of its first slice.
struct Filler {
    VideoStream *stream;
    int value;
    bool atHeader;
};
Filler filler;

void fillFrame(const VideoFrame *frame) {
    if (!frame) return;
    for (const VideoPlane *plane : {&frame->lumaPlane, &frame->chromaPlane})
        std::memset(plane->data, filler.value, static_cast<size_t>(plane->size));
}

int32_t fillAhead(CallbackEvent *event) {
    const tvk::FramePipeline &frames = filler.stream->frames;
    if (event->eventCode == kPictureHeaderEvent) filler.atHeader = true;
    if (event->eventCode != kSliceEvent || !filler.atHeader) return 0;
    filler.atHeader = false;
    if (!frames.fieldPending) fillFrame(frames.currentFrame);
    return 0;
}

std::map<int32_t, FrameLine> framesOf(ClipStream &walk) {
    std::map<int32_t, FrameLine> frames;
    while (const VideoFrame *frame = walk.stepOverEnds()) frames[frame->frameNumber] = lineOf(*frame);
    return frames;
}

std::map<int32_t, FrameLine> walkOver(const Clip &clip, int value) {
    ClipStream walk(clip);
    filler = {walk.stream, value, false};
    EXPECT_EQ(tvkSetVideoUserCallback(walk.stream, fillAhead, 0), 0);
    return framesOf(walk);
}

struct Counter {
    DecodedPictures *counts;
    bool atHeader;
    uint32_t type;
};
Counter counter;

int32_t countPictures(CallbackEvent *event) {
    if (event->eventCode == kPictureHeaderEvent) {
        counter.atHeader = true;
        counter.type = event->pictureHeader->pictureCodingType;
    }
    if (event->eventCode != kSliceEvent || !counter.atHeader) return 0;
    counter.atHeader = false;
    ++(counter.type == tvk::pictureB ? counter.counts->b : counter.counts->anchors);
    return 0;
}

// Of an elementary stream below 3 GiB.
size_t byteOf(const AbsPosition &position) {
    return position.words[2];
}

int matrixExtensionsBetween(const Clip &clip, size_t from, size_t to) {
    int count = 0;
    for (size_t i = from; i + 4 < to && i + 4 < clip.bytes.size(); ++i) {
        const uint8_t *p = &clip.bytes[i];
        count += p[0] == 0 && p[1] == 0 && p[2] == 1 && p[3] == 0xB5 && p[4] >> 4 == 3;
    }
    return count;
}

}  // namespace

ClipWalk walkClip(const Clip &clip) {
    ClipStream stream(clip);
    ClipWalk walk;
    walk.frames = framesOf(stream);
    const std::map<int32_t, FrameLine> dark = walkOver(clip, 0x30), bright = walkOver(clip, 0xC8);
    for (const auto &[number, line] : walk.frames)
        if (!(dark.at(number) == bright.at(number))) walk.loose.insert(number);
    for (const auto &[number, line] : walk.frames) {
        if (line.type != 'B') break;
        walk.loose.insert(number);
    }
    return walk;
}

std::set<int32_t> framesOfLostMatrices(const Clip &clip, VideoStream *indexed, int kept, bool open) {
    const tvk::VideoIndexTable &index = indexed->index;
    std::set<int32_t> frames;
    for (uint32_t e = 0; e < index.entryCount; ++e) {
        const size_t from = byteOf(index.sequencePositions[e]), to = byteOf(index.picturePositions[e]);
        if (matrixExtensionsBetween(clip, from, to) <= kept) continue;
        const uint32_t behind = e + (open ? 2 : 1);
        const int32_t end =
            behind < index.entryCount ? index.displayNumbers[behind] : static_cast<int32_t>(index.frameCount) + 1;
        for (int32_t n = index.displayNumbers[e]; n < end; ++n) frames.insert(n);
    }
    return frames;
}

void countDecodedPictures(VideoStream *stream, DecodedPictures &counts) {
    counter = {&counts, false, 0};
    EXPECT_EQ(tvkSetVideoUserCallback(stream, countPictures, 0), 0);
}

}  // namespace tvktest
