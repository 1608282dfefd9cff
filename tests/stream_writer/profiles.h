// SPDX-License-Identifier: BSD-2-Clause
// Sets of options that together reach the whole macroblock syntax.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "stream_writer/random_stream.h"

namespace tvktest {

struct Profile {
    std::string name;
    RandomStreamOptions options;

    // How a failing test names its profile.
    friend std::ostream &operator<<(std::ostream &out, const Profile &p) { return out << p.name; }
};

inline RandomStreamOptions mpeg1Options() {
    RandomStreamOptions o;
    o.sequence.mpeg2 = false;
    o.sequence.width = 112;
    o.sequence.height = 80;
    o.frames = 8;
    o.stuffing = 20;
    o.maxSlicesPerRow = 0;
    o.extraPictureInformation = o.extraSliceInformation = o.userData = 30;
    o.largeLevel = 255;
    return o;
}

inline RandomStreamOptions mpeg2Options(uint32_t chromaFormat) {
    RandomStreamOptions o;
    o.sequence.width = 112;
    o.sequence.height = 80;
    o.sequence.chromaFormat = chromaFormat;
    o.sequence.profileAndLevel = chromaFormat == 1 ? 0x48 : chromaFormat == 2 ? 0x85 : 0x82;
    o.frames = 8;
    o.intraVlc = o.alternateScan = o.nonLinearQuantiser = 50;
    o.intraDcPrecision = -1;
    return o;
}

inline RandomStreamOptions interlacedOptions(uint32_t chromaFormat, uint32_t fieldPictures) {
    RandomStreamOptions o = mpeg2Options(chromaFormat);
    o.sequence.progressive = false;
    o.sequence.height = 96;
    o.fieldPictures = fieldPictures;
    o.interlacedFrames = 100;
    return o;
}

// All that MPEG-2 has at once.
inline RandomStreamOptions everythingOptions(uint32_t chromaFormat) {
    RandomStreamOptions o = interlacedOptions(chromaFormat, 40);
    o.interlacedFrames = 70;
    o.concealment = 40;
    o.repeatFirstField = o.repeatSequenceHeaders = true;
    o.quantMatrixExtensions = o.displayExtensions = o.copyright = o.compositeDisplay = 40;
    o.extraPictureInformation = o.extraSliceInformation = o.userData = 30;
    o.maxSlicesPerRow = 3;
    o.largeLevel = 2047;
    o.maxFCode = 7;
    o.longSkips = 10;
    return o;
}

inline std::vector<Profile> allProfiles() {
    std::vector<Profile> profiles;
    profiles.push_back({"mpeg1", mpeg1Options()});
    RandomStreamOptions fullPel = mpeg1Options();
    fullPel.fullPel = 60;
    fullPel.maxFCode = 7;
    fullPel.maxSlicesPerRow = 2;
    profiles.push_back({"mpeg1FullPel", fullPel});
    for (const uint32_t chroma : {1u, 2u, 3u}) {
        const std::string format = chroma == 1 ? "420" : chroma == 2 ? "422" : "444";
        profiles.push_back({"progressive" + format, mpeg2Options(chroma)});
        profiles.push_back({"interlaced" + format, interlacedOptions(chroma, 0)});
        profiles.push_back({"fieldPictures" + format, interlacedOptions(chroma, 100)});
        profiles.push_back({"everything" + format, everythingOptions(chroma)});
    }
    RandomStreamOptions high = mpeg2Options(1);
    high.sequence.width = 32;
    high.sequence.height = 2816;
    high.frames = 3;
    profiles.push_back({"above2800Lines", high});
    RandomStreamOptions wide = mpeg2Options(1);
    wide.sequence.width = 1600;
    wide.sequence.height = 32;
    wide.frames = 4;
    wide.longSkips = 60;
    wide.maxFCode = 9;
    profiles.push_back({"wide", wide});
    RandomStreamOptions narrow = everythingOptions(1);
    narrow.sequence.width = 14;
    narrow.sequence.height = 33;
    profiles.push_back({"oneMacroblockWide", narrow});
    return profiles;
}

}  // namespace tvktest
