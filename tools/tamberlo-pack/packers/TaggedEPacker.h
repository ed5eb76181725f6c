#pragma once
// Packers for four tagged formats: a plain ProTracker module as Noise From Heaven
// (the module itself with "Fuck" for "M.K."), as Stone Arts Player ("FAST", the song as
// quadruples of shared note-number tracks), as GnuPlayer ("GnPl", channel streams with row
// skips and the player's own command numbers) and as GPMO ("GPMO", patterns with empty rows and
// cells crunched away), and the module the ripper must give back for each.
//
// All four lose the title, sample names, restart byte (0x7F comes back) and the patterns and
// order entries behind the song. Stone Arts Player and GnuPlayer also snap periods to the
// finetune-0 table and keep only the samples up to the last one with data or notes, so the
// records behind it come back empty (loop length 1).
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packNoiseFromHeaven(const ProTrackerModule& module);
Bytes packStoneArtsPlayer(const ProTrackerModule& module);
Bytes packGnuPlayer(const ProTrackerModule& module);
Bytes packGpmo(const ProTrackerModule& module);

// packGnuPlayer with the first effect of the song stored as `command`, one of the player's own
// commands that a ProTracker module cannot hold.
Bytes packGnuPlayerWithOwnCommand(const ProTrackerModule& module, std::uint8_t command);

Bytes expectedFromNoiseFromHeaven(const ProTrackerModule& module);
Bytes expectedFromStoneArtsPlayer(const ProTrackerModule& module);
Bytes expectedFromGnuPlayer(const ProTrackerModule& module);
Bytes expectedFromGpmo(const ProTrackerModule& module);
