// SPDX-License-Identifier: BSD-2-Clause
// Anonymous files of Linux.
#include "fuzz/memory_file.h"

#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

#include "tvk_source.h"

namespace tvkfuzz {

MemoryFile::MemoryFile(const uint8_t *bytes, size_t size) : descriptor(memfd_create("fuzz", MFD_CLOEXEC)) {
    if (descriptor < 0) std::abort();
    for (size_t at = 0; at < size;) {
        const ssize_t written = write(descriptor, bytes + at, size - at);
        if (written <= 0) std::abort();
        at += static_cast<size_t>(written);
    }
    lseek(descriptor, 0, SEEK_SET);
}

MemoryFile::~MemoryFile() {
    close(descriptor);
}

std::string MemoryFile::path() const {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

std::vector<uint8_t> MemoryFile::contents() const {
    std::vector<uint8_t> bytes(static_cast<size_t>(lseek(descriptor, 0, SEEK_END)));
    if (pread(descriptor, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) std::abort();
    return bytes;
}

VideoSource *MemoryFile::openSource(uint32_t flags) const {
    VideoSource *source = nullptr;
    return tvkOpenDescriptorSource(&source, descriptor, flags) == 0 ? source : nullptr;
}

}  // namespace tvkfuzz
