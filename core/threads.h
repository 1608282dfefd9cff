// SPDX-License-Identifier: BSD-2-Clause
// Threads and auto-reset events.
#pragma once

#include <atomic>
#include <cstdint>

#include <pthread.h>

namespace tvk {

// Initially clear; a wait that succeeds clears it. One waiter at a time. All writes made before setEvent are seen
// after the waitEvent that it ends.
struct AutoResetEvent {
    std::atomic<uint32_t> signalled;
};

void initEvent(AutoResetEvent &event);
void setEvent(AutoResetEvent &event);
// Spins briefly, since a picture's slices follow each other closely, then sleeps.
void waitEvent(AutoResetEvent &event);

struct Thread {
    pthread_t handle;
};

// False when the system has no thread to give.
bool startThread(Thread &thread, void *(*body)(void *), void *argument);
void joinThread(Thread &thread);

// For tests: asked before every start, says whether the system has a thread to give. Null asks the system alone.
extern std::atomic<bool (*)()> threadStartHook;

// Processor pause inside a spin.
void spinPause();

}  // namespace tvk
