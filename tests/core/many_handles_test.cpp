// SPDX-License-Identifier: BSD-2-Clause
// More handles at once than the first blocks of the table hold.
#include <vector>

#include <gtest/gtest.h>

#include "core/handles.h"
#include "core/memory.h"

namespace tvktest {
namespace {

// The table looks at addresses alone.
VideoStream *handleAt(uintptr_t number) {
    return reinterpret_cast<VideoStream *>(uintptr_t{1} << 40 | number * sizeof(VideoStream));
}

TEST(ManyHandles, areAllKnownUntilTheyGo) {
    constexpr uintptr_t kHandles = 4000;
    for (uintptr_t i = 0; i < kHandles; ++i) ASSERT_TRUE(tvk::registerHandle(handleAt(i)));
    for (uintptr_t i = 0; i < kHandles; ++i) EXPECT_TRUE(tvk::isLiveHandle(handleAt(i)));
    EXPECT_FALSE(tvk::isLiveHandle(handleAt(kHandles)));
    for (uintptr_t i = 0; i < kHandles; i += 2) tvk::unregisterHandle(handleAt(i));
    for (uintptr_t i = 0; i < kHandles; ++i) EXPECT_EQ(tvk::isLiveHandle(handleAt(i)), i % 2 != 0);
    for (uintptr_t i = 1; i < kHandles; i += 2) tvk::unregisterHandle(handleAt(i));
}

// Places that have become free are taken again, so that creation and destruction take no memory in the long run.
TEST(ManyHandles, takeThePlacesOfThoseThatWent) {
    for (uintptr_t i = 0; i < 4000; ++i) ASSERT_TRUE(tvk::registerHandle(handleAt(i)));
    for (uintptr_t i = 0; i < 4000; ++i) tvk::unregisterHandle(handleAt(i));
    const uint64_t before = tvk::allocationCount;
    for (int round = 0; round < 3; ++round) {
        for (uintptr_t i = 0; i < 4000; ++i) ASSERT_TRUE(tvk::registerHandle(handleAt(i)));
        for (uintptr_t i = 0; i < 4000; ++i) tvk::unregisterHandle(handleAt(i));
    }
    EXPECT_EQ(tvk::allocationCount, before);
}

}  // namespace
}  // namespace tvktest
