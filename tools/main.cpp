// SPDX-License-Identifier: BSD-2-Clause
// The tvk command: chooses the subcommand and turns its outcome into an exit code and one line.
#include <cstdio>
#include <exception>
#include <string>

#include "commands.h"
#include "tool_error.h"
#include "tvk.h"

namespace {

using namespace tvk::tool;

std::string versionText() {
    const VersionRecord *version = nullptr;
    if (tvkGetVideoLibraryVersion(&version) != 0) return "tvk";
    return "tvk " + std::to_string(version->versionMajor) + "." + std::to_string(version->versionMinor);
}

int run(int argc, char **argv) {
    CLI::App app("Decodes MPEG-1 and MPEG-2 video.", "tvk");
    app.footer(
        "tvk COMMAND --help tells a command's options.\n"
        "Exit codes: 0 done, 1 no such file or no MPEG video in it, 2 wrong use, 3 decoding or writing failed.");
    app.set_version_flag("--version", versionText());
    app.require_subcommand(1);
    addInfoCommand(app);
    addDecodeCommand(app);
    addIndexCommand(app);
    addCutCommand(app);
    addExportCommand(app);
    addSheetCommand(app);
    addCompareCommand(app);
    addExplainCommand(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &asked) {
        return app.exit(asked);
    } catch (const CLI::ParseError &error) {
        std::fprintf(stderr, "tvk: %s (tvk --help tells how to use it)\n", error.what());
        return exitUsage;
    }
    return exitDone;
}

}  // namespace

int main(int argc, char **argv) {
    try {
        return run(argc, argv);
    } catch (const ToolError &error) {
        std::fprintf(stderr, "tvk: %s\n", error.what());
        return error.exitCode;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "tvk: %s\n", error.what());
        return exitFailed;
    }
}
