// SPDX-License-Identifier: BSD-2-Clause
// The pictures of a stream in coded order, by their headers, and where a stream may be cut.
#include "coded_table.h"

#include <algorithm>

#include "indexing.h"
#include "listening.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

// Follows the headers of a scan. A picture is known once all of its headers have passed, so it is added when the next
// one begins.
class TableMaker {
  public:
    explicit TableMaker(CodedTable &made) : table(made) {}

    void hear(const CallbackEvent &event) {
        switch (event.eventCode) {
            case eventSequence:
                finishPicture();
                sequenceAhead = 1;
                secondField = false;
                break;
            case eventGroup:
                finishPicture();
                groupAhead = 1;
                closedGroup = event.groupOfPictures->closedGop;
                break;
            case eventPicture:
                finishPicture();
                begun = true;
                type = event.pictureHeader->pictureCodingType;
                structure = structureFrame;
                break;
            case eventPictureCoding:
                structure = event.pictureCoding->pictureStructure;
                break;
            default:
                break;
        }
    }

    void close() {
        finishPicture();
        if (pendingAnchor != 0) show(pendingAnchor);
    }

  private:
    void show(int32_t number) { table.frames[static_cast<size_t>(number) - 1].shown = ++shown; }

    // An anchor is shown when the next one begins.
    void addFrame() {
        table.frames.push_back({0, static_cast<int32_t>(table.pictures.size()), type, closedGroup});
        const int32_t number = static_cast<int32_t>(table.frames.size());
        if (type == typeB) {
            show(number);
            return;
        }
        if (pendingAnchor != 0) show(pendingAnchor);
        pendingAnchor = number;
    }

    void finishPicture() {
        if (!begun) return;
        begun = false;
        if (!secondField) addFrame();
        secondField = structure != structureFrame && !secondField;
        table.pictures.push_back({static_cast<int32_t>(table.frames.size()), type, sequenceAhead, groupAhead});
        sequenceAhead = groupAhead = 0;
    }

    CodedTable &table;
    uint8_t type = 0, structure = structureFrame, closedGroup = 0;
    uint8_t sequenceAhead = 0, groupAhead = 0;
    bool begun = false, secondField = false;
    int32_t pendingAnchor = 0, shown = 0;
};

}  // namespace

bool CodedTable::isCutPoint(int32_t number) const {
    const CodedFrame &candidate = frame(number);
    const CodedPicture &picture = pictures[static_cast<size_t>(candidate.picture)];
    return candidate.type == typeI && (picture.sequenceAhead || picture.groupAhead);
}

int32_t CodedTable::frameShownAt(int32_t number) const {
    const auto found = std::find_if(frames.begin(), frames.end(),
                                    [number](const CodedFrame &candidate) { return candidate.shown == number; });
    return static_cast<int32_t>(found - frames.begin()) + 1;
}

int32_t CodedTable::openFramesBehind(int32_t iFrame) const {
    const CodedFrame &start = frame(iFrame);
    if (start.closedGroup && pictures[static_cast<size_t>(start.picture)].groupAhead) return 0;
    int32_t count = 0;
    const int32_t last = static_cast<int32_t>(frames.size());
    while (iFrame + count < last && frame(iFrame + count + 1).type == typeB) ++count;
    return count;
}

// A jump goes to the last group header ahead of the I picture, which may stand ahead of an earlier picture.
int32_t CodedTable::landing(int32_t iFrame, bool isFirstEntry) const {
    if (isFirstEntry) return 0;
    const int32_t picture = frame(iFrame).picture;
    for (int32_t i = picture; i >= 0; --i) {
        if (pictures[static_cast<size_t>(i)].groupAhead) return i;
    }
    return picture;
}

CodedTable scanCodedTable(OpenedStream &opened) {
    CodedTable table;
    TableMaker maker(table);
    scanIndex(opened, IndexKind::edit, [&maker](const CallbackEvent &event) { maker.hear(event); });
    maker.close();
    VideoStreamInfo info{};
    tvkGetVideoStreamInfo(opened.stream, &info);
    // Only I, P and B pictures are heard, while all take numbers.
    if (table.frames.size() != info.frameCount) {
        throw ToolError(exitFailed,
                        opened.path + ": has damaged picture headers, or D pictures, and cannot be cut to the frame");
    }
    return table;
}

}  // namespace tvk::tool
