// SPDX-License-Identifier: BSD-2-Clause
// What libraries that hand out frames by number are asked for.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace tvk::bench {

class FrameServer {
  public:
    virtual ~FrameServer() = default;
    virtual int frameCount() const = 0;
    // False when there is no such frame. Numbers count from 0.
    virtual bool frame(int number, uint64_t &digest) = 0;
    // All frames in order, of a file opened anew.
    virtual std::vector<uint64_t> linear(const std::string &path) = 0;
};

// The peer, where it was there when this was built.
bool hasPeerFrames();
std::unique_ptr<FrameServer> openPeerFrames(const std::string &path);  // null when it cannot open the file

inline constexpr uint64_t kDigestStart = 0xCBF29CE484222325u;

inline void addToDigest(uint64_t &digest, const uint8_t *data, int width, int height, int stride) {
    for (int y = 0; y < height; ++y, data += stride) {
        int x = 0;
        for (; x + 8 <= width; x += 8) {
            uint64_t word;
            std::memcpy(&word, data + x, sizeof word);
            digest = (digest ^ word) * 0x100000001B3u;
            digest ^= digest >> 29;
        }
        for (; x < width; ++x) digest = (digest ^ data[x]) * 0x100000001B3u;
    }
}

}  // namespace tvk::bench
