// SPDX-License-Identifier: BSD-2-Clause
// Where decoded pictures go: a file, or standard output for "-".
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace tvk::tool {

// Throws ToolError when `path` is the input, under whatever name.
void refuseSameFile(const std::string &path, const std::string &inputPath);

class OutputFile {
  public:
    // Throws ToolError when the file cannot be made, and when it is the input itself.
    OutputFile(const std::string &path, const std::string &inputPath);
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    void write(const void *bytes, size_t count);  // throws ToolError
    void close();                                 // throws ToolError when the last bytes cannot be written

  private:
    [[noreturn]] void fail() const;
    std::string name;
    std::FILE *file;
};

}  // namespace tvk::tool
