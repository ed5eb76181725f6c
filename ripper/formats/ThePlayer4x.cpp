// The Player 2.2A, 3.0A, 4.0A, 4.0B and 4.1A: the five members' steps. The layout they share is
// told in ThePlayer4x.h; 2.2A, 3.0A, 4.0A and 4.0B share one test, 4.1A (volume and finetune
// swapped in its sample records) has its own.
#include "ThePlayer4x.h"
#include "FormatStepsList.h"

namespace {
using namespace thePlayer4x;

struct Version {
    const char* displayName;
    int extensionIndex;
    const char* bannerName;
    SampleFields fields;
};

constexpr Version k22A{"The Player 2.2A module", 118, " The Player 2.2A  ", kFields40};
constexpr Version k30A{"The Player 3.0A module", 117, " The Player 3.0A  ", kFields40};
constexpr Version k40A{"The Player 4.0A module", 33, " The Player 4.0A  ", kFields40};
constexpr Version k40B{"The Player 4.0B module", 34, " The Player 4.0B  ", kFields40};
constexpr Version k41A{"The Player 4.1A module", 35, " The Player 4.1A  ", kFields41};

int testThePlayer(RipState& st) {
    return testLayout(st, kFields40);
}

int testThePlayer41A(RipState& st) {
    return testLayout(st, kFields41);
}

template <const Version& V> void ripVersion(RipState& st) {
    st.outputSize = st.scratch[kModuleSizeSlot];
    noteRip(st, V.displayName, V.extensionIndex);
    // The driver's increment then resumes the scan right behind the module.
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

template <const Version& V> void depackVersion(RipState& st) {
    depackLayout(st, V.fields, V.bannerName);
}

template <const Version& V> constexpr FormatSteps stepsOf(int (*test)(RipState&)) {
    return {test, ripVersion<V>, depackVersion<V>};
}
} // namespace

const FormatSteps thePlayer22ASteps = stepsOf<k22A>(testThePlayer);
const FormatSteps thePlayer30ASteps = stepsOf<k30A>(testThePlayer);
const FormatSteps thePlayer40ASteps = stepsOf<k40A>(testThePlayer);
const FormatSteps thePlayer40BSteps = stepsOf<k40B>(testThePlayer);
const FormatSteps thePlayer41ASteps = stepsOf<k41A>(testThePlayer41A);
