// SPDX-License-Identifier: BSD-2-Clause
// The table of macroblock writers and the templates that fill it.
#include "mpeg12/writers.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "core/inline.h"
#include "core/lanes.h"

namespace tvk {

namespace {

// The target's lines of the macroblocks that come next.
constexpr uintptr_t kTargetAhead = 128;
constexpr int32_t kLineBytes = 64;

struct Plane {
    const uint8_t *data;
    ptrdiff_t stride;
};

struct Target {
    uint8_t *data;
    ptrdiff_t stride;
    int32_t rows;     // those that lie inside the application's buffer
    bool startsLine;  // the first macroblock in a cache line of the row
};

template <WriterKind k>
struct Writer {
    static constexpr int32_t side = 2 * k.unit();  // luma samples of a macroblock in each direction
    static constexpr int32_t lineStep = k.field ? 2 : 1;
    // Chroma samples across, and rows, in the source.
    static constexpr int32_t chromaSamples = k.chroma == chroma444 ? side : side / 2;
    static constexpr int32_t chromaRows = k.chroma == chroma420 ? side / 2 : side;

    static Plane luma(const SliceWorker *w) {
        if (k.fromSamples()) return {w->macroblockPixels, 16};
        return {w->currentLuma.data + w->lumaOffset, static_cast<ptrdiff_t>(lineStep) * w->currentLuma.stride};
    }

    static Plane chroma(const SliceWorker *w) {
        if (k.fromSamples()) return {w->macroblockPixels + 256, 16};
        return {w->currentChroma.data + w->chromaOffset, static_cast<ptrdiff_t>(lineStep) * w->currentChroma.stride};
    }

    // The macroblock's rows in a target plane reduced by `shrink` in each direction, `sampleBytes` a sample. Rows below
    // the buffer's last, which field pictures have where the height is an odd multiple of 16, are left out.
    static Target target(const SliceWorker *w, uint8_t *plane, int32_t shrink, int32_t sampleBytes, ptrdiff_t stride) {
        const int32_t limit = static_cast<int32_t>(w->stream->conversion.outputRows) / shrink;
        const int32_t line = w->blockY * k.unit() / shrink + (k.field ? w->pictureStructureIndex : 0);
        const int32_t column = w->blockX * k.unit() / shrink;
        const int32_t rows = std::clamp((limit - line + lineStep - 1) / lineStep, 0, std::max(side / shrink, 1));
        const int32_t firstByte = sampleBytes * column, bytes = sampleBytes * side / shrink;
        return {plane + stride * line + firstByte, stride * lineStep, rows, firstByte % kLineBytes < bytes};
    }

    // Planes have so many rows that asking for a line once, not with each macroblock in it, tells.
    static void askAhead(const Target &t) {
        if (!t.startsLine) return;
        for (int32_t row = 0; row < t.rows; ++row) prefetchWrite(t.data + t.stride * row, kTargetAhead);
    }

    // Luma and chroma bytes in turn, the chroma byte second or first.
    static void interleaveRow(uint8_t *out, const uint8_t *y, const uint8_t *c) {
        constexpr bool chromaFirst = k.layout == TargetLayout::uyvy;
        using L = NativeLanes;
        if constexpr (side == 16) {
            const auto a = L::loadU(chromaFirst ? c : y), b = L::loadU(chromaFirst ? y : c);
            L::storeU(out, L::interleaveLow8(a, b));
            L::storeU(out + 16, L::interleaveHigh8(a, b));
        } else if constexpr (side == 8) {
            const auto a = L::loadHalf(chromaFirst ? c : y), b = L::loadHalf(chromaFirst ? y : c);
            L::storeU(out, L::interleaveLow8(a, b));
        } else {
            for (int32_t i = 0; i < side; ++i) {
                out[2 * i + chromaFirst] = y[i];
                out[2 * i + !chromaFirst] = c[i];
            }
        }
    }

    // 4:4:4 to one pair for two samples: the mean of each component, truncated.
    static void halveRow(uint8_t *out, const uint8_t *c) {
        for (int32_t i = 0; i < side / 2; ++i) {
            out[2 * i] = static_cast<uint8_t>((c[4 * i] + c[4 * i + 2]) >> 1);
            out[2 * i + 1] = static_cast<uint8_t>((c[4 * i + 1] + c[4 * i + 3]) >> 1);
        }
    }

    static void writePacked(SliceWorker *w) {
        const Plane y = luma(w), c = chroma(w);
        const Target t = target(w, w->outputY, 1, 2, 2 * static_cast<ptrdiff_t>(w->stream->conversion.outputStride));
        for (int32_t row = 0; row < t.rows; ++row) {
            prefetchWrite(t.data + t.stride * row, kTargetAhead);
            const uint8_t *chromaRow = c.data + c.stride * (k.chroma == chroma420 ? row / 2 : row);
            alignas(16) uint8_t halved[16];
            if constexpr (k.chroma == chroma444) {
                halveRow(halved, chromaRow);
                chromaRow = halved;
            }
            interleaveRow(t.data + t.stride * row, y.data + y.stride * row, chromaRow);
        }
    }

    static void copyLuma(SliceWorker *w) {
        const Plane y = luma(w);
        const Target t = target(w, w->outputY, 1, 1, w->stream->conversion.outputStride);
        askAhead(t);
        for (int32_t row = 0; row < t.rows; ++row) std::memcpy(t.data + t.stride * row, y.data + y.stride * row, side);
    }

