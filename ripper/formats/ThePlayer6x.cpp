// The Player 5.0A, 6.0A and 6.1A: the members' steps (layout in ThePlayer6x.h). The scan finds a
// module at the volume byte of its first sample record (header offset 7, or 11 when a packed
// sample size sits before the records). The two "with PACKED samples" members only test: the
// driver reports them and rips nothing.
#include "ThePlayer6x.h"
#include "../InputBytes.h"
#include "FormatStepsList.h"

namespace {
using namespace thePlayer6x;

struct Member {
    Version version;
    const char* displayName;
    int extensionIndex;
    const char* bannerName;
};

constexpr Member k50A{Version::V50A, "The Player 5.0A module", 42, " The Player 5.0A  "};
constexpr Member k60A{Version::V60A, "The Player 6.0A module", 43, " The Player 6.0A  "};
constexpr Member k61A{Version::V61A, "The Player 6.1A module", 47, " The Player 6.1A  "};

template <const Member& M> int testMember(RipState& st) {
    return testModule(st, M.version, false);
}

template <const Member& M> int testPackedMember(RipState& st) {
    return testModule(st, M.version, true);
}

template <const Member& M> void ripMember(RipState& st) {
    st.outputSize = be16(st, st.moduleStart) + st.sampleDataSize;
    noteRip(st, M.displayName, M.extensionIndex);
    // The driver's increment then resumes the scan right behind the module.
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

template <const Member& M> void depackMember(RipState& st) {
    depackModule(st, M.version, M.bannerName);
}

// The finetune bytes on both sides of the volume byte (the first sample's, and the second's or,
// with one sample, the high byte of the first track address) have no bits above the nibble.
constexpr ScanGate kFinetuneGate{-1, 0xF0, 0x00};
constexpr ScanGate kNextFinetuneGate{5, 0xF0, 0x00};
// With packed samples a finetune may carry the sample's packed flag, and the high byte of the
// unpacked sample size in front of the records is 0.
constexpr ScanGate kPackedFinetuneGate{-1, 0x70, 0x00};
constexpr ScanGate kPackedSizeGate{-7, 0xFF, 0x00};

template <const Member& M> constexpr FormatSteps stepsOf() {
    return {testMember<M>, ripMember<M>, depackMember<M>, true, {kFinetuneGate, kNextFinetuneGate}};
}

template <const Member& M> constexpr FormatSteps packedStepsOf() {
    return {testPackedMember<M>, nullptr, nullptr, true, {kPackedFinetuneGate, kPackedSizeGate}};
}
} // namespace

const FormatSteps thePlayer50ASteps = stepsOf<k50A>();
const FormatSteps thePlayer60ASteps = stepsOf<k60A>();
const FormatSteps thePlayer60APackedSteps = packedStepsOf<k60A>();
const FormatSteps thePlayer61ASteps = stepsOf<k61A>();
const FormatSteps thePlayer61APackedSteps = packedStepsOf<k61A>();
