// SPDX-License-Identifier: BSD-2-Clause
// Makes random streams of valid syntax whose vectors stay inside their pictures.
#include "stream_writer/random_stream.h"

#include <algorithm>

#include "stream_writer/headers.h"
#include "stream_writer/random.h"
#include "stream_writer/random_macroblock.h"
#include "stream_writer/slice_writer.h"

namespace tvktest {
namespace {

struct StreamMaker {
    const RandomStreamOptions &options;
    Random random;
    BitWriter bits;
    RandomStream result{};
    uint32_t streamNumber = 0;  // frames coded
    uint32_t displayed = 0;     // frames that have their place in display order
    uint32_t groupDisplayed = 0;

    explicit StreamMaker(const RandomStreamOptions &o) : options(o), random(o.seed) {}

    void makeStream();
    void makeGroup(uint32_t frames);
    void makeFrame(uint32_t type, uint32_t frameNumber, uint32_t temporalReference, bool followedByB);
    void makePicture(PictureParameters p, uint32_t frameNumber, bool followedByB);
    PictureParameters commonParameters(uint32_t type, uint32_t temporalReference);
    void chooseFCodes(PictureParameters &p);
    void putPictureExtras(const PictureParameters &p);
    void makeSlices(const PictureParameters &p, bool followedByB);
    void makeSlice(const PictureParameters &p, bool dualPrime, uint32_t first, uint32_t last);
    std::vector<uint8_t> someBytes(uint32_t most);
    Matrix randomMatrix();
};

std::vector<uint8_t> StreamMaker::someBytes(uint32_t most) {
    std::vector<uint8_t> bytes(1 + random.below(most));
    for (uint8_t &b : bytes) b = static_cast<uint8_t>(1 + random.below(255));  // no zeros, so no start codes
    return bytes;
}

Matrix StreamMaker::randomMatrix() {
    Matrix m;
    for (uint8_t &weight : m) weight = static_cast<uint8_t>(8 + random.below(56));
    m[0] = 8;  // what the standard asks of intra matrices
    return m;
}

void StreamMaker::makeStream() {
    uint32_t left = options.frames;
    while (left > 0) {
        const uint32_t frames = std::min(left, std::max(1u, options.groupFrames));
        makeGroup(frames);
        left -= frames;
    }
    if (options.sequenceEnd) putSequenceEnd(bits);
    result.bytes = std::move(bits.bytes);
}

// An I frame, then anchors, each with the B frames that are shown ahead of it.
void StreamMaker::makeGroup(uint32_t frames) {
    const bool first = displayed == 0;
    if (first || options.repeatSequenceHeaders) {
        putSequence(bits, options.sequence);
        if (options.sequence.mpeg2 && random.chance(options.displayExtensions))
            putSequenceDisplay(bits, options.sequence.width / 2, options.sequence.height, random.coin());
        if (random.chance(options.userData)) putUserData(bits, someBytes(40));
    }
    const bool closed = first || options.closedGroups;
    GroupParameters group;
    group.closed = closed;
    group.pictures = displayed % 25;
    group.seconds = displayed / 25 % 60;
    putGroup(bits, group);
    if (random.chance(options.userData)) putUserData(bits, someBytes(40));

    groupDisplayed = 0;
    bool opening = true;
    while (frames > 0) {
        const uint32_t mostB = opening && closed ? 0 : std::min(options.maxB, frames - 1);
        const uint32_t b = random.below(mostB + 1);
        const uint32_t type = opening || random.chance(8) ? kPictureI : kPictureP;
        makeFrame(type, displayed + b + 1, groupDisplayed + b, b != 0);
        for (uint32_t i = 0; i < b; ++i) makeFrame(kPictureB, displayed + i + 1, groupDisplayed + i, false);
        displayed += b + 1;
        groupDisplayed += b + 1;
        frames -= b + 1;
        opening = false;
    }
}

PictureParameters StreamMaker::commonParameters(uint32_t type, uint32_t temporalReference) {
    PictureParameters p;
    p.type = type;
    p.temporalReference = temporalReference & 1023;
    if (random.chance(options.extraPictureInformation)) p.extraInformation = someBytes(6);
    if (!options.sequence.mpeg2) return p;
    p.intraDcPrecision =
        options.intraDcPrecision < 0 ? random.below(4) : static_cast<uint32_t>(options.intraDcPrecision);
    p.concealment = random.chance(options.concealment);
    p.qScaleType = random.chance(options.nonLinearQuantiser);
    p.intraVlc = random.chance(options.intraVlc);
    p.alternateScan = random.chance(options.alternateScan);
    p.compositeDisplay = random.chance(options.compositeDisplay);
    return p;
}

void StreamMaker::chooseFCodes(PictureParameters &p) {
    const uint32_t directions = p.type == kPictureB ? 2 : p.type == kPictureP || p.concealment ? 1 : 0;
    for (uint32_t direction = 0; direction < directions; ++direction) {
        p.fullPel[direction] = !options.sequence.mpeg2 && random.chance(options.fullPel);
        p.fCode[direction][0] = 1 + random.below(std::min(options.maxFCode, options.sequence.mpeg2 ? 9u : 7u));
        p.fCode[direction][1] = 1 + random.below(std::min(options.maxFCode, 5u));
        if (!options.sequence.mpeg2) p.fCode[direction][1] = p.fCode[direction][0];
    }
}

void StreamMaker::makeFrame(uint32_t type, uint32_t frameNumber, uint32_t temporalReference, bool followedByB) {
    ++streamNumber;
    PictureParameters p = commonParameters(type, temporalReference);
    const bool interlaced = options.sequence.mpeg2 && !options.sequence.progressive;
    if (interlaced && random.chance(options.fieldPictures)) {
        p.progressiveFrame = p.framePredFrameDct = false;
        p.structure = random.coin() ? kTopField : kBottomField;
        PictureParameters second = p;
        second.structure = p.structure ^ 3;
        second.extraInformation.clear();
        if (type == kPictureI && streamNumber > 1 && random.chance(options.secondFieldP)) second.type = kPictureP;
        makePicture(p, frameNumber, followedByB);
        makePicture(second, frameNumber, followedByB);
        return;
    }
    if (interlaced && random.chance(options.interlacedFrames)) {
        p.progressiveFrame = p.framePredFrameDct = false;
    } else if (interlaced) {
        p.progressiveFrame = random.coin();
    }
    if (interlaced) p.topFieldFirst = random.coin();
    // Fields repeat in frames without motion between them alone; progressive sequences repeat whole frames.
    p.repeatFirstField = options.sequence.mpeg2 && options.repeatFirstField && p.progressiveFrame && random.coin();
    if (!interlaced) p.topFieldFirst = p.repeatFirstField && random.coin();
    makePicture(p, frameNumber, followedByB);
}

void StreamMaker::makePicture(PictureParameters p, uint32_t frameNumber, bool followedByB) {
    chooseFCodes(p);
    result.pictures.push_back({bits.size(), p.type, p.structure, streamNumber, frameNumber});
    putPicture(bits, options.sequence, p);
    putPictureExtras(p);
    makeSlices(p, followedByB);
}

void StreamMaker::putPictureExtras(const PictureParameters &p) {
    if (options.sequence.mpeg2 && random.chance(options.quantMatrixExtensions)) {
        QuantMatrices q;
        if (random.coin()) q.intra = randomMatrix();
        if (random.coin()) q.nonIntra = randomMatrix();
        if (options.sequence.chromaFormat != 1 && random.coin()) q.chromaIntra = randomMatrix();
        if (options.sequence.chromaFormat != 1 && random.coin()) q.chromaNonIntra = randomMatrix();
        putQuantMatrices(bits, q);
    }
    if (options.sequence.mpeg2 && random.chance(options.displayExtensions)) {
        const bool progressive = options.sequence.progressive;
        uint32_t offsets = progressive ? 1 + p.repeatFirstField * (1 + p.topFieldFirst) : 2 + p.repeatFirstField;
        if (!p.isFrame()) offsets = 1;
        std::vector<std::pair<int32_t, int32_t>> centres;
        for (uint32_t i = 0; i < offsets; ++i) centres.push_back({random.range(-99, 99), random.range(-99, 99)});
        putPictureDisplay(bits, centres);
    }
    if (options.sequence.mpeg2 && random.chance(options.copyright)) putCopyright(bits, 77, true);
    if (random.chance(options.userData)) putUserData(bits, someBytes(60));
}

void StreamMaker::makeSlices(const PictureParameters &p, bool followedByB) {
    const uint32_t columns = options.sequence.macroblockColumns();
    const uint32_t rows = options.sequence.macroblockRows() / (p.isFrame() ? 1 : 2);
    const bool spanning = !options.sequence.mpeg2 && options.maxSlicesPerRow == 0;
    const bool dualPrime = options.dualPrime && p.type == kPictureP && !followedByB;
    uint32_t first = 0;
    while (first < columns * rows) {
        const uint32_t rowEnd = first - first % columns + columns;
        uint32_t last = rowEnd - 1;
        if (spanning) {
            last = first + random.below(columns * rows - first);
        } else if (options.maxSlicesPerRow > 1 && rowEnd - first > 1) {
            const uint32_t shortest = columns / options.maxSlicesPerRow;
            last = std::min(last, first + shortest + random.below(columns));
        }
        makeSlice(p, dualPrime, first, last);
        first = last + 1;
    }
}

// The macroblocks from address `first` to `last`, both coded.
void StreamMaker::makeSlice(const PictureParameters &p, bool dualPrime, uint32_t first, uint32_t last) {
    const uint32_t columns = options.sequence.macroblockColumns();
    SliceParameters slice;
    slice.row = first / columns;
    slice.quantiserCode = 1 + random.below(options.maxQuantiserCode);
    if (random.chance(options.extraSliceInformation)) {
        slice.intraSliceFlag = true;
        slice.intraSlice = p.type == kPictureI;
        if (random.coin()) slice.extraInformation = someBytes(4);
    }
    SliceWriter writer(bits, options.sequence, p);
    MacroblockMaker maker{random, options, p, result.facts, dualPrime};
    writer.begin(slice);
    ++result.facts.slices;

    uint32_t increment = first % columns + 1;
    if (increment > 33) ++result.facts.escapedIncrements;
    for (uint32_t address = first; address <= last; ++address) {
        const MacroblockDescription m = maker.make(address % columns, address / columns);
        writer.macroblock(increment, m);
        increment = 1;
        const bool without = random.chance(options.longSkips);
        while (address + 1 < last && (without || random.chance(options.skip)) &&
               maker.maySkip(writer, m, (address + 1) % columns, (address + 1) / columns)) {
            ++address;
            ++increment;
            ++result.facts.skipped;
        }
        if (increment > 33) ++result.facts.escapedIncrements;
    }
    writer.end();
}

}  // namespace

RandomStream makeRandomStream(const RandomStreamOptions &options) {
    StreamMaker maker(options);
    maker.makeStream();
    return std::move(maker.result);
}

}  // namespace tvktest
