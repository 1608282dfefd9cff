// SPDX-License-Identifier: BSD-2-Clause
// Options that every command which decodes has.
#include "settings.h"

#include <algorithm>
#include <limits>
#include <thread>

#include "open.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

enum Precision : int32_t { precisionExact = 1, precisionFast = 2 };

void require(int32_t result, const char *setting) {
    if (result != 0) throw ToolError(exitFailed, std::string(setting) + ": " + describeError(result));
}

int32_t threadsFor(const DecodingSettings &settings) {
    constexpr unsigned kMostUseful = 16;
    if (settings.threads > 0) return settings.threads;
    return static_cast<int32_t>(std::clamp(std::thread::hardware_concurrency(), 1u, kMostUseful));
}

}  // namespace

CLI::Validator quiet(CLI::Validator check) {
    return check.description("");
}

CLI::Validator countFromOne() {
    return quiet(CLI::Range(1, std::numeric_limits<int32_t>::max()));
}

void addFileOption(CLI::App *command, std::string &path) {
    command->add_option("FILE", path, "MPEG-1 or MPEG-2 video, bare or in a container; - reads standard input")
        ->required()
        ->type_name("");
}

void addDecodingOptions(CLI::App *command, DecodingSettings &settings) {
    command
        ->add_option("--precision", settings.precision,
                     "exact: closest to the standard's transform (default); fast: 16-bit arithmetic")
        ->check(quiet(CLI::IsMember({"fast", "exact"})))
        ->type_name("fast|exact");
    command->add_option("--threads", settings.threads, "Threads to decode with (default: one a processor)")
        ->check(quiet(CLI::Range(1, 256)))
        ->type_name("N");
    command->add_option("--reduce", settings.reduce, "Decode at 1/N of the size in each direction")
        ->check(quiet(CLI::IsMember({1, 2, 4, 8})))
        ->type_name("1|2|4|8");
}

void checkSettings(const DecodingSettings &settings) {
    if (settings.reduce != 1 && settings.precision == "exact") {
        throw ToolError(exitUsage, "--reduce needs --precision fast");
    }
}

void applySettings(VideoStream *stream, const DecodingSettings &settings) {
    // Reduced sizes exist in the fast arithmetic alone; full size is exact unless told otherwise.
    const bool exact = settings.precision == "exact" || (settings.precision.empty() && settings.reduce == 1);
    require(tvkSetVideoSP_Precision(stream, exact ? precisionExact : precisionFast), "--precision");
    require(tvkSetVideoSP_ReduceCoefficient(stream, settings.reduce), "--reduce");
    require(tvkSetVideoSP_Threads(stream, threadsFor(settings)), "--threads");
}

}  // namespace tvk::tool
