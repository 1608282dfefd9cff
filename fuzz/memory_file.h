// SPDX-License-Identifier: BSD-2-Clause
// Files without a file system: bytes behind a descriptor and under a path, gone with the object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tvk.h"

namespace tvkfuzz {

struct MemoryFile {
    int descriptor;

    MemoryFile() : MemoryFile(nullptr, 0) {}
    MemoryFile(const uint8_t *bytes, size_t size);
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;
    ~MemoryFile();

    std::string path() const;
    std::vector<uint8_t> contents() const;
    // Null when it is refused. The source outlives the file.
    VideoSource *openSource(uint32_t flags) const;
};

}  // namespace tvkfuzz
