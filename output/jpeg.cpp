// SPDX-License-Identifier: BSD-2-Clause
// JPEG export: the file's segments and its one scan, coded straight from the planes.
#include "output/jpeg.h"

#include <bit>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "output/frame_view.h"
#include "output/jpeg_tables.h"
#include "output/jpeg_transform.h"
#include "output/picture_file.h"

namespace tvk {
namespace {

struct JpegComponent {
    int32_t quantiserTable, dcTable, acTable;
    int32_t previousDc;
};

struct JpegScan {
    BitWriter writer;
    JpegComponent components[3];
    FrameView view;
};

void put16(BitWriter &file, int32_t value) {
    PutBits(file, value, 16);
}

void putQuantiser(BitWriter &file, int32_t index, const JpegBytes &quant) {
    put16(file, 0xFFDB);
    put16(file, 67);
    PutBits(file, index, 8);
    for (const uint8_t position : kJpegScan) PutBits(file, declaredQuantiser(quant[position]), 8);
}

template <size_t bytes>
void putHuffman(BitWriter &file, int32_t classAndIndex, const std::array<uint8_t, bytes> &spec) {
    put16(file, 0xFFC4);
    put16(file, static_cast<int32_t>(bytes) + 3);
    PutBits(file, classAndIndex, 8);
    putBytes(file, spec.data(), bytes);
}

void putFrameHeader(BitWriter &file, const VideoFrame &frame) {
    const int32_t sampling = frame.chromaFormat == 1 ? 0x22 : (frame.chromaFormat == 2 ? 0x21 : 0x11);
    put16(file, 0xFFC0);
    put16(file, 17);
    PutBits(file, 8, 8);  // bits a sample
    put16(file, frame.lumaPlane.height);
    put16(file, frame.lumaPlane.width);
    PutBits(file, 3, 8);
    for (int32_t id = 1; id <= 3; ++id) {
        PutBits(file, id, 8);
        PutBits(file, id == 1 ? sampling : 0x11, 8);
        PutBits(file, id == 1 ? 0 : 1, 8);  // quantiser table
    }
}

void putHeaders(BitWriter &file, const VideoFrame &frame) {
    // SOI; APP0 of 16 bytes: JFIF 1.2, no units, density 1 by 1, no thumbnail.
    constexpr uint8_t start[20] = {0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 2, 0, 0, 1, 0, 1, 0, 0};
    // SOS of three components with their tables, coefficients 0..63.
    constexpr uint8_t scan[14] = {0xFF, 0xDA, 0, 12, 3, 1, 0x00, 2, 0x11, 3, 0x11, 0, 63, 0};
    putBytes(file, start, sizeof start);
    putQuantiser(file, 0, jpegLumaQuant);
    putQuantiser(file, 1, jpegChromaQuant);
    putHuffman(file, 0x00, kJpegDcLuma);
    putHuffman(file, 0x01, kJpegDcChroma);
    putHuffman(file, 0x10, kJpegAcLuma);
    putHuffman(file, 0x11, kJpegAcChroma);
    putFrameHeader(file, frame);
    putBytes(file, scan, sizeof scan);
}

int32_t bitLength(int32_t value) {
    return static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(std::abs(value))));
}

// A negative value is sent as itself less one, so that its top bit is 0.
int32_t magnitudeBits(int32_t value) {
    return value - (value < 0 ? 1 : 0);
}

// A symbol's code with the magnitude behind it; a symbol without a code leaves the magnitude alone there. Sizes of
// coefficients are at most 15, codes have 16 bits.
void putLevel(BitWriter &writer, const CodeTable &codes, int32_t run, int32_t level) {
    const int32_t size = bitLength(level);
    const uint32_t entry = codes.codes[run * 16 + size];
    const uint32_t magnitude = static_cast<uint32_t>(magnitudeBits(level)) & ((1U << size) - 1);
    PutBits(writer, static_cast<int32_t>(entry >> 8 << size | magnitude), static_cast<int32_t>(entry & 255) + size);
}

// `scanned` has the bits of scan positions whose coefficients are not 0.
void putBlock(BitWriter &target, JpegComponent &component, const int16_t *block, uint64_t scanned) {
    makeRoom(target);
    BitWriter writer = target;
    const int32_t difference = block[0] - component.previousDc;
    component.previousDc = block[0];
    const int32_t dcSize = bitLength(difference);
    PutCode(writer, kJpegDcCodes[component.dcTable], dcSize);
    PutBits(writer, magnitudeBits(difference), dcSize);

    const CodeTable &codes = kJpegAcCodes[component.acTable];
    const auto blank = static_cast<int32_t>(codes.codes[0xF0] >> 8),
               blankBits = static_cast<int32_t>(codes.codes[0xF0] & 255);
    int32_t last = 0;
    for (uint64_t left = scanned & ~uint64_t{1}; left != 0; left &= left - 1) {
        const int32_t position = std::countr_zero(left);
        int32_t run = position - last - 1;
        for (; run >= 16; run -= 16) PutBits(writer, blank, blankBits);
        putLevel(writer, codes, run, block[kJpegScan[static_cast<size_t>(position)]]);
        last = position;
    }
    if (last != 63) PutCode(writer, codes, 0);
    target = writer;
}

