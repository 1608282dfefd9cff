// SPDX-License-Identifier: BSD-2-Clause
// JPEG files, byte for byte against the plain writer, and read back by another's decoder.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "file_helpers.h"
#include "jpeg_reference.h"
#include "output/bit_writer.h"
#include "output/jpeg.h"
#include "output/jpeg_tables.h"
#include "output/jpeg_transform.h"
#include "output/save.h"
#include "test_picture.h"

#if defined(TVK_TEST_LIBJPEG)
#include <jpeglib.h>
#endif

namespace tvk::test {
namespace {

class JpegFiles : public PictureFiles {
  protected:
    std::vector<uint8_t> saved(const TestPicture &picture) {
        EXPECT_EQ(0, saveFrame(picture.frame.get(), path("p").c_str(), saveJpeg));
        return bytesOf("p.jpg");
    }
};

TEST_F(JpegFiles, equalThePlainWritersFiles) {
    const int32_t sizes[][2] = {{16, 16}, {1, 1}, {17, 9}, {33, 8}, {64, 40}, {100, 50}, {47, 31}};
    for (int32_t format = 1; format <= 3; ++format) {
        for (const auto &size : sizes) {
            TestPicture picture(size[0], size[1], format);
            picture.fillRandom(static_cast<uint32_t>(size[0]));
            EXPECT_EQ(ReferenceJpeg(*picture.frame).bytes, saved(picture)) << format << ' ' << size[0];
            picture.fillNatural();
            EXPECT_EQ(ReferenceJpeg(*picture.frame).bytes, saved(picture)) << format << ' ' << size[0];
        }
    }
}

// More than two buffers of scan bytes, full of stuffing.
TEST_F(JpegFiles, equalThePlainWritersFilesBeyondTheBuffers) {
    TestPicture picture(2048, 1600, 3);
    std::mt19937 random(3);
    for (uint8_t &x : picture.luma) x = (random() & 64) != 0 ? 255 : 0;
    for (uint8_t &x : picture.chroma) x = (random() & 64) != 0 ? 255 : 0;
    const std::vector<uint8_t> file = saved(picture);
    EXPECT_GT(file.size(), 2 * kBitWriterBytes);
    EXPECT_TRUE(ReferenceJpeg(*picture.frame).bytes == file);
}

TEST_F(JpegFiles, flatGreyIsTwoCodesABlock) {
    TestPicture picture(32, 16, 1);
    picture.fill(128, 128, 128);
    const std::vector<uint8_t> file = saved(picture);
    // A luma block is 00 and 1010, a chroma block 00 and 00: two macroblocks of 4 and 2 are 64 bits.
    const std::vector<uint8_t> scan = {0b00101000, 0b10100010, 0b10001010, 0b00000000,
                                       0b00101000, 0b10100010, 0b10001010, 0b00000000};
    ASSERT_GT(file.size(), scan.size() + 2);
    EXPECT_EQ(scan, std::vector<uint8_t>(file.end() - 10, file.end() - 2));
    EXPECT_EQ(0x00, file[file.size() - 11]);  // the last byte of SOS
}

TEST_F(JpegFiles, startAndEndWithTheirMarkersAndStuffTheScan) {
    TestPicture picture(80, 48, 2);
    picture.fillRandom(11);
    const std::vector<uint8_t> file = saved(picture);
    const size_t size = file.size();
    EXPECT_EQ(std::vector<uint8_t>({0xFF, 0xD8, 0xFF, 0xE0}), std::vector<uint8_t>(file.begin(), file.begin() + 4));
    EXPECT_EQ(0xFF, file[size - 2]);
    EXPECT_EQ(0xD9, file[size - 1]);
    const size_t scan = 20 + 2 * 69 + 2 * 33 + 2 * 183 + 19 + 14;
    size_t stuffed = 0;
    for (size_t i = scan; i < size - 2; ++i) {
        if (file[i] != 0xFF) continue;
        ASSERT_EQ(0, file[i + 1]);
        ++stuffed;
    }
    EXPECT_GT(stuffed, 0U);
}

TEST_F(JpegFiles, samplingFollowsTheChromaFormat) {
    const int expected[4] = {0, 0x22, 0x21, 0x11};
    for (int32_t format = 1; format <= 3; ++format) {
        const std::vector<uint8_t> file = saved(TestPicture(16, 16, format));
        const size_t header = 20 + 2 * 69 + 2 * 33 + 2 * 183;
        ASSERT_EQ(0xC0, file[header + 1]);
        EXPECT_EQ(expected[format], file[header + 11]);
    }
}

TEST_F(JpegFiles, declareHalfOfTheAnnexTables) {
    const std::vector<uint8_t> file = saved(TestPicture(16, 16, 1));
    EXPECT_EQ(std::vector<uint8_t>({8, 6, 6, 7, 6, 5, 8, 7}),
              std::vector<uint8_t>(file.begin() + 25, file.begin() + 33));
}

TEST_F(JpegFiles, pictureOfEightRowsTakesSixteenFromTheStorage) {
    TestPicture picture(16, 8, 1), other(16, 8, 1);
    picture.fillRandom(4);
    other.fillRandom(4);
    for (int32_t y = 16; y < 32; ++y) std::fill_n(other.luma.begin() + y * 32, 32, static_cast<uint8_t>(0));
    EXPECT_EQ(saved(picture), saved(other));
    for (int32_t y = 8; y < 16; ++y) std::fill_n(other.luma.begin() + y * 32, 32, static_cast<uint8_t>(0));
    EXPECT_NE(saved(picture), saved(other));
}

TEST_F(JpegFiles, unknownChromaFormatHasAnEmptyScan) {
    TestPicture picture(16, 16, 1);
    picture.frame->chromaFormat = 4;
    const std::vector<uint8_t> file = saved(picture);
    EXPECT_EQ(ReferenceJpeg(*picture.frame).bytes, file);
    EXPECT_EQ(20U + 2 * 69 + 2 * 33 + 2 * 183 + 19 + 14 + 2, file.size());
}

TEST_F(JpegFiles, stayInsidePlanesWithoutStorageBehindThePicture) {
    for (int32_t format = 1; format <= 3; ++format) {
        TestPicture picture(21, 11, format);
        const std::vector<uint8_t> luma(21 * 11, 100), chroma(42 * 11, 128);
        picture.frame->lumaPlane = {21, 11, 21, 0, const_cast<uint8_t *>(luma.data())};
        picture.frame->chromaPlane = {format == 3 ? 42 : 21, format == 1 ? 5 : 11, format == 3 ? 42 : 21, 0,
                                      const_cast<uint8_t *>(chroma.data())};
        EXPECT_GT(saved(picture).size(), 500U);
    }
}

TEST_F(JpegFiles, refuseWhatCannotBeWritten) {
    TestPicture picture(16, 16, 1);
    EXPECT_EQ(tvkErrInvalidArgument, SaveFrameJpeg(nullptr, path("p").c_str()));
    EXPECT_EQ(tvkErrInvalidArgument, SaveFrameJpeg(picture.frame.get(), nullptr));
    EXPECT_EQ(tvkErrSaveCreate, SaveFrameJpeg(picture.frame.get(), path("absent/p").c_str()));
    picture.frame->lumaPlane.data = nullptr;
    EXPECT_EQ(tvkErrInvalidArgument, SaveFrameJpeg(picture.frame.get(), path("p").c_str()));
    EXPECT_EQ(0U, fileCount());
}

template <class L>
uint64_t transformBlock(const uint8_t *samples, int16_t *block) {
    const uint8_t *rows[8];
    for (int i = 0; i < 8; ++i) rows[i] = samples + 8 * i;
    return forwardBlock<L, 1>(rows, 0, 0, jpegReciprocal[0].data(), block);
}

TEST(JpegTransform, portableLanesEqualTheNative) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        uint8_t samples[64];
        for (uint8_t &x : samples) x = static_cast<uint8_t>(round % 2 == 0 ? random() : (random() & 1) * 255);
        alignas(16) int16_t native[64], portable[64];
        const uint64_t nonZero = transformBlock<NativeLanes>(samples, native);
        EXPECT_EQ(nonZero, transformBlock<PortableLanes>(samples, portable));
        for (int i = 0; i < 64; ++i) {
            ASSERT_EQ(native[i], portable[i]);
            ASSERT_EQ(native[i] != 0, (nonZero >> i & 1) != 0);
        }
    }
}

