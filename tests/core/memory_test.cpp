// SPDX-License-Identifier: BSD-2-Clause
// The allocation calls.
#include "core/memory.h"

#include <gtest/gtest.h>

#include <cstring>

#include "stream_fixture.h"

namespace {

TEST(AlignedAllocation, givesEveryPowerOfTwoUpTo512) {
    for (size_t alignment = 1; alignment <= 512; alignment *= 2) {
        void *block = tvk::allocateAligned(100, alignment);
        ASSERT_NE(nullptr, block);
        EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(block) % alignment);
        std::memset(block, 0xAB, 100);
        tvk::releaseAligned(block);
    }
}

TEST(AlignedAllocation, refusesOtherAlignments) {
    EXPECT_EQ(nullptr, tvk::allocateAligned(100, 0));
    EXPECT_EQ(nullptr, tvk::allocateAligned(100, 24));
    EXPECT_EQ(nullptr, tvk::allocateAligned(100, 1024));
}

TEST(AlignedAllocation, refusesZeroAndOverflowingSizes) {
    EXPECT_EQ(nullptr, tvk::allocateAligned(0, 32));
    EXPECT_EQ(nullptr, tvk::allocateAligned(SIZE_MAX, 32));
    EXPECT_EQ(nullptr, tvk::allocateAligned(SIZE_MAX - 2000, 32));
}

TEST(AlignedAllocation, remembersTheSizeAskedFor) {
    void *block = tvk::allocateAligned(12345, 32);
    EXPECT_EQ(12345u, tvk::alignedSize(block));
    EXPECT_EQ(0u, tvk::alignedSize(nullptr));
    tvk::releaseAligned(block);
}

TEST(AlignedAllocation, releaseIgnoresNull) {
    tvk::releaseAligned(nullptr);
    tvk::release(nullptr);
}

TEST(Allocation, refusesACountThatOverflows) {
    EXPECT_EQ(nullptr, tvk::allocateZeroed(SIZE_MAX / 2, 3));
    EXPECT_EQ(nullptr, tvk::allocate(0));
}

TEST(Allocation, hookFailsTheOneAskedFor) {
    const tvktest::FailingAllocation failing(1);
    void *first = tvk::allocate(8);
    EXPECT_NE(nullptr, first);
    EXPECT_EQ(nullptr, tvk::allocate(8));
    void *third = tvk::allocateZeroed(1, 8);
    EXPECT_NE(nullptr, third);
    tvk::release(first);
    tvk::release(third);
}

TEST(Allocation, failedReallocationKeepsTheBlock) {
    char *block = static_cast<char *>(tvk::allocate(4));
    std::memcpy(block, "abc", 4);
    {
        const tvktest::FailingAllocation failing(0);
        EXPECT_EQ(nullptr, tvk::reallocate(block, 1000));
    }
    EXPECT_STREQ("abc", block);
    tvk::release(block);
}

TEST(Allocation, isCounted) {
    const uint64_t before = tvk::allocationCount;
    tvk::release(tvk::allocate(8));
    tvk::releaseAligned(tvk::allocateAligned(8, 32));
    EXPECT_EQ(before + 2, tvk::allocationCount);
}

}  // namespace
