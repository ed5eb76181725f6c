// Power Music: a ProTracker module with "!PM!" in place of "M.K." and its samples stored as
// 8-bit differences.
//
// Packed layout from module start s (the scan position is at the tag, s + 1080): 0-19 title,
// 20-949 31 sample records of 30 bytes (22-byte name, length in words, finetune, volume, loop
// start and loop length in words), 950 song length (1-128), 951 restart byte (not read),
// 952-1079 the order list, 1080 "!PM!", 1084 the patterns (ProTracker cells) up to the highest of
// all 128 order entries, then the sample data in record order. Each sample is delta-coded on its
// own: a byte is the difference from the previous one, the first from 0.
#include "FormatStepsList.h"
#include "PtLikeModule.h"

namespace {
constexpr ptLike::Layout kLayout{42, 30, 950, 1084, 0, ptLike::CellKind::Period, true};
constexpr std::uint32_t kTagOffset = 1080;

int testPowerMusic(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    return ptLike::test(st, st.position - kTagOffset, kLayout);
}

void ripPowerMusic(RipState& st) {
    ptLike::rip(st, kLayout, "Power Music module", 5);
}

void depackPowerMusic(RipState& st) {
    ptLike::depack(st, kLayout, "   Power Music    ");
}
} // namespace

const FormatSteps powerMusicSteps = {testPowerMusic, ripPowerMusic, depackPowerMusic};
