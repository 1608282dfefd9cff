// SPDX-License-Identifier: BSD-2-Clause
// Checks a conversion's arguments, fills its job and runs the row converter.
#include "output/convert.h"

#include <cstddef>
#include <cstring>

#include "output/converter_table.h"

namespace tvk {
namespace {

constexpr int32_t fourcc(const char (&name)[5]) {
    return name[0] | name[1] << 8 | name[2] << 16 | name[3] << 24;
}

bool layoutOfTarget(int32_t target, TargetLayout &layout) {
    switch (target) {
        case 15:
            layout = TargetLayout::rgb15;
            return true;
        case 16:
            layout = TargetLayout::rgb16;
            return true;
        case 24:
            layout = TargetLayout::rgb24;
            return true;
        case 32:
            layout = TargetLayout::rgb32;
            return true;
        case fourcc("YUY2"):
        case fourcc("yuy2"):
            layout = TargetLayout::yuy2;
            return true;
        case fourcc("UYVY"):
        case fourcc("uyvy"):
            layout = TargetLayout::uyvy;
            return true;
        case fourcc("YV12"):
        case fourcc("yv12"):
            layout = TargetLayout::yv12;
            return true;
        case fourcc("YVU9"):
        case fourcc("yvu9"):
            layout = TargetLayout::yvu9;
            return true;
        default:
            return false;
    }
}

void fillConstants(ConversionConstants &c, TargetLayout layout, int32_t channels) {
    const auto mask = [channels](int32_t bit) { return static_cast<uint8_t>((channels & bit) != 0 ? 255 : 0); };
    const auto fill = [channels](int32_t bit, uint8_t blank) {
        return static_cast<uint8_t>((channels & bit) != 0 ? 0 : blank);
    };
    for (size_t i = 0; i < 16; ++i) {
        const int32_t component = i % 2 == 0 ? keepCb : keepCr;
        c.chromaMask[i] = mask(component);
        c.chromaFill[i] = fill(component, kBlankChroma);
    }
    std::memset(c.lumaMask, mask(keepLuma), 16);
    std::memset(c.lumaFill, fill(keepLuma, isRgb(layout) ? kBlankLumaRgb : kBlankLuma), 16);
}

// What both calls ask of their common arguments; fills all of the job but its targets and rows.
bool prepareJob(const VideoFrame *frame, int32_t target, int32_t stride, int32_t channels, ConversionJob &job,
                TargetLayout &layout) {
    if (frame == nullptr || stride < 1 || stride % 16 != 0 || stride < frame->lumaPlane.width) return false;
    if ((channels & keepAll) == 0 || !layoutOfTarget(target, layout) || !viewFrame(*frame, job.frame)) return false;
    job.targetStride = stride;
    fillConstants(job.constants, layout, channels);
    return true;
}

void runJob(const ConversionJob &job, TargetLayout layout, bool progressive, int32_t channels) {
    const int32_t format = job.frame.chromaFormat;
    const bool interlaced = !progressive && hasInterlacedForm(layout, format);
    const bool swapped = (channels & swapRedAndBlue) != 0;
    rowConverterAt(rowKindIndex({layout, format, interlaced, swapped}))(job);
}

}  // namespace

int32_t convertFrame(const VideoFrame *frame, int32_t target, uint8_t *buffer, int32_t stride, int32_t rows,
                     int32_t channels) {
    ConversionJob job;
    TargetLayout layout;
    if (buffer == nullptr || rows < 1 || !prepareJob(frame, target, stride, channels, job, layout))
        return tvkErrInvalidArgument;
    const int32_t height = job.frame.luma.height;
    if (rows < height || (job.frame.chromaFormat == 1 && rows % 2 != 0)) return tvkErrInvalidArgument;

    const ptrdiff_t lumaSize = ptrdiff_t{stride} * rows;
    job.target[0] = buffer;
    job.target[1] = isPlanar(layout) ? buffer + lumaSize : nullptr;
    job.target[2] = isPlanar(layout) ? job.target[1] + lumaSize / (layout == TargetLayout::yvu9 ? 16 : 4) : nullptr;
    job.targetRows = rows;
    // An odd picture's last row brings the stored one below with it where there is room: picture files want it.
    job.convertedRows = rows > height ? height + height % 2 : height;
    runJob(job, layout, frame->progressiveFrame != 0, channels);
    return 0;
}

int32_t convertFramePlanes(const VideoFrame *frame, int32_t target, uint8_t *first, uint8_t *second, uint8_t *third,
                           int32_t stride, int32_t channels) {
    ConversionJob job;
    TargetLayout layout;
    if (first == nullptr || !prepareJob(frame, target, stride, channels, job, layout)) return tvkErrInvalidArgument;
    if (isPlanar(layout) && (second == nullptr || third == nullptr)) return tvkErrInvalidArgument;

    job.target[0] = first;
    job.target[1] = second;
    job.target[2] = third;
    job.targetRows = job.convertedRows = job.frame.luma.height;
    runJob(job, layout, frame->progressiveFrame != 0, channels);
    return 0;
}

}  // namespace tvk
