// SPDX-License-Identifier: BSD-2-Clause
// Sentences for the codes of a source.
#include "tvk_source.h"

namespace {

struct ErrorText {
    int32_t code;
    const char *text;
};

constexpr ErrorText kErrorTexts[] = {
    {0, "no error"},
    {tvkErrOutOfMemory, "not enough memory"},
    {tvkErrInvalidArgument, "invalid argument"},
    {tvkErrPositionOutOfRange, "the position or layer is out of range"},
    {tvkErrBufferTooSmall, "the buffer is too small for the unit"},
    {tvkSourceErrNotFound, "there is no such file"},
    {tvkSourceErrNoAccess, "the file may not be read; check its permissions"},
    {tvkSourceErrOpen, "the file cannot be opened"},
    {tvkSourceErrNotAFile, "this is a folder, pipe or device; only regular files can be opened"},
    {tvkSourceErrEmpty, "the file is empty"},
    {tvkSourceErrNoVideo, "this holds no MPEG-1 or MPEG-2 video: no sequence header in its first 16 MiB"},
    {tvkSourceErrMultiplexed,
     "this is a container, and containers are not read by this build: it was made without libavformat"},
    {tvkSourceErrTooLarge, "the file is too large; 64 TiB is the limit"},
    {tvkSourceErrRead, "reading the file failed"},
    {tvkSourceErrFileChanged, "the file became shorter while it was open"},
    {tvkSourceErrClosed, "the stream is disconnected from its source"},
    {tvkSourceErrBadPosition, "the position is not one of this stream"},
    {tvkSourceErrNoParameter, "the source has no such parameter"},
    {tvkSourceErrNoTime, "the stream has no bit rate, so times cannot be turned into positions"},
    {tvkSourceErrNoSeek, "this is a pipe, which is read once from its start to its end"},
    {tvkSourceErrContainer, "the container is damaged, or of a kind that cannot be read"},
};

}  // namespace

const char *tvkSourceErrorText(int32_t code) {
    for (const ErrorText &entry : kErrorTexts) {
        if (entry.code == code) return entry.text;
    }
    return "unknown error";
}
