#pragma once
// Tracker Packer packers: a plain ProTracker module as Tracker Packer v1 (whole
// patterns of one- to three-byte cells, a pattern address per position), v2 and v3 (per-channel
// tracks with runs of empty rows and a track table per pattern), and the module the ripper must
// give back for each.
//
// All three lose the title and sample names, the restart byte (0x7F comes back), periods off the
// finetune-0 table (snapped to the nearest note) and the order entries behind the song.
// v1 also loses the sample of a cell without a note and the pattern numbers (the song's patterns
// come back numbered as it first plays them, unused ones dropped).
// v2 and v3 also lose effect 8 (it stands for the arpeggio and comes back as effect 0), the low
// nibble of a volume slide (5, 6, A) whose high nibble is set, and the sample records above the
// highest one with data.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packTrackerPacker1(const ProTrackerModule& module);
Bytes packTrackerPacker2(const ProTrackerModule& module);
Bytes packTrackerPacker3(const ProTrackerModule& module);

Bytes expectedFromTrackerPacker1(const ProTrackerModule& module);
Bytes expectedFromTrackerPacker2(const ProTrackerModule& module);
Bytes expectedFromTrackerPacker3(const ProTrackerModule& module);
