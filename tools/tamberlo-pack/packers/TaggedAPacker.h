#pragma once
// Packers for KRIS Tracker, Kefrens Sound Machine and Fuzzac: a plain ProTracker module
// split into per-channel tracks that every song position names (identical tracks are stored
// once), and the module the ripper must give back for each.
//
// All three lose the title and sample names, the restart byte (0x7F comes back) and the pattern
// numbers: every position comes back as its own pattern, numbered 0 to length - 1. KRIS Tracker
// and Kefrens Sound Machine also snap periods to the finetune-0 table. Kefrens Sound Machine
// keeps only samples 1-15, without finetune or loops (cells naming a higher sample come back
// without a sample).
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packKrisTracker(const ProTrackerModule& module);
Bytes packKefrensSoundMachine(const ProTrackerModule& module);
Bytes packFuzzac(const ProTrackerModule& module);

Bytes expectedFromKrisTracker(const ProTrackerModule& module);
Bytes expectedFromKefrensSoundMachine(const ProTrackerModule& module);
Bytes expectedFromFuzzac(const ProTrackerModule& module);

// Offset of the tag "KRIS" in packKrisTracker's output (the scan finds the module there).
constexpr std::size_t kKrisTagOffset = 952;
