#pragma once
// Plain tracker modules with 1-31 channels ("NCHN", "NNCH", "M.K.", "FLT4"): recognised and
// stepped over, never converted (they are playable as they are).
//
// Threading: none; the ripper's one thread.

#include "../RipState.h"

// With the position at the module's 4-byte tag (offset 1080), checks the 31 sample records, the
// song length (1-127), the order list (entries up to 127) and the first byte of the pattern
// data at a stride of `channels` bytes. Returns 0 when it is such a module, 1 otherwise.
int testMultiChannel(RipState& state, int channels);

// Sets the output size (header, patterns, sample data), notes the rip and moves the position
// on by 1084. Writes nothing.
void ripMultiChannel(RipState& state);
