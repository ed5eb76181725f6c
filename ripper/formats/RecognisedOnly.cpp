// Formats the scan recognises and steps over without converting: not built yet.
#include "FormatStepsList.h"

const FormatSteps soundTrackerSteps{};
const FormatSteps jamCrackerSteps{};
const FormatSteps digiBooster17Steps{};
const FormatSteps fastracker2Steps{};
const FormatSteps futureComposer13Steps{};
const FormatSteps futureComposer14Steps{};
const FormatSteps bsiFutureComposerSteps{};
const FormatSteps medSteps{};
const FormatSteps digitalMugicianSteps{};
const FormatSteps soundMonitorSteps{};
