// SPDX-License-Identifier: BSD-2-Clause
// A delivered frame in one line of text: its numbers, type, plane sizes and checksums.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tvk.h"

namespace tvktest {

struct FrameLine {
    int32_t number = 0, streamNumber = 0;
    char type = '?';
    std::string lumaSize, chromaSize;  // "704x480"
    std::string lumaMd5, chromaMd5;    // of the visible bytes, rows without their stride's rest

    bool operator==(const FrameLine &) const = default;
};

FrameLine lineOf(const VideoFrame &frame);
std::string toText(const FrameLine &line);
bool fromText(const std::string &text, FrameLine &line);

// The frames that a clip has to give under one setting.
struct ExpectedClip {
    std::string name;  // of the clip's file, without a folder
    int32_t precision = 1, reduce = 1;
    std::vector<FrameLine> frames;
};

// A folder of files NAME.pP.rR, and a folder of files NAME.txt with a line "p P r R" ahead of each setting's frames.
// In order of names; empty when there is no such folder. A malformed line ends its file's frames with a line of its own
// that no decoder gives.
std::vector<ExpectedClip> readExpectedFolder(const std::string &folder);
std::vector<ExpectedClip> readGoldenFolder(const std::string &folder);

// The clip of that name in `folder` or one of its subfolders; empty when there is none.
std::string findClip(const std::string &folder, const std::string &name);

}  // namespace tvktest
