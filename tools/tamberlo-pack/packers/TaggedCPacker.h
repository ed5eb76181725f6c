#pragma once
// Packers for three tagged formats: a plain ProTracker module as STIM (Slamtilt)
// ("STIM" at the start, channel streams of three-byte cells and row skips, samples behind
// nameless records), as Fuchs Tracker ("SONG" at 192, 16 samples, ProTracker cells) and as
// Sound FX 1.3 ("SONG" at 60, 15 samples, its own effect numbers), and the module the ripper
// must give back for each.
//
// Both lose the title and sample names, the restart byte (0x7F comes back) and the order
// entries behind the song. STIM also loses periods off the finetune-0 table (snapped to the
// nearest note) and holds at most 64 patterns. Fuchs Tracker keeps only the first 16 samples
// (even byte lengths up to 0xFFFE), 40 order entries, no finetune, and loops that end where
// their sample ends: a loop starting at 0 comes back as no loop, a shorter one runs to the end.
// Sound FX 1.3 keeps 15 samples and no finetune, and of the effects only arpeggio, slides of
// speed 1-15, filter on and off, volumes set on a cell that names one of its samples (as steps
// from the sample's volume, clamped to 64) and pattern breaks on an empty cell (as breaks to
// row 0); every other effect is dropped.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packStim(const ProTrackerModule& module);
Bytes packFuchsTracker(const ProTrackerModule& module);
Bytes packSoundFx13(const ProTrackerModule& module);

Bytes expectedFromStim(const ProTrackerModule& module);
Bytes expectedFromFuchsTracker(const ProTrackerModule& module);
Bytes expectedFromSoundFx13(const ProTrackerModule& module);
