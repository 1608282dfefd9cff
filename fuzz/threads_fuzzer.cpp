// SPDX-License-Identifier: BSD-2-Clause
// Property: any number of threads decodes what one does, of damaged streams too, and a callback changes no sample.
#include "fuzz/walk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    Plan plan;
    if (!planOf(&plan, data, size)) return 0;
    WalkSettings settings = walkSettingsOf(plan);
    settings.managed = false;  // of several threads only one would write to the buffer
    const Walk single = walk(kLinkedDecoder, plan, settings);

    WalkSettings watched = settings;
    watched.watched = true;
    demandEqual(single, walk(kLinkedDecoder, plan, watched));

    settings.threads = 2 + plan.settings[3] % 3;
    demandEqual(single, walk(kLinkedDecoder, plan, settings));
    return 0;
}
