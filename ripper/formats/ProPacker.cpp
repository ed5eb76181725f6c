// ProPacker v1.0, v2.1 and v3.0: the members' steps (layout in ProPacker.h). All three find a
// module at the finetune byte of its last sample record.
#include "ProPacker.h"
#include "FormatStepsList.h"

namespace {
using namespace proPacker;

struct Member {
    CellStorage storage;
    const char* displayName;
    int extensionIndex;
    const char* bannerName;
};

constexpr Member k10{CellStorage::Tracks, "ProPacker v1.0 Exe-file", 37, "  ProPacker v1.0  "};
constexpr Member k21{CellStorage::CellNumbers, "ProPacker v2.1 module", 18, "  ProPacker v2.1  "};
constexpr Member k30{CellStorage::CellOffsets, "ProPacker v3.0 module", 19, "  ProPacker v3.0  "};

template <const Member& M> int testMember(RipState& st) {
    return testModule(st, M.storage);
}

template <const Member& M> void ripMember(RipState& st) {
    ripModule(st, M.displayName, M.extensionIndex);
}

template <const Member& M> void depackMember(RipState& st) {
    depackModule(st, M.storage, M.bannerName);
}

// The restart byte behind the records, and the finetune of the record before the last, which
// has no bits above the nibble.
constexpr ScanGate kRestartGate{kRestartByte - kScanOffset, 0xFF, 0x7F};
constexpr ScanGate kFinetuneGate{-static_cast<int>(kRecordBytes), 0xF0, 0x00};

template <const Member& M> constexpr FormatSteps stepsOf() {
    return {testMember<M>, ripMember<M>, depackMember<M>, true, {kRestartGate, kFinetuneGate}};
}
} // namespace

const FormatSteps proPacker10ExeSteps = stepsOf<k10>();
const FormatSteps proPacker21Steps = stepsOf<k21>();
const FormatSteps proPacker30Steps = stepsOf<k30>();
