#pragma once
// Packers for StarTrekker Packer (nameless records, cells with the sample number times
// 4 and one byte per empty cell), Xann Packer (pattern addresses as the song, re-coded effects)
// and PHA Packer (samples before run-length coded patterns), and the module the ripper must
// give back for each.
//
// All three lose the title, sample names, restart byte (0x7F comes back) and the order entries
// behind the song. StarTrekker and PHA keep only the patterns the song plays, renumbered in
// pattern order. Xann and PHA snap periods to the finetune-0 table; Xann has no code for effect
// 8 (dropped) and keeps only the upward speed of a slide that has both (5, 6 and A).
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packStarTrekker(const ProTrackerModule& module);
Bytes packXann(const ProTrackerModule& module);
Bytes packPha(const ProTrackerModule& module);

Bytes expectedFromStarTrekker(const ProTrackerModule& module);
Bytes expectedFromXann(const ProTrackerModule& module);
Bytes expectedFromPha(const ProTrackerModule& module);
