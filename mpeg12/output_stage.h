// SPDX-License-Identifier: BSD-2-Clause
// The application's output buffer of a picture: asked for before its slices, handed back behind them.
#pragma once

#include "core/stream.h"

namespace tvk {

struct SliceWorker;

// On an I picture, the writer of its macroblocks; P and B pictures look theirs up by themselves.
void chooseMacroblockWriter(VideoStream *stream);
// Asks the memory manager for the buffer of currentFrame and points worker 0 at it. Only that worker writes there.
void openOutput(SliceWorker *worker);
void closeOutput(VideoStream *stream);

}  // namespace tvk
