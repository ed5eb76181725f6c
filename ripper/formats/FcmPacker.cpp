// FcmPacker: not built yet.
#include "FormatStepsList.h"

const FormatSteps fcmPackedSteps{};