TEST(JpegTables, reciprocalsFitInSixteenBits) {
    for (size_t table = 0; table < 2; ++table) {
        for (size_t i = 0; i < 64; ++i) {
            const double q = table == 0 ? jpegLumaQuant[i] : jpegChromaQuant[i];
            EXPECT_NEAR(0x20000000 / (2.0 * aanScale[i] * q) + 1, jpegReciprocal[table][i], 1.0);
        }
    }
}

struct WriterToFile {
    std::vector<uint8_t> buffer = std::vector<uint8_t>(kBitWriterBytes + kBitWriterReserve);
    BitWriter writer{};

    explicit WriterToFile(std::FILE *file = nullptr) { initFileWriter(writer, buffer.data(), file); }
};

TEST(BitWriter, refusesSymbolsWithoutACode) {
    WriterToFile to;
    EXPECT_EQ(-1, PutCode(to.writer, kJpegDcCodes[0], 12));
    EXPECT_EQ(-1, PutCode(to.writer, kJpegDcCodes[0], -1));
    EXPECT_EQ(-1, PutCode(to.writer, kJpegAcCodes[0], 0x0B));
    EXPECT_EQ(31, to.writer.bitsLeft);
    EXPECT_EQ(0, PutCode(to.writer, kJpegAcCodes[0], 0));
    EXPECT_EQ(27, to.writer.bitsLeft);
    EXPECT_EQ(0b1010U, to.writer.held);
}

