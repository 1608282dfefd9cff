// SPDX-License-Identifier: BSD-2-Clause
// Intra macroblocks of B pictures that go to macroblockPixels, for the macroblock writers to take.
#pragma once

#include "mpeg12/worker.h"

namespace tvk {

// The two forms, by the precision setting. 4:2:0 and 4:2:2 only; set lumaOffset and chromaOffset as the frame forms do,
// but without a field's parity line.
void LocalIntraFast(SliceWorker *worker);
void LocalIntraExact(SliceWorker *worker);
void LocalIntraTransform(SliceWorker *worker);

}  // namespace tvk
