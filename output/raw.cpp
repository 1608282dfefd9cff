// SPDX-License-Identifier: BSD-2-Clause
// Raw export: a line of text and three files of plain samples.
#include "output/raw.h"

#include <cstddef>

#include "output/frame_view.h"
#include "output/picture_file.h"

namespace tvk {
namespace {

constexpr const char *kSuffixes[4] = {"i", "y", "u", "v"};

int32_t writeDescription(const char *path, const VideoFrame &frame) {
    constexpr int32_t formats[3] = {420, 422, 444};
    PictureFile file = createPictureFile(path, "wt");
    if (!file) return tvkErrSaveCreate;
    const bool written = std::fprintf(file.get(), "%d  %d  %d", formats[frame.chromaFormat - 1], frame.lumaPlane.width,
                                      frame.lumaPlane.height) > 0;
    return finishFile(file) && written ? 0 : tvkErrSaveWrite;
}

bool writeLuma(const PictureFile &file, const SamplePlane &plane) {
    for (int32_t y = 0; y < plane.height; ++y)
        if (!writeBytes(file, plane.row(y), static_cast<size_t>(plane.width))) return false;
    return true;
}

bool writeChroma(const PictureFile &cbFile, const PictureFile &crFile, const SamplePlane &plane, uint8_t *cb,
                 uint8_t *cr) {
    const size_t pairs = static_cast<size_t>(plane.width / 2);
    for (int32_t y = 0; y < plane.height; ++y) {
        const uint8_t *row = plane.row(y);
        for (size_t x = 0; x < pairs; ++x) {
            cb[x] = row[2 * x];
            cr[x] = row[2 * x + 1];
        }
        if (!writeBytes(cbFile, cb, pairs) || !writeBytes(crFile, cr, pairs)) return false;
    }
    return true;
}

int32_t writePlanes(const Block<char> (&paths)[4], const FrameView &view) {
    PictureFile files[3];
    for (size_t i = 0; i < 3; ++i) {
        files[i] = createPictureFile(paths[i + 1].get());
        if (!files[i]) return tvkErrSaveCreate;
    }
    const auto rowBytes = static_cast<size_t>(view.chroma.stride);
    const Block<uint8_t> cb(static_cast<uint8_t *>(allocate(rowBytes)));
    const Block<uint8_t> cr(static_cast<uint8_t *>(allocate(rowBytes)));
    if (!cb || !cr) return tvkErrOutOfMemory;
    bool written = writeLuma(files[0], view.luma) && writeChroma(files[1], files[2], view.chroma, cb.get(), cr.get());
    for (PictureFile &file : files) written = finishFile(file) && written;
    return written ? 0 : tvkErrSaveWrite;
}

}  // namespace

int32_t saveFrameRaw(const VideoFrame *frame, const char *name) {
    Block<char> paths[4];
    for (size_t i = 0; i < 4; ++i) {
        paths[i] = pictureFileName(name, kSuffixes[i]);
        if (!paths[i]) return tvkErrOutOfMemory;
    }
    if (frame->chromaFormat < 1 || frame->chromaFormat > 3) return tvkErrSavePath;
    FrameView view;
    if (!viewFrame(*frame, view)) return tvkErrInvalidArgument;
    const int32_t result = writeDescription(paths[0].get(), *frame);
    return result != 0 ? result : writePlanes(paths, view);
}

}  // namespace tvk
