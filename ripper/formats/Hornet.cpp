// Hornet: not built yet.
#include "FormatStepsList.h"

const FormatSteps hornetPackedSteps{};
