// ProPacker v1.0, v2.1 and v3.0: not built yet.
#include "FormatStepsList.h"

const FormatSteps proPacker10ExeSteps{};
const FormatSteps proPacker21Steps{};
const FormatSteps proPacker30Steps{};
