// SPDX-License-Identifier: BSD-2-Clause
// Makes random streams of valid syntax, whose vectors stay inside their pictures unless asked otherwise; the same seed
// gives the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "stream_writer/parameters.h"

namespace tvktest {

// Percentages are chances for each picture, macroblock or coefficient that could have the thing.
struct RandomStreamOptions {
    uint64_t seed = 1;
    SequenceParameters sequence;

    uint32_t frames = 6;
    uint32_t groupFrames = 6;    // an I frame with a group header after so many frames
    uint32_t maxB = 2;           // B frames between two anchors
    bool closedGroups = false;   // false: B frames may stand between a new I frame and the group before
    uint32_t secondFieldP = 50;  // percent: second field of an I frame, the stream's first one excepted

    // MPEG-2 with an interlaced sequence.
    uint32_t fieldPictures = 0;     // percent of frames coded as two field pictures
    uint32_t interlacedFrames = 0;  // percent of frame pictures with field motion and field DCT allowed
    bool dualPrime = true;          // in P pictures that no B picture follows
    bool repeatFirstField = false;

    uint32_t intra = 12, skip = 15, quantiser = 20, uncoded = 25;
    uint32_t escapes = 4;      // percent of coefficients that are escaped without need
    uint32_t longSkips = 0;    // percent of skips that go on for as long as they may
    uint32_t stuffing = 0;     // MPEG-1
    uint32_t concealment = 0;  // MPEG-2: percent of pictures
    uint32_t fullPel = 0;      // MPEG-1: percent of pictures and directions
    uint32_t maxFCode = 3;
    uint32_t wildVectors = 0;  // percent of vectors that may point anywhere, which no standard allows
    int32_t maxLevel = 12;
    int32_t largeLevel = 0;  // when not 0: the largest level of one coefficient in a hundred
    int32_t maxCoefficients = 7;
    uint32_t maxQuantiserCode = 12;
    uint32_t maxSlicesPerRow = 1;  // MPEG-1: 0 makes slices that span rows

    // Percent of pictures with the feature; the MPEG-2 ones are ignored in MPEG-1.
    uint32_t alternateScan = 0, intraVlc = 0, nonLinearQuantiser = 0;
    int32_t intraDcPrecision = 0;  // -1: random
    uint32_t quantMatrixExtensions = 0, displayExtensions = 0, copyright = 0, compositeDisplay = 0;
    uint32_t extraPictureInformation = 0, extraSliceInformation = 0, userData = 0;
    bool repeatSequenceHeaders = false;
    bool sequenceEnd = true;
};

struct PictureFact {
    size_t offset;  // of the picture start code
    uint32_t type, structure;
    uint32_t streamNumber;  // of its frame in coding order, from 1
    uint32_t frameNumber;   // of its frame in display order, from 1
};

// Counts of what the stream holds, so that a test can assert that it reaches what it is about.
struct StreamFacts {
    uint32_t slices, macroblocks, skipped, escapedIncrements, intra, concealed, noMotion, fieldDct;
    // By picture type (P 0, B 1) and motion type 1 to 3.
    uint32_t frameMotion[2][4], fieldMotion[2][4];
    uint32_t escapes, coefficients, stuffing;
    bool operator==(const StreamFacts &) const = default;
};

struct RandomStream {
    std::vector<uint8_t> bytes;
    std::vector<PictureFact> pictures;  // in coding order, a field picture each
    StreamFacts facts;
};

RandomStream makeRandomStream(const RandomStreamOptions &options);

}  // namespace tvktest
