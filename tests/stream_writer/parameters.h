// SPDX-License-Identifier: BSD-2-Clause
// What a test says about a stream, from the sequence down to the coefficient.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "mpeg12/vlc_codes.h"

namespace tvktest {

using Matrix = std::array<uint8_t, 64>;  // in zig-zag order, as it is coded

struct SequenceParameters {
    bool mpeg2 = true;
    uint32_t width = 64, height = 48;
    uint32_t chromaFormat = 1;
    bool progressive = true;  // MPEG-1 is always so
    uint32_t aspectRatioCode = 1, frameRateCode = 3;
    uint32_t bitRateValue = 2500, vbvBufferSize = 20;  // in units of 400 bit/s and 16 kbit
    bool constrained = false;
    std::optional<Matrix> intraMatrix, nonIntraMatrix;
    uint32_t profileAndLevel = 0x48;
    bool lowDelay = false;
    uint32_t frameRateExtensionN = 0, frameRateExtensionD = 0;

    uint32_t macroblockColumns() const { return (width + 15) / 16; }
    // Of a frame; a field picture has half of them.
    uint32_t macroblockRows() const { return mpeg2 && !progressive ? (height + 31) / 32 * 2 : (height + 15) / 16; }
    uint32_t blocks() const { return chromaFormat == 1 ? 6 : chromaFormat == 2 ? 8 : 12; }
};

struct QuantMatrices {
    std::optional<Matrix> intra, nonIntra, chromaIntra, chromaNonIntra;
};

struct GroupParameters {
    bool dropFrame = false;
    uint32_t hours = 0, minutes = 0, seconds = 0, pictures = 0;
    bool closed = true, brokenLink = false;
};

enum : uint32_t { kTopField = 1, kBottomField = 2, kFrame = 3 };
enum : uint32_t { kPictureI = 1, kPictureP = 2, kPictureB = 3, kPictureD = 4 };

struct PictureParameters {
    uint32_t type = kPictureI;
    uint32_t temporalReference = 0, vbvDelay = 0xFFFF;
    // [forward, backward][horizontal, vertical], 1 to 9, 15 where unused. MPEG-1 writes the horizontal ones.
    uint32_t fCode[2][2] = {{15, 15}, {15, 15}};
    bool fullPel[2] = {false, false};
    std::vector<uint8_t> extraInformation;

    // The coding extension.
    uint32_t intraDcPrecision = 0;  // 0 to 3: 8 to 11 bits
    uint32_t structure = kFrame;
    bool topFieldFirst = false, framePredFrameDct = true, concealment = false, qScaleType = false;
    bool intraVlc = false, alternateScan = false, repeatFirstField = false, progressiveFrame = true;
    bool compositeDisplay = false;

    bool isFrame() const { return structure == kFrame; }
};

struct SliceParameters {
    uint32_t row = 0;
    uint32_t quantiserCode = 8;
    bool intraSliceFlag = false;  // with it the intra_slice bit and seven reserved ones
    bool intraSlice = false;
    std::vector<uint8_t> extraInformation{};  // only with intraSliceFlag in MPEG-2; MPEG-1 has no other bits there
};

struct Vector {
    int32_t x = 0, y = 0;
    bool operator==(const Vector &) const = default;
};

struct RunLevel {
    int32_t run = 0;
    int32_t level = 1;
    bool escape = false;  // even where a shorter code exists
};

struct BlockDescription {
    int32_t dc = 128;  // intra: the value itself, in steps of the picture's DC precision
    std::vector<RunLevel> coefficients;
};

enum : uint32_t { kMotionField = 1, kMotionFrame = 2, kMotion16x8 = 2, kMotionDualPrime = 3 };

struct MacroblockDescription {
    uint32_t type = tvk::typeIntra;      // bits of MacroblockTypeFlag
    uint32_t stuffing = 0;               // MPEG-1: stuffing codes ahead of the increment
    uint32_t quantiserCode = 8;          // written with typeQuant
    uint32_t motionType = kMotionFrame;  // frame_motion_type or field_motion_type
    bool fieldDct = false;
    // [vector][forward, backward], in the units that the motion type has; concealment is [0][0].
    Vector vectors[2][2];
    bool fieldSelect[2][2] = {};
    int32_t dmVector[2] = {0, 0};
    uint32_t codedBlocks = 0;  // bit i: block i; read with typePattern
    BlockDescription blocks[12];
};

}  // namespace tvktest
