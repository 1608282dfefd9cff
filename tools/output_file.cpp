// SPDX-License-Identifier: BSD-2-Clause
// Where decoded pictures go: a file, or standard output for "-".
#include "output_file.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>

#include "tool_error.h"

namespace tvk::tool {

namespace {

bool sameFile(const std::string &a, const std::string &b) {
    struct stat first {
    }, second{};
    return stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

}  // namespace

void refuseSameFile(const std::string &path, const std::string &inputPath) {
    if (sameFile(path, inputPath)) throw ToolError(exitUsage, path + ": is the input file; choose another for -o");
}

OutputFile::OutputFile(const std::string &path, const std::string &inputPath) : name(path) {
    if (path == "-") {
        name = "standard output";
        file = stdout;
        return;
    }
    refuseSameFile(path, inputPath);
    file = std::fopen(path.c_str(), "wb");
    if (!file) fail();
}

OutputFile::~OutputFile() {
    if (file && file != stdout) std::fclose(file);
}

void OutputFile::fail() const {
    throw ToolError(exitFailed, "cannot write " + name + ": " + std::strerror(errno));
}

void OutputFile::write(const void *bytes, size_t count) {
    if (count != 0 && std::fwrite(bytes, 1, count, file) != count) fail();
}

void OutputFile::close() {
    std::FILE *const closing = file;
    file = nullptr;
    if (closing == stdout ? std::fflush(stdout) != 0 : std::fclose(closing) != 0) fail();
}

}  // namespace tvk::tool
