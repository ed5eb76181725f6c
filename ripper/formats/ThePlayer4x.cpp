// The Player 2.2A, 3.0A, 4.0A, 4.0B and 4.1A: not built yet.
#include "FormatStepsList.h"

const FormatSteps thePlayer22ASteps{};
const FormatSteps thePlayer30ASteps{};
const FormatSteps thePlayer40ASteps{};
const FormatSteps thePlayer40BSteps{};
const FormatSteps thePlayer41ASteps{};
