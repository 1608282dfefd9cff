// SPDX-License-Identifier: BSD-2-Clause
// Times as people read them.
#include "clock_text.h"

#include <cmath>
#include <cstdio>

namespace tvk::tool {

std::string clockText(double seconds) {
    const auto milliseconds = static_cast<unsigned long long>(std::llround(seconds * 1000.0));
    char text[48];
    std::snprintf(text, sizeof text, "%llu:%02llu:%02llu.%03llu", milliseconds / 3600000, milliseconds / 60000 % 60,
                  milliseconds / 1000 % 60, milliseconds % 1000);
    return text;
}

std::string shortClockText(double seconds) {
    const auto hundredths = static_cast<unsigned long long>(std::llround(seconds * 100.0));
    const unsigned long long hours = hundredths / 360000, minutes = hundredths / 6000 % 60;
    char text[48];
    if (hours > 0) {
        std::snprintf(text, sizeof text, "%llu:%02llu:%02llu", hours, minutes, hundredths / 100 % 60);
    } else {
        std::snprintf(text, sizeof text, "%llu:%02llu.%02llu", minutes, hundredths / 100 % 60, hundredths % 100);
    }
    return text;
}

}  // namespace tvk::tool
