// BSI Future Composer ("FUCO") keeps its place in the scan without a test: its layout is not
// known well enough here to tell a module from other bytes, so the tag alone never claims one.
#include "FormatStepsList.h"

const FormatSteps bsiFutureComposerSteps{};
