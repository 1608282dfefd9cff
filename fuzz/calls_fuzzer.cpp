// SPDX-License-Identifier: BSD-2-Clause
// Property: any exported call may be made at any time, with any value, by callbacks too; each returns, frames come with
// success alone, and calls within a step that could harm it are refused.
//
// Input: how the source is opened, the length of the program in two bytes, the program, coded bytes.
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "fuzz/calls.h"
#include "fuzz/memory_file.h"
#include "fuzz/plan.h"
#include "tvk_source.h"

namespace tvkfuzz {
namespace {

constexpr int kMostCalls = 120;

const std::string &folderForFiles() {
    static const std::string folder = [] {
        std::string name = (std::filesystem::temp_directory_path() / "tvk_calls_XXXXXX").string();
        if (!mkdtemp(name.data())) fail("no folder for files");
        return name;
    }();
    return folder;
}

}  // namespace
}  // namespace tvkfuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    if (size < 3) return 0;
    const size_t length = std::min<size_t>(size - 3, size_t{data[1]} | size_t{data[2]} << 8);
    const uint8_t *stream = data + 3 + length;
    const MemoryLimit limit(kLargestAllocation, kMostMemory);
    VideoSource *source = nullptr;
    constexpr uint32_t kFlags[] = {0, tvkSourceOwnsBuffer, tvkSourceFillsBuffer};
    if (tvkOpenMemorySourceEx(&source, stream, size - 3 - length, tvkSourceAnyContent | kFlags[data[0] % 3]) != 0)
        return 0;
    {
        const MemoryFile index;
        Caller caller(data + 3, length, source);
        caller.indexPath = index.path();
        caller.savePath = data[0] & 0x80 ? folderForFiles() + "/frame" : "";
        for (int i = 0; i < kMostCalls && caller.in.left(); ++i) caller.makeCall();
        if (caller.saved) std::filesystem::remove_all(folderForFiles());
        if (caller.saved) std::filesystem::create_directory(folderForFiles());
    }
    tvkCloseSource(source);
    return 0;
}
