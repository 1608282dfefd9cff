// SPDX-License-Identifier: BSD-2-Clause
// File names and files of the picture writers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "core/memory.h"

namespace tvk {

struct ReleaseBlock {
    void operator()(void *block) const { release(block); }
};
struct ReleaseAlignedBlock {
    void operator()(void *block) const { releaseAligned(block); }
};
template <class T>
using Block = std::unique_ptr<T[], ReleaseBlock>;
template <class T>
using AlignedBlock = std::unique_ptr<T[], ReleaseAlignedBlock>;

// name.suffix, the suffix of at most 7 characters; null when out of memory.
inline Block<char> pictureFileName(const char *name, const char *suffix) {
    const size_t size = std::strlen(name) + 9;
    Block<char> full(static_cast<char *>(allocate(size)));
    if (full) std::snprintf(full.get(), size, "%s.%s", name, suffix);
    return full;
}

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using PictureFile = std::unique_ptr<std::FILE, CloseFile>;

inline PictureFile createPictureFile(const char *path, const char *mode = "wb") {
    return PictureFile(std::fopen(path, mode));
}
inline bool writeBytes(const PictureFile &file, const void *bytes, size_t count) {
    return std::fwrite(bytes, 1, count, file.get()) == count;
}
// What the C library still holds may fail to reach the disk, too.
inline bool finishFile(PictureFile &file) {
    return std::fclose(file.release()) == 0;
}

}  // namespace tvk
