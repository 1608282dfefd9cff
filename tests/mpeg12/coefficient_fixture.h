// SPDX-License-Identifier: BSD-2-Clause
// Sets up a worker and the reference for the same macroblock: scans, weights, code lists.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "mpeg12/code_lists.h"
#include "mpeg12/slice_fixture.h"
#include "reference/coefficients.h"
#include "stream_writer/random.h"

namespace tvktest {

using reference::CodeTable;
using reference::CoefficientCase;
using reference::CoefficientCode;
using reference::Form;

// Row and column of each scan position, ISO/IEC 13818-2 figures 7-2 and 7-3.
inline const std::array<std::array<int, 64>, 2> &standardScans() {
    static const std::array<std::array<int, 64>, 2> scans = {
        {{0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
          41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
          30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63},
         {0,  8,  16, 24, 1,  9,  2,  10, 17, 25, 32, 40, 48, 56, 57, 49, 41, 33, 26, 18, 3,  11,
          4,  12, 19, 27, 34, 42, 50, 58, 35, 43, 51, 59, 20, 28, 5,  13, 6,  14, 21, 29, 36, 44,
          52, 60, 37, 45, 53, 61, 22, 30, 7,  15, 23, 31, 38, 46, 54, 62, 39, 47, 55, 63}}};
    return scans;
}

inline int storagePosition(Form form, int rowByColumn) {
    constexpr std::array<int, 8> kPermuted = {0, 2, 1, 3, 4, 6, 5, 7};
    const int row = rowByColumn / 8, column = rowByColumn % 8;
    return form == Form::precise ? 8 * row + kPermuted[static_cast<size_t>(column)] : 8 * column + row;
}

inline const CodeTable &codeTable(bool tableOne) {
    const auto make = [](bool one) {
        CodeTable t;
        for (const tvk::test::FlatCoefficient &c : tvk::test::coefficientList(one))
            t.codes.push_back({c.code, c.length, c.run, c.level});
        const tvk::CodeBits end = tvk::test::endOfBlock(one), escape = tvk::codes::kCoefficientEscape;
        t.endOfBlock = {end.code, end.length, 0, 0};
        t.escape = {escape.code, escape.length, 0, 0};
        return t;
    };
    static const CodeTable tables[2] = {make(false), make(true)};
    return tables[tableOne];
}

inline const std::vector<reference::SizeCode> &dcSizes(bool chroma) {
    const auto make = [](int32_t table) {
        std::vector<reference::SizeCode> list;
        for (const tvk::test::FlatCode &c : tvk::test::codeList(table)) list.push_back({c.code, c.length, c.value});
        return list;
    };
    static const std::vector<reference::SizeCode> lists[2] = {make(tvk::vlcDcSizeLuminance),
                                                              make(tvk::vlcDcSizeChrominance)};
    return lists[chroma];
}

inline int quantiserScaleOf(bool nonLinear, int code) {
    if (!nonLinear) return 2 * code;
    constexpr std::array<int, 32> kScales = {0,  1,  2,  3,  4,  5,  6,  7,  8,  10, 12, 14, 16, 18, 20,  22,
                                             24, 28, 32, 36, 40, 44, 48, 52, 56, 64, 72, 80, 88, 96, 104, 112};
    return kScales[static_cast<size_t>(code)];
}

struct CoefficientState : SliceState {
    CoefficientCase c = {};
    int scaleCode = 1;
    bool nonLinear = false, intraVlc = false;
    std::array<int, 3> dc = {};
    static inline std::vector<tvk::CodedBlock> handedOver;

    // Flat weights of 16, quantiser_scale 2, all blocks coded, 4:2:0 of a frame picture. Blocks are recorded, not
    // transformed.
    explicit CoefficientState(Form form) {
        handedOver.clear();
        stream->chosen.residualReconstruct = [](tvk::SliceWorker *w) { handedOver.push_back(w->codedBlock); };
        c.form = form;
        c.blocks = 6;
        c.coded = 0xFFF00000;
        for (auto &matrix : c.weight) matrix.fill(16);
    }