TEST(BitWriter, handsWordsOnFromTheTopBit) {
    WriterToFile to;
    PutBits(to.writer, 1, 1);
    PutBits(to.writer, -1, 32);
    EXPECT_EQ(30, to.writer.bitsLeft);
    PutBits(to.writer, 0x7FFFFF01, 31);  // ends the second word
    PutBits(to.writer, 0, 0);
    EXPECT_EQ(31, to.writer.bitsLeft);
    EXPECT_EQ(to.buffer.data() + 8, to.writer.current);
    EXPECT_EQ(std::vector<uint8_t>({255, 255, 255, 255, 255, 255, 255, 1}),
              std::vector<uint8_t>(to.buffer.begin(), to.buffer.begin() + 8));
}

class BitWriterFiles : public PictureFiles {};

TEST_F(BitWriterFiles, fillTheLastByteWithZeros) {
    std::FILE *file = std::fopen(path("bits").c_str(), "wb");
    WriterToFile to(file);
    PutBits(to.writer, 0b101, 3);
    PutBits(to.writer, 0x1FF, 9);
    finishWriter(to.writer);
    std::fclose(file);
    EXPECT_EQ(std::vector<uint8_t>({0xBF, 0xF0}), bytesOf("bits"));
}

TEST_F(BitWriterFiles, keepTheOrderOfBitsAndBytesBeyondTheBuffer) {
    std::FILE *file = std::fopen(path("bits").c_str(), "wb");
    WriterToFile to(file);
    const std::vector<uint8_t> many(kBitWriterBytes, 0x5A);
    PutBits(to.writer, 0x112233, 24);
    putBytes(to.writer, many.data(), many.size());
    PutBits(to.writer, 0x44, 8);
    finishWriter(to.writer);
    std::fclose(file);
    std::vector<uint8_t> expected = {0x11, 0x22, 0x33};
    expected.insert(expected.end(), many.begin(), many.end());
    expected.push_back(0x44);
    EXPECT_TRUE(expected == bytesOf("bits"));
}

#if defined(TVK_TEST_LIBJPEG)
struct Decoded {
    long warnings;
    int32_t width, height;
    std::vector<uint8_t> samples;  // Y, Cb, Cr
};

