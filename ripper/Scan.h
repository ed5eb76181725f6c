#pragma once
// The scan over an input that is already in memory.
//
// Threading: none; the ripper is not re-entrant (see RipState.h).

#include "RipState.h"

#include <cstdint>

// Scans positions 0 .. inputSize - 65 of state.input for packed modules in the fixed format
// order and converts each one found into "-1.mod" in the current directory (the last one found
// wins). Runs of 64 zero bytes are skipped 63 at a time. The last 64 bytes are never a position.
void scanInput(RipState& state);

// Scans `size` bytes at `data` with the process-wide state, without the console messages of
// ripFile: for the fuzz target, benchmarks and tests. Inputs of 64 bytes or fewer are not
// scanned. `data` must stay valid for the call.
void ripBuffer(const std::uint8_t* data, std::int32_t size);
