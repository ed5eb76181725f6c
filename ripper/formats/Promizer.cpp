// Promizer 0.1, 1.0c, 1.8a, 2.0 and 4.0: not built yet.
#include "FormatStepsList.h"

const FormatSteps promizer01Steps{};
const FormatSteps promizer10cSteps{};
const FormatSteps promizer18aSteps{};
const FormatSteps promizer20Steps{};
const FormatSteps promizer40Steps{};
