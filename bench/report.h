// SPDX-License-Identifier: BSD-2-Clause
// Results as a table to look at and as JSON for programs.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "measurement.h"

namespace bench {

struct ClipResults {
    std::string clip;
    PictureSize size;
    size_t bytes = 0;
    std::vector<Result> results;
};

void printTable(const ClipResults &clip);
// Everything that was measured, on what machine and by which rules.
void writeJson(std::ostream &out, const std::vector<ClipResults> &clips, const Rules &rules, Counter counter);

}  // namespace bench
