// SPDX-License-Identifier: BSD-2-Clause
// The conversion calls: arguments, planes, and what a converted picture looks like.
#include <gtest/gtest.h>

#include <vector>

#include "conversion_reference.h"
#include "output/convert.h"
#include "test_picture.h"

namespace tvk::test {
namespace {

constexpr int32_t kYuy2 = 0x32595559, kUyvy = 0x59565955, kYv12 = 0x32315659, kYvu9 = 0x39555659;
constexpr int32_t kLowerCase = 0x20202020;  // digits have that bit already

struct Converted {
    int32_t result;
    std::vector<uint8_t> bytes;
};

Converted convert(const TestPicture &picture, int32_t target, int32_t stride, int32_t rows, int32_t channels = 7) {
    const int64_t size = stride > 0 && rows > 0 ? int64_t{stride} * rows : 1024;
    Converted c{0, std::vector<uint8_t>(static_cast<size_t>(size + size / 2), 0xEE)};
    c.result = convertFrame(picture.frame.get(), target, c.bytes.data(), stride, rows, channels);
    return c;
}

bool untouched(const Converted &c) {
    for (const uint8_t x : c.bytes)
        if (x != 0xEE) return false;
    return true;
}

void expectRefused(const TestPicture &picture, int32_t target, int32_t stride, int32_t rows, int32_t channels = 7) {
    const Converted c = convert(picture, target, stride, rows, channels);
    EXPECT_EQ(tvkErrInvalidArgument, c.result);
    EXPECT_TRUE(untouched(c));
}

TEST(ConvertFrame, refusesStrideThatIsNoMultipleOf16) {
    const TestPicture narrow(8, 8, 1);
    expectRefused(narrow, 24, 1000, 8);
    EXPECT_EQ(0, convert(narrow, 24, 1008, 8).result);
}

TEST(ConvertFrame, refusesOddRowsOf420Alone) {
    expectRefused(TestPicture(32, 7, 1), kYuy2, 64, 7);
    EXPECT_EQ(0, convert(TestPicture(32, 7, 1), kYuy2, 64, 8).result);
    EXPECT_EQ(0, convert(TestPicture(32, 7, 2), kYuy2, 64, 7).result);
    EXPECT_EQ(0, convert(TestPicture(32, 7, 3), kYuy2, 64, 7).result);
}

TEST(ConvertFrame, refusesBadArguments) {
    const TestPicture picture(48, 8, 2);
    std::vector<uint8_t> buffer(4096);
    EXPECT_EQ(tvkErrInvalidArgument, convertFrame(nullptr, 24, buffer.data(), 160, 8, 7));
    EXPECT_EQ(tvkErrInvalidArgument, convertFrame(picture.frame.get(), 24, nullptr, 160, 8, 7));
    expectRefused(picture, 24, 0, 8);
    expectRefused(picture, 24, -16, 8);
    expectRefused(picture, 24, 160, 0);
    expectRefused(picture, 24, 160, -1);
    expectRefused(picture, 24, 32, 8);   // below the width
    expectRefused(picture, 24, 160, 7);  // below the height
    expectRefused(picture, 24, 160, 8, 0);
    expectRefused(picture, 24, 160, 8, 8);
    expectRefused(picture, 25, 160, 8);
    expectRefused(picture, 0, 160, 8);
    expectRefused(picture, 0x32595558, 160, 8);
}

TEST(ConvertFrame, comparesStrideWithSamplesNotWithTargetBytes) {
    EXPECT_EQ(0, convert(TestPicture(48, 8, 2), 32, 48, 8).result);
}

TEST(ConvertFrame, refusesRecordsThatHoldNoPicture) {
    TestPicture picture(48, 8, 1);
    picture.frame->chromaFormat = 0;
    expectRefused(picture, 24, 160, 8);
    picture.frame->chromaFormat = 4;
    expectRefused(picture, 24, 160, 8);
    picture.frame->chromaFormat = 3;  // more chroma than the record holds
    expectRefused(picture, 24, 160, 8);
    picture.frame->chromaFormat = 1;
    picture.frame->chromaPlane.data = nullptr;
    expectRefused(picture, 24, 160, 8);
}

TEST(ConvertFrame, acceptsTargetsInEitherCase) {
    TestPicture picture(40, 6, 1);
    picture.fillRandom(1);
    for (const int32_t target : {kYuy2, kUyvy, kYv12, kYvu9}) {
        const Converted upper = convert(picture, target, 96, 6), lower = convert(picture, target | kLowerCase, 96, 6);
        EXPECT_EQ(0, upper.result);
        EXPECT_EQ(0, lower.result);
        EXPECT_EQ(upper.bytes, lower.bytes);
    }
    expectRefused(picture, kYuy2 | 0x20, 96, 6);  // "yUY2"
}

TEST(ConvertFrame, blankedChromaIs128) {
    TestPicture picture(32, 4, 1);
    picture.fillRandom(2);
    const Converted c = convert(picture, kYuy2, 64, 4, 1);
    for (size_t i = 1; i < 64 * 4; i += 2) EXPECT_EQ(128, c.bytes[i]);
}

TEST(ConvertFrame, blankedLumaIs16InYuvAnd64InRgb) {
    TestPicture picture(32, 4, 2);
    picture.fill(200, 128, 128);
    const Converted packed = convert(picture, kYuy2, 64, 4, 6);
    for (size_t i = 0; i < 64 * 4; i += 2) EXPECT_EQ(16, packed.bytes[i]);
    const Converted rgb = convert(picture, 32, 128, 4, 6);
    const int grey = ((64 - 16) * 64 * 4769 >> 16) >> 2;
    for (size_t i = 0; i < 128 * 4; ++i) EXPECT_EQ(i % 4 == 3 ? 0 : grey, rgb.bytes[i]);
}

TEST(ConvertFrame, planar420Of444DropsLowestBitOfCb) {
    TestPicture picture(32, 4, 3);
    for (size_t i = 0; i < picture.chroma.size(); ++i)
        picture.chroma[i] = static_cast<uint8_t>(i % 4 == 2 ? 255 : i % 4 == 3 ? 253 : 17);
    const Converted c = convert(picture, kYv12, 32, 4);
    EXPECT_EQ(253, c.bytes[32 * 4]);       // Cr first, as it is
    EXPECT_EQ(254, c.bytes[32 * 4 + 32]);  // then Cb
}

TEST(ConvertFrame, rgbOfInterlacedFrameSharesChromaBetweenAdjacentRows) {
    TestPicture interlaced(64, 12, 1, false), progressive(64, 12, 1, true);
    interlaced.fillRandom(5);
    progressive.fillRandom(5);
    EXPECT_EQ(convert(progressive, 24, 192, 12).bytes, convert(interlaced, 24, 192, 12).bytes);
    EXPECT_NE(convert(progressive, kYuy2, 192, 12).bytes, convert(interlaced, kYuy2, 192, 12).bytes);
}

TEST(ConvertFrame, interlacedPackedRowsKeepTheirFieldsChroma) {
    TestPicture picture(32, 8, 1, false);
    for (int32_t row = 0; row < 4; ++row)
        for (int32_t x = 0; x < 32; ++x) picture.chroma[static_cast<size_t>(row * 32 + x)] = static_cast<uint8_t>(row);
    const Converted c = convert(picture, kYuy2, 64, 8);
    const int expected[8] = {0, 1, 0, 1, 2, 3, 2, 3};
    for (size_t row = 0; row < 8; ++row) EXPECT_EQ(expected[row], c.bytes[row * 64 + 1]);
}

TEST(ConvertFrame, planesFollowEachOtherInOneBuffer) {
    for (const int32_t format : {1, 2, 3}) {
        TestPicture picture(70, 22, format);
        picture.fillRandom(7);
        for (const bool ninth : {false, true}) {
            const int32_t stride = 96, rows = 24, part = ninth ? 16 : 4;
            std::vector<uint8_t> expected(96 * 24 * 3 / 2, 0xEE);
            uint8_t *second = expected.data() + stride * rows;
            const ReferenceConversion reference{*picture.frame,
                                                ninth ? Target::yvu9 : Target::yv12,
                                                7,
                                                {expected.data(), second, second + stride * rows / part},
                                                stride,
                                                rows,
                                                22};
            reference.run();
            EXPECT_EQ(expected, convert(picture, ninth ? kYvu9 : kYv12, stride, rows).bytes);
        }
    }
}

TEST(ConvertFrame, oddPictureBringsOneStoredRowWhereThereIsRoom) {
    for (const int32_t format : {1, 2, 3}) {
        TestPicture picture(32, 5, format);
        picture.fillRandom(8);
        std::vector<uint8_t> expected(128 * 10 * 3 / 2, 0xEE);
        const ReferenceConversion reference{
            *picture.frame, Target::rgb32, 7, {expected.data(), nullptr, nullptr}, 128, 10, 6};
        reference.run();
        EXPECT_EQ(expected, convert(picture, 32, 128, 10).bytes);
    }
}

TEST(ConvertFrame, readsNothingBehindTheVisibleRowsOfAMinimalBlock) {
    // Sizes that tell of no storage behind the picture: what is missing repeats the last row or is of no interest.
    for (const int32_t format : {1, 2, 3}) {
        TestPicture picture(18, 5, format);
        const std::vector<uint8_t> luma(18 * 5, 90), chroma(format == 3 ? 36 * 5 : 18 * 5, 128);
        picture.frame->lumaPlane = {18, 5, 18, 90, const_cast<uint8_t *>(luma.data())};
        picture.frame->chromaPlane = {format == 3 ? 36 : 18, format == 1 ? 2 : 5, format == 3 ? 36 : 18, 0,
                                      const_cast<uint8_t *>(chroma.data())};
        const int grey = ((90 - 16) * 64 * 4769 >> 16) >> 2;
        for (const int32_t target : {24, 32, kYuy2, kYv12, kYvu9}) {
            const Converted c = convert(picture, target, 128, 6);
            ASSERT_EQ(0, c.result);
            if (target == 32) {
                EXPECT_EQ(grey, c.bytes[5 * 128]);
                EXPECT_EQ(grey, c.bytes[5 * 128 + 4 * 16]);
            }
        }
    }
}

TEST(ConvertFramePlanes, givesTheSamePlanesApart) {
    for (const int32_t format : {1, 2, 3}) {
        TestPicture picture(64, 16, format);
        picture.fillRandom(9);
        for (size_t i = 0; i < 8; ++i) {
            const int32_t target = kTargetCodes[i], stride = 256;
            const Converted whole = convert(picture, target, stride, 16);
            const auto ninth = kTargets[i] == Target::yvu9;
            const size_t size = 256 * 16, part = size / (ninth ? 16 : 4);
            std::vector<uint8_t> first(size, 0xEE), second(part, 0xEE), third(part, 0xEE);
            ASSERT_EQ(0, convertFramePlanes(picture.frame.get(), target, first.data(), second.data(), third.data(),
                                            stride, 7));
            first.insert(first.end(), second.begin(), second.end());
            first.insert(first.end(), third.begin(), third.end());
            first.resize(whole.bytes.size(), 0xEE);
            EXPECT_EQ(whole.bytes, first) << target;
        }
    }
}

TEST(ConvertFramePlanes, needsAllPlanesOfPlanarTargetsAlone) {
    const TestPicture picture(32, 8, 1);
    std::vector<uint8_t> a(2048, 0xEE), b(2048);
    EXPECT_EQ(0, convertFramePlanes(picture.frame.get(), 24, a.data(), nullptr, nullptr, 96, 7));
    EXPECT_EQ(tvkErrInvalidArgument, convertFramePlanes(picture.frame.get(), 24, nullptr, b.data(), b.data(), 96, 7));
    EXPECT_EQ(tvkErrInvalidArgument,
              convertFramePlanes(picture.frame.get(), kYv12, a.data(), nullptr, b.data(), 32, 7));
    EXPECT_EQ(tvkErrInvalidArgument,
              convertFramePlanes(picture.frame.get(), kYvu9, a.data(), b.data(), nullptr, 32, 7));
    EXPECT_EQ(tvkErrInvalidArgument,
              convertFramePlanes(picture.frame.get(), kYv12, a.data(), b.data(), b.data(), 40, 7));
}

TEST(ConvertFramePlanes, writesNoMoreThanTheHeightOfAnOddPicture) {
    TestPicture picture(32, 5, 1);
    picture.fillRandom(10);
    std::vector<uint8_t> rgb(128 * 6, 0xEE);
    ASSERT_EQ(0, convertFramePlanes(picture.frame.get(), 32, rgb.data(), nullptr, nullptr, 128, 7));
    for (size_t i = 128 * 5; i < rgb.size(); ++i) ASSERT_EQ(0xEE, rgb[i]);
    std::vector<uint8_t> y(32 * 5), cr(16 * 3, 0xEE), cb(16 * 3, 0xEE);
    ASSERT_EQ(0, convertFramePlanes(picture.frame.get(), kYv12, y.data(), cr.data(), cb.data(), 32, 7));
    EXPECT_EQ(0xEE, cr[32]);
    EXPECT_EQ(picture.chroma[33], cr[16]);
}

}  // namespace
}  // namespace tvk::test
