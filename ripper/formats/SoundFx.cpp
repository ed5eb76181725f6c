// SoundFx: not built yet.
#include "FormatStepsList.h"

const FormatSteps soundFx13Steps{};
