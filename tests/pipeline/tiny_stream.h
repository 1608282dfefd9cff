// SPDX-License-Identifier: BSD-2-Clause
// Writes streams of 16 x 32 samples whose pictures are plain grey, from a line of letters.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/stream.h"
#include "support/bit_writer.h"

namespace tvktest {

// The letters, each one element:
//   S sequence header          X sequence extension (what follows is MPEG-2, interlaced)
//   G group    C closed group  U user data        M quant matrix extension     E sequence end
//   I P B D frame pictures     i p b field pictures, top field first
//   R an I frame picture with repeat_first_field
// Pictures are intra throughout. The luma of the n-th picture, from 0, is 160 + n % 32.
struct TinyStream {
    std::vector<uint8_t> bytes;
    std::vector<size_t> pictureCodes;  // where the start codes of the pictures stand
    std::vector<size_t> headerCodes;   // where those of the sequence headers stand
    uint32_t width = 16, height = 32;
    uint32_t chromaFormat = 1;
    bool progressive = false;
    uint32_t userDataBytes = 3;
    std::vector<uint32_t> references;  // temporal references in coded order; by default they count on in the group

    TinyStream() = default;
    explicit TinyStream(const std::string &letters) { add(letters); }

    TinyStream &add(const std::string &letters) {
        for (char letter : letters) addElement(letter);
        return *this;
    }

    // A group whose time code says so many seconds and pictures.
    TinyStream &addGroup(uint32_t seconds, uint32_t pictures) {
        reference = 0;
        startCode(tvk::codeGroup).put(1, 0).put(5, seconds / 3600).put(6, seconds / 60 % 60).put(1, 1);
        writer.put(6, seconds % 60).put(6, pictures).put(2, 0).align();
        flush();
        return *this;
    }

    // An I picture's header without slices.
    TinyStream &addPictureHeader() {
        pictureCodes.push_back(bytes.size());
        startCode(tvk::codePicture).put(10, reference++).put(3, tvk::pictureI).put(17, 0x1FFFE);
        flush();
        return *this;
    }

    // Slices without a picture.
    TinyStream &addSlices(uint32_t count) {
        for (uint32_t row = 0; row < count; ++row) putSlice(tvk::pictureI, row);
        flush();
        return *this;
    }

    size_t pictures() const { return pictureCodes.size(); }

  private:
    BitWriter writer;
    bool mpeg2 = false;
    uint32_t reference = 0;
    bool secondField = false;

    BitWriter &startCode(uint32_t code) { return writer.startCode(code); }

    void flush() {
        writer.align();
        bytes.insert(bytes.end(), writer.bytes.begin(), writer.bytes.end());
        writer = {};
    }

    void addElement(char letter) {
        switch (letter) {
            case 'S':
                putSequenceHeader();
                break;
            case 'X':
                putSequenceExtension();
                break;
            case 'G':
                putGroup(false);
                break;
            case 'C':
                putGroup(true);
                break;
            case 'U':
                putUserData();
                break;
            case 'M':
                putMatrixExtension();
                break;
            case 'E':
                startCode(tvk::codeSequenceEnd);
                break;
            case 'I':
            case 'R':
                putPicture(tvk::pictureI, tvk::structureFrame, letter == 'R');
                break;
            case 'P':
                putPicture(tvk::pictureP, tvk::structureFrame, false);
                break;
            case 'B':
                putPicture(tvk::pictureB, tvk::structureFrame, false);
                break;
            case 'D':
                putPicture(tvk::pictureD, tvk::structureFrame, false);
                break;
            case 'i':
                putField(tvk::pictureI);
                break;
            case 'p':
                putField(tvk::pictureP);
                break;
            case 'b':
                putField(tvk::pictureB);
                break;
            default:
                break;
        }
        flush();
    }

    void putSequenceHeader() {
        headerCodes.push_back(bytes.size());
        mpeg2 = false;
        startCode(tvk::codeSequenceHeader).put(12, width).put(12, height).put(4, 1).put(4, 3);
        writer.put(18, 2500).put(1, 1).put(10, 20).put(3, 0);
    }

