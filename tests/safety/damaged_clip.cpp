// SPDX-License-Identifier: BSD-2-Clause
// Making damaged clips.
#include "damaged_clip.h"

#include <algorithm>
#include <map>

#include "stream_writer/damage.h"
#include "tvk_source.h"

namespace tvktest {
namespace {

constexpr size_t kPieceBytes = 9000;  // some pictures, little time

bool isCode(const Bytes &bytes, size_t at, uint8_t code) {
    return at + 4 <= bytes.size() && bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1 &&
           bytes[at + 3] == code;
}

const Bytes &clip(uint64_t number) {
    static std::map<uint64_t, Bytes> clips;
    Bytes &bytes = clips[number % std::size(kClips)];
    if (bytes.empty()) bytes = readClip(kClips[number % std::size(kClips)]);
    return bytes;
}

// The headers ahead of the first picture, and some of the pictures from anywhere on.
Bytes pieceOf(uint64_t number, Random &random) {
    const Bytes &whole = clip(number);
    size_t first = 0;
    while (!isCode(whole, first, 0)) ++first;
    size_t from = first;
    if (random.coin()) from += random.below(static_cast<uint32_t>(whole.size() - first));
    while (from > first && !isCode(whole, from, 0)) --from;
    const size_t to = std::min(whole.size(), from + kPieceBytes);
    Bytes piece(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(first));
    piece.insert(piece.end(), whole.begin() + static_cast<ptrdiff_t>(from), whole.begin() + static_cast<ptrdiff_t>(to));
    return piece;
}

void damage(Bytes &bytes, uint64_t kind, uint64_t seed, Random &random) {
    switch (kind) {
        case 0:
            flipBits(bytes, 0, 1 + random.below(40), seed);
            break;
        case 1:
            dropPieces(bytes, 0, 1 + random.below(8), 300, seed);
            break;
        case 2:
            doublePieces(bytes, 1 + random.below(6), 1500, seed);
            break;
        case 3:
            bytes.resize(1 + random.below(static_cast<uint32_t>(bytes.size())));
            break;
        case 4:
            scribble(bytes, 0, 1 + random.below(8), 60, seed);
            break;
        default:
            bytes = splice(bytes, pieceOf(seed + 1 + random.below(8), random), seed);
    }
}

}  // namespace

DamagedClip damagedClip(uint64_t variant) {
    Random random(variant);
    const uint64_t kind = variant / std::size(kClips) % 6;
    DamagedClip clip = {};
    clip.bytes = pieceOf(variant, random);
    damage(clip.bytes, kind, variant, random);
    const uint64_t setting = variant / 3 % 5;  // precision 1, then sizes 1, 2, 4 and 8
    clip.precision = setting == 0 ? 1 : 2;
    clip.reduceShift = static_cast<uint8_t>(setting == 0 ? 0 : setting - 1);
    clip.threads = static_cast<uint8_t>(1 + variant % 3);
    clip.loop = static_cast<tvkfuzz::Loop>(variant / 7 % 3);
    clip.sourceFlags = tvkSourceAnyContent | (variant / 11 % 3 == 0   ? uint32_t{tvkSourceFillsBuffer}
                                              : variant / 11 % 3 == 1 ? uint32_t{tvkSourceOwnsBuffer}
                                                                      : 0);
    return clip;
}

}  // namespace tvktest