Decoded decode(const std::string &path) {
    Decoded result{};
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    std::FILE *file = std::fopen(path.c_str(), "rb");
    jpeg_stdio_src(&info, file);
    jpeg_read_header(&info, TRUE);
    info.out_color_space = JCS_YCbCr;
    jpeg_start_decompress(&info);
    result.width = static_cast<int32_t>(info.output_width);
    result.height = static_cast<int32_t>(info.output_height);
    result.samples.resize(size_t{info.output_width} * info.output_height * 3);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = result.samples.data() + size_t{info.output_scanline} * info.output_width * 3;
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    result.warnings = errors.num_warnings;
    jpeg_destroy_decompress(&info);
    std::fclose(file);
    return result;
}

TEST(JpegTables, equalTheOnesThatEncodersBeginWith) {
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    info.input_components = 3;
    info.in_color_space = JCS_YCbCr;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 50, FALSE);  // the Annex's tables at their full value
    for (size_t table = 0; table < 2; ++table) {
        const JpegBytes &quant = table == 0 ? jpegLumaQuant : jpegChromaQuant;
        for (size_t i = 0; i < 64; ++i) EXPECT_EQ(info.quant_tbl_ptrs[table]->quantval[i], quant[i]);
    }
    const auto expectSpec = [](const JHUFF_TBL &expected, const uint8_t *spec, size_t symbols) {
        for (size_t i = 0; i < 16; ++i) EXPECT_EQ(expected.bits[i + 1], spec[i]);
        for (size_t i = 0; i < symbols; ++i) EXPECT_EQ(expected.huffval[i], spec[16 + i]);
    };
    expectSpec(*info.dc_huff_tbl_ptrs[0], kJpegDcLuma.data(), 12);
    expectSpec(*info.dc_huff_tbl_ptrs[1], kJpegDcChroma.data(), 12);
    expectSpec(*info.ac_huff_tbl_ptrs[0], kJpegAcLuma.data(), 162);
    expectSpec(*info.ac_huff_tbl_ptrs[1], kJpegAcChroma.data(), 162);
    jpeg_destroy_compress(&info);
}

TEST_F(JpegFiles, decodeCleanlyAndCloseToThePicture) {
    for (int32_t format = 1; format <= 3; ++format) {
        TestPicture picture(198, 122, format);
        picture.fillNatural();
        saved(picture);
        const Decoded decoded = decode(path("p.jpg"));
        EXPECT_EQ(0, decoded.warnings);
        ASSERT_EQ(198, decoded.width);
        ASSERT_EQ(122, decoded.height);
        double luma = 0, chroma = 0;
        for (int32_t y = 0; y < 122; ++y) {
            for (int32_t x = 0; x < 198; ++x) {
                const uint8_t *sample = &decoded.samples[static_cast<size_t>(y * 198 + x) * 3];
                const int32_t row = format == 1 ? y / 2 : y, pair = format == 3 ? x : x / 2;
                const uint8_t *stored =
                    picture.frame->chromaPlane.data + row * picture.frame->chromaPlane.stride + 2 * pair;
                const double dy = sample[0] - picture.frame->lumaPlane.data[y * picture.frame->lumaPlane.stride + x];
                luma += dy * dy;
                chroma += (sample[1] - stored[0]) * (sample[1] - stored[0]) +
                          (sample[2] - stored[1]) * (sample[2] - stored[1]);
            }
        }
        const double count = 198 * 122;
        EXPECT_GT(10 * std::log10(255 * 255 * count / luma), 35) << format;
        EXPECT_GT(10 * std::log10(255 * 255 * 2 * count / chroma), 35) << format;
    }
}

TEST_F(JpegFiles, decodeCleanlyWhateverTheyShow) {
    for (int32_t format = 1; format <= 3; ++format) {
        TestPicture picture(101, 51, format);
        picture.fillRandom(20);
        saved(picture);
        EXPECT_EQ(0, decode(path("p.jpg")).warnings);
    }
}
#endif

}  // namespace
}  // namespace tvk::test
