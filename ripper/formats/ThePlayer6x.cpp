// The Player 5.0A, 6.0A and 6.1A: not built yet.
#include "FormatStepsList.h"

const FormatSteps thePlayer50ASteps{};
const FormatSteps thePlayer60ASteps{};
const FormatSteps thePlayer60APackedSteps{};
const FormatSteps thePlayer61ASteps{};
const FormatSteps thePlayer61APackedSteps{};
