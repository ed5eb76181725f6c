#pragma once
// Packers for Newtron, Newtron Old and Heatseeker, and the module the ripper must give
// back for each.
//
// Newtron and Newtron Old keep the sample records, the order list and every pattern as they are
// and put a head of two 16-bit fields (song length, pattern count) in front of the records or
// behind them. Heatseeker stores the patterns the song plays as tracks: runs of two or more empty
// rows become one skip item, and a track equal to an earlier stored one becomes a reference.
//
// All three lose the title, the sample names, the restart byte (0x7F comes back), the order
// entries behind the song and the patterns the song does not play; cells come back unchanged.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packNewtron(const ProTrackerModule& module);
Bytes packNewtronOld(const ProTrackerModule& module);
Bytes packHeatseeker(const ProTrackerModule& module);

Bytes expectedFromNewtron(const ProTrackerModule& module);
Bytes expectedFromNewtronOld(const ProTrackerModule& module);
Bytes expectedFromHeatseeker(const ProTrackerModule& module);
