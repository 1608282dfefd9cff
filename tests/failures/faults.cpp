// SPDX-License-Identifier: BSD-2-Clause
// Calls of the C library, counted and refused. A symbol S that is linked with --wrap=S leads to __wrap_S; __real_S is
// the C library's own.
#include "faults.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>

#include <pthread.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace tvktest {
namespace {

std::atomic<int> watched{-1};
std::atomic<int64_t> met{0}, refused{-1};
std::atomic<int64_t> blocks{0}, files{0};

// True when this call has to fail.
bool refuse(Service service) {
    if (watched.load() != static_cast<int>(service)) return false;
    return met.fetch_add(1) == refused.load();
}

void *counted(void *block) {
    if (block) ++blocks;
    return block;
}

}  // namespace

Fault::Fault(Service service, int64_t n) {
    met = 0;
    refused = n;
    watched = static_cast<int>(service);
}

Fault::~Fault() {
    watched = -1;
}

int64_t Fault::calls() const {
    return met;
}

bool Fault::happened() const {
    return refused >= 0 && met > refused;
}

int64_t blocksHeld() {
    return blocks;
}

int64_t filesHeld() {
    return files;
}

int64_t descriptorsHeld() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

}  // namespace tvktest

using tvktest::refuse;
using tvktest::Service;

// The linker's names. NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
void __real_free(void *block);
int __real_pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*body)(void *), void *argument);
FILE *__real_fopen(const char *path, const char *mode);
int __real_fclose(FILE *file);
size_t __real_fwrite(const void *bytes, size_t size, size_t count, FILE *file);
size_t __real_fread(void *bytes, size_t size, size_t count, FILE *file);
int __real_fseek(FILE *file, long offset, int origin);
long __real_ftell(FILE *file);
ssize_t __real_pread64(int file, void *bytes, size_t count, off_t position);
ssize_t __real_read(int file, void *bytes, size_t count);
int __real_fstat64(int file, void *facts);
int __real_open64(const char *path, int flags, ...);
int __real_fcntl64(int file, int command, ...);

void *__wrap_malloc(size_t size) {
    return refuse(Service::allocation) ? nullptr : tvktest::counted(__real_malloc(size));
}
void *__wrap_calloc(size_t count, size_t size) {
    return refuse(Service::allocation) ? nullptr : tvktest::counted(__real_calloc(count, size));
}
void *__wrap_realloc(void *block, size_t size) {
    if (refuse(Service::allocation)) return nullptr;
    void *grown = __real_realloc(block, size);
    return block ? grown : tvktest::counted(grown);
}
void __wrap_free(void *block) {
    if (block) --tvktest::blocks;
    __real_free(block);
}
int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*body)(void *), void *argument) {
    return refuse(Service::threadStart) ? EAGAIN : __real_pthread_create(thread, attributes, body, argument);
}
FILE *__wrap_fopen(const char *path, const char *mode) {
    FILE *file = refuse(Service::fileOpen) ? nullptr : __real_fopen(path, mode);
    if (file) ++tvktest::files;
    return file;
}
// What it could not write is lost, but the file is closed.
int __wrap_fclose(FILE *file) {
    --tvktest::files;
    const int result = __real_fclose(file);
    return refuse(Service::fileClose) ? EOF : result;
}
size_t __wrap_fwrite(const void *bytes, size_t size, size_t count, FILE *file) {
    return refuse(Service::fileWrite) ? 0 : __real_fwrite(bytes, size, count, file);
}
int __wrap_fprintf(FILE *file, const char *format, ...) {
    if (refuse(Service::fileWrite)) return -1;
    va_list arguments;
    va_start(arguments, format);
    const int result = std::vfprintf(file, format, arguments);
    va_end(arguments);
    return result;
}
size_t __wrap_fread(void *bytes, size_t size, size_t count, FILE *file) {
    return refuse(Service::fileRead) ? 0 : __real_fread(bytes, size, count, file);
}
int __wrap_fseek(FILE *file, long offset, int origin) {
    return refuse(Service::fileRead) ? -1 : __real_fseek(file, offset, origin);
}
long __wrap_ftell(FILE *file) {
    return refuse(Service::fileRead) ? -1 : __real_ftell(file);
}
ssize_t __wrap_pread64(int file, void *bytes, size_t count, off_t position) {
    if (!refuse(Service::fileRead)) return __real_pread64(file, bytes, count, position);
    errno = EIO;
    return -1;
}
ssize_t __wrap_read(int file, void *bytes, size_t count) {
    if (!refuse(Service::fileRead)) return __real_read(file, bytes, count);
    errno = EIO;
    return -1;
}
// The libraries create no files by these and copy descriptors alone.
int __wrap_open64(const char *path, int flags, ...) {
    if (!refuse(Service::fileOpen)) return __real_open64(path, flags);
    errno = EMFILE;
    return -1;
}
int __wrap_fcntl64(int file, int command, ...) {
    if (!refuse(Service::fileOpen)) return __real_fcntl64(file, command, 0);
    errno = EMFILE;
    return -1;
}
int __wrap_fstat64(int file, void *facts) {
    if (!refuse(Service::fileFacts)) return __real_fstat64(file, facts);
    errno = EIO;
    return -1;
}
}
// NOLINTEND(bugprone-reserved-identifier)
