// SPDX-License-Identifier: BSD-2-Clause
// Index tables: scanned with progress, or read from the file beside the video.
#include "indexing.h"

#include <limits>

#include "progress.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

// Frames met by a scan. A field picture is half of one.
class ScanProgress {
  public:
    explicit ScanProgress(VideoSource *scanned) : source(scanned) {}

    void hear(const CallbackEvent &event) {
        if (event.eventCode == eventPicture) {
            halves += 2;
            double rate = 0.0;
            if (source->getRatePosition(source, 0, 0, &rate) == 0) progress.update(halves / 2, rate);
        } else if (event.eventCode == eventPictureCoding && event.pictureCoding->pictureStructure != structureFrame) {
            --halves;
        }
    }

  private:
    VideoSource *source;
    Progress progress;
    int32_t halves = 0;
};

}  // namespace

std::string indexPathOf(const std::string &videoPath) {
    return videoPath + ".vidx";
}

void scanIndex(OpenedStream &opened, IndexKind kind, const Listening::Hear &hear) {
    needSeekable(opened);
    ScanProgress progress(opened.source);
    const Listening listening(opened.stream, [&](const CallbackEvent &event) {
        progress.hear(event);
        if (hear) hear(event);
    });
    const int32_t result = kind == IndexKind::plain
                               ? tvkCreateVideoIndexTable(opened.stream)
                               : tvkCreateVideoIndexTableEdit(opened.stream, std::numeric_limits<int32_t>::max());
    if (result != 0) throw ToolError(exitFailed, opened.path + ": indexing failed: " + describeError(result));
    if (tvkIsVideoStreamIndexed(opened.stream) != 0) {
        throw ToolError(exitNoVideo, opened.path + ": holds no picture to index");
    }
}

void needIndex(OpenedStream &opened) {
    const bool hasName = !isStandardInput(opened.path);
    if (hasName && tvkReadVideoIndexTable(opened.stream, indexPathOf(opened.path).c_str()) == 0) return;
    scanIndex(opened, IndexKind::plain, nullptr);
}

}  // namespace tvk::tool
