// SPDX-License-Identifier: BSD-2-Clause
// Services of the C library that fail when a test asks for it. The linker turns the libraries' calls of them here.
#pragma once

#include <cstdint>

namespace tvktest {

enum class Service { allocation, threadStart, fileOpen, fileWrite, fileClose, fileRead, fileFacts };
inline constexpr int kServices = 7;

// While it lives, call n of the service fails, counted from 0; none does when n is negative. One at a time.
struct Fault {
    Fault(Service service, int64_t n);
    Fault(const Fault &) = delete;
    Fault &operator=(const Fault &) = delete;
    ~Fault();
    // Calls of the service so far.
    int64_t calls() const;
    bool happened() const;
};

// Blocks and files that the libraries took and have not given back.
int64_t blocksHeld();
int64_t filesHeld();
// Descriptors that the process holds.
int64_t descriptorsHeld();

}  // namespace tvktest
