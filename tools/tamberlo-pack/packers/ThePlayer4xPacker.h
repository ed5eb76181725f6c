#pragma once
// Packer of The Player 2.2A, 3.0A, 4.0A, 4.0B and 4.1A: a plain ProTracker module as
// per-position track quadruples of four-byte entries (empty-row and repeat counts; the 4.x
// versions also refer back to runs of entries already written), and the module the ripper must
// give back.
//
// The format loses the title and sample names, the restart byte (0x7F comes back), pattern
// numbers (the song's patterns come back numbered as it first plays them, unused ones dropped,
// order entries behind the song zero), periods off the finetune-0 table (snapped to the nearest
// note), effect 8 (it stands for the arpeggio) and the sample slots above the highest one with
// data or notes.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

enum class ThePlayerVersion { V22A, V30A, V40A, V40B, V41A };

Bytes packThePlayer(const ProTrackerModule& module, ThePlayerVersion version);
Bytes expectedFromThePlayer(const ProTrackerModule& module, ThePlayerVersion version);

// The same as plain functions, for tables of packers.
template <ThePlayerVersion V> Bytes packThePlayerAs(const ProTrackerModule& module) {
    return packThePlayer(module, V);
}
template <ThePlayerVersion V> Bytes expectedFromThePlayerAs(const ProTrackerModule& module) {
    return expectedFromThePlayer(module, V);
}
