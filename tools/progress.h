// SPDX-License-Identifier: BSD-2-Clause
// A line of progress on a terminal; silent when stderr goes elsewhere.
#pragma once

#include <chrono>
#include <cstdint>

namespace tvk::tool {

class Progress {
  public:
    Progress();
    ~Progress();  // wipes the line
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    // `fraction` of the work done, 0.0 to 1.0.
    void update(int32_t frames, double fraction);
    double seconds() const;

  private:
    using Clock = std::chrono::steady_clock;
    bool onTerminal;
    bool drawn = false;
    Clock::time_point start, lastDrawn;
};

}  // namespace tvk::tool
