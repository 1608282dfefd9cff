// SPDX-License-Identifier: BSD-2-Clause
// The subcommands: each registers its options and what runs when it is chosen.
#pragma once

#include <CLI/CLI.hpp>

namespace tvk::tool {

void addInfoCommand(CLI::App &app);
void addDecodeCommand(CLI::App &app);
void addIndexCommand(CLI::App &app);
void addCutCommand(CLI::App &app);
void addExportCommand(CLI::App &app);
void addSheetCommand(CLI::App &app);
void addCompareCommand(CLI::App &app);
void addExplainCommand(CLI::App &app);

}  // namespace tvk::tool
