// SPDX-License-Identifier: BSD-2-Clause
// From an extension's identifier to its parser. The identifier alone decides, whatever header stood before.
#include "core/stream.h"
#include "input/video_input.h"
#include "syntax/headers.h"

namespace tvk {
namespace {

using Parser = void (*)(VideoStream *);

constexpr Parser kParsers[1 << kExtensionIdBits] = {
    nullptr,
    parseSequenceExtension,
    parseSequenceDisplayExtension,
    parseQuantMatrixExtension,
    parseCopyrightExtension,
    parseSequenceScalableExtension,
    nullptr,
    parsePictureDisplayExtension,
    parsePictureCodingExtension,
    parsePictureSpatialExtension,
    parsePictureTemporalExtension,
};
static_assert(kParsers[extensionSequence] == parseSequenceExtension);
static_assert(kParsers[extensionPictureTemporal] == parsePictureTemporalExtension);

// A prescan asks where each extension stands, though an index made this way keeps no position of a matrix: a seek
// through it takes the matrices of the sequence header.
void askPosition(VideoStream *stream) {
    AbsPosition position = {};
    const uint32_t offset = lastCodeOffset(stream->input->reader);
    stream->source->getAbsPosition(stream->source, stream->decoderId, offset, &position);
}

}  // namespace

void parseExtension(VideoStream *stream) {
    if (!stream->index.indexed && stream->index.prescanRequested) askPosition(stream);
    const uint32_t id = getField(stream->input->reader, kExtensionIdBits);
    if (kParsers[id]) kParsers[id](stream);
}

}  // namespace tvk
