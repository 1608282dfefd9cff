// SPDX-License-Identifier: BSD-2-Clause
// Single pictures written as BMP, JPEG, PNG or raw planes, by the ending of the name.
#include "picture_file.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include <png.h>

#include "open.h"
#include "output_file.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

struct Ending {
    const char *text;
    PictureFormat format;
    uint32_t libraryFormat;  // of tvkSaveVideoFrameToFile; 0: not one of its own
};
constexpr Ending kEndings[] = {
    {".bmp", PictureFormat::bmp, 1},
    {".raw", PictureFormat::raw, 2},
    {".jpg", PictureFormat::jpeg, 3},
    {".png", PictureFormat::png, 0},
};

const Ending &endingOf(PictureFormat format) {
    const Ending *ending = kEndings;
    while (ending->format != format) ++ending;
    return *ending;
}

// Rows of R, G, B. Their stride serves the converter, which asks for multiples of 16 and covers the row up to one of
// 32 samples.
struct RgbPicture {
    int32_t stride;
    std::vector<uint8_t> bytes;
};

RgbPicture toRgb(const VideoFrame &frame) {
    constexpr int32_t kTargetRgb24 = 24, kAllChannelsSwapped = 15;
    const int32_t samples = (frame.lumaPlane.width + 31) / 32 * 32, rows = (frame.lumaPlane.height + 1) / 2 * 2;
    RgbPicture rgb{samples * 3, {}};
    rgb.bytes.resize(static_cast<size_t>(rgb.stride) * static_cast<size_t>(rows));
    const int32_t result =
        tvkConvertVideoFrame(&frame, kTargetRgb24, rgb.bytes.data(), rgb.stride, rows, kAllChannelsSwapped);
    if (result != 0) throw ToolError(exitFailed, "conversion to RGB failed: " + describeError(result));
    return rgb;
}

void savePng(const VideoFrame &frame, const std::string &path) {
    const RgbPicture rgb = toRgb(frame);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(frame.lumaPlane.width);
    image.height = static_cast<png_uint_32>(frame.lumaPlane.height);
    image.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> png(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t size = png.size();
    if (!png_image_write_to_memory(&image, png.data(), &size, 0, rgb.bytes.data(), rgb.stride, nullptr)) {
        throw ToolError(exitFailed, path + ": " + image.message);
    }
    OutputFile file(path, "");
    file.write(png.data(), size);
    file.close();
}

}  // namespace

PictureName parsePictureName(const std::string &path) {
    for (const Ending &ending : kEndings) {
        if (path.size() > std::string(ending.text).size() && path.ends_with(ending.text)) {
            return {path.substr(0, path.size() - std::string(ending.text).size()), ending.format};
        }
    }
    throw ToolError(exitUsage, path + ": the name has to end in .png, .jpg, .bmp or .raw");
}

std::string pictureFileName(const PictureName &name) {
    return name.base + endingOf(name.format).text;
}

void savePicture(const VideoFrame &frame, const PictureName &name) {
    if (name.format == PictureFormat::png) {
        savePng(frame, pictureFileName(name));
        return;
    }
    const int32_t result = tvkSaveVideoFrameToFile(&frame, name.base.c_str(), endingOf(name.format).libraryFormat);
    if (result == 0) return;
    const bool notWritten = result == tvkErrSaveCreate || result == tvkErrSaveWrite;
    throw ToolError(exitFailed,
                    "cannot write " + pictureFileName(name) + (notWritten ? "" : ": " + describeError(result)));
}

}  // namespace tvk::tool
