// SPDX-License-Identifier: BSD-2-Clause
// Property: any number of threads decodes what one does, of damaged streams too. Where two slices of a picture decode
// the same macroblock the one that comes last wins, and that is a matter of time on several threads; a reserved motion
// type leaves the form of the macroblock that the thread decoded before. Then results and numbers are compared alone.
// So they are at one eighth, where behind an invalid coefficient a macroblock keeps values of the one that its thread
// decoded before. A callback changes no sample.
#include "fuzz/walk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace tvkfuzz;
    Plan plan;
    if (!planOf(&plan, data, size)) return 0;
    WalkSettings settings = walkSettingsOf(plan);
    settings.managed = false;  // of several threads only one would write to the buffer
    const Walk single = walk(kLinkedDecoder, plan, settings);

    // Records of macroblocks mean nothing at one eighth, and slices are the same at every size.
    WalkSettings watched = settings;
    watched.watched = true;
    if (watched.reduceShift == 3) watched.reduceShift = 2;
    const Walk witness = walk(kLinkedDecoder, plan, watched);
    if (watched.reduceShift == settings.reduceShift) demandEqual(single, witness);

    settings.threads = 2 + plan.settings[3] % 3;
    const Walk parallel = walk(kLinkedDecoder, plan, settings);
    if (witness.contested || settings.reduceShift == 3)
        demandEqualCourse(single, parallel);
    else
        demandEqual(single, parallel);
    return 0;
}
