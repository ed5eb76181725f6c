// Not built yet: the scan keeps the format's place and it rejects.
#include "FormatStepsList.h"

const FormatSteps digitalIllusionSteps{};
