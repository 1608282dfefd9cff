// SPDX-License-Identifier: BSD-2-Clause
// Quantiser matrices in both storage orders, the scans, and the scale table that their factors carry.
#include "syntax/quant_matrices.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <numeric>
#include <set>

#include "core/aan_scale.h"
#include "header_fixture.h"

namespace {

using namespace tvk;
using namespace tvktest;

// The scans as walks over the block, told apart from the tables that the library holds.
std::vector<std::pair<uint32_t, uint32_t>> zigzagWalk() {
    std::vector<std::pair<uint32_t, uint32_t>> walk;
    for (int32_t diagonal = 0; diagonal < 15; ++diagonal) {
        for (int32_t i = 0; i <= diagonal; ++i) {
            const int32_t row = diagonal % 2 ? i : diagonal - i;
            const int32_t column = diagonal - row;
            if (row < 8 && column < 8) walk.emplace_back(row, column);
        }
    }
    return walk;
}

struct Matrices : HeaderTest {
    void parse(const uint8_t *intra, const uint8_t *nonIntra) {
        load(sequenceBits({.intra = intra, .nonIntra = nonIntra}));
        parseSequenceHeader(stream.get());
    }
    // Matrices in the order of the extension, null for what is not loaded.
    void parseMatrixExtension(const uint8_t *a, const uint8_t *b, const uint8_t *c, const uint8_t *d) {
        BitWriter bits;
        for (const uint8_t *matrix : {a, b, c, d}) putMatrix(bits, matrix);
        load(bits);
        parseQuantMatrixExtension(stream.get());
    }
    QuantMatrixRecord &record() { return headers().quantMatrix; }
};

std::vector<uint8_t> rising(uint8_t first) {
    std::vector<uint8_t> matrix(64);
    std::iota(matrix.begin(), matrix.end(), first);
    return matrix;
}

void expectFactors(const QuantiserFactors &factors, const uint8_t (&weights)[64]) {
    for (uint32_t i = 0; i < 64; ++i)
        ASSERT_EQ(factors.factor[i], uint32_t{weights[i]} * static_cast<uint32_t>(aanScale[i]) * 128) << i;
}

TEST(AanScale, isTheRoundedProductOfItsCosines) {
    const auto s = [](int32_t k) { return k == 0 ? 1.0 : std::numbers::sqrt2 * std::cos(k * std::numbers::pi / 16); };
    for (int32_t r = 0; r < 8; ++r)
        for (int32_t c = 0; c < 8; ++c) EXPECT_EQ(aanScale[8 * r + c], std::lround(16384 * s(r) * s(c))) << r << c;
}

TEST(ScanTables, zigzagWalksTheDiagonals) {
    const auto walk = zigzagWalk();
    ASSERT_EQ(walk.size(), 64u);
    for (uint32_t i = 0; i < 64; ++i) {
        EXPECT_EQ(kFastScans[0][i], 8 * walk[i].second + walk[i].first);
        EXPECT_EQ(kPreciseScans[0][i], storagePosition(true, walk[i].first, walk[i].second));
    }
}

TEST(ScanTables, alternateScanStartsDownTheFirstColumn) {
    // Transposed storage: down a column is along a memory row.
    const uint8_t begin[12] = {0, 1, 2, 3, 8, 9, 16, 17, 10, 11, 4, 5};
    EXPECT_TRUE(std::equal(begin, begin + 12, kFastScans[1].begin()));
    EXPECT_EQ(kFastScans[1][63], 63);
    EXPECT_EQ(kPreciseScans[1][4], 2) << "column 1 stands where column 2 was";
}

TEST(ScanTables, everyScanReachesEveryPositionOnce) {
    for (const ScanTables &tables : {kFastScans, kPreciseScans})
        for (const auto &scan : tables) EXPECT_EQ(std::set<uint8_t>(scan.begin(), scan.end()).size(), 64u);
}

TEST(ScanTables, preciseStorageExchangesTwoPairsOfColumns) {
    const uint8_t row[8] = {8, 10, 9, 11, 12, 14, 13, 15};
    for (uint32_t c = 0; c < 8; ++c) EXPECT_EQ(storagePosition(true, 1, c), row[c]);
}

TEST_F(Matrices, defaultsStandTransposed) {
    parse(nullptr, nullptr);
    EXPECT_EQ(record().intra[0], 8);
    EXPECT_EQ(record().intra[1], 16);
    EXPECT_EQ(record().intra[8 * 7 + 0], 34) << "row 0, column 7";
    EXPECT_EQ(record().intra[8 * 0 + 7], 27) << "row 7, column 0";
    EXPECT_EQ(record().intra[63], 83);
    EXPECT_TRUE(std::all_of(record().nonIntra, record().nonIntra + 64, [](uint8_t w) { return w == 16; }));
    EXPECT_EQ(std::memcmp(headers().scanTable, kFastScans.data(), 128), 0);
    expectFactors(headers().intraLumaFactors, record().intra);
    expectFactors(headers().nonIntraLumaFactors, record().nonIntra);
}

TEST_F(Matrices, defaultsStandInExchangedColumnsForThePreciseForm) {
    stream->settings.precision = 1;
    parse(nullptr, nullptr);
    const uint8_t row[8] = {8, 19, 16, 22, 26, 29, 27, 34};
    EXPECT_TRUE(std::equal(row, row + 8, record().intra));
    EXPECT_EQ(std::memcmp(headers().scanTable, kPreciseScans.data(), 128), 0);
}

TEST_F(Matrices, precisionTakesEffectAtTheNextMatrix) {
    parse(nullptr, nullptr);
    stream->settings.precision = 1;
    parseMatrixExtension(nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(std::memcmp(headers().scanTable, kFastScans.data(), 128), 0);
    parseMatrixExtension(nullptr, rising(1).data(), nullptr, nullptr);
    EXPECT_EQ(std::memcmp(headers().scanTable, kPreciseScans.data(), 128), 0);
}

TEST_F(Matrices, headerLoadsInZigzagOrder) {
    for (uint32_t precision : {1u, 2u}) {
        stream->settings.precision = precision;
        const auto intra = rising(3), nonIntra = rising(100);
        parse(intra.data(), nonIntra.data());
        const auto walk = zigzagWalk();
        for (uint32_t i = 0; i < 64; ++i) {
            const uint32_t at = storagePosition(precision == 1, walk[i].first, walk[i].second);
            EXPECT_EQ(record().intra[at], 3 + i);
            EXPECT_EQ(record().nonIntra[at], 100 + i);
        }
        EXPECT_EQ(record().loadIntra, 1);
        EXPECT_EQ(record().loadNonIntra, 1);
        EXPECT_EQ(bitsLeft(), 0u);
    }
}

TEST_F(Matrices, chromaTakesWhatTheHeaderLoaded) {
    const auto intra = rising(3), nonIntra = rising(100);
    parse(intra.data(), nonIntra.data());
    EXPECT_EQ(std::memcmp(record().chromaIntra, record().intra, 64), 0);
    EXPECT_EQ(std::memcmp(record().chromaNonIntra, record().nonIntra, 64), 0);
    expectFactors(headers().intraChromaFactors, record().intra);
    expectFactors(headers().nonIntraChromaFactors, record().nonIntra);
}

TEST_F(Matrices, repeatedHeaderResetsAllThatItDoesNotLoad) {
    const auto weights = rising(40);
    parse(weights.data(), weights.data());
    parseMatrixExtension(nullptr, nullptr, weights.data(), weights.data());
    parse(nullptr, nullptr);
    EXPECT_EQ(record().intra[63], 83);
    EXPECT_EQ(record().nonIntra[63], 16);
    EXPECT_EQ(record().chromaIntra[63], 83);
    EXPECT_EQ(record().chromaNonIntra[63], 16);
    expectFactors(headers().intraChromaFactors, record().intra);
}

TEST_F(Matrices, extensionLoadsEachOfTheFour) {
    const auto a = rising(1), b = rising(20), c = rising(60), d = rising(120);
    parseMatrixExtension(a.data(), b.data(), c.data(), d.data());
    const uint32_t second = kFastScans[0][1];
    EXPECT_EQ(record().intra[second], 2);
    EXPECT_EQ(record().nonIntra[second], 21);
    EXPECT_EQ(record().chromaIntra[second], 61);
    EXPECT_EQ(record().chromaNonIntra[second], 121);
    expectFactors(headers().intraChromaFactors, record().chromaIntra);
    expectFactors(headers().nonIntraChromaFactors, record().chromaNonIntra);
    EXPECT_EQ(stream->counters.quantMatrixExtensions, 1u);
    EXPECT_EQ(events.back().eventCode, 4u);
    EXPECT_EQ(events.back().quantMatrix, &record());
}

TEST_F(Matrices, extensionWithoutChromaCopiesLumaAgain) {
    parse(nullptr, nullptr);
    const auto a = rising(1), c = rising(60);
    parseMatrixExtension(a.data(), nullptr, c.data(), nullptr);
    EXPECT_EQ(record().nonIntra[5], 16);
    EXPECT_EQ(record().chromaIntra[0], 60);
    parseMatrixExtension(nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(record().intra[0], 1);
    EXPECT_EQ(record().chromaIntra[0], 1);
    expectFactors(headers().intraChromaFactors, record().intra);
}

TEST_F(Matrices, largestWeightKeepsItsFactor) {
    const std::vector<uint8_t> most(64, 255);
    parse(most.data(), nullptr);
    EXPECT_EQ(headers().intraLumaFactors.factor[9], 255u * 31521 * 128);
}

}  // namespace
