// SPDX-License-Identifier: BSD-2-Clause
// The input of a stream: the loaded picture unit, its start-code walk, and the refills that load the next one.
#pragma once

#include <cstdint>

#include "input/bit_reader.h"
#include "tvk.h"

namespace tvk {

// Zero bytes that stand behind the last coded byte of the words in use. No element of the syntax consumes more than
// this many zero bits before it fails or ends, so readers test their position between elements only.
inline constexpr uint32_t kUnitPadding = 1024;
inline constexpr uint32_t kFirstUnitCapacity = 0x100000;
inline constexpr uint32_t kLargestUnitCapacity = 0x400000;

// Results of NextStartCode and the refills beside start codes and byte counts.
inline constexpr int32_t kInputNeedData = tvkErrNeedData;
inline constexpr int32_t kInputEnded = -1;  // the source ended or failed: the loops go to their end-of-stream branch

// The library reads from its own block alone, whoever owns unit->buffer. Behind the coded bytes that the reader stands
// on come kUnitPadding zero bytes at any time. A unit is taken into the block as far as it is wanted: its headers at
// once, the slices between them when they are decoded, so that a walk over headers costs no pass over coded bytes.
struct VideoInput {
    BitReader reader;  // words of the loaded unit in swapped form, for header parsing; workers take copies
    PictureUnit *unit;
    uint32_t byteCount;     // coded bytes of the loaded unit
    uint32_t swapped;       // 1 when the words of the block are in swapped form
    uint32_t takenHead;     // the bytes below takenHead and those from takenTail on are in the block in that form;
    uint32_t takenTail;     // what lies between is in file order where the source left it, at `given`
    const uint8_t *given;   // the block itself, or a buffer of the source; no longer looked at once all is taken
    uint32_t turnedBytes;   // how many bytes at the start an application has turned to the other form
    uint32_t partialBytes;  // bytes of a unit whose growing read found no data yet; the next refill continues it
    uint32_t decoderId;     // always 0, as the source was promised at creation
    int32_t ownBuffer;      // the source owns unit->buffer, and the unit is copied from it
    uint8_t *ownedBytes;    // the library's block: unit->buffer itself, or with ownBuffer the copy
    uint32_t ownedCapacity;
    VideoSource *source;
    VideoStream *stream;  // whose clock and stamps a refill feeds; an index scan turns it to its private copy
};

// Null when out of memory.
VideoInput *createVideoInput(VideoStream *stream, int32_t ownBuffer);
void destroyVideoInput(VideoInput *input);
// After a seek: nothing is loaded, the next start code comes from a refill.
void resetVideoInput(VideoInput *input);

// Each returns the byte count, kInputEnded, or kInputNeedData with nothing changed (RefillUnitNoJump: kInputEnded, a
// search does not wait). The source's table is bounded here, so that every later use of it stays inside.
int32_t RefillUnit(VideoInput *input);
int32_t RefillUnitRaw(VideoInput *input);
int32_t RefillUnitNoJump(VideoInput *input);

// The next code of the table with the reader just behind it; refills when the table is used up.
// kInputNeedData and kInputEnded are negative, start codes are not. A loaded unit of the other form is turned first.
// In swapped form kHeaderReach bytes may be read behind a code that is no slice's, and behind a unit's first byte;
// who reads slices, or something without a bound, calls takeOverSwapped first.
inline constexpr uint32_t kHeaderReach = 512;  // the longest is a quantiser matrix extension of 258 bytes
int32_t NextStartCode(VideoInput *input);
int32_t NextStartCodeRaw(VideoInput *input);

// Takes all of the loaded unit and puts its bytes in the form a path needs, if they are in the other.
void takeOverSwapped(VideoInput *input);
void takeOverRaw(VideoInput *input);
// Takes what the source's buffer still holds of the unit. The buffer may go away then.
void takeRest(VideoInput *input);
// tvkSwapBuffer: turns the words up to the last start code; turned twice they are as before.
void swapLoadedUnit(VideoInput *input);

// Bytes from..to of a loaded unit in swapped form, in file order until they are given back; nothing may be read or
// loaded in between.
const uint8_t *borrowBytes(VideoInput *input, uint32_t from, uint32_t to);
void returnBytes(VideoInput *input, uint32_t from, uint32_t to);

// Raw forms, for coded bytes. `room` bounds what is written; a result above `room` tells how much is needed, with
// nothing written and nothing moved. kInputEnded and kInputNeedData as above.

// From the start code read last (from the unit's start before the first) up to the next, which is left unread with
// the reader on it.
int32_t CopyElement(VideoInput *input, uint8_t *destination, uint32_t room);
// From the unit's start up to the first header behind its picture, which is the next code read; 0 when that header
// is the code read last.
int32_t CopyHeadOfUnit(VideoInput *input, uint8_t *destination, uint32_t room);
// Four bytes: the code that ended the unit before the picture's own.
int32_t WritePictureCode(uint8_t *destination);

}  // namespace tvk
