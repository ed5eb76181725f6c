#pragma once
// The one process-wide record that the scan driver and every format converter share. A rip
// reads the whole input into memory, the driver walks `position` over it, a format's test step
// leaves the candidate's start and sizes here, its rip step moves `position` past the module and
// its depack step writes the converted module.
//
// Threading: none. The ripper is not re-entrant: one call at a time, on any single thread.

#include "ExtensionTable.h"

#include <array>
#include <cstdint>

struct RipState {
    // The whole input, borrowed for one call (owned by the driver), and its size in bytes as the
    // directory entry gave it. Valid indices are 0 .. inputSize - 1.
    const std::uint8_t* input = nullptr;
    std::int32_t inputSize = 0;
    // Scan position: an index into `input`. The driver adds 1 after every step.
    std::uint32_t position = 0;
    // Index of the first byte of the module a test step accepted.
    std::uint32_t moduleStart = 0;
    // Total size in bytes of the packed module, set by the rip step.
    std::uint32_t outputSize = 0;
    // Bytes of sample data of the accepted module.
    std::uint32_t sampleDataSize = 0;
    // Sizes a test step hands to its rip and depack steps; each format says what its slots hold.
    std::array<std::uint32_t, 4> scratch{};
    // Output files are named "%ld.mod" from ripCounter - 1. Nothing advances it, so every
    // conversion writes "-1.mod", which is the file the song loader looks for.
    std::int32_t ripCounter = 0;
    // A depack step does nothing while this is 1; noteRip clears it at every rip.
    std::uint8_t refusedFlag = 0;
    // The formatted output-file name of the current conversion.
    char outputName[64] = {};
    // Per-format file-name extensions from "_types_" (reported on the console, otherwise unused).
    ExtensionTable extensions;
};

// The process-wide state. Lives until the process ends.
RipState& ripState();

// Called by every rip step with the format's display name and its index into the extension
// table (0-135). Clears `refusedFlag`, so every accepted module gets converted.
void noteRip(RipState& state, const char* formatName, int extensionIndex);

// Moves the scan to `target` (an input index, may be past the end or before the position).
// The scan never moves backwards, so a module whose size fields claim less than its header
// cannot make the driver find it again and loop; a target past the input ends the scan.
void advanceScanTo(RipState& state, std::int64_t target);

// Writes "%ld.mod" (or another pattern with one %ld) from ripCounter - 1 into outputName.
void formatOutputName(RipState& state, const char* pattern);
