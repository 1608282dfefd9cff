// SPDX-License-Identifier: BSD-2-Clause
// Frame records written as YUV4MPEG2.
#include "y4m.h"

#include <cstddef>
#include <cstring>

namespace tvk::tool {

namespace {

constexpr char kFrameMarker[] = "FRAME\n";
constexpr size_t kMarkerBytes = sizeof kFrameMarker - 1;

size_t halfUp(int32_t samples) {
    return (static_cast<size_t>(samples) + 1) / 2;
}

// MPEG-1 puts a chroma sample amid its four luma samples, MPEG-2 beside the left pair.
const char *colourTag(const Y4mShape &shape, const StreamFacts &facts) {
    if (shape.chromaFormat == 2) return "422";
    if (shape.chromaFormat == 3) return "444";
    return facts.hasExtension ? "420mpeg2" : "420jpeg";
}

char interlaceTag(Scan scan) {
    return scan == Scan::progressive ? 'p' : scan == Scan::topFieldFirst ? 't' : 'b';
}

std::string text(Ratio ratio) {
    return std::to_string(ratio.numerator) + ":" + std::to_string(ratio.denominator);
}

void splitPairs(const uint8_t *pairs, size_t count, uint8_t *__restrict first, uint8_t *__restrict second) {
    for (size_t i = 0; i < count; ++i) {
        first[i] = pairs[2 * i];
        second[i] = pairs[2 * i + 1];
    }
}

// Behind `ahead` bytes that are left to the caller.
void makePlanes(const VideoFrame &frame, size_t ahead, std::vector<uint8_t> &out) {
    const VideoPlane &luma = frame.lumaPlane, &chroma = frame.chromaPlane;
    const size_t width = static_cast<size_t>(luma.width), height = static_cast<size_t>(luma.height);
    // A picture of odd size has a last chroma column and row that the plane's width and height leave out; the plane's
    // storage, a multiple of 32 samples each way, holds them.
    const size_t chromaWidth = frame.chromaFormat == 3 ? width : halfUp(luma.width);
    const size_t chromaHeight = frame.chromaFormat == 1 ? halfUp(luma.height) : height;

    out.resize(ahead + width * height + 2 * chromaWidth * chromaHeight);
    uint8_t *to = out.data() + ahead;
    for (size_t row = 0; row < height; ++row, to += width) {
        std::memcpy(to, luma.data + row * static_cast<size_t>(luma.stride), width);
    }
    uint8_t *second = to + chromaWidth * chromaHeight;
    for (size_t row = 0; row < chromaHeight; ++row, to += chromaWidth, second += chromaWidth) {
        splitPairs(chroma.data + row * static_cast<size_t>(chroma.stride), chromaWidth, to, second);
    }
}

}  // namespace

Y4mShape shapeOf(const VideoFrame &frame) {
    return {frame.lumaPlane.width, frame.lumaPlane.height, frame.chromaFormat};
}

std::string y4mHeader(const Y4mShape &shape, const StreamFacts &facts) {
    const Ratio aspect = sampleAspect(facts, static_cast<uint32_t>(shape.width), static_cast<uint32_t>(shape.height));
    return "YUV4MPEG2 W" + std::to_string(shape.width) + " H" + std::to_string(shape.height) + " F" +
           text(frameRate(facts)) + " I" + interlaceTag(firstPictureScan(facts)) + " A" + text(aspect) + " C" +
           colourTag(shape, facts) + "\n";
}

void makeY4mPlanes(const VideoFrame &frame, std::vector<uint8_t> &out) {
    makePlanes(frame, 0, out);
}

void makeY4mFrame(const VideoFrame &frame, std::vector<uint8_t> &out) {
    makePlanes(frame, kMarkerBytes, out);
    std::memcpy(out.data(), kFrameMarker, kMarkerBytes);
}

}  // namespace tvk::tool
