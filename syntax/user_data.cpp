// SPDX-License-Identifier: BSD-2-Clause
// User data blocks: told to the callback at any level, kept for the frame at picture level.
#include <cstring>

#include "core/callbacks.h"
#include "core/stream.h"
#include "input/video_input.h"
#include "syntax/headers.h"

namespace tvk {
namespace {

constexpr uint32_t kPictureLevel = 3;
// Gathered bytes and a new block must stay below this; the separator is not counted.
constexpr uint32_t kUserDataLimit = 65535;
constexpr uint8_t kSeparator[4] = {0x00, 0x00, 0x01, 0xB2};
static_assert(kUserDataLimit - 1 + sizeof kSeparator <= sizeof Headers::userDataBuffer);

// Moves the reader to the next start code prefix, or to the unit's end.
uint32_t skipToPrefix(BitReader &r) {
    while (insideUnit(r) && PeekBits(r, 24) != 1) GetBits(r, 8);
    return BytePosition(r);
}

void append(Headers &headers, const uint8_t *bytes, uint32_t length) {
    if (headers.userDataLength + length >= kUserDataLimit) return;
    uint8_t *end = headers.userDataBuffer + headers.userDataLength;
    if (headers.userDataLength != 0) {
        std::memcpy(end, kSeparator, sizeof kSeparator);
        end += sizeof kSeparator;
    }
    std::memcpy(end, bytes, length);
    headers.userDataLength = static_cast<uint32_t>(end - headers.userDataBuffer) + length;
}

}  // namespace

// The block is handed out where it lies, its words turned to file order for as long: no copy to allocate or to fail.
void gatherUserData(VideoStream *stream) {
    VideoInput *input = stream->input;
    takeOverSwapped(input);
    const uint32_t from = BytePosition(input->reader);
    const uint32_t to = skipToPrefix(input->reader);
    const UserDataRecord record = {borrowBytes(input, from, to), to - from};
    ++stream->counters.userDataBlocks;
    raiseRecord(stream, eventUserData, &CallbackEvent::userData, &record);
    if (stream->headers.userDataLevel == kPictureLevel) append(stream->headers, record.buffer, record.length);
    returnBytes(input, from, to);
}

}  // namespace tvk
