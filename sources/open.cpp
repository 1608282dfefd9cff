// SPDX-License-Identifier: BSD-2-Clause
// Opening and closing sources.
#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sources/abs_position.h"
#include "sources/content.h"
#include "sources/elementary_source.h"

namespace {

using namespace tvk::elementary;

constexpr uint32_t kKnownFlags = tvkSourceOwnsBuffer | tvkSourceAnyContent;

int32_t openFailure(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return tvkSourceErrNotFound;
        case EACCES:
        case EPERM:
            return tvkSourceErrNoAccess;
        default:
            return tvkSourceErrOpen;
    }
}

int32_t checkFile(int file, uint64_t &size) {
    struct stat facts;
    if (fstat(file, &facts) != 0) return tvkSourceErrOpen;
    if (!S_ISREG(facts.st_mode)) return tvkSourceErrNotAFile;
    size = static_cast<uint64_t>(facts.st_size);
    return size < kPositionLimit ? 0 : tvkSourceErrTooLarge;
}

// Takes over the window, and closes it on failure.
int32_t makeSource(VideoSource **out, ByteWindow &window, uint32_t flags) {
    int32_t failure = (flags & tvkSourceAnyContent) != 0 ? 0 : checkContent(window);
    ElementarySource *source = nullptr;
    if (failure == 0) {
        source = static_cast<ElementarySource *>(std::calloc(1, sizeof(ElementarySource)));
        if (source == nullptr) failure = tvkErrOutOfMemory;
    }
    if (failure != 0) {
        closeWindow(window);
        return failure;
    }
    source->window = window;
    initSource(*source, flags);
    *out = &source->table;
    return 0;
}

}  // namespace

int32_t tvkOpenFileSourceEx(VideoSource **out, const char *path, uint32_t flags) {
    if (out == nullptr) return tvkErrInvalidArgument;
    *out = nullptr;
    if (path == nullptr || (flags & ~kKnownFlags) != 0) return tvkErrInvalidArgument;
    // O_NONBLOCK: the open of a pipe without a writer would wait for one. It changes nothing for files.
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return openFailure(errno);
    uint64_t size = 0;
    ByteWindow window;
    int32_t failure = checkFile(file, size);
    if (failure == 0 && !openFileWindow(window, file, size)) failure = tvkErrOutOfMemory;
    if (failure != 0) {
        close(file);
        return failure;
    }
    return makeSource(out, window, flags);
}

int32_t tvkOpenFileSource(VideoSource **out, const char *path) {
    return tvkOpenFileSourceEx(out, path, 0);
}

int32_t tvkOpenMemorySourceEx(VideoSource **out, const uint8_t *bytes, uint64_t size, uint32_t flags) {
    if (out == nullptr) return tvkErrInvalidArgument;
    *out = nullptr;
    if ((bytes == nullptr && size != 0) || (flags & ~kKnownFlags) != 0) return tvkErrInvalidArgument;
    ByteWindow window;
    if (size >= kPositionLimit || !openMemoryWindow(window, bytes, size)) return tvkSourceErrTooLarge;
    return makeSource(out, window, flags);
}

int32_t tvkOpenMemorySource(VideoSource **out, const uint8_t *bytes, uint64_t size) {
    return tvkOpenMemorySourceEx(out, bytes, size, 0);
}

int32_t tvkCloseSource(VideoSource *source) {
    if (source == nullptr) return tvkErrInvalidArgument;
    ElementarySource *elementary = sourceOf(source);
    closeWindow(elementary->window);
    std::free(elementary->unitBuffer);
    std::free(elementary);
    return 0;
}
