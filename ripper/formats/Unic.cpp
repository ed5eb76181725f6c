// Not built yet: the scan keeps the format's place and it rejects.
#include "FormatStepsList.h"

const FormatSteps unicV1ZeroTagByteSteps{};
const FormatSteps unicV1TaggedSteps{};
const FormatSteps unicV1MKSteps{};
const FormatSteps unicV1TagSteps{};
const FormatSteps unicV2Steps{};
