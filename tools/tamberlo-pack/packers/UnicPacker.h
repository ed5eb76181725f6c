#pragma once
// Packers for UNIC Tracker: a plain ProTracker module as UNIC v1 with a zero, "M.K."
// or "UNIC" tag, and as UNIC v2 (no tag), and the module the ripper must give back.
//
// UNIC loses the title, the sample names (it keeps only 20 bytes, which the ripper does not
// read), the restart byte (0x7F comes back) and the patterns and order entries behind the song;
// periods are snapped to the finetune-0 table, as the cells hold note numbers.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packUnicV1(const ProTrackerModule& module); // zero tag
Bytes packUnicV1MK(const ProTrackerModule& module);
Bytes packUnicV1Tag(const ProTrackerModule& module); // "UNIC"
Bytes packUnicV2(const ProTrackerModule& module);

Bytes expectedFromUnicV1(const ProTrackerModule& module);
Bytes expectedFromUnicV2(const ProTrackerModule& module);
