// SPDX-License-Identifier: BSD-2-Clause
// The checksum of kept frames, MD5 as RFC 1321 has it, written out so that machines without a library for it can run
// the tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tvktest {

struct Md5 {
    uint32_t state[4] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    uint64_t length = 0;  // bytes taken
    uint8_t block[64];    // the last length % 64 of them
};

void addBytes(Md5 &md5, const uint8_t *bytes, size_t count);
// Thirty-two hexadecimal digits; the state is used up.
std::string finish(Md5 &md5);

}  // namespace tvktest
