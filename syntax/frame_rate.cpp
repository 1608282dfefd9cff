// SPDX-License-Identifier: BSD-2-Clause
// Frame rate of a sequence.
#include "core/stream.h"
#include "syntax/headers.h"

namespace tvk {
namespace {

// Seconds by frame_rate_code; the forbidden and reserved codes count as 30 frames per second.
constexpr double kFrameDuration[16] = {
    1.0 / 30, 1001.0 / 24000, 1.0 / 24, 1.0 / 25, 1001.0 / 30000, 1.0 / 30, 1.0 / 50, 1001.0 / 60000,  //
    1.0 / 60, 1.0 / 30,       1.0 / 30, 1.0 / 30, 1.0 / 30,       1.0 / 30, 1.0 / 30, 1.0 / 30};

}  // namespace

void computeFrameDuration(VideoStream *stream) {
    const SequenceExtensionRecord &extension = stream->headers.sequenceExtension;
    const double scale = (extension.frameRateExtensionD + 1.0) / (extension.frameRateExtensionN + 1.0);
    const double duration = kFrameDuration[stream->headers.sequence.frameRateCode & 15] * scale;
    stream->frames.frameDuration = duration;
    stream->frames.framesPerSecond = static_cast<float>(1.0 / duration);
}

}  // namespace tvk
