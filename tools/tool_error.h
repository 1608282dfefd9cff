// SPDX-License-Identifier: BSD-2-Clause
// How a subcommand gives up: one sentence for the user and the process's exit code.
#pragma once

#include <stdexcept>
#include <string>

namespace tvk::tool {

enum ExitCode : int {
    exitDone = 0,
    exitNoVideo = 1,  // the file cannot be opened, or holds no MPEG video
    exitUsage = 2,
    exitFailed = 3  // decoding or writing stopped early
};

struct ToolError : std::runtime_error {
    ToolError(ExitCode code, const std::string &sentence) : std::runtime_error(sentence), exitCode(code) {}
    ExitCode exitCode;
};

}  // namespace tvk::tool
