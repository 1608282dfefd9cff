// SPDX-License-Identifier: BSD-2-Clause
// The user callback, the memory manager and its slots.
#include "core/callbacks.h"

#include <vector>

#include "core/slots.h"
#include "mpeg12/worker.h"
#include "stream_fixture.h"

namespace {

using Callbacks = tvktest::StreamTest;

std::vector<CallbackEvent> events;

int32_t keepEvent(CallbackEvent *event) {
    events.push_back(*event);
    return -1;  // nobody looks at it
}

int32_t ignoreCommand(int32_t, void *) {
    return 0;
}

TEST_F(Callbacks, recordIsSetForTheLengthOfTheCall) {
    events.clear();
    ASSERT_EQ(0, tvkSetVideoUserCallback(stream, keepEvent, 42));
    tvk::raiseRecord(stream, tvk::eventGroup, &CallbackEvent::groupOfPictures, &stream->headers.group);
    ASSERT_EQ(1u, events.size());
    EXPECT_EQ(6u, events[0].eventCode);
    EXPECT_EQ(&stream->headers.group, events[0].groupOfPictures);
    EXPECT_EQ(nullptr, events[0].sequenceHeader);
    EXPECT_EQ(42u, events[0].userValue);
    EXPECT_EQ(stream->workers.workers[0]->blocks, events[0].blockData);
    EXPECT_EQ(nullptr, stream->workers.workers[0]->event.groupOfPictures);
}

TEST_F(Callbacks, removedCallbackHearsNothing) {
    events.clear();
    tvkSetVideoUserCallback(stream, keepEvent, 1);
    tvkSetVideoUserCallback(stream, nullptr, 1);
    tvk::raiseRecord(stream, tvk::eventGroup, &CallbackEvent::groupOfPictures, &stream->headers.group);
    tvk::raiseBadCode(stream);
    EXPECT_TRUE(events.empty());
}

TEST_F(Callbacks, badCodeEventFillsNoRecord) {
    events.clear();
    tvkSetVideoUserCallback(stream, keepEvent, 43);
    tvk::raiseBadCode(stream);
    ASSERT_EQ(1u, events.size());
    EXPECT_EQ(0x80000001u, events[0].eventCode);
    EXPECT_EQ(nullptr, events[0].slice);
    EXPECT_EQ(43u, events[0].userValue);
}

TEST_F(Callbacks, userValueReachesEveryWorkerAndSurvivesNewOnes) {
    ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 3));
    tvkSetVideoUserCallback(stream, keepEvent, 44);
    for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(44u, stream->workers.workers[i]->event.userValue);
    ASSERT_EQ(0, tvkSetVideoSP_Threads(stream, 2));
    for (uint32_t i = 0; i < 2; ++i) EXPECT_EQ(44u, stream->workers.workers[i]->event.userValue);
}

TEST_F(Callbacks, memoryManagerTakes4To256Slots) {
    void *callback = nullptr;
    uint32_t slots = 0;
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetMemoryManager(stream, ignoreCommand, 3));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetMemoryManager(stream, ignoreCommand, 257));
    EXPECT_EQ(0, tvkGetMemoryManager(stream, &callback, &slots));
    EXPECT_EQ(nullptr, callback);
    EXPECT_EQ(0, tvkSetMemoryManager(stream, ignoreCommand, 256));
    EXPECT_EQ(0, tvkSetMemoryManager(stream, ignoreCommand, 4));
    EXPECT_EQ(0, tvkGetMemoryManager(stream, &callback, &slots));
    EXPECT_EQ(reinterpret_cast<void *>(&ignoreCommand), callback);
    EXPECT_EQ(4u, slots);
    EXPECT_EQ(tvkErrInvalidArgument, tvkGetMemoryManager(stream, nullptr, &slots));
}

TEST_F(Callbacks, removingTheMemoryManagerClearsTheOutput) {
    uint8_t buffer[4];
    tvkSetMemoryManager(stream, ignoreCommand, 4);
    tvk::SliceWorker *worker = stream->workers.workers[0];
    worker->outputY = worker->outputU = worker->outputV = buffer;
    EXPECT_EQ(0, tvkSetMemoryManager(stream, nullptr, 4));
    EXPECT_EQ(nullptr, worker->outputY);
    EXPECT_EQ(nullptr, worker->outputU);
    EXPECT_EQ(nullptr, worker->outputV);
}

TEST_F(Callbacks, slotsAreReturnedWithinTheTable) {
    tvkSetMemoryManager(stream, ignoreCommand, 8);
    tvk::followSlotCount(stream->callbacks);
    EXPECT_EQ(0, tvkSetMemoryAvailable(stream, 0));
    EXPECT_EQ(0, tvkSetMemoryAvailable(stream, 7));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetMemoryAvailable(stream, 8));
    EXPECT_EQ(tvkErrInvalidArgument, tvkSetMemoryAvailable(stream, -1));
}

TEST_F(Callbacks, anySettingResetsTheSlotsOfAManagedStream) {
    tvkSetMemoryManager(stream, ignoreCommand, 4);
    tvk::followSlotCount(stream->callbacks);
    EXPECT_EQ(0, tvk::drawSlot(stream->callbacks.slots));
    EXPECT_EQ(0, tvkSetVideoSP_Flags(stream, 2));
    EXPECT_EQ(0, tvk::drawSlot(stream->callbacks.slots));
}

TEST(Slots, areDrawnInTurn) {
    tvk::Callbacks callbacks = {};
    callbacks.memorySlots = 4;
    tvk::followSlotCount(callbacks);
    for (int32_t slot = 0; slot < 4; ++slot) EXPECT_EQ(slot, tvk::drawSlot(callbacks.slots));
    EXPECT_EQ(tvk::kNoSlot, tvk::drawSlot(callbacks.slots));
}

TEST(Slots, justReturnedOneIsNotUsedAgainAtOnce) {
    tvk::Callbacks callbacks = {};
    callbacks.memorySlots = 4;
    tvk::followSlotCount(callbacks);
    for (int32_t slot = 0; slot < 4; ++slot) tvk::drawSlot(callbacks.slots);
    EXPECT_TRUE(tvk::returnSlot(callbacks.slots, 2));
    EXPECT_EQ(tvk::kNoSlot, tvk::drawSlot(callbacks.slots));
    EXPECT_TRUE(tvk::returnSlot(callbacks.slots, 1));
    EXPECT_EQ(2, tvk::drawSlot(callbacks.slots));
}

TEST(Slots, changedCountResetsTheTable) {
    tvk::Callbacks callbacks = {};
    callbacks.memorySlots = 4;
    tvk::followSlotCount(callbacks);
    tvk::drawSlot(callbacks.slots);
    tvk::followSlotCount(callbacks);
    EXPECT_EQ(1, tvk::drawSlot(callbacks.slots));
    callbacks.memorySlots = 5;
    tvk::followSlotCount(callbacks);
    EXPECT_EQ(5, callbacks.slots.size);
    EXPECT_EQ(0, tvk::drawSlot(callbacks.slots));
}

TEST(Slots, emptyTableHasNone) {
    tvk::SlotTable table = {};
    EXPECT_EQ(tvk::kNoSlot, tvk::drawSlot(table));
}

}  // namespace
