// SPDX-License-Identifier: BSD-2-Clause
// The macroblock layer's syntax ahead of the coefficients.
#pragma once

#include "mpeg12/worker.h"

namespace tvk {

// Y, Cb and Cr back to the middle of their range.
inline void resetDcPredictors(SliceWorker *worker) {
    const int32_t middle = 1 << (worker->stream->headers.pictureCoding.intraDcPrecision + 7);
    for (int32_t &predictor : worker->dcPredictor) predictor = middle;
}

// Gives the function for the picture whose headers stand. It reads everything from the address increment to the coded
// block pattern into worker->macroblock; false on an invalid code, after which the slice is over.
HeaderFunction headerReaderFor(const VideoStream *stream);

// The address increment alone, whatever the picture; false on an invalid code.
bool readAddressIncrement(SliceWorker *worker);

}  // namespace tvk
