// SPDX-License-Identifier: BSD-2-Clause
// What of a damaged stream enters the table of a unit.
#include "sources/unit_table.h"

namespace tvk::elementary {
namespace {

void append(PictureUnit &unit, uint32_t code, uint32_t offset) {
    unit.startCodes[unit.entryCount] = code;
    unit.startOffsets[unit.entryCount] = offset;
    ++unit.entryCount;
}

void listSlice(PictureUnit &unit, const TableState &state, uint32_t code, uint32_t offset) {
    if (state.slicesClosed) return;
    if (unit.sliceCount > 0) {
        // Whatever was listed since the last slice is damage inside a picture: no such code can stand there.
        unit.entryCount = unit.lastSlice + 1;
    }
    if (unit.entryCount >= kTableEntriesBelowHeaders) return;
    if (unit.sliceCount == 0) unit.firstSlice = unit.entryCount;
    unit.lastSlice = unit.entryCount;
    ++unit.sliceCount;
    append(unit, code, offset);
}

bool endsPicture(uint32_t code) {
    return code == kCodeSequenceHeader || code == kCodeGroup || code == kCodeSequenceEnd;
}

}  // namespace

void beginTable(PictureUnit &unit, TableState &state, bool withoutSlices) {
    unit.entryCount = 0;
    unit.firstSlice = 0;
    unit.lastSlice = 0;
    unit.sliceCount = 0;
    state.slicesClosed = withoutSlices;
}

void listCode(PictureUnit &unit, TableState &state, uint32_t code, uint32_t offset) {
    if (isSliceCode(code)) {
        listSlice(unit, state, code, offset);
        return;
    }
    if (endsPicture(code) && unit.sliceCount > 0) state.slicesClosed = true;
    const int32_t room = code == kCodePicture ? kTableEntries : kTableEntriesBelowPicture;
    if (unit.entryCount < room) append(unit, code, offset);
}

}  // namespace tvk::elementary
