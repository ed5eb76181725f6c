#pragma once
// Test-side packers for two tagged formats: a plain ProTracker module as STIM (Slamtilt)
// ("STIM" at the start, channel streams of three-byte cells and row skips, samples behind
// nameless records) and as Fuchs Tracker ("SONG" at 192, 16 samples, ProTracker cells), and
// the module the ripper must give back for each.
//
// Both lose the title and sample names, the restart byte (0x7F comes back) and the order
// entries behind the song. STIM also loses periods off the finetune-0 table (snapped to the
// nearest note) and holds at most 64 patterns. Fuchs Tracker keeps only the first 16 samples
// (even byte lengths up to 0xFFFE), 40 order entries, no finetune, and loops that end where
// their sample ends: a loop starting at 0 comes back as no loop, a shorter one runs to the end.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packStim(const ProTrackerModule& module);
Bytes packFuchsTracker(const ProTrackerModule& module);

Bytes expectedFromStim(const ProTrackerModule& module);
Bytes expectedFromFuchsTracker(const ProTrackerModule& module);
