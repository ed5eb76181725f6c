#pragma once
// The periods the Promizer replay routines play: notes C-1 to B-3 at each of the 16 finetunes
// (0-7 upwards, 8-15 the negative ones, -8 to -1), the ProTracker tables.
//
// Threading: constant data and pure functions; any thread.

#include <array>
#include <cstdint>

namespace promizer {

using FinetunedPeriods = std::array<std::array<std::uint16_t, 36>, 16>;
extern const FinetunedPeriods kFinetunedPeriods;

// The finetune-0 period of the note that `period` plays at `finetune`: looked up in that
// finetune's table first, then in the others; a period of no table gives the nearest finetune-0
// period, 0 gives 0.
std::uint16_t periodAtFinetuneZero(unsigned period, unsigned finetune);

} // namespace promizer
