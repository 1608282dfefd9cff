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

void putBytes(BitWriter &file, const uint8_t *bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) PutBits(file, bytes[i], 8);
}
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
void putMagnitude(BitWriter &writer, int32_t value, int32_t size) {
    PutBits(writer, value - (value < 0 ? 1 : 0), size);
}

void putBlock(BitWriter &writer, JpegComponent &component, const int16_t *block) {
    const int32_t difference = block[0] - component.previousDc;
    component.previousDc = block[0];
    const int32_t dcSize = bitLength(difference);
    PutCode(writer, kJpegDcCodes[component.dcTable], dcSize);
    putMagnitude(writer, difference, dcSize);

    const CodeTable &codes = kJpegAcCodes[component.acTable];
    int32_t run = 0;
    for (size_t k = 1; k < 64; ++k) {
        const int32_t level = block[kJpegScan[k]];
        if (level == 0) {
            ++run;
            continue;
        }
        for (; run >= 16; run -= 16) PutCode(writer, codes, 0xF0);
        const int32_t size = bitLength(level);
        PutCode(writer, codes, run * 16 + size);
        putMagnitude(writer, level, size);
        run = 0;
    }
    if (run != 0) PutCode(writer, codes, 0);
}

// Rows of the block whose first sample is at byte `x` of row `y`. Samples behind the picture are the stored ones, and
// zero where a row has none.
template <int step>
void blockRows(const SamplePlane &plane, int32_t x, int32_t y, uint8_t (&local)[8][16], const uint8_t *(&rows)[8]) {
    constexpr ptrdiff_t rowBytes = 8 * step;
    const ptrdiff_t stored = plane.stride - x;
    for (int32_t i = 0; i < 8; ++i) {
        if (stored >= rowBytes) {
            rows[i] = plane.row(y + i) + x;
            continue;
        }
        std::memset(local[i], 0, sizeof local[i]);
        if (stored > 0) std::memcpy(local[i], plane.row(y + i) + x, static_cast<size_t>(stored));
        rows[i] = local[i];
    }
}

template <int step>
void codeBlock(JpegScan &scan, int32_t index, const SamplePlane &plane, int32_t x, int32_t y) {
    alignas(16) int16_t block[64];
    uint8_t local[8][16];
    const uint8_t *rows[8];
    JpegComponent &component = scan.components[index];
    blockRows<step>(plane, x, y, local, rows);
    forwardBlock<NativeLanes, step>(rows, index == 2 ? 1 : 0, jpegReciprocal[component.quantiserTable].data(), block);
    putBlock(scan.writer, component, block);
}

// lumaColumns x lumaRows luma blocks, then a block of Cb and one of Cr.
template <int lumaColumns, int lumaRows>
void codeScan(JpegScan &scan) {
    constexpr int32_t columns = 8 * lumaColumns, lines = 8 * lumaRows;
    const SamplePlane &luma = scan.view.luma, &chroma = scan.view.chroma;
    for (int32_t y = 0; y < luma.height; y += lines) {
        for (int32_t x = 0; x < luma.width; x += columns) {
            for (int32_t i = 0; i < lumaColumns * lumaRows; ++i)
                codeBlock<1>(scan, 0, luma, x + i % lumaColumns * 8, y + i / lumaColumns * 8);
            for (int32_t index = 1; index <= 2; ++index)
                codeBlock<2>(scan, index, chroma, x / lumaColumns * 2, y / lumaRows);
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
    PutBits(scan.writer, -1, (scan.writer.bitsLeft + 1) & 7);
    finishWriter(scan.writer);
}

}  // namespace

int32_t SaveFrameJpeg(const VideoFrame *frame, const char *name) {
    if (frame == nullptr || name == nullptr) return tvkErrInvalidArgument;
    JpegScan scan;
    // A frame of no known chroma format makes a file with an empty scan.
    if (isCodable(*frame) && !viewFrame(*frame, scan.view)) return tvkErrInvalidArgument;
    const Block<char> path = pictureFileName(name, "jpg");
    const Block<uint32_t> fileWords(static_cast<uint32_t *>(allocate(kBitWriterBytes)));
    const Block<uint32_t> scanWords(static_cast<uint32_t *>(allocate(kBitWriterBytes)));
    if (!path || !fileWords || !scanWords) return tvkErrOutOfMemory;
    const PictureFile file = createPictureFile(path.get());
    if (!file) return tvkErrSaveCreate;

    BitWriter fileWriter;
    initFileWriter(fileWriter, fileWords.get(), file.get());
    initScanWriter(scan.writer, scanWords.get(), &fileWriter);
    putHeaders(fileWriter, *frame);
    codeFrame(scan, *frame);
    put16(fileWriter, 0xFFD9);
    finishWriter(fileWriter);
    return 0;
}

}  // namespace tvk
