// SPDX-License-Identifier: BSD-2-Clause
// The pictures of a stream in coded order, by their headers, and where a stream may be cut.
#pragma once

#include <cstdint>
#include <vector>

#include "open.h"
#include "tvk.h"

namespace tvk::tool {

enum PictureType : uint8_t { typeI = 1, typeP = 2, typeB = 3 };

// A field pair is two pictures.
struct CodedPicture {
    int32_t frame;  // number of its frame in coded order, from 1
    uint8_t type;
    uint8_t sequenceAhead, groupAhead;  // a header stands between this picture and the one before
};

// In coded order; number n at n - 1.
struct CodedFrame {
    int32_t shown;    // number in display order
    int32_t picture;  // its first picture
    uint8_t type;
    uint8_t closedGroup;  // by the last group header
};

struct CodedTable {
    std::vector<CodedPicture> pictures;
    std::vector<CodedFrame> frames;

    const CodedFrame &frame(int32_t number) const { return frames[static_cast<size_t>(number) - 1]; }
    // An I picture right behind a sequence or group header: what is copied may begin and end ahead of one.
    bool isCutPoint(int32_t number) const;
    int32_t frameShownAt(int32_t number) const;  // coded number of a display number
    // B frames that lean on the group before: coded behind the I frame, shown ahead of it.
    int32_t openFramesBehind(int32_t iFrame) const;
    // The picture that binary stepping yields first after a jump to this I frame, the entry-th of the stream.
    int32_t landing(int32_t iFrame, bool isFirstEntry) const;
};

// Scans the stream for its edit index and takes the table down on the way. Throws ToolError.
CodedTable scanCodedTable(OpenedStream &opened);

}  // namespace tvk::tool
