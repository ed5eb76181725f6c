#pragma once
// Packer of ProPacker v1.0, v2.1 and v3.0: a plain ProTracker module as per-position
// track numbers of distinct 64-row channel tracks, stored as whole cells (v1.0) or as cell
// numbers (v2.1) or byte offsets (v3.0) into a table of the distinct cells, and the module the
// ripper must give back.
//
// The format keeps every cell and sample as it is; it loses the title and sample names, the
// restart byte (0x7F comes back) and pattern numbers: the song's patterns come back numbered as
// it first plays them, equal ones merged, unused ones dropped, order entries behind the song 0.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

enum class ProPackerVersion { V10, V21, V30 };

Bytes packProPacker(const ProTrackerModule& module, ProPackerVersion version);
Bytes expectedFromProPacker(const ProTrackerModule& module, ProPackerVersion version);

// The same as plain functions, for tables of packers.
template <ProPackerVersion V> Bytes packProPackerAs(const ProTrackerModule& module) {
    return packProPacker(module, V);
}
template <ProPackerVersion V> Bytes expectedFromProPackerAs(const ProTrackerModule& module) {
    return expectedFromProPacker(module, V);
}
