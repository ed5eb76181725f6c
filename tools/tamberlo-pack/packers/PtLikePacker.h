#pragma once
// Packers for the formats laid out like ProTracker itself: a plain ProTracker module
// as Module Protector (nameless records, no title, patterns at 378, or at 382 behind "TRK1"),
// as Power Music ("!PM!" in place of "M.K.", each sample delta-coded) and as Wanton Packer
// ("WN", a zero byte and the pattern count in place of "M.K."; cells of doubled note numbers),
// and the module the ripper must give back for each.
//
// All of them lose the title, sample names, restart byte (0x7F comes back), the order entries
// behind the song and the patterns only those entries name. Wanton Packer also snaps periods to
// the finetune-0 table.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packModuleProtector(const ProTrackerModule& module);
Bytes packModuleProtectorTagged(const ProTrackerModule& module);
Bytes packPowerMusic(const ProTrackerModule& module);
Bytes packWantonPacker(const ProTrackerModule& module);

Bytes expectedFromModuleProtector(const ProTrackerModule& module);
Bytes expectedFromPowerMusic(const ProTrackerModule& module);
Bytes expectedFromWantonPacker(const ProTrackerModule& module);
