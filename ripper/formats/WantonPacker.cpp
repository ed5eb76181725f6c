// Wanton Packer: a ProTracker module whose cells hold note numbers instead of periods, tagged
// "WN", a zero byte and the number of stored patterns.
//
// Packed layout from module start s (the scan position is at the tag, s + 1080): 0-19 title,
// 20-949 31 sample records of 30 bytes (22-byte name, length in words, finetune, volume, loop
// start and loop length in words), 950 song length (1-128), 951 restart byte (not read),
// 952-1079 the order list, 1080 "WN", 1082 zero, 1083 the number of stored patterns, 1084 the
// patterns, then the sample data, plain 8-bit signed PCM in record order. A cell is 4 bytes:
// the note number times 2 (0 no note, 2-72 for C-1 to B-3), the sample number, the effect and
// its parameter.
#include "FormatStepsList.h"
#include "PtLikeModule.h"

namespace {
constexpr ptLike::Layout kLayout{42,   30, 950, 1084, 1083, ptLike::CellKind::DoubledNoteNumber,
                                 false};
constexpr std::uint32_t kTagOffset = 1080;

int testWantonPacker(RipState& st) {
    if (st.position < kTagOffset)
        return 1;
    return ptLike::test(st, st.position - kTagOffset, kLayout);
}

void ripWantonPacker(RipState& st) {
    ptLike::rip(st, kLayout, "Wanton Packer module", 12);
}

void depackWantonPacker(RipState& st) {
    ptLike::depack(st, kLayout, "  Wanton Packer   ");
}
} // namespace

const FormatSteps wantonPackerSteps = {testWantonPacker, ripWantonPacker, depackWantonPacker};
