// SPDX-License-Identifier: BSD-2-Clause
// Threads over pthreads and events over one waitable word each.
#include "core/threads.h"

#include <thread>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace tvk {

std::atomic<bool (*)()> threadStartHook{nullptr};

namespace {

// About as long as a sleep and a wake-up take; on a machine with one processor nobody else could set the event.
constexpr int32_t kSpins = 1000;

int32_t spinsOfThisMachine() {
    static const int32_t spins = std::thread::hardware_concurrency() > 1 ? kSpins : 0;
    return spins;
}

bool takeEvent(AutoResetEvent &event) {
    return event.signalled.load(std::memory_order_relaxed) &&
           event.signalled.exchange(0, std::memory_order_acquire) != 0;
}

}  // namespace

void initEvent(AutoResetEvent &event) {
    event.signalled.store(0, std::memory_order_relaxed);
}

void setEvent(AutoResetEvent &event) {
    event.signalled.store(1, std::memory_order_release);
    event.signalled.notify_one();
}

void waitEvent(AutoResetEvent &event) {
    for (int32_t spins = spinsOfThisMachine(); spins > 0; --spins) {
        if (takeEvent(event)) return;
        spinPause();
    }
    while (!takeEvent(event)) event.signalled.wait(0, std::memory_order_relaxed);
}

bool startThread(Thread &thread, void *(*body)(void *), void *argument) {
    const auto hook = threadStartHook.load(std::memory_order_relaxed);
    if (hook && !hook()) return false;
    return pthread_create(&thread.handle, nullptr, body, argument) == 0;
}

void joinThread(Thread &thread) {
    pthread_join(thread.handle, nullptr);
}

void spinPause() {
#if defined(__x86_64__) || defined(__i386__)
    _mm_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

}  // namespace tvk