    // One target row of chroma at half the luma's width from the source rows that it stands for.
    static void splitHalf(uint8_t *u, uint8_t *v, const uint8_t *c, ptrdiff_t stride) {
        if constexpr (side == 16 && k.chroma != chroma444) {
            using L = NativeLanes;
            auto row = L::loadU(c);
            if constexpr (k.chroma == chroma422) row = L::avgUp(row, L::loadU(c + stride));
            L::storeHalf(u, L::evenBytes(row, row));
            L::storeHalf(v, L::oddBytes(row, row));
            return;
        }
        for (int32_t i = 0; i < side / 2; ++i) {
            if constexpr (k.chroma == chroma420) {
                u[i] = c[2 * i];
                v[i] = c[2 * i + 1];
            } else if constexpr (k.chroma == chroma422) {
                u[i] = static_cast<uint8_t>((c[2 * i] + c[2 * i + stride] + 1) >> 1);
                v[i] = static_cast<uint8_t>((c[2 * i + 1] + c[2 * i + 1 + stride] + 1) >> 1);
            } else {
                u[i] = c[4 * i] & 0xFE;  // the lowest bit of Cb is lost, and only that
                v[i] = c[4 * i + 1];
            }
        }
    }

    // Two rows of each component at once.
    TVK_INLINE static void splitTwo(uint8_t *u, uint8_t *v, ptrdiff_t targetStride, const uint8_t *c,
                                    ptrdiff_t stride) {
        using L = NativeLanes;
        const auto upper = L::loadU(c), lower = L::loadU(c + stride);
        const auto cb = L::evenBytes(upper, lower), cr = L::oddBytes(upper, lower);
        L::storeHalf(u, cb);
        L::storeHighHalf(u + targetStride, cb);
        L::storeHalf(v, cr);
        L::storeHighHalf(v + targetStride, cr);
    }

    static void writeYv12(SliceWorker *w) {
        copyLuma(w);
        const Plane c = chroma(w);
        const ptrdiff_t stride = w->stream->conversion.outputStride / 2;
        const Target u = target(w, w->outputU, 2, 1, stride), v = target(w, w->outputV, 2, 1, stride);
        constexpr int32_t sourceRows = k.chroma == chroma420 ? 1 : 2;
        askAhead(u);
        askAhead(v);
        int32_t row = 0;
        if constexpr (side == 16 && k.chroma == chroma420) {
            for (; row + 1 < u.rows; row += 2)
                splitTwo(u.data + u.stride * row, v.data + v.stride * row, u.stride, c.data + c.stride * row, c.stride);
        }
        for (; row < u.rows; ++row)
            splitHalf(u.data + u.stride * row, v.data + v.stride * row, c.data + c.stride * sourceRows * row, c.stride);
    }

    // Plain decimation to a quarter in each direction.
    static void writeYvu9(SliceWorker *w) {
        copyLuma(w);
        // At eighth size a macroblock has half a chroma sample in each direction: those of even column and row write.
        constexpr int32_t blocksPerRow = k.field ? 8 : 4;
        if (k.reduce == 8 && (w->blockX % 4 != 0 || w->blockY % blocksPerRow != 0)) return;
        const Plane c = chroma(w);
        const ptrdiff_t stride = w->stream->conversion.outputStride / 4;
        const Target u = target(w, w->outputU, 4, 1, stride), v = target(w, w->outputV, 4, 1, stride);
        constexpr int32_t samples = std::max(side / 4, 1);
        constexpr int32_t sourceRows = k.chroma == chroma420 ? 2 : 4;
        constexpr int32_t sourceBytes = k.chroma == chroma444 ? 8 : 4;
        for (int32_t row = 0; row < u.rows; ++row) {
            const uint8_t *source = c.data + c.stride * sourceRows * row;
            for (int32_t i = 0; i < samples; ++i) {
                u.data[u.stride * row + i] = source[sourceBytes * i];
                v.data[v.stride * row + i] = source[sourceBytes * i + 1];
            }
        }
    }

    static void write(SliceWorker *w) {
        if constexpr (k.layout == TargetLayout::yv12)
            writeYv12(w);
        else if constexpr (k.layout == TargetLayout::yvu9)
            writeYvu9(w);
        else
            writePacked(w);
    }
};

using WriterTable = std::array<StageFunction, kMacroblockWriters>;

template <size_t... i>
constexpr WriterTable makeWriterTable(std::index_sequence<i...>) {
    return {Writer<canonical(writerKindAt(static_cast<int32_t>(i)))>::write...};
}

constexpr WriterTable kWriterTable = makeWriterTable(std::make_index_sequence<kMacroblockWriters>{});

constexpr int32_t distinctWriters() {
    int32_t count = 0;
    for (int32_t i = 0; i < kMacroblockWriters; ++i) count += canonical(writerKindAt(i)) == writerKindAt(i);
    return count;
}

static_assert(distinctWriters() == 112);
static_assert(
    [] {
        for (int32_t i = 0; i < kMacroblockWriters; ++i)
            if (indexOf(writerKindAt(i)) != i) return false;
        return true;
    }(),
    "the index formula and its inverse agree over the whole table");

}  // namespace

StageFunction macroblockWriterAt(uint32_t index) {
    return kWriterTable[index % kMacroblockWriters];
}

}  // namespace tvk
