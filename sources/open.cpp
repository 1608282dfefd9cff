// SPDX-License-Identifier: BSD-2-Clause
// Opening and closing sources: which kind it is to be is told by the bytes.
#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sources/abs_position.h"
#include "sources/container.h"
#include "sources/content.h"
#include "sources/elementary_source.h"

namespace {

using namespace tvk::elementary;

constexpr uint32_t kBufferFlags = tvkSourceOwnsBuffer | tvkSourceFillsBuffer;
constexpr uint32_t kKnownFlags = kBufferFlags | tvkSourceAnyContent | tvkSourceGrowing;

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

bool isSequential(mode_t mode) {
    return S_ISFIFO(mode) || S_ISSOCK(mode) || S_ISCHR(mode);
}

// Takes over the descriptor on success.
int32_t openBytes(RawBytes &raw, int file, bool pipeAllowed) {
    struct stat facts;
    if (fstat(file, &facts) != 0) return tvkSourceErrOpen;
    if (pipeAllowed && isSequential(facts.st_mode)) {
        openPipeBytes(raw, file);
        return 0;
    }
    if (!S_ISREG(facts.st_mode)) return tvkSourceErrNotAFile;
    const uint64_t size = static_cast<uint64_t>(facts.st_size);
    if (size >= kPositionLimit) return tvkSourceErrTooLarge;
    openFileBytes(raw, file, size);
    return 0;
}

// Opens the source's bytes as what they are.
int32_t openContent(ElementarySource &source) {
    const bool inMemory = source.raw.file < 0;
    if (!openRawWindow(source.window, source.raw) && inMemory) return tvkSourceErrTooLarge;
    if (!inMemory && source.window.block == nullptr) return tvkErrOutOfMemory;
    ContentKind kind = ContentKind::elementary;
    int32_t failure = 0;
    if ((source.flags & tvkSourceAnyContent) == 0) failure = recognise(source.window, kind);
    if (failure != 0) return failure;
    if (kind == ContentKind::elementary) {
        // What was looked at comes again from the head that has been kept of it.
        if (source.raw.sequential) emptyWindow(source.window);
    } else {
        closeWindow(source.window);
        failure = openContainer(source, kind);
    }
    source.raw.keepHead = false;
    return failure;
}

void freeSource(ElementarySource *source) {
    closeContainer(*source);
    closeWindow(source->window);
    closeBytes(source->raw);
    std::free(source->unitBuffer);
    std::free(source);
}

// Takes over the bytes, and closes them on failure.
int32_t makeSource(VideoSource **out, RawBytes &raw, uint32_t flags) {
    ElementarySource *source = static_cast<ElementarySource *>(std::calloc(1, sizeof(ElementarySource)));
    if (source == nullptr) {
        closeBytes(raw);
        return tvkErrOutOfMemory;
    }
    source->raw = raw;
    source->raw.growing = (flags & tvkSourceGrowing) != 0 && raw.file >= 0 && !raw.sequential;
    source->flags = flags;
    const int32_t failure = openContent(*source);
    if (failure != 0) {
        freeSource(source);
        return failure;
    }
    initSource(*source, flags);
    *out = &source->table;
    return 0;
}

const char *nameOf(const ElementarySource &source) {
    if (source.container == nullptr) return "video elementary stream";
    switch (source.container->kind) {
        case ContentKind::program:
            return "program stream";
        case ContentKind::transport:
            return "transport stream";
        case ContentKind::mxf:
            return "MXF";
        case ContentKind::matroska:
            return "Matroska";
        case ContentKind::avi:
            return "AVI";
        default:
            return "QuickTime or MP4";
    }
}

}  // namespace

int32_t tvkOpenFileSourceEx(VideoSource **out, const char *path, uint32_t flags) {
    if (out == nullptr) return tvkErrInvalidArgument;
    *out = nullptr;
    if (path == nullptr || (flags & ~kKnownFlags) != 0) return tvkErrInvalidArgument;
    // O_NONBLOCK: the open of a pipe without a writer would wait for one. It changes nothing for files.
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return openFailure(errno);
    RawBytes raw;
    const int32_t failure = openBytes(raw, file, false);
    if (failure != 0) {
        close(file);
        return failure;
    }
    return makeSource(out, raw, flags);
}

int32_t tvkOpenDescriptorSource(VideoSource **out, int32_t descriptor, uint32_t flags) {
    if (out == nullptr) return tvkErrInvalidArgument;
    *out = nullptr;
    if (descriptor < 0 || (flags & ~kKnownFlags) != 0) return tvkErrInvalidArgument;
    const int file = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (file < 0) return tvkSourceErrOpen;
    RawBytes raw;
    const int32_t failure = openBytes(raw, file, true);
    if (failure != 0) {
        close(file);
        return failure;
    }
    return makeSource(out, raw, flags);
}

int32_t tvkOpenFileSource(VideoSource **out, const char *path) {
    return tvkOpenFileSourceEx(out, path, 0);
}

int32_t tvkOpenMemorySourceEx(VideoSource **out, const uint8_t *bytes, uint64_t size, uint32_t flags) {
    if (out == nullptr) return tvkErrInvalidArgument;
    *out = nullptr;
    if ((bytes == nullptr && size != 0) || (flags & ~kKnownFlags) != 0) return tvkErrInvalidArgument;
    if (size >= kPositionLimit) return tvkSourceErrTooLarge;
    RawBytes raw;
    openMemoryBytes(raw, bytes, size);
    return makeSource(out, raw, flags);
}

int32_t tvkOpenMemorySource(VideoSource **out, const uint8_t *bytes, uint64_t size) {
    return tvkOpenMemorySourceEx(out, bytes, size, 0);
}

int32_t tvkCloseSource(VideoSource *source) {
    if (source == nullptr) return tvkErrInvalidArgument;
    freeSource(sourceOf(source));
    return 0;
}

int32_t tvkEndSourceGrowth(VideoSource *source) {
    if (source == nullptr) return tvkErrInvalidArgument;
    ElementarySource &growing = *sourceOf(source);
    refreshSize(growing.raw);
    growing.raw.growing = false;
    if (growing.container == nullptr) growing.window.size = growing.raw.size;
    return 0;
}

int32_t tvkGetSourceInfo(VideoSource *source, SourceInfo *info) {
    if (source == nullptr || info == nullptr) return tvkErrInvalidArgument;
    ElementarySource &asked = *sourceOf(source);
    *info = {};
    info->container = nameOf(asked);
    info->size = asked.raw.size == kEndUnknown ? 0 : asked.raw.size;
    info->layer = asked.activeLayer;
    info->videoStreams = 1;
    info->seekable = asked.raw.sequential ? 0 : 1;
    info->firstTime = -1.0;
    if (asked.container == nullptr) return 0;
    info->videoStreams = trackCount(*asked.container->demuxer);
    info->firstTime = asked.container->firstTime;
    info->seconds = containerSeconds(asked);
    return 0;
}
