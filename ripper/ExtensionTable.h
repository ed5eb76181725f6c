#pragma once
// Per-format file-name extensions, read from the optional "_types_" file in the current
// directory. Nothing names output files from it; it is loaded at every rip because its absence
// or damage is reported on the console.
//
// Threading: none; used from the ripper's one thread.

#include <cstddef>

struct ExtensionTable {
    static constexpr int SlotCount = 136;   // format indices 0-134 and the "---" slot 135
    static constexpr int SlotSize = 33;     // 32 characters and a terminating zero
    static constexpr int Definitions = 135; // lines "_types_" must provide
    // A line of "_types_" is not cut at 32 characters and may run into the next slots; the tail
    // keeps such a line inside this object even in the last slot (lines are at most 255
    // characters).
    static constexpr int Slack = 256;

    char bytes[SlotCount * SlotSize + Slack] = {};

    const char* slot(int index) const { return bytes + index * SlotSize; }
    char* slot(int index) { return bytes + index * SlotSize; }
};

// Fills `table` from "_types_" in the current directory: comment lines start with '#', every
// other line (empty ones too) is the next slot's text up to its first CR or LF. A missing file
// prints "!!! couldn't find ..." and a file with fewer than 135 definitions prints
// "!!! Damaged ..."; both install the default list.
void loadExtensionTable(ExtensionTable& table);

// Installs the built-in list (slot 135 holds "---").
void installDefaultExtensions(ExtensionTable& table);