// Eight rows of a plane from `y` on. Rows behind the stored ones repeat the last.
void rowsAt(const SamplePlane &plane, int32_t y, const uint8_t **rows) {
    for (int32_t i = 0; i < 8; ++i) rows[i] = plane.row(y + i);
}

uint64_t inScanOrder(uint64_t nonZero) {
    uint64_t scanned = 0;
    for (size_t row = 0; row < 8; ++row) scanned |= kJpegScanBits[row][nonZero >> (8 * row) & 255];
    return scanned;
}

// The block whose first sample is at byte `x` of its rows, `stored` bytes wide. Samples behind the picture are the
// stored ones, and zero where a row has none.
template <int step>
void codeBlock(JpegScan &scan, int32_t index, const uint8_t *const *rows, ptrdiff_t stored, ptrdiff_t x) {
    constexpr ptrdiff_t rowBytes = 8 * step;
    alignas(16) int16_t block[64];
    uint8_t local[8][16] = {};
    const uint8_t *localRows[8];
    if (stored - x < rowBytes) {
        for (size_t i = 0; i < 8; ++i) {
            if (stored > x) std::memcpy(local[i], rows[i] + x, static_cast<size_t>(stored - x));
            localRows[i] = local[i];
        }
        rows = localRows;
        x = 0;
    }
    JpegComponent &component = scan.components[index];
    const int16_t *reciprocals = jpegReciprocal[component.quantiserTable].data();
    const uint64_t nonZero = forwardBlock<NativeLanes, step>(rows, x, index == 2 ? 1 : 0, reciprocals, block);
    putBlock(scan.writer, component, block, inScanOrder(nonZero));
}

// lumaColumns x lumaRows luma blocks, then a block of Cb and one of Cr.
template <int lumaColumns, int lumaRows>
void codeScan(JpegScan &scan) {
    constexpr int32_t columns = 8 * lumaColumns, lines = 8 * lumaRows;
    const SamplePlane &luma = scan.view.luma, &chroma = scan.view.chroma;
    const uint8_t *lumaAt[lumaRows][8], *chromaAt[8];
    for (int32_t y = 0; y < luma.height; y += lines) {
        for (int32_t i = 0; i < lumaRows; ++i) rowsAt(luma, y + 8 * i, lumaAt[i]);
        rowsAt(chroma, y / lumaRows, chromaAt);
        for (int32_t x = 0; x < luma.width; x += columns) {
            for (int32_t i = 0; i < lumaColumns * lumaRows; ++i)
                codeBlock<1>(scan, 0, lumaAt[i / lumaColumns], luma.stride, x + i % lumaColumns * 8);
            for (int32_t index = 1; index <= 2; ++index)
                codeBlock<2>(scan, index, chromaAt, chroma.stride, x / lumaColumns * 2);
        }
    }
}

bool isCodable(const VideoFrame &frame) {
    return frame.chromaFormat >= 1 && frame.chromaFormat <= 3;
}

void codeFrame(JpegScan &scan, const VideoFrame &frame) {
    scan.components[0] = {0, 0, 0, 0};
    scan.components[1] = scan.components[2] = {1, 1, 1, 0};
    if (frame.chromaFormat == 1) codeScan<2, 2>(scan);
    if (frame.chromaFormat == 2) codeScan<2, 1>(scan);
    if (frame.chromaFormat == 3) codeScan<1, 1>(scan);
    PutBits(scan.writer, -1, static_cast<int32_t>((scan.writer.bitsLeft + 1) & 7));
    finishWriter(scan.writer);
}

}  // namespace

int32_t SaveFrameJpeg(const VideoFrame *frame, const char *name) {
    if (frame == nullptr || name == nullptr) return tvkErrInvalidArgument;
    JpegScan scan;
    // A frame of no known chroma format makes a file with an empty scan.
    if (isCodable(*frame) && !viewFrame(*frame, scan.view)) return tvkErrInvalidArgument;
    const Block<char> path = pictureFileName(name, "jpg");
    constexpr size_t bufferBytes = kBitWriterBytes + kBitWriterReserve;
    const Block<uint8_t> fileBytes(static_cast<uint8_t *>(allocate(bufferBytes)));
    const Block<uint8_t> scanBytes(static_cast<uint8_t *>(allocate(bufferBytes)));
    if (!path || !fileBytes || !scanBytes) return tvkErrOutOfMemory;
    const PictureFile file = createPictureFile(path.get());
    if (!file) return tvkErrSaveCreate;

    BitWriter fileWriter;
    initFileWriter(fileWriter, fileBytes.get(), file.get());
    initScanWriter(scan.writer, scanBytes.get(), &fileWriter);
    putHeaders(fileWriter, *frame);
    codeFrame(scan, *frame);
    put16(fileWriter, 0xFFD9);
    finishWriter(fileWriter);
    return 0;
}

}  // namespace tvk
