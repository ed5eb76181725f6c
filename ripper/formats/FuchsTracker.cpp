// FuchsTracker: not built yet.
#include "FormatStepsList.h"

const FormatSteps fuchsTrackerSteps{};
