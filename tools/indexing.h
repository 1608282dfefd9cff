// SPDX-License-Identifier: BSD-2-Clause
// Index tables: scanned with progress, or read from the file beside the video.
#pragma once

#include <string>

#include "listening.h"
#include "open.h"

namespace tvk::tool {

// Where the index of a video file is looked for, and written unless told otherwise.
std::string indexPathOf(const std::string &videoPath);

// Scans the file for an index table, showing progress. `hear` may be empty. Throws ToolError.
enum class IndexKind { plain, edit };
void scanIndex(OpenedStream &opened, IndexKind kind, const Listening::Hear &hear);

// Gives the stream an index table: the one beside the video if it fits, else a scan.
void needIndex(OpenedStream &opened);

}  // namespace tvk::tool
