// Tracker Packer v1, v2 and v3: not built yet.
#include "FormatStepsList.h"

const FormatSteps trackerPackerV1Steps{};
const FormatSteps trackerPackerV2Steps{};
const FormatSteps trackerPackerV3Steps{};
