// SPDX-License-Identifier: BSD-2-Clause
// Turns the settings into chosen functions, so that no loop below tests a setting.
#include "core/calls.h"
#include "core/handles.h"
#include "core/slots.h"
#include "mpeg12/worker.h"

namespace tvk {

namespace {

// The three functions that a macroblock goes through.
struct Stages {
    ParserFunction coefficientParser;
    StageFunction intraReconstruct, residualReconstruct;
};

constexpr Stages kFullFast = {DecodeCoefficientsFast, IntraFast, ResidualFast};
constexpr Stages kFullExact = {DecodeCoefficientsPrecise, IntraExact, ResidualExact};
constexpr Stages kHalf = {DecodeCoefficientsFast, IntraHalf, ResidualHalf};
constexpr Stages kQuarter = {DecodeCoefficientsFast, IntraQuarter, ResidualQuarter};
constexpr Stages kEighth = {DecodeCoefficientsCompact, IntraEighth, ResidualEighth};

const Stages &stagesFor(const Settings &settings) {
    switch (settings.reduceCoefficient) {
        case 2:
            return kHalf;
        case 4:
            return kQuarter;
        case 8:
            return kEighth;
        default:
            return settings.precision == 1 ? kFullExact : kFullFast;
    }
}

// Modes 1 and 2 have a main loop only; the three others stay those of mode 0, which every stream began with.
void chooseSteps(ChosenFunctions &chosen, uint32_t workMode) {
    if (workMode == 1) {
        chosen.mainStep = stepAdjustableSpeed;
    } else if (workMode == 2) {
        chosen.mainStep = stepFrameList;
    } else {
        chosen.mainStep = stepForward;
        chosen.streamOrderStep = stepStreamOrder;
        chosen.editStep = stepEdit;
        chosen.binaryStep = stepBinary;
    }
}

// The macroblock records that a callback is handed mean nothing at one eighth.
bool callbackFits(const VideoStream *stream) {
    const uint32_t reduce = stream->settings.reduceCoefficient;
    return !stream->callbacks.userCallback || reduce == 1 || reduce == 2 || reduce == 4;
}

}  // namespace

int32_t reconfigure(VideoStream *stream) {
    if (readStatus(stream) == statusBusy) return tvkErrBusy;
    if (stream->callbacks.memoryManager) resetSlots(stream->callbacks);

    ChosenFunctions &chosen = stream->chosen;
    chooseSteps(chosen, stream->settings.workMode);
    chosen.interDecoder = nullptr;
    const Stages &stages = stagesFor(stream->settings);
    chosen.coefficientParser = stages.coefficientParser;
    chosen.intraReconstruct = stages.intraReconstruct;
    chosen.residualReconstruct = stages.residualReconstruct;
    return callbackFits(stream) ? 0 : tvkErrCallbackReduce;
}

}  // namespace tvk
