// SPDX-License-Identifier: BSD-2-Clause
// The parsers of everything above the slice. Each reads from the stream's own input, whose reader stands just behind
// the start code, fills its record in stream->headers, counts, and raises its event. None of them fails and none
// validates: a unit that ends early reads as zero bits.
#pragma once

#include <cstdint>

#include "core/stream.h"

namespace tvk {

// What holds before the first header: 4:2:0, frame pictures, default matrices, 30 frames per second, stream type 0.
void initialiseHeaders(VideoStream *stream);

// Sequence level. The sequence header restores the MPEG-1 defaults, clears the scalable extension's flag
// (headers.scalable.scalableMarker) and all matrices that it does not load; only a sequence extension makes the
// stream MPEG-2.
void parseSequenceHeader(VideoStream *stream);
void parseGroupHeader(VideoStream *stream);

// Reads the 4-bit identifier and goes to its parser; reserved identifiers are passed over. While a prescan runs the
// source is first asked for the position of the start code.
void parseExtension(VideoStream *stream);

// What follows an extension's identifier, for the paths that read the identifier themselves.
inline constexpr uint32_t kExtensionIdBits = 4;
enum ExtensionId : uint32_t {
    extensionSequence = 1,
    extensionSequenceDisplay = 2,
    extensionQuantMatrix = 3,
    extensionCopyright = 4,
    extensionSequenceScalable = 5,
    extensionPictureDisplay = 7,
    extensionPictureCoding = 8,
    extensionPictureSpatial = 9,
    extensionPictureTemporal = 10
};
void parseSequenceExtension(VideoStream *stream);
void parseSequenceDisplayExtension(VideoStream *stream);
void parseQuantMatrixExtension(VideoStream *stream);
void parseCopyrightExtension(VideoStream *stream);
void parseSequenceScalableExtension(VideoStream *stream);
void parsePictureDisplayExtension(VideoStream *stream);
// Sets headers.halfFramePending when the frame lasts half a period longer.
void parsePictureCodingExtension(VideoStream *stream);
void parsePictureSpatialExtension(VideoStream *stream);
void parsePictureTemporalExtension(VideoStream *stream);

// The picture header, at the first bit of a picture's unit. Types other than I, P and B end it at once.
void parsePictureHeader(VideoStream *stream);

// A user data block up to the next start code prefix; kept in headers.userDataBuffer at picture level only.
void gatherUserData(VideoStream *stream);

// frames.frameDuration and frames.framesPerSecond from the sequence's code and the extension's factors; at every
// picture, before its header.
void computeFrameDuration(VideoStream *stream);

}  // namespace tvk
