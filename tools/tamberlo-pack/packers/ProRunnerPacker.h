#pragma once
// ProRunner packers: a plain ProTracker module as ProRunner 1 ("SNT." at 1080, cells
// of sample, note number, effect, parameter) and as ProRunner 2 ("SNT!", nameless sample
// records, cells shrunk to one byte when empty or repeating the channel's last cell), and the
// module the ripper must give back for each.
//
// Both formats lose the title and sample names, the restart byte (0x7F comes back), periods off
// the finetune-0 table (snapped to the nearest note), and the patterns and order entries behind
// the song. ProRunner 2 holds at most 64 patterns.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packProRunner1(const ProTrackerModule& module);
Bytes packProRunner2(const ProTrackerModule& module);

Bytes expectedFromProRunner1(const ProTrackerModule& module);
Bytes expectedFromProRunner2(const ProTrackerModule& module);
