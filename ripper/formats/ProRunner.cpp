// ProRunner 1 and 2: not built yet.
#include "FormatStepsList.h"

const FormatSteps proRunner1Steps{};
const FormatSteps proRunner2Steps{};
