// SPDX-License-Identifier: BSD-2-Clause
// MD5 of what a plane shows.
#pragma once

#include <string>

#include "tvk.h"

namespace tvk::tool {

// Of the visible bytes, row by row, without the stride's rest; 32 lower-case hexadecimal digits.
std::string planeMd5(const VideoPlane &plane);

}  // namespace tvk::tool
