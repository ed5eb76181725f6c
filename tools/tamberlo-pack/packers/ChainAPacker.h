#pragma once
// Packers for Digital Illusion, Eureka and ZEN Packer, and the module the ripper must
// give back for each.
//
// Digital Illusion stores the song's patterns as cell streams (one byte for an empty cell, two
// without a parameter, three with one) and drops the empty cells at a pattern's end. Eureka
// keeps the ProTracker header and stores the song's patterns as four channel tracks of
// variable-length cells and empty-row skips; a track equal to an earlier one is stored once.
// ZEN Packer keeps only the non-empty cells of a pattern, each with its place in the pattern,
// stores a pattern the song plays twice once, and addresses the samples from the module start.
//
// All three lose the title, the sample names, the restart byte (0x7F comes back), the order
// entries behind the song and the patterns the song does not play. Digital Illusion and ZEN
// Packer store note numbers, so periods come back snapped to the finetune-0 table; ZEN Packer
// also numbers the patterns in the order of their first use in the song.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packDigitalIllusion(const ProTrackerModule& module);
Bytes packEureka(const ProTrackerModule& module);
Bytes packZen(const ProTrackerModule& module);

Bytes expectedFromDigitalIllusion(const ProTrackerModule& module);
Bytes expectedFromEureka(const ProTrackerModule& module);
Bytes expectedFromZen(const ProTrackerModule& module);
