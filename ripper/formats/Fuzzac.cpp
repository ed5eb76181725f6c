// Fuzzac: not built yet.
#include "FormatStepsList.h"

const FormatSteps fuzzacSteps{};
