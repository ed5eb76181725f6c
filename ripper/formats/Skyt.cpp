// Skyt: not built yet.
#include "FormatStepsList.h"

const FormatSteps skytPackedSteps{};
