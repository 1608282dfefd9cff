// SPDX-License-Identifier: BSD-2-Clause
// What a stream's headers say of it, gathered while its first frames are decoded.
#pragma once

#include <cstdint>
#include <string>

#include "open.h"
#include "tvk.h"

namespace tvk::tool {

struct Ratio {
    uint32_t numerator, denominator;
};

// Pictures seen so far, by what their coding extensions say.
struct PictureTally {
    uint32_t frames, topFields, bottomFields;
    uint32_t progressive, topFieldFirst, repeatFirstField;
};

struct StreamFacts {
    bool hasExtension, hasDisplay;
    SequenceHeaderRecord sequence;
    SequenceExtensionRecord extension;
    SequenceDisplayRecord display;
    bool hasFirstPicture;
    PictureCodingRecord firstPicture;
    PictureTally tally;
};

enum class Scan { progressive, topFieldFirst, bottomFieldFirst };

// Takes in what a header event tells; other events pass.
void gather(StreamFacts &facts, const CallbackEvent &event);
// Decodes the next frame with an ear to the headers; null at the end of the file.
VideoFrame *nextFrameWithFacts(OpenedStream &opened, StreamFacts &facts);

Ratio frameRate(const StreamFacts &facts);
// Frame periods that a decoded frame lasts on average: more than 1 where fields are repeated, as in 3:2 pulldown.
double periodsPerFrame(const StreamFacts &facts);
// Width to height of one sample of a picture of this size.
Ratio sampleAspect(const StreamFacts &facts, uint32_t width, uint32_t height);
// How the first picture is to be shown.
Scan firstPictureScan(const StreamFacts &facts);
std::string describeScan(const StreamFacts &facts);
std::string describeProfile(const StreamFacts &facts);
const char *chromaName(int32_t chromaFormat);

}  // namespace tvk::tool
