#pragma once
// Packers of the NoisePacker family and of Noiserunner, and the module the ripper must
// give back for each.
//
// NoisePacker v1 and v3 are made from the v2 packer's output, since the three versions store
// notes and effects alike: v1 counts loop starts in bytes and keeps the sample and loop
// addresses (here offsets of the samples in the packed module), as the real v1 module does; v3
// moves finetune and volume to the front of its records and drops the empty rows of every
// track for skip bytes. They lose what v2 loses (title, names, restart byte, effects NoisePacker
// cannot hold, periods off the finetune-0 table). A v1 module without loop starts reads exactly
// as a v2 one and comes back under v2's banner.
//
// Noiserunner keeps the ProTracker header from byte 496 on and every pattern; it loses the
// title, the names, the restart byte (0x7F comes back), order entries and patterns behind the
// song, and periods off the finetune-0 table (snapped to the nearest note).
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packNoisePackerV1(const ProTrackerModule& module);
Bytes packNoisePackerV3(const ProTrackerModule& module);
Bytes packNoiserunner(const ProTrackerModule& module);

Bytes expectedFromNoisePackerV1(const ProTrackerModule& module);
Bytes expectedFromNoisePackerV3(const ProTrackerModule& module);
Bytes expectedFromNoiserunner(const ProTrackerModule& module);
