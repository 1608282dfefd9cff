// SPDX-License-Identifier: BSD-2-Clause
// A stream over a fake source, destroyed with the test.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "core/handles.h"
#include "core/memory.h"
#include "core/stream.h"
#include "core/threads.h"
#include "support/fake_source.h"
#include "tvk.h"

namespace tvktest {

struct StreamTest : testing::Test {
    FakeSource source;
    VideoStream *stream = nullptr;

    void SetUp() override { ASSERT_EQ(0, tvkCreateVideoStream(&stream, source.source())); }
    void TearDown() override {
        tvk::allocationHook = nullptr;
        tvk::threadStartHook = nullptr;
        if (!stream) return;
        tvk::setStatus(stream, tvk::statusReady);
        stream->decoderKind = 1;
        EXPECT_EQ(0, tvkDestroyVideoStream(stream));
    }
};

// Fails the allocation that is counted down to; the others go on.
struct FailingAllocation {
    static inline int64_t remaining = 0;

    explicit FailingAllocation(int64_t n) {
        remaining = n;
        tvk::allocationHook = [](size_t) { return remaining-- != 0; };
    }
    ~FailingAllocation() { tvk::allocationHook = nullptr; }
    bool reached() const { return remaining < 0; }
};

}  // namespace tvktest
