// SPDX-License-Identifier: BSD-2-Clause
// The end of a video file.
#pragma once

#include <string>

#include "coded_bytes.h"

namespace tvk::tool {

// The bytes from the file's last start code on if that begins a slice; empty otherwise.
Bytes lastSliceOfFile(const std::string &path);

}  // namespace tvk::tool
