// Noise From Heaven: a ProTracker module whose tag reads "Fuck" instead of "M.K.".
//
// Packed layout from module start s (the tag is at s + 1080): the ProTracker header (20-byte
// title, 31 sample records of 30 bytes, song length at 950, restart byte at 951, order list at
// 952), "Fuck" at 1080, the stored patterns from 1084 (as many as the highest of all 128 order
// entries + 1, 64 rows x 4 channels x 4-byte ProTracker cells), then the sample data as plain
// 8-bit PCM.
//
// No real modules were at hand, so the cells are taken as plain ProTracker cells with the
// periods as stored. The output keeps only the patterns the song plays, with the order list
// behind the song zeroed, so a player that counts patterns from all 128 entries finds the
// samples where they are.
#include "FormatStepsList.h"
#include "PtLikeModule.h"

namespace {
constexpr ptLike::Layout kLayout{42, 30, 950, 1084, 0, ptLike::CellKind::Period, false};
constexpr std::uint32_t kTagOffset = 1080;

int testNoiseFromHeaven(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    return ptLike::test(st, st.position - kTagOffset, kLayout);
}

void ripNoiseFromHeaven(RipState& st) {
    ptLike::rip(st, kLayout, "Noise From Heaven module", 119);
}

void depackNoiseFromHeaven(RipState& st) {
    ptLike::depack(st, kLayout, "Noise From Heaven ");
}
} // namespace

const FormatSteps noiseFromHeavenSteps = {testNoiseFromHeaven, ripNoiseFromHeaven,
                                          depackNoiseFromHeaven};
