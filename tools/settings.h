// SPDX-License-Identifier: BSD-2-Clause
// Options that every command which decodes has.
#pragma once

#include <cstdint>
#include <string>

#include <CLI/CLI.hpp>

#include "tvk.h"

namespace tvk::tool {

struct DecodingSettings {
    std::string precision;  // empty: exact where it can be
    int32_t threads = 0;    // 0: one a processor
    int32_t reduce = 1;
};

// The file that a command is about; - for standard input.
void addFileOption(CLI::App *command, std::string &path);
void addDecodingOptions(CLI::App *command, DecodingSettings &settings);
// Options that no stream could meet throw ToolError, ahead of opening anything.
void checkSettings(const DecodingSettings &settings);
void applySettings(VideoStream *stream, const DecodingSettings &settings);  // throws ToolError

// Without CLI11's own words about a check: the type's name in the help says the same.
CLI::Validator quiet(CLI::Validator check);
CLI::Validator countFromOne();

}  // namespace tvk::tool
