// SPDX-License-Identifier: BSD-2-Clause
// An ear to a stream's events.
#include "listening.h"

#include <utility>

namespace tvk::tool {

namespace {

// The callback carries 32 bits of the application's own, too few for a pointer.
const Listening::Hear *hearing = nullptr;

int32_t pass(CallbackEvent *event) noexcept {
    (*hearing)(*event);
    return 0;
}

}  // namespace

Listening::Listening(VideoStream *listenedTo, Hear ear) : stream(listenedTo), hear(std::move(ear)) {
    hearing = &hear;
    // At reduce coefficient 8 this reports that macroblock events stay away; header events come all the same.
    tvkSetVideoUserCallback(stream, pass, 0);
}

Listening::~Listening() {
    tvkSetVideoUserCallback(stream, nullptr, 0);
    hearing = nullptr;
}

}  // namespace tvk::tool
