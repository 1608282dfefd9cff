// SPDX-License-Identifier: BSD-2-Clause
// Callbacks that call back into the library.
#pragma once

#include "tvk.h"

namespace tvkfuzz {

struct Caller;

// Whose callbacks they are: callbacks get no pointer of their own. Null for nobody.
void attachCallbacks(Caller *caller);
int32_t watchAndCall(CallbackEvent *event);
int32_t manageAndCall(int32_t command, void *pointer);

}  // namespace tvkfuzz
