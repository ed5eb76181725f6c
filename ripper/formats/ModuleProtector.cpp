// Module Protector: a ProTracker module without its title and sample names, found with or
// without a "TRK1" tag in front of its patterns.
//
// Packed layout from module start s: 0-247 31 sample records of 8 bytes (length in words,
// finetune, volume, loop start and loop length in words), 248 song length (1-128), 249 restart
// byte (0x7F in untagged modules), 250-377 the order list, then "TRK1" (tagged modules only), the
// patterns of 1024 bytes (ProTracker cells) up to the highest of all 128 order entries, then the
// sample data, plain 8-bit signed PCM. The sample data follows the last pattern directly: in the
// real modules every sample starts with the zero bytes a tracker leaves there, and reading it from
// that point keeps that true.
//
// The untagged test runs in the chain at the finetune byte of the last sample record (s + 242),
// which a run of zero bytes long enough for the scan to skip rarely covers, since trackers give
// an unused record a loop length of 1. The restart byte seven bytes on is 0x7F, as ProTracker
// writes it: the untagged test asks for it, so modules saved with a restart position are not
// found without their tag.
#include "../InputBytes.h"
#include "FormatStepsList.h"
#include "PtLikeModule.h"

namespace {
constexpr ptLike::Layout kUntagged{0, 8, 248, 378, 0, ptLike::CellKind::Period, false};
constexpr ptLike::Layout kTagged{0, 8, 248, 382, 0, ptLike::CellKind::Period, false};
constexpr std::uint32_t kTagOffset = 378;
constexpr std::uint32_t kLastFinetune = 8 * 30 + 2;
constexpr std::uint32_t kSongLength = 248;
constexpr std::uint32_t kRestart = 249;
constexpr char kFormatName[] = "Module Protector Packed music";
constexpr int kExtensionIndex = 14;

bool acceptUntagged(RipState& st, std::uint64_t start) {
    if (!fits(st, start + kRestart, 1) || u8(st, start + kRestart) != 0x7F ||
        ptLike::test(st, start, kUntagged) != 0)
        return false;
    st.scratch[2] = kUntagged.patterns;
    return true;
}

// Empty records with a loop length of 0 are all zero bytes, so the scan may skip a zero run
// that covers the module's own position and ends at its song length byte. The driver runs the
// chain at the position behind such a run; there the first non-zero byte ahead is taken as
// the song length of a module whose position was passed.
bool acceptBehindZeroRun(RipState& st) {
    std::uint64_t at = st.position;
    for (int i = 0; i < 64 && fits(st, at, 1) && u8(st, at) == 0; ++i)
        ++at;
    if (at < kSongLength || at - kSongLength + kLastFinetune >= st.position || !fits(st, at, 1) ||
        u8(st, at) == 0)
        return false;
    return acceptUntagged(st, at - kSongLength);
}

int testUntagged(RipState& st) {
    if (st.position >= kLastFinetune && acceptUntagged(st, st.position - kLastFinetune))
        return 0;
    return u8(st, st.position) == 0 && acceptBehindZeroRun(st) ? 0 : 1;
}

int testTagged(RipState& st) {
    if (st.position < kTagOffset || ptLike::test(st, st.position - kTagOffset, kTagged) != 0)
        return 1;
    st.scratch[2] = kTagged.patterns;
    return 0;
}

const ptLike::Layout& layoutOf(const RipState& st) {
    return st.scratch[2] == kTagged.patterns ? kTagged : kUntagged;
}

void ripModuleProtector(RipState& st) {
    ptLike::rip(st, layoutOf(st), kFormatName, kExtensionIndex);
}

void depackModuleProtector(RipState& st) {
    ptLike::depack(st, layoutOf(st), " Module Protector ");
}
} // namespace

// Gates: the restart byte 0x7F, and the finetune of the record before (8 bytes back) at most 15.
const FormatSteps moduleProtectorSteps = {testUntagged,
                                          ripModuleProtector,
                                          depackModuleProtector,
                                          true,
                                          {ScanGate{7, 0xFF, 0x7F}, ScanGate{-8, 0xF0, 0x00}}};
const FormatSteps moduleProtectorTaggedSteps = {testTagged, ripModuleProtector,
                                                depackModuleProtector};
