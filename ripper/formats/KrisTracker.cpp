// KrisTracker: not built yet.
#include "FormatStepsList.h"

const FormatSteps krisTrackerSteps{};
