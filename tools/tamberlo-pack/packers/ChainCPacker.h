#pragma once
// Packers for three untagged formats: a plain ProTracker module as Game Music Creator
// (15 records with memory addresses, periods kept, its own effect numbers), as The Dark Demon
// (records with offsets, sample data before the patterns, note numbers × 2) and as Titanics
// Player (15 records, patterns as lists of the cells that hold something), and the module the
// ripper must give back for each.
//
// All three lose the title, sample names, restart byte (0x7F comes back), the order entries
// behind the song and the patterns it does not play, and snap periods to the finetune-0 table.
// Game Music Creator and Titanics Player keep only samples 1-15 (notes of the others lose their
// sample number). Game Music Creator also loses the finetune, every effect but 1, 2, B, C, D,
// E00, E01 and F, loops shorter than two words and song positions past 100. Titanics Player
// numbers the patterns the song plays anew, keeping their order and closing the gaps, and comes
// back as a 15-sample SoundTracker module.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packGameMusicCreator(const ProTrackerModule& module);
Bytes packTheDarkDemon(const ProTrackerModule& module);
Bytes packTitanicsPlayer(const ProTrackerModule& module);

Bytes expectedFromGameMusicCreator(const ProTrackerModule& module);
Bytes expectedFromTheDarkDemon(const ProTrackerModule& module);
// The 15-sample module ("-1.stk") the ripper writes for Titanics Player.
Bytes expectedFromTitanicsPlayer(const ProTrackerModule& module);
