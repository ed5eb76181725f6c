#pragma once
// Packers for four tagged formats, and the module the ripper must give back for each:
// Polka Packer (the ProTracker layout with doubled note numbers, tag "PWR." or "PSUX" at 1080),
// SoundTracker 2.6 and IceTracker (the song as quadruples of 64-row ProTracker tracks, tag
// "MTN\0" or "IT10" at 1464), TMK (nameless records, three-byte cells, sample data plain or
// delta-coded) and Quadra Composer (an IFF file of sample and pattern records with addresses).
//
// All lose the title, sample names, restart byte (0x7F comes back) and the patterns and order
// entries behind the song. All but SoundTracker 2.6 / IceTracker snap periods to the
// finetune-0 table. SoundTracker 2.6 / IceTracker merge patterns of equal content and number
// them in the order the song first plays them. TMK keeps only the records up to the last
// sample with data; Quadra Composer keeps only samples with data and drops the loop of a sample
// whose loop length is at most one word (loop start 0 and length 1 come back).
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packPolka(const ProTrackerModule& module);
Bytes packPolkaPsux(const ProTrackerModule& module);
Bytes packSoundTracker26(const ProTrackerModule& module);
Bytes packIceTracker(const ProTrackerModule& module);
Bytes packTmk(const ProTrackerModule& module);
Bytes packTmkDelta(const ProTrackerModule& module);
Bytes packQuadraComposer(const ProTrackerModule& module);

Bytes expectedFromPolka(const ProTrackerModule& module);
Bytes expectedFromIceTracker(const ProTrackerModule& module); // both trackers
Bytes expectedFromTmk(const ProTrackerModule& module);
Bytes expectedFromTmkDelta(const ProTrackerModule& module);
Bytes expectedFromQuadraComposer(const ProTrackerModule& module);