    void putSequenceExtension() {
        mpeg2 = true;
        startCode(tvk::codeExtension).put(4, 1).put(8, 0x48).put(1, progressive ? 1 : 0).put(2, chromaFormat);
        writer.put(4, 0).put(12, 0).put(1, 1).put(8, 0).put(1, 0).put(7, 0);
    }

    void putGroup(bool closed) {
        reference = 0;
        startCode(tvk::codeGroup).put(12, 0).put(1, 1).put(12, 0).put(1, closed ? 1 : 0).put(1, 0);
    }

    void putUserData() {
        startCode(tvk::codeUserData);
        for (uint32_t i = 0; i < userDataBytes; ++i) writer.byte(0x41 + i % 26);
    }

    void putMatrixExtension() {
        startCode(tvk::codeExtension).put(4, 3).put(1, 1);
        for (int i = 0; i < 64; ++i) writer.put(8, 8 + static_cast<uint32_t>(i));
        writer.put(3, 0);
    }

    void putField(uint32_t type) {
        putPicture(type, secondField ? tvk::structureBottomField : tvk::structureTopField, false);
        secondField = !secondField;
        if (secondField) --reference;
    }

    void putPicture(uint32_t type, uint32_t structure, bool repeat) {
        const size_t n = pictureCodes.size();
        pictureCodes.push_back(bytes.size());
        const uint32_t temporal = n < references.size() ? references[n] : reference;
        startCode(tvk::codePicture).put(10, temporal).put(3, type).put(16, 0xFFFF);
        if (type == tvk::pictureP || type == tvk::pictureB) writer.put(1, 0).put(3, 1);
        if (type == tvk::pictureB) writer.put(1, 0).put(3, 1);
        writer.put(1, 0);
        ++reference;
        if (mpeg2) putPictureCoding(structure, repeat);
        const uint32_t rows = structure == tvk::structureFrame ? (height + 15) / 16 : (height + 31) / 32;
        for (uint32_t row = 0; row < rows; ++row) putSlice(type, row);
    }

    void putPictureCoding(uint32_t structure, bool repeat) {
        const bool frame = structure == tvk::structureFrame;
        startCode(tvk::codeExtension).put(4, 8).put(16, 0x1111).put(2, 0).put(2, structure);
        writer.put(1, frame ? 1 : 0).put(1, frame ? 1 : 0).put(4, 0).put(1, repeat ? 1 : 0);
        writer.put(1, 0).put(1, frame ? 1 : 0).put(1, 0);
    }

    // Macroblocks with six intra blocks, of which only the first luma block's DC differs from its prediction.
    void putSlice(uint32_t type, uint32_t row) {
        const uint32_t shade = static_cast<uint32_t>(pictureCodes.empty() ? 0 : pictureCodes.size() - 1) % 32;
        startCode(tvk::codeFirstSlice + row).put(5, 1).put(1, 0);
        for (uint32_t i = 0; i < (width + 15) / 16; ++i) putMacroblock(type, i == 0 ? 32 + shade : 0);
    }

    void putMacroblock(uint32_t type, uint32_t difference) {
        writer.put(1, 1);
        if (type == tvk::pictureI || type == tvk::pictureD) {
            writer.put(1, 1);
        } else {
            writer.put(5, 3);
        }
        const uint32_t chromaBlocks = mpeg2 ? (chromaFormat == 1 ? 2 : chromaFormat == 2 ? 4 : 8) : 2;
        for (uint32_t block = 0; block < 4; ++block) {
            if (block == 0 && difference) {
                writer.put(5, 0x1E).put(6, difference);
            } else {
                writer.put(3, 4);
            }
            writer.put(2, 2);
        }
        for (uint32_t block = 0; block < chromaBlocks; ++block) writer.put(2, 0).put(2, 2);
    }
};

}  // namespace tvktest
