#pragma once
// Packer of The Player 5.0A, 6.0A and 6.1A: a plain ProTracker module as per-channel
// tracks of the version's entries (empty-row and repeat counts, jumps back to runs of entries
// written before, equal tracks stored once, a sample equal to an earlier one stored as a
// reference to it), and the module the ripper must give back.
//
// The format loses the title and sample names, the restart byte (0x7F comes back), order entries
// behind the song, periods off the finetune-0 table (snapped to the nearest note), the rows after
// a pattern break or position jump, the lower nibble of a slide (5, 6, A) that has both, a
// pattern break row that is not decimal-coded, volumes above 64, sample data behind a loop's end
// and the sample slots above the highest one with data or notes. A one-pattern 6.0A song reads as
// 5.0A: the two differ only in how positions count.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

enum class ThePlayer6xVersion { V50A, V60A, V61A };

struct ThePlayer6xStyle {
    ThePlayer6xVersion version;
    bool deltaSamples = false;  // stored as differences, flagged in the header
    bool tagged = false;        // "P61A" in front of the header
    bool packedSamples = false; // flagged as packed (the data is left plain: nothing unpacks it)
};

Bytes packThePlayer6x(const ProTrackerModule& module, ThePlayer6xStyle style);
Bytes expectedFromThePlayer6x(const ProTrackerModule& module, ThePlayer6xStyle style);

// The same as plain functions, for tables of packers.
template <ThePlayer6xStyle S> Bytes packThePlayer6xAs(const ProTrackerModule& module) {
    return packThePlayer6x(module, S);
}
template <ThePlayer6xStyle S> Bytes expectedFromThePlayer6xAs(const ProTrackerModule& module) {
    return expectedFromThePlayer6x(module, S);
}
