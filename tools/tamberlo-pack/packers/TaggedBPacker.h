#pragma once
// Packers for three tagged formats: a plain ProTracker module as FC-M ("FC-M" chunks
// holding the ProTracker parts unchanged), as Hornet ("HRT!" at 1080, cells of doubled sample and
// note numbers) and as SKYT (nameless records, the song as quadruples of 64-row tracks, "SKYT"
// behind the records), and the module the ripper must give back for each.
//
// All three lose the title, sample names, restart byte (0x7F comes back) and the patterns and
// order entries behind the song. Hornet and SKYT also snap periods to the finetune-0 table; SKYT
// merges patterns of equal content, renumbers them in the order the song first plays them, and
// gives back a loop length of 0 as 1.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packFcm(const ProTrackerModule& module);
Bytes packHornet(const ProTrackerModule& module);
Bytes packSkyt(const ProTrackerModule& module);

Bytes expectedFromFcm(const ProTrackerModule& module);
Bytes expectedFromHornet(const ProTrackerModule& module);
Bytes expectedFromSkyt(const ProTrackerModule& module);
