#pragma once
// Every packed format the packers write, by the name tamberlo-pack takes on its command line,
// with the module the ripper must give back for it: one table for the command, the ripper's
// tests and its fuzz seeds.
//
// Threading: pure data and pure functions; any thread.

#include "ModulePacker.h"

#include <span>
#include <string_view>

struct PackFormat {
    const char* name; // lower case, as typed on the command line
    Bytes (*pack)(const ProTrackerModule&);
    Bytes (*expected)(const ProTrackerModule&);
    // The ripper's output file for this format: a 31-sample module "-1.mod", or for the formats
    // that hold 15 samples a SoundTracker module "-1.stk".
    const char* output = "-1.mod";
};

// All formats, sorted by name.
std::span<const PackFormat> packFormats();
// The format called `name`; null when there is none.
const PackFormat* findPackFormat(std::string_view name);
