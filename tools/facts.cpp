// SPDX-License-Identifier: BSD-2-Clause
// Header records turned into the facts that people and file formats ask for.
#include "facts.h"

#include <numeric>

#include "listening.h"

namespace tvk::tool {

namespace {

void tallyPicture(PictureTally &tally, const PictureCodingRecord &picture) {
    if (picture.pictureStructure == structureTopField) {
        ++tally.topFields;
    } else if (picture.pictureStructure == structureBottomField) {
        ++tally.bottomFields;
    } else {
        ++tally.frames;
        tally.progressive += picture.progressiveFrame;
        tally.topFieldFirst += picture.topFieldFirst;
        tally.repeatFirstField += picture.repeatFirstField;
    }
}

Ratio reduced(uint64_t numerator, uint64_t denominator) {
    const uint64_t divisor = std::gcd(numerator, denominator);
    return {static_cast<uint32_t>(numerator / divisor), static_cast<uint32_t>(denominator / divisor)};
}

bool isProgressive(const StreamFacts &facts) {
    return !facts.hasExtension || facts.extension.progressiveSequence != 0;
}

// pel_aspect_ratio of MPEG-1, the height of a sample for a width of 10000; codes 1 to 14.
constexpr uint32_t kMpeg1SampleHeight[15] = {10000, 10000, 6735,  7031,  7615,  8055,  8437, 8935,
                                             9157,  9815,  10255, 10695, 10950, 11575, 12015};

}  // namespace

void gather(StreamFacts &facts, const CallbackEvent &event) {
    switch (event.eventCode) {
        case eventSequence:
            facts.sequence = *event.sequenceHeader;
            break;
        case eventSequenceExtension:
            facts.extension = *event.sequenceExtension;
            facts.hasExtension = true;
            break;
        case eventSequenceDisplay:
            facts.display = *event.sequenceDisplay;
            facts.hasDisplay = true;
            break;
        case eventPictureCoding:
            if (!facts.hasFirstPicture) facts.firstPicture = *event.pictureCoding;
            facts.hasFirstPicture = true;
            tallyPicture(facts.tally, *event.pictureCoding);
            break;
        default:
            break;
    }
}

VideoFrame *nextFrameWithFacts(OpenedStream &opened, StreamFacts &facts) {
    const Listening listening(opened.stream, [&facts](const CallbackEvent &event) { gather(facts, event); });
    return nextFrame(opened);
}

Ratio frameRate(const StreamFacts &facts) {
    static constexpr Ratio kRates[9] = {{30, 1}, {24000, 1001}, {24, 1},       {25, 1}, {30000, 1001},
                                        {30, 1}, {50, 1},       {60000, 1001}, {60, 1}};
    const Ratio base = kRates[facts.sequence.frameRateCode <= 8 ? facts.sequence.frameRateCode : 0];
    if (!facts.hasExtension) return base;
    return reduced(uint64_t{base.numerator} * (facts.extension.frameRateExtensionN + 1u),
                   uint64_t{base.denominator} * (facts.extension.frameRateExtensionD + 1u));
}

double periodsPerFrame(const StreamFacts &facts) {
    if (isProgressive(facts) || facts.tally.frames == 0) return 1.0;
    return 1.0 + 0.5 * facts.tally.repeatFirstField / facts.tally.frames;
}

Ratio sampleAspect(const StreamFacts &facts, uint32_t width, uint32_t height) {
    const uint8_t code = facts.sequence.aspectRatioCode;
    if (!facts.hasExtension) return reduced(10000, kMpeg1SampleHeight[code <= 14 ? code : 0]);

    static constexpr Ratio kDisplayAspect[3] = {{4, 3}, {16, 9}, {221, 100}};
    if (code < 2 || code > 4) return {1, 1};
    const bool hasDisplaySize =
        facts.hasDisplay && facts.display.displayHorizontalSize && facts.display.displayVerticalSize;
    const uint64_t shownWidth = hasDisplaySize ? facts.display.displayHorizontalSize : width;
    const uint64_t shownHeight = hasDisplaySize ? facts.display.displayVerticalSize : height;
    const Ratio shape = kDisplayAspect[code - 2];
    return reduced(shape.numerator * shownHeight, shape.denominator * shownWidth);
}

Scan firstPictureScan(const StreamFacts &facts) {
    if (isProgressive(facts) || !facts.hasFirstPicture) return Scan::progressive;
    const PictureCodingRecord &picture = facts.firstPicture;
    if (picture.pictureStructure == structureTopField) return Scan::topFieldFirst;
    if (picture.pictureStructure == structureBottomField) return Scan::bottomFieldFirst;
    if (picture.progressiveFrame) return Scan::progressive;
    return picture.topFieldFirst ? Scan::topFieldFirst : Scan::bottomFieldFirst;
}

std::string describeScan(const StreamFacts &facts) {
    const PictureTally &tally = facts.tally;
    if (isProgressive(facts)) return "progressive";
    if (tally.topFields + tally.bottomFields > 0 && tally.frames > 0) return "interlaced, frame and field pictures";
    if (tally.topFields + tally.bottomFields > 0) {
        return std::string("interlaced, field pictures, ") +
               (firstPictureScan(facts) == Scan::topFieldFirst ? "top field first" : "bottom field first");
    }
    if (tally.progressive == tally.frames) {
        return tally.repeatFirstField > 0 ? "progressive frames with repeated fields"
                                          : "progressive frames in an interlaced sequence";
    }
    if (tally.progressive > 0) return "interlaced and progressive frames";
    if (tally.topFieldFirst == tally.frames) return "interlaced, top field first";
    return tally.topFieldFirst == 0 ? "interlaced, bottom field first" : "interlaced, field order changes";
}

std::string describeProfile(const StreamFacts &facts) {
    if (!facts.hasExtension) return facts.sequence.constrainedParameters ? "constrained parameters" : "";
    const uint8_t profile = facts.extension.profile, level = facts.extension.level;
    if (facts.extension.profileEscape) {
        return profile == 0 ? (level == 5 ? "4:2:2@Main" : level == 2 ? "4:2:2@High" : "reserved") : "reserved";
    }
    static constexpr const char *kProfiles[8] = {"reserved", "High",   "Spatially scalable", "SNR scalable",
                                                 "Main",     "Simple", "reserved",           "reserved"};
    const char *levelName = level == 4    ? "High"
                            : level == 6  ? "High 1440"
                            : level == 8  ? "Main"
                            : level == 10 ? "Low"
                                          : "reserved";
    return std::string(kProfiles[profile]) + "@" + levelName;
}

const char *chromaName(int32_t chromaFormat) {
    return chromaFormat == 1 ? "4:2:0" : chromaFormat == 2 ? "4:2:2" : chromaFormat == 3 ? "4:4:4" : "unknown";
}

}  // namespace tvk::tool
