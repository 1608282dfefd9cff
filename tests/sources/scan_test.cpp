// SPDX-License-Identifier: BSD-2-Clause
// The start-code search against a naive one.
#include <random>

#include "sources/source_fixture.h"
#include "sources/start_code_scan.h"

namespace {

using tvk::elementary::findStartCode;
using tvk::elementary::findStartCodePortable;
using tvk::test::Bytes;

const uint8_t *naive(const uint8_t *p, const uint8_t *end) {
    for (; end - p >= 4; ++p) {
        if (p[0] == 0 && p[1] == 0 && p[2] == 1) return p;
    }
    return end;
}

TEST(StartCodeScan, agreesWithNaiveScanFromEveryByteOfSparseRandomData) {
    std::mt19937 random(1);
    int found = 0;
    for (int round = 0; round < 300; ++round) {
        // An exact block, so that a memory checker sees a read behind its end.
        const size_t size = random() % 150;
        const std::unique_ptr<uint8_t[]> data(new uint8_t[size]);
        for (size_t i = 0; i < size; ++i) data[i] = static_cast<uint8_t>(random() % 4 < 3 ? 0 : random() % 3);
        const uint8_t *end = data.get() + size;
        for (const uint8_t *p = data.get(); p <= end; ++p) {
            const uint8_t *expected = naive(p, end);
            ASSERT_EQ(findStartCode(p, end), expected) << "round " << round << " from " << p - data.get();
            ASSERT_EQ(findStartCodePortable(p, end), expected) << "round " << round << " from " << p - data.get();
            found += expected != end;
        }
    }
    EXPECT_GT(found, 1000);
}

TEST(StartCodeScan, findsTheOneCodeAtEveryAlignment) {
    for (size_t at = 0; at < 100; ++at) {
        for (size_t behind = 0; behind < 40; ++behind) {
            Bytes data(at, 0xFF);
            data.insert(data.end(), {0, 0, 1, 0xB3});
            data.insert(data.end(), behind, 0xFF);
            const uint8_t *end = data.data() + data.size();
            ASSERT_EQ(findStartCode(data.data(), end), data.data() + at);
            ASSERT_EQ(findStartCodePortable(data.data(), end), data.data() + at);
        }
    }
}

TEST(StartCodeScan, takesNoPrefixWithoutItsCodeByte) {
    const Bytes data = {9, 9, 0, 0, 1};
    EXPECT_EQ(findStartCode(data.data(), data.data() + data.size()), data.data() + data.size());
    EXPECT_EQ(findStartCodePortable(data.data(), data.data() + data.size()), data.data() + data.size());
}

}  // namespace
