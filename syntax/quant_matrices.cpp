// SPDX-License-Identifier: BSD-2-Clause
// Quantiser matrices: defaults, loading, and the factors that carry the inverse transform's scale.
#include "syntax/quant_matrices.h"

#include <cstring>

#include "core/aan_scale.h"
#include "core/callbacks.h"
#include "input/video_input.h"
#include "syntax/headers.h"

namespace tvk {
namespace {

using Matrix = std::array<uint8_t, 64>;

// Scans of ISO/IEC 13818-2, figures 7-2 and 7-3: scan position to 8 * row + column.
constexpr Matrix kZigzagScan = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,   //
                                12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,  //
                                35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,  //
                                58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
constexpr Matrix kAlternateScan = {0,  8,  16, 24, 1, 9,  2,  10, 17, 25, 32, 40, 48, 56, 57, 49,  //
                                   41, 33, 26, 18, 3, 11, 4,  12, 19, 27, 34, 42, 50, 58, 35, 43,  //
                                   51, 59, 20, 28, 5, 13, 6,  14, 21, 29, 36, 44, 52, 60, 37, 45,  //
                                   53, 61, 22, 30, 7, 15, 23, 31, 38, 46, 54, 62, 39, 47, 55, 63};

constexpr Matrix kDefaultIntra = {8,  16, 19, 22, 26, 27, 29, 34,  //
                                  16, 16, 22, 24, 27, 29, 34, 37,  //
                                  19, 22, 26, 27, 29, 34, 34, 38,  //
                                  22, 22, 26, 27, 29, 34, 37, 40,  //
                                  22, 26, 27, 29, 32, 35, 40, 48,  //
                                  26, 27, 29, 32, 35, 40, 48, 58,  //
                                  26, 27, 29, 34, 38, 46, 56, 69,  //
                                  27, 29, 35, 38, 46, 56, 69, 83};
constexpr uint8_t kDefaultNonIntra = 16;

constexpr ScanTables storedScans(bool precise) {
    ScanTables scans = {};
    for (uint32_t i = 0; i < 64; ++i) {
        scans[0][i] = storagePosition(precise, kZigzagScan[i] / 8u, kZigzagScan[i] % 8u);
        scans[1][i] = storagePosition(precise, kAlternateScan[i] / 8u, kAlternateScan[i] % 8u);
    }
    return scans;
}

// One matrix with the factors that go with it.
struct Weights {
    uint8_t (&weight)[64];
    QuantiserFactors &factors;
};

Weights intraLuma(Headers &h) {
    return {h.quantMatrix.intra, h.intraLumaFactors};
}
Weights nonIntraLuma(Headers &h) {
    return {h.quantMatrix.nonIntra, h.nonIntraLumaFactors};
}
Weights intraChroma(Headers &h) {
    return {h.quantMatrix.chromaIntra, h.intraChromaFactors};
}
Weights nonIntraChroma(Headers &h) {
    return {h.quantMatrix.chromaNonIntra, h.nonIntraChromaFactors};
}

bool isPrecise(const VideoStream *stream) {
    return stream->settings.precision == 1;
}

// Storage order follows the precision of this moment, so the scans come along with every matrix: a later change of the
// setting must not part them.
void takeScans(VideoStream *stream) {
    const ScanTables &scans = isPrecise(stream) ? kPreciseScans : kFastScans;
    static_assert(sizeof scans == sizeof stream->headers.scanTable);
    std::memcpy(stream->headers.scanTable, scans.data(), sizeof scans);
}

// factor <= 255 * 31521 * 128 < 2^30. Both storage orders use the one scale table; only the transposed one needs it.
void rebuildFactors(const Weights &target) {
    for (uint32_t i = 0; i < 64; ++i)
        target.factors.factor[i] = uint32_t{target.weight[i]} * static_cast<uint32_t>(aanScale[i]) * 128;
}

// Sent in zigzag order, also to streams of alternate scan.
void loadMatrix(VideoStream *stream, const Weights &target) {
    BitReader &r = stream->input->reader;
    takeScans(stream);
    for (uint32_t i = 0; i < 64; ++i) target.weight[stream->headers.scanTable[0][i]] = getByte(r, 8);
    rebuildFactors(target);
}

void takeDefaultIntra(VideoStream *stream) {
    const Weights target = intraLuma(stream->headers);
    takeScans(stream);
    for (uint32_t i = 0; i < 64; ++i)
        target.weight[storagePosition(isPrecise(stream), i / 8, i % 8)] = kDefaultIntra[i];
    rebuildFactors(target);
}

void takeDefaultNonIntra(VideoStream *stream) {
    const Weights target = nonIntraLuma(stream->headers);
    takeScans(stream);
    std::memset(target.weight, kDefaultNonIntra, sizeof target.weight);
    rebuildFactors(target);
}

void copyMatrix(const Weights &from, const Weights &target) {
    std::memcpy(target.weight, from.weight, sizeof target.weight);
    target.factors = from.factors;
}

void copyLumaToChroma(Headers &headers) {
    copyMatrix(intraLuma(headers), intraChroma(headers));
    copyMatrix(nonIntraLuma(headers), nonIntraChroma(headers));
}

}  // namespace

constexpr ScanTables kPreciseScans = storedScans(true);
constexpr ScanTables kFastScans = storedScans(false);

void takeDefaultMatrices(VideoStream *stream) {
    takeDefaultIntra(stream);
    takeDefaultNonIntra(stream);
    copyLumaToChroma(stream->headers);
}

void readSequenceMatrices(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    Headers &headers = stream->headers;
    headers.quantMatrix.loadIntra = getByte(r, 1);
    if (headers.quantMatrix.loadIntra)
        loadMatrix(stream, intraLuma(headers));
    else
        takeDefaultIntra(stream);
    headers.quantMatrix.loadNonIntra = getByte(r, 1);
    if (headers.quantMatrix.loadNonIntra)
        loadMatrix(stream, nonIntraLuma(headers));
    else
        takeDefaultNonIntra(stream);
    copyLumaToChroma(headers);
}

void parseQuantMatrixExtension(VideoStream *stream) {
    BitReader &r = stream->input->reader;
    Headers &headers = stream->headers;
    QuantMatrixRecord &record = headers.quantMatrix;
    record.loadIntra = getByte(r, 1);
    if (record.loadIntra) loadMatrix(stream, intraLuma(headers));
    record.loadNonIntra = getByte(r, 1);
    if (record.loadNonIntra) loadMatrix(stream, nonIntraLuma(headers));
    record.loadChromaIntra = getByte(r, 1);
    if (record.loadChromaIntra)
        loadMatrix(stream, intraChroma(headers));
    else
        copyMatrix(intraLuma(headers), intraChroma(headers));
    record.loadChromaNonIntra = getByte(r, 1);
    if (record.loadChromaNonIntra)
        loadMatrix(stream, nonIntraChroma(headers));
    else
        copyMatrix(nonIntraLuma(headers), nonIntraChroma(headers));
    ++stream->counters.quantMatrixExtensions;
    raiseRecord(stream, eventQuantMatrix, &CallbackEvent::quantMatrix, &record);
}

}  // namespace tvk
