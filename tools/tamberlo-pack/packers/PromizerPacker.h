#pragma once
// Packer of Promizer 0.1, 1.0c, 1.8a, 2.0 and 4.0 (layouts in
// ripper/formats/Promizer.h): a plain ProTracker module as whole patterns (0.1) or as patterns
// of references into a table of its distinct cells, behind a replay routine (1.x, 2.0: a stub
// holding only the words the ripper reads) or a tag (4.0), and the module the ripper must give
// back.
//
// The formats keep every pattern the song plays under its number, every sample and every
// effect. They lose the title and sample names, the restart byte (0x7F comes back), order
// entries behind the song (0 comes back) and patterns behind the song's highest one; periods off
// the finetune-0 table come back as their nearest note. 0.1 and 1.x store periods with the
// finetune of the note's sample applied (a note without a sample number takes the last sample
// named on its channel in the pattern, none at its top); 2.0 and 4.0 store note numbers.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

enum class PromizerVersion { V01, V10c, V18a, V20, V40 };

// `songs` > 1 (1.x only) chains that many copies of the song header and data, as a file of
// several songs sharing one sample data holds them.
Bytes packPromizer(const ProTrackerModule& module, PromizerVersion version, int songs = 1);
Bytes expectedFromPromizer(const ProTrackerModule& module, PromizerVersion version);

// The same as plain functions, for tables of packers.
template <PromizerVersion V> Bytes packPromizerAs(const ProTrackerModule& module) {
    return packPromizer(module, V);
}
template <PromizerVersion V> Bytes expectedFromPromizerAs(const ProTrackerModule& module) {
    return expectedFromPromizer(module, V);
}
