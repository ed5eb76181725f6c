// NoisePacker v1 and v3, and Noiserunner: not built yet.
#include "FormatStepsList.h"

const FormatSteps noisePackerV1Steps{};
const FormatSteps noisePackerV3Steps{};
const FormatSteps noiserunnerSteps{};
