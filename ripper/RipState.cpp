#include "RipState.h"

#include <algorithm>
#include <cstdio>

RipState& ripState() {
    static RipState state;
    return state;
}

void noteRip(RipState& state, const char* /*formatName*/, int /*extensionIndex*/) {
    state.refusedFlag = 0;
}

void advanceScanTo(RipState& state, std::int64_t target) {
    if (target <= static_cast<std::int64_t>(state.position))
        return;
    state.position = static_cast<std::uint32_t>(std::min<std::int64_t>(target, state.inputSize));
}

void formatOutputName(RipState& state, const char* pattern) {
    std::snprintf(state.outputName, sizeof state.outputName, pattern,
                  static_cast<long>(state.ripCounter - 1));
}
