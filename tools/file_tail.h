// SPDX-License-Identifier: BSD-2-Clause
// The end of a video stream.
#pragma once

#include "coded_bytes.h"
#include "open.h"

namespace tvk::tool {

// The stream's bytes from its last start code on if that begins a slice; empty otherwise. The source is left at its
// end.
Bytes lastSliceOf(OpenedStream &opened);

}  // namespace tvk::tool
