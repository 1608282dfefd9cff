// SPDX-License-Identifier: BSD-2-Clause
// Vectors that point anywhere: reads stay inside the planes' blocks and writes inside the macroblock.
#include <string>

#include "mpeg12/inter_scene.h"

namespace tvktest {
namespace {

struct InterSafety : testing::TestWithParam<int32_t> {};

// The planes are blocks of their own of just their size, so that a sanitizer sees a byte beside them.
TEST_P(InterSafety, vectorsFarOutsideReadInside) {
    InterScene s(GetParam(), 3);
    s.fill(false);
    const std::vector<Motion> motions = motionsOf(s.kind);
    for (int32_t n = 0; n < 400; ++n) {
        if (s.kind.field) s.setParity(s.random.coin());
        s.worker->secondFieldFlag = s.kind.field && s.random.coin();
        s.setMotion(motions[s.random.below(static_cast<uint32_t>(motions.size()))], true, s.kind.b);
        s.randomVectors(n % 2 ? 32767 : 300);
        s.randomResidual(32767);
        const Planes before = s.current;
        const int32_t rows = s.kind.field ? 4 : 8, column = s.random.range(0, 7), row = s.random.range(0, rows - 1);
        s.placeBefore(column, row);
        if (column == 0) {  // the one before stands at the end of the row above
            s.worker->blockX = 2 * 7;
            s.worker->blockY -= s.kind.lumaRowStep();
            s.worker->chromaY -= s.kind.chromaRowStep();
        }
        s.decode();
        const reference::Place at = s.place(column, row);
        const int32_t u = s.picture.unit(), lines = 2 * u * (s.kind.field ? 2 : 1);
        for (size_t i = 0; i < before.luma.size(); ++i) {
            const int32_t line = static_cast<int32_t>(i) / s.lumaStride, x = static_cast<int32_t>(i) % s.lumaStride;
            const bool inside = line >= u * at.blockY && line < u * at.blockY + lines && x >= u * at.blockX &&
                                x < u * at.blockX + 2 * u;
            if (!inside) {
                ASSERT_EQ(before.luma[i], s.current.luma[i]) << "line " << line << " byte " << x;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, InterSafety, testing::Range(0, tvk::kPictureKinds));

}  // namespace
}  // namespace tvktest
