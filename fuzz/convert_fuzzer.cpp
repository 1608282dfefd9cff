// SPDX-License-Identifier: BSD-2-Clause
// Property: conversion of a frame of any shape reads its planes and writes the caller's buffer and nothing beside them,
// at any address; both forms of the call give the same picture; a frame saved in any format leaves whole files.
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "fuzz/byte_reader.h"
#include "fuzz/plan.h"

namespace tvkfuzz {
namespace {

constexpr int32_t kTargets[] = {15, 16, 24, 32, 0x32595559, 0x59565955, 0x32315659, 0x39555659};

struct Shape {
    int32_t target, stride, rows, channels;
    bool planar() const { return target == kTargets[6] || target == kTargets[7]; }
    size_t bytes() const {
        const size_t luma = static_cast<size_t>(stride) * static_cast<size_t>(rows);
        return target == kTargets[6]   ? luma / 2 * 3 + luma % 2 * 2
               : target == kTargets[7] ? luma + luma / 16 * 2
                                       : luma;
    }
};

void fill(VideoPlane &plane, ByteReader in) {
    const size_t period = std::max<size_t>(in.left(), 1);
    for (int32_t i = 0; i < plane.size; ++i)
        plane.data[i] = in.left() ? in.at[static_cast<size_t>(i) % period] : static_cast<uint8_t>(i * 7);
}

// A block of exactly `bytes`, at an odd address if so wanted.
struct Block {
    std::unique_ptr<uint8_t[]> memory;
    uint8_t *data;
    Block(size_t bytes, size_t offset) : memory(new uint8_t[bytes + offset]()), data(memory.get() + offset) {}
};

void convert(const VideoFrame &frame, const Shape &shape, size_t offset) {
    const Block whole(shape.bytes(), offset);
    const int32_t result =
        tvkConvertVideoFrame(&frame, shape.target, whole.data, shape.stride, shape.rows, shape.channels);
    readBytes(whole.data, shape.bytes());

    const size_t height = static_cast<size_t>(frame.lumaPlane.height), stride = static_cast<size_t>(shape.stride);
    const size_t divisor = shape.target == kTargets[6] ? 2 : 4;
    const Block first(stride * height, offset);
    const Block second(stride / divisor * (height / divisor), 0), third(stride / divisor * (height / divisor), 0);
    const int32_t other =
        tvkConvertVideoFrameEx(&frame, shape.target, first.data, shape.planar() ? second.data : nullptr,
                               shape.planar() ? third.data : nullptr, shape.stride, shape.channels);
    if (result != 0) return;
    if (other != 0) fail("a shape that one form alone accepts");
    if (std::memcmp(whole.data, first.data, stride * (height & ~size_t{1})) != 0) fail("two forms, two pictures");
}

void save(const VideoFrame &frame, uint32_t format) {
    static const std::string folder = [] {
        std::string name = (std::filesystem::temp_directory_path() / "tvk_convert_XXXXXX").string();
        if (!mkdtemp(name.data())) fail("no folder for files");
        return name;
    }();
    const int32_t result = tvkSaveVideoFrameToFile(&frame, (folder + "/frame").c_str(), format);
    uintmax_t bytes = 0;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        bytes += entry.file_size();
        std::filesystem::remove(entry.path());
    }
    std::filesystem::remove(folder);
    std::filesystem::create_directory(folder);
    if (result == 0 && format != 0 && bytes < static_cast<uintmax_t>(format == 3 ? 100 : frame.lumaPlane.height))
        fail("a file without its picture");
}

}  // namespace
}  // namespace tvkfuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    ByteReader in(data, size);
    const MemoryLimit limit(kLargestAllocation, kMostMemory);
    const int32_t width = static_cast<int32_t>(in.word(2) & 0x1FF), height = static_cast<int32_t>(in.word(2) & 0xFF);
    VideoFrame *frame = nullptr;
    if (tvkCreateVideoFrameWHC(&frame, width, height, in.byte() & 3) != 0) return 0;
    const uint8_t kind = in.byte();
    frame->progressiveFrame = kind & 1;
    frame->topFieldFirst = kind >> 1 & 1;
    Shape shape = {kTargets[in.byte() & 7], 0, 0, 0};
    shape.stride = (4 * in.byte() + width + static_cast<int32_t>(in.byte() & 3)) & (kind & 4 ? -1 : ~15);
    shape.rows = height + static_cast<int32_t>(in.byte() & 7) - 1;
    shape.channels = in.byte();
    const uint8_t format = in.byte();
    fill(frame->lumaPlane, in);
    fill(frame->chromaPlane, in);
    if (shape.stride >= 0 && shape.rows >= 0) convert(*frame, shape, kind >> 3 & 3);
    if ((format & 0xF0) == 0) save(*frame, format % 5);
    VideoFrame *copy = nullptr;
    if (tvkDuplicateVideoFrame(frame, &copy) == 0) {
        tvkCopyVideoFrame(frame, copy);
        readFrame(*copy);
        tvkDestroyVideoFrame(copy);
    }
    tvkDestroyVideoFrame(frame);
    return 0;
}
