// SPDX-License-Identifier: BSD-2-Clause
// MD5 of what a plane shows.
#include "digest.h"

#include <cstddef>
#include <cstdint>

#include <nettle/md5.h>

namespace tvk::tool {

std::string planeMd5(const VideoPlane &plane) {
    md5_ctx context;
    md5_init(&context);
    for (int32_t row = 0; row < plane.height; ++row) {
        const size_t offset = static_cast<size_t>(row) * static_cast<size_t>(plane.stride);
        md5_update(&context, static_cast<size_t>(plane.width), plane.data + offset);
    }
    uint8_t digest[MD5_DIGEST_SIZE];
    md5_digest(&context, sizeof digest, digest);

    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

}  // namespace tvk::tool
