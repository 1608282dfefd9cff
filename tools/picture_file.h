// SPDX-License-Identifier: BSD-2-Clause
// Single pictures written as BMP, JPEG, PNG or raw planes, by the ending of the name.
#pragma once

#include <string>

#include "tvk.h"

namespace tvk::tool {

enum class PictureFormat { bmp, jpeg, png, raw };

struct PictureName {
    std::string base;  // without the ending
    PictureFormat format;
};

// Throws ToolError when the name has none of the four endings.
PictureName parsePictureName(const std::string &path);
std::string pictureFileName(const PictureName &name);
// Throws ToolError. Raw planes are four files: NAME.i tells format and size, NAME.y, .u and .v hold the samples.
void savePicture(const VideoFrame &frame, const PictureName &name);

}  // namespace tvk::tool
