// SPDX-License-Identifier: BSD-2-Clause
// Every row converter, native and portable, against one sample at a time.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "core/lanes.h"
#include "conversion_reference.h"
#include "output/converter_table.h"
#include "output/convert.h"
#include "output/row_converters.h"
#include "test_picture.h"

namespace tvk::test {
namespace {

constexpr size_t kGuard = 64;

// Three planes with guard bytes around them, at any alignment: a vector's bytes begin at a multiple of 16.
struct GuardedPlanes {
    std::vector<uint8_t> bytes;
    uint8_t *plane[3];

    GuardedPlanes(const size_t (&sizes)[3], size_t misalignment)
        : bytes(sizes[0] + sizes[1] + sizes[2] + 5 * kGuard, 0xA5) {
        uint8_t *at = bytes.data() + kGuard + misalignment;
        for (int i = 0; i < 3; ++i) {
            plane[i] = at;
            at += sizes[i] + kGuard;
        }
    }
};

int32_t chromaPart(Target target) {
    return target == Target::yvu9 ? 4 : 2;
}

struct Case {
    const TestPicture &picture;
    Target target;
    int32_t channels, stride, rows, lines;
    size_t misalignment;
};

GuardedPlanes planesFor(const Case &c) {
    const size_t first = static_cast<size_t>(c.stride) * static_cast<size_t>(c.rows);
    const int32_t part = chromaPart(c.target);
    const size_t other = static_cast<size_t>(c.stride / part) * static_cast<size_t>(c.rows / part);
    return GuardedPlanes({first, other, other}, c.misalignment);
}

std::vector<uint8_t> referenceBytes(const Case &c) {
    GuardedPlanes planes = planesFor(c);
    const ReferenceConversion reference{
        *c.picture.frame, c.target, c.channels, {planes.plane[0], planes.plane[1], planes.plane[2]},
        c.stride,         c.rows,   c.lines};
    reference.run();
    return planes.bytes;
}

// The job as the exported calls fill it, for a converter of any table.
std::vector<uint8_t> converterBytes(const Case &c, const ConverterTable &table) {
    GuardedPlanes planes = planesFor(c);
    ConversionJob job{};
    EXPECT_TRUE(viewFrame(*c.picture.frame, job.frame));
    for (int i = 0; i < 3; ++i) job.target[i] = planes.plane[i];
    job.targetRows = c.rows;
    job.targetStride = c.stride;
    job.convertedRows = c.lines;
    for (size_t i = 0; i < 16; ++i) {
        const bool kept = (c.channels & (i % 2 == 0 ? keepCb : keepCr)) != 0;
        job.constants.chromaMask[i] = kept ? 255 : 0;
        job.constants.chromaFill[i] = kept ? 0 : 128;
        job.constants.lumaMask[i] = (c.channels & keepLuma) != 0 ? 255 : 0;
        job.constants.lumaFill[i] = (c.channels & keepLuma) != 0 ? 0 : c.target <= Target::rgb32 ? 64 : 16;
    }
    const auto layout = static_cast<TargetLayout>(c.target);
    const int32_t format = c.picture.frame->chromaFormat;
    const bool interlaced = c.picture.frame->progressiveFrame == 0 && hasInterlacedForm(layout, format);
    table[static_cast<size_t>(rowKindIndex({layout, format, interlaced, (c.channels & 8) != 0}))](job);
    return planes.bytes;
}

void expectAllEqual(const Case &c) {
    const std::vector<uint8_t> expected = referenceBytes(c);
    const auto describe = [&] {
        return ::testing::Message() << "target " << static_cast<int>(c.target) << " format "
                                    << c.picture.frame->chromaFormat << " width " << c.picture.frame->lumaPlane.width
                                    << " height " << c.picture.frame->lumaPlane.height << " stride " << c.stride
                                    << " channels " << c.channels;
    };
    ASSERT_EQ(expected, converterBytes(c, kRowConverterTable<NativeLanes>)) << describe();
    ASSERT_EQ(expected, converterBytes(c, kRowConverterTable<PortableLanes>)) << describe();
}

int32_t fullRowBytes(Target target, int32_t width) {
    constexpr int32_t bytes[] = {2, 2, 3, 4, 2, 2, 1, 1};
    return roundUp(width, 32) * bytes[static_cast<size_t>(target)];
}

TEST(RowConverters, equalOneSampleAtATimeForAllWidths) {
    for (int32_t format = 1; format <= 3; ++format) {
        for (int32_t width = 1; width <= 80; ++width) {
            const bool progressive = width % 3 != 0;
            const int32_t height = 1 + width % 7;
            TestPicture picture(width, height, format, progressive);
            picture.fillRandom(static_cast<uint32_t>(width * 4 + format));
            for (const Target target : kTargets) {
                const int32_t channels = (width + static_cast<int32_t>(target)) % 4 == 0 ? 7 + 8 : 7;
                const int32_t rows = roundUp(height, 2);
                expectAllEqual({picture, target, channels, fullRowBytes(target, width), rows, rows,
                                static_cast<size_t>(width % 5)});
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST(RowConverters, equalOneSampleAtATimeForAllChannelSets) {
    for (int32_t format = 1; format <= 3; ++format) {
        TestPicture picture(70, 9, format, format != 1);
        picture.fillRandom(static_cast<uint32_t>(format));
        for (int32_t channels = 1; channels < 16; ++channels) {
            if (channels == 8) continue;
            for (const Target target : kTargets) {
                expectAllEqual({picture, target, channels, fullRowBytes(target, 70) + 16, 12, 10, 0});
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST(RowConverters, stayInsideRowsThatAreTooShort) {
    for (int32_t format = 1; format <= 3; ++format) {
        for (const int32_t width : {33, 47, 64, 70, 96}) {
            TestPicture picture(width, 5, format);
            picture.fillRandom(static_cast<uint32_t>(width));
            for (const Target target : kTargets) {
                for (int32_t stride = roundUp(width, 16); stride <= 4 * roundUp(width, 32) + 16; stride += 16) {
                    expectAllEqual({picture, target, 7, stride, 5, 5, 3});
                    if (HasFatalFailure()) return;
                }
            }
        }
    }
}

TEST(RowConverters, stayInsideRowsForAllHeights) {
    for (int32_t format = 1; format <= 3; ++format) {
        for (int32_t height = 1; height <= 20; ++height) {
            for (const bool progressive : {true, false}) {
                TestPicture picture(37, height, format, progressive);
                picture.fillRandom(static_cast<uint32_t>(height));
                for (const Target target : kTargets) {
                    expectAllEqual({picture, target, 7, fullRowBytes(target, 37), height, height, 1});
                    if (HasFatalFailure()) return;
                }
            }
        }
    }
}

// Large output goes past the caches where its rows are aligned, which guard bytes and tails must not notice.
TEST(RowConverters, equalOneSampleAtATimeForLargePictures) {
    constexpr int32_t width = 1000;
    for (int32_t format = 1; format <= 3; ++format) {
        TestPicture picture(width, 1051, format, format != 1);
        picture.fillRandom(static_cast<uint32_t>(format) + 50);
        for (const Target target : kTargets) {
            const int32_t stride = fullRowBytes(target, width);
            expectAllEqual({picture, target, 7, stride, 1052, 1051, 0});
            if (format == 1) expectAllEqual({picture, target, 7, stride, 1052, 1051, 7});
            if (HasFatalFailure()) return;
        }
    }
}

// All 2^24 colours would take long; all pairs of chroma values at luma values that reach every clamp don't.
TEST(RowConverters, equalOneSampleAtATimeForAllChromaPairs) {
    TestPicture picture(512, 256, 2);
    uint8_t *luma = picture.luma.data(), *chroma = picture.chroma.data();
    for (int32_t y = 0; y < 256; ++y) {
        for (int32_t x = 0; x < 512; ++x) {
            luma[y * 512 + x] = static_cast<uint8_t>(x % 2 == 0 ? (x * 7 + y * 3) : (y % 3 == 0 ? 255 : x / 2));
            chroma[y * 512 + x] = static_cast<uint8_t>(x % 2 == 0 ? x / 2 : y);
        }
    }
    for (const Target target : {Target::rgb15, Target::rgb16, Target::rgb24, Target::rgb32})
        expectAllEqual({picture, target, 7, fullRowBytes(target, 512), 256, 256, 0});
}

TEST(RowConverterTable, hasAConverterInEveryPlace) {
    for (const RowConverter converter : kRowConverterTable<NativeLanes>) EXPECT_NE(nullptr, converter);
    for (const RowConverter converter : kRowConverterTable<PortableLanes>) EXPECT_NE(nullptr, converter);
}

TEST(RowConverterTable, bothPartsShareTheirYuvEntries) {
    std::set<RowConverter> distinct;
    for (int32_t i = 0; i < kRowKinds; ++i) {
        EXPECT_EQ(i, rowKindIndex(rowKindAt(i)));
        ASSERT_NE(nullptr, rowConverterAt(i));
        distinct.insert(rowConverterAt(i));
        RowKind swapped = rowKindAt(i);
        if (swapped.interlaced) continue;
        swapped.swapRedBlue = !swapped.swapRedBlue;
        EXPECT_EQ(!isRgb(swapped.layout), rowConverterAt(i) == rowConverterAt(rowKindIndex(swapped)));
    }
    EXPECT_EQ(38U, distinct.size());  // 2 interlaced, 12 YUV, 12 RGB, 12 RGB swapped
}

TEST(RowConverterTable, namesTellTargetAndFormat) {
    EXPECT_STREQ("Yuy2From420Interlaced", rowConverterName(0));
    EXPECT_STREQ("UyvyFrom420Interlaced", rowConverterName(1));
    EXPECT_STREQ("Rgb15From420", rowConverterName(2));
    EXPECT_STREQ("Yvu9From444", rowConverterName(2 + 21 + 2));
    EXPECT_STREQ("Rgb24From422", rowConverterName(2 + 24 + 6 + 1));
}

}  // namespace
}  // namespace tvk::test
