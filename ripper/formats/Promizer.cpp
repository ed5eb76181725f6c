// Promizer 0.1, 1.0c, 1.8a, 2.0 and 4.0: the members' steps (layout in Promizer.h). 0.1 is
// found at its song length field, 1.x and 2.0 at the start of their replay routine, 4.0 at its
// tag.
#include "Promizer.h"
#include "FormatStepsList.h"

namespace {
using namespace promizer;

struct Member {
    Version version;
    const char* displayName;
    int extensionIndex;
    const char* bannerName;
};

constexpr Member k01{Version::V01, "Promizer 0.1 music", 17, "   Promizer 0.1   "};
constexpr Member k10c{Version::V10c, "Promizer 1.0c module", 6, "  Promizer v1.0c  "};
constexpr Member k18a{Version::V18a, "Promizer 1.8a module", 7, "  Promizer v1.8a  "};
constexpr Member k20{Version::V20, "Promizer 2.0 module", 8, "   Promizer 2.0   "};
constexpr Member k40{Version::V40, "Promizer 4.0 module", 36, "   Promizer 4.0   "};

template <const Member& M> int testMember(RipState& st) {
    return testModule(st, M.version);
}

template <const Member& M> void ripMember(RipState& st) {
    ripModule(st, M.displayName, M.extensionIndex);
}

template <const Member& M> void depackMember(RipState& st) {
    depackModule(st, M.version, M.bannerName);
}

template <const Member& M> constexpr FormatSteps stepsOf() {
    return {testMember<M>, ripMember<M>, depackMember<M>};
}

// 0.1 runs in the chain: the first position's pattern offset, two bytes behind the position,
// is below 128 KiB, so its top byte is 0 and the next one at most 1.
constexpr ScanGate kOffsetTopGate{2, 0xFF, 0x00};
constexpr ScanGate kOffsetNextGate{3, 0xFE, 0x00};
} // namespace

const FormatSteps promizer01Steps = {
    testMember<k01>, ripMember<k01>, depackMember<k01>, true, {kOffsetTopGate, kOffsetNextGate}};
const FormatSteps promizer10cSteps = stepsOf<k10c>();
const FormatSteps promizer18aSteps = stepsOf<k18a>();
const FormatSteps promizer20Steps = stepsOf<k20>();
const FormatSteps promizer40Steps = stepsOf<k40>();
