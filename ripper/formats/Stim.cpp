// Stim: not built yet.
#include "FormatStepsList.h"

const FormatSteps stimSteps{};
