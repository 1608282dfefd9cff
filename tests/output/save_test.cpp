// SPDX-License-Identifier: BSD-2-Clause
// BMP and raw files, byte for byte, and the save call's arguments and failures.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "conversion_reference.h"
#include "core/memory.h"
#include "file_helpers.h"
#include "output/save.h"
#include "test_picture.h"

namespace tvk::test {
namespace {

using SaveFrame = PictureFiles;

std::vector<uint8_t> referenceBmp(const VideoFrame &frame) {
    const int32_t width = (frame.lumaPlane.width + 1) / 2 * 2, height = (frame.lumaPlane.height + 1) / 2 * 2;
    const int32_t rowBytes = (3 * width + 3) / 4 * 4, stride = roundUp(3 * width, 32);
    std::vector<uint8_t> pixels(static_cast<size_t>(stride) * static_cast<size_t>(height));
    const ReferenceConversion conversion{frame,  Target::rgb24, 7,     {pixels.data(), nullptr, nullptr},
                                         stride, height,        height};
    conversion.run();

    std::vector<uint8_t> file = {'B', 'M'};
    const auto put = [&](int64_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) file.push_back(static_cast<uint8_t>(value >> (8 * i)));
    };
    put(rowBytes * height + 54, 4);
    put(0, 4);
    put(54, 4);
    put(40, 4);
    put(width, 4);
    put(height, 4);
    put(1, 2);
    put(24, 2);
    put(0, 4);
    put(rowBytes * height, 4);
    put(0, 8);
    put(0, 8);
    for (int32_t y = height - 1; y >= 0; --y)
        for (int32_t x = 0; x < rowBytes; ++x)
            file.push_back(x < 3 * width ? pixels[static_cast<size_t>(y * stride + x)] : 0);
    return file;
}

TEST_F(SaveFrame, bmpEqualsThePlainWritersFile) {
    const int32_t sizes[][2] = {{101, 51}, {1, 1}, {64, 33}, {102, 52}, {43, 7}, {720, 20}};
    for (int32_t format = 1; format <= 3; ++format) {
        for (const auto &size : sizes) {
            TestPicture picture(size[0], size[1], format, size[0] % 2 == 0);
            picture.fillRandom(static_cast<uint32_t>(format));
            ASSERT_EQ(0, saveFrame(picture.frame.get(), path("a").c_str(), saveBmp));
            EXPECT_EQ(referenceBmp(*picture.frame), bytesOf("a.bmp")) << format << ' ' << size[0];
        }
    }
}

TEST_F(SaveFrame, bmpOfAnOddPictureTakesItsLastColumnAndRowFromTheStorage) {
    for (int32_t format = 1; format <= 3; ++format) {
        TestPicture picture(101, 51, format);
        picture.fill(16, 128, 128);
        const int32_t stride = picture.frame->lumaPlane.stride;
        picture.luma[static_cast<size_t>(51 * stride + 101)] = 235;
        ASSERT_EQ(0, saveFrame(picture.frame.get(), path("a").c_str(), saveBmp));
        const std::vector<uint8_t> file = bytesOf("a.bmp");
        ASSERT_EQ(54U + 308 * 52, file.size());
        EXPECT_EQ(102, file[18]);
        EXPECT_EQ(52, file[22]);
        EXPECT_EQ(0, file[54 + 3 * 100]);
        EXPECT_EQ(254, file[54 + 3 * 101]);  // the lowest row stands first
        EXPECT_EQ(0, file[54 + 306]);
        EXPECT_EQ(0, file[54 + 307]);
    }
}

TEST_F(SaveFrame, bmpRowsOfAMultipleOfFourHaveNoPad) {
    const TestPicture picture(64, 4, 1);
    ASSERT_EQ(0, saveFrame(picture.frame.get(), path("a").c_str(), saveBmp));
    EXPECT_EQ(54U + 3 * 64 * 4, bytesOf("a.bmp").size());
}

TEST_F(SaveFrame, rawFilesHoldTheVisibleSamples) {
    for (int32_t format = 1; format <= 3; ++format) {
        TestPicture picture(37, 21, format);
        picture.fillRandom(6);
        ASSERT_EQ(0, saveFrame(picture.frame.get(), path("r").c_str(), saveRaw));
        EXPECT_EQ(4U, fileCount());
        const std::vector<uint8_t> text = bytesOf("r.i");
        const char *const formats[] = {"420", "422", "444"};
        EXPECT_EQ(std::string(formats[format - 1]) + "  37  21", std::string(text.begin(), text.end()));

        std::vector<uint8_t> y, u, v;
        for (int32_t row = 0; row < 21; ++row)
            for (int32_t x = 0; x < 37; ++x) y.push_back(picture.luma[static_cast<size_t>(row * 64 + x)]);
        const VideoPlane &plane = picture.frame->chromaPlane;
        for (int32_t row = 0; row < plane.height; ++row) {
            for (int32_t x = 0; x < plane.width / 2; ++x) {
                u.push_back(plane.data[row * plane.stride + 2 * x]);
                v.push_back(plane.data[row * plane.stride + 2 * x + 1]);
            }
        }
        EXPECT_EQ(y, bytesOf("r.y"));
        EXPECT_EQ(u, bytesOf("r.u"));
        EXPECT_EQ(v, bytesOf("r.v"));
    }
}

TEST_F(SaveFrame, formatZeroMakesNothing) {
    const TestPicture picture(16, 16, 1);
    EXPECT_EQ(0, saveFrame(picture.frame.get(), path("a").c_str(), saveNothing));
    EXPECT_EQ(0U, fileCount());
}

TEST_F(SaveFrame, refusesBadArguments) {
    const TestPicture picture(16, 16, 1);
    const std::string name = path("a");
    EXPECT_EQ(tvkErrInvalidArgument, saveFrame(picture.frame.get(), name.c_str(), 4));
    EXPECT_EQ(tvkErrInvalidArgument, saveFrame(picture.frame.get(), name.c_str(), 0xFFFFFFFF));
    for (uint32_t format = 0; format <= 3; ++format) {
        EXPECT_EQ(tvkErrInvalidArgument, saveFrame(nullptr, name.c_str(), format));
        EXPECT_EQ(tvkErrInvalidArgument, saveFrame(picture.frame.get(), nullptr, format));
        EXPECT_EQ(tvkErrInvalidArgument, saveFrame(picture.frame.get(), "", format));
    }
    EXPECT_EQ(0U, fileCount());
}

TEST_F(SaveFrame, rawOfAnUnknownChromaFormatMakesNoFile) {
    TestPicture picture(16, 16, 1);
    for (const int32_t format : {0, 4, -1}) {
        picture.frame->chromaFormat = format;
        EXPECT_EQ(tvkErrSavePath, saveFrame(picture.frame.get(), path("r").c_str(), saveRaw));
        EXPECT_EQ(tvkErrSavePath, saveFrame(picture.frame.get(), path("absent/r").c_str(), saveRaw));
    }
    EXPECT_EQ(0U, fileCount());
}

TEST_F(SaveFrame, bmpOfAnUnknownChromaFormatLeavesItsFileBehind) {
    TestPicture picture(16, 16, 1);
    picture.frame->chromaFormat = 0;
    EXPECT_EQ(tvkErrInvalidArgument, saveFrame(picture.frame.get(), path("a").c_str(), saveBmp));
    EXPECT_TRUE(exists("a.bmp"));
}

TEST_F(SaveFrame, tellsOfFilesThatCannotBeMade) {
    const TestPicture picture(16, 16, 1);
    for (uint32_t format = 1; format <= 3; ++format)
        EXPECT_EQ(tvkErrSaveCreate, saveFrame(picture.frame.get(), path("absent/a").c_str(), format));
    std::filesystem::create_directory(path("r.u"));  // the third of the raw files
    EXPECT_EQ(tvkErrSaveCreate, saveFrame(picture.frame.get(), path("r").c_str(), saveRaw));
    EXPECT_TRUE(exists("r.i"));
    EXPECT_TRUE(exists("r.y"));
    EXPECT_FALSE(exists("r.v"));
}

TEST_F(SaveFrame, tellsOfFailedWrites) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP();
    const TestPicture picture(320, 240, 1);
    for (const char *file : {"a.bmp", "r.i", "s.y", "t.v"}) {
        std::error_code failed;
        std::filesystem::create_symlink("/dev/full", path(file), failed);
        ASSERT_FALSE(failed);
    }
    EXPECT_EQ(tvkErrSaveWrite, saveFrame(picture.frame.get(), path("a").c_str(), saveBmp));
    EXPECT_EQ(tvkErrSaveWrite, saveFrame(picture.frame.get(), path("r").c_str(), saveRaw));
    EXPECT_FALSE(exists("r.y"));
    EXPECT_EQ(tvkErrSaveWrite, saveFrame(picture.frame.get(), path("s").c_str(), saveRaw));
    EXPECT_EQ(tvkErrSaveWrite, saveFrame(picture.frame.get(), path("t").c_str(), saveRaw));
}

int allocationsAllowed;

bool allowSome(size_t) {
    return allocationsAllowed-- > 0;
}

TEST_F(SaveFrame, survivesEveryFailedAllocation) {
    const TestPicture picture(64, 48, 1);
    for (uint32_t format = 1; format <= 3; ++format) {
        int failures = 0;
        for (int32_t result = tvkErrOutOfMemory; result != 0; ++failures) {
            ASSERT_LT(failures, 20);
            allocationsAllowed = failures;
            allocationHook.store(allowSome);
            result = saveFrame(picture.frame.get(), path("m").c_str(), format);
            allocationHook.store(nullptr);
            ASSERT_TRUE(result == 0 || result == tvkErrOutOfMemory);
        }
        EXPECT_GT(failures, 1);
    }
}

}  // namespace
}  // namespace tvk::test
