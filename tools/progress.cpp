// SPDX-License-Identifier: BSD-2-Clause
// A line of progress on a terminal; silent when stderr goes elsewhere.
#include "progress.h"

#include <algorithm>
#include <cstdio>

#include <unistd.h>

namespace tvk::tool {

namespace {
constexpr double kSecondsBetweenDraws = 0.1;
constexpr char kWipeLine[] = "\r\033[K";
}  // namespace

Progress::Progress() : onTerminal(isatty(STDERR_FILENO) != 0), start(Clock::now()), lastDrawn(start) {}

Progress::~Progress() {
    if (drawn) std::fputs(kWipeLine, stderr);
}

double Progress::seconds() const {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void Progress::update(int32_t frames, double fraction) {
    if (!onTerminal) return;
    const Clock::time_point now = Clock::now();
    if (std::chrono::duration<double>(now - lastDrawn).count() < kSecondsBetweenDraws) return;
    lastDrawn = now;
    drawn = true;

    const double elapsed = std::max(seconds(), 1e-6);
    const double done = std::clamp(fraction, 0.0, 1.0);
    std::fprintf(stderr, "%s%d frames  %3.0f%%  %.0f fps", kWipeLine, frames, 100.0 * done,
                 static_cast<double>(frames) / elapsed);
    if (done > 0.001) {
        const auto left = static_cast<long long>(elapsed * (1.0 - done) / done + 0.5);
        std::fprintf(stderr, "  %lld:%02lld left", left / 60, left % 60);
    }
    std::fflush(stderr);
}

}  // namespace tvk::tool
