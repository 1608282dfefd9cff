// SPDX-License-Identifier: BSD-2-Clause
// Events and threads.
#include "core/threads.h"

#include <gtest/gtest.h>

namespace {

struct PingPong {
    tvk::AutoResetEvent ping = {}, pong = {};
    uint32_t value = 0;  // written by one side at a time, ordered by the events alone
};

constexpr uint32_t kRounds = 20000;

void *answer(void *argument) {
    PingPong *p = static_cast<PingPong *>(argument);
    for (uint32_t i = 0; i < kRounds; ++i) {
        tvk::waitEvent(p->ping);
        ++p->value;
        tvk::setEvent(p->pong);
    }
    return nullptr;
}

TEST(Events, handWritesOverInBothDirections) {
    PingPong p;
    tvk::Thread thread;
    ASSERT_TRUE(tvk::startThread(thread, answer, &p));
    for (uint32_t i = 0; i < kRounds; ++i) {
        ++p.value;
        tvk::setEvent(p.ping);
        tvk::waitEvent(p.pong);
        ASSERT_EQ(2 * (i + 1), p.value);
    }
    tvk::joinThread(thread);
}

TEST(Events, waitClearsAndSettingTwiceCountsOnce) {
    tvk::AutoResetEvent event = {};
    tvk::initEvent(event);
    tvk::setEvent(event);
    tvk::setEvent(event);
    tvk::waitEvent(event);
    EXPECT_EQ(0u, event.signalled.load());
}

TEST(Threads, hookRefusesTheStart) {
    PingPong p;
    tvk::Thread thread;
    tvk::threadStartHook = [] { return false; };
    EXPECT_FALSE(tvk::startThread(thread, answer, &p));
    tvk::threadStartHook = nullptr;
}

}  // namespace
