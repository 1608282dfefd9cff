// SPDX-License-Identifier: BSD-2-Clause
// Times as people read them.
#pragma once

#include <string>

namespace tvk::tool {

std::string clockText(double seconds);       // 1:02:03.456
std::string shortClockText(double seconds);  // 2:03.45, with hours only where there are some

}  // namespace tvk::tool
