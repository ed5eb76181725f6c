// KefrensSoundMachine: not built yet.
#include "FormatStepsList.h"

const FormatSteps kefrensSoundMachineSteps{};
