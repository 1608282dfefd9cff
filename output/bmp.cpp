// SPDX-License-Identifier: BSD-2-Clause
// BMP export: the frame converted to B, G, R rows, written from the last to the first.
#include "output/bmp.h"

#include <cstddef>
#include <cstring>

#include "output/convert.h"
#include "output/picture_file.h"

namespace tvk {
namespace {

constexpr uint32_t kBmpHeaderBytes = 54;

struct BmpSizes {
    int32_t width, height;  // even
    int32_t stride;         // bytes of a row in memory
    uint32_t rowBytes;      // bytes of a row in the file

    size_t memoryBytes() const { return static_cast<size_t>(stride) * static_cast<size_t>(height); }
};

// False for sizes of no picture, or beyond what rows can be counted with.
bool bmpSizes(const VideoPlane &luma, BmpSizes &sizes) {
    constexpr int32_t kLargest = 1 << 28;
    if (luma.width < 1 || luma.height < 1 || luma.width > kLargest || luma.height > kLargest) return false;
    sizes.width = luma.width + luma.width % 2;
    sizes.height = luma.height + luma.height % 2;
    sizes.stride = (3 * sizes.width + 31) & ~31;
    sizes.rowBytes = static_cast<uint32_t>(3 * sizes.width + 3) & ~3U;
    return true;
}

void put16(uint8_t *at, uint32_t value) {
    at[0] = static_cast<uint8_t>(value);
    at[1] = static_cast<uint8_t>(value >> 8);
}
void put32(uint8_t *at, uint32_t value) {
    put16(at, value);
    put16(at + 2, value >> 16);
}

void fillBmpHeader(uint8_t (&header)[kBmpHeaderBytes], const BmpSizes &sizes) {
    const uint32_t pixelBytes = sizes.rowBytes * static_cast<uint32_t>(sizes.height);
    std::memset(header, 0, sizeof header);
    header[0] = 'B';
    header[1] = 'M';
    put32(header + 2, pixelBytes + kBmpHeaderBytes);
    put32(header + 10, kBmpHeaderBytes);
    put32(header + 14, 40);  // bytes of the second header
    put32(header + 18, static_cast<uint32_t>(sizes.width));
    put32(header + 22, static_cast<uint32_t>(sizes.height));
    put16(header + 26, 1);   // planes
    put16(header + 28, 24);  // bits a pixel
    put32(header + 34, pixelBytes);
}

// Pad bytes are zero, whatever the converter put behind the picture.
bool writeBmp(const PictureFile &file, const BmpSizes &sizes, uint8_t *pixels) {
    uint8_t header[kBmpHeaderBytes];
    fillBmpHeader(header, sizes);
    if (!writeBytes(file, header, sizeof header)) return false;
    const size_t pictureBytes = 3 * static_cast<size_t>(sizes.width);
    for (int32_t y = sizes.height - 1; y >= 0; --y) {
        uint8_t *row = pixels + ptrdiff_t{y} * sizes.stride;
        std::memset(row + pictureBytes, 0, sizes.rowBytes - pictureBytes);
        if (!writeBytes(file, row, sizes.rowBytes)) return false;
    }
    return true;
}

}  // namespace

int32_t saveFrameBmp(const VideoFrame *frame, const char *name) {
    BmpSizes sizes;
    if (!bmpSizes(frame->lumaPlane, sizes)) return tvkErrInvalidArgument;
    const Block<char> path = pictureFileName(name, "bmp");
    const AlignedBlock<uint8_t> pixels(static_cast<uint8_t *>(allocateAligned(sizes.memoryBytes(), 32)));
    if (!path || !pixels) return tvkErrOutOfMemory;
    std::memset(pixels.get(), 0, sizes.memoryBytes());

    PictureFile file = createPictureFile(path.get());
    if (!file) return tvkErrSaveCreate;
    const int32_t result = convertFrame(frame, 24, pixels.get(), sizes.stride, sizes.height, keepAll);
    if (result != 0) return result;
    const bool written = writeBmp(file, sizes, pixels.get());
    return finishFile(file) && written ? 0 : tvkErrSaveWrite;
}

}  // namespace tvk