    // Brings case and worker to what the members say.
    void apply() {
        c.tableOne = c.intra && intraVlc;
        c.table = &codeTable(c.tableOne);
        c.dcSize[0] = &dcSizes(false);
        c.dcSize[1] = &dcSizes(true);
        c.scale = quantiserScaleOf(nonLinear, scaleCode);
        for (size_t i = 0; i < 64; ++i) c.scan[i] = storagePosition(c.form, standardScans()[c.alternate][i]);

        stream->streamType = c.mpeg1 ? 1 : 2;
        setFormat(c.blocks == 6   ? tvk::chroma420
                  : c.blocks == 8 ? tvk::chroma422
                                  : tvk::chroma444,
                  c.fieldPicture ? tvk::structureTopField : tvk::structureFrame);
        coding().intraDcPrecision = static_cast<uint8_t>(c.dcPrecision);
        coding().qScaleType = nonLinear;
        coding().intraVlcFormat = intraVlc;
        coding().alternateScan = c.alternate;
        macroblock().macroblockIntra = c.intra;
        macroblock().codedBlockMask = c.intra ? 0xFFF00000 : c.coded;
        macroblock().dctType = c.fieldDct;
        macroblock().quantiserScaleCode = static_cast<uint8_t>(scaleCode);
        for (size_t i = 0; i < 3; ++i) worker->dcPredictor[i] = dc[i];
        applyTables();
    }

    void applyTables() {
        tvk::Headers &h = headers();
        uint8_t *weights[4] = {h.quantMatrix.intra, h.quantMatrix.nonIntra, h.quantMatrix.chromaIntra,
                               h.quantMatrix.chromaNonIntra};
        uint32_t *factors[4] = {h.intraLumaFactors.factor, h.nonIntraLumaFactors.factor, h.intraChromaFactors.factor,
                                h.nonIntraChromaFactors.factor};
        for (size_t m = 0; m < 4; ++m)
            for (size_t s = 0; s < 64; ++s) {
                weights[m][s] = static_cast<uint8_t>(c.weight[m][s]);
                factors[m][s] = static_cast<uint32_t>(c.weight[m][s] * 128 * reference::aanScale(static_cast<int>(s)));
            }
        for (size_t a = 0; a < 2; ++a)
            for (size_t i = 0; i < 64; ++i)
                h.scanTable[a][i] = static_cast<uint8_t>(storagePosition(c.form, standardScans()[a][i]));
    }

    int32_t parse() {
        switch (c.form) {
            case Form::fast:
                return tvk::DecodeCoefficientsFast(worker.get());
            case Form::precise:
                return tvk::DecodeCoefficientsPrecise(worker.get());
            default:
                return tvk::DecodeCoefficientsCompact(worker.get());
        }
    }

    int32_t parse(const BitWriter &bits) {
        apply();
        load(bits);
        return parse();
    }

    bool low(int block) const { return (worker->lowBlockMask << block & 0x80000000U) != 0; }
};

inline void put(BitWriter &w, const CoefficientCode &c) {
    w.put(static_cast<uint32_t>(c.length), c.code);
}

inline void putEnd(BitWriter &w, bool tableOne = false) {
    put(w, codeTable(tableOne).endOfBlock);
}

inline void putEscape(BitWriter &w, bool mpeg1, int run, int level) {
    put(w, codeTable(false).escape);
    w.put(6, static_cast<uint32_t>(run));
    const auto bits = static_cast<uint32_t>(level);
    if (!mpeg1) {
        w.put(12, bits & 0xFFF);
    } else if (level > -128 && level < 128 && level != 0) {
        w.put(8, bits & 0xFF);
    } else {
        w.put(8, level < 0 ? 0x80 : 0).put(8, bits & 0xFF);
    }
}

}  // namespace tvktest
