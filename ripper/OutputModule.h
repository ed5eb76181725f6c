#pragma once
// Pieces every converter shares to write a plain ProTracker module: creating the output file,
// the banner written over some sample names, and the plausibility check of a sample record.
//
// Output layout written by the 31-sample converters (big-endian): 20-byte title, 31 sample
// records of 30 bytes (22-byte name, length in words, finetune, volume, loop start in words,
// loop length in words), song length at 950, restart byte at 951, 128-byte order list at 952,
// "M.K." at 1080, patterns of 1024 bytes from 1084, then the sample data.
//
// Threading: none; used from the ripper's one thread.

#include "CFile.h"

#include <cstdint>

// Opens `name` with `mode` ("w+b" for converters). If it cannot be created, prints
// "!!couldn't create the file ..." and ends the whole process with exit status -1: the ripper
// runs as a child process and never reports this failure to a caller.
CFile createOutputFile(const char* name, const char* mode);

// Writes the 20-character banner texts over the first 20 bytes of the names of samples 19, 20,
// 21, 23 and 24 (file offsets 560, 590, 620, 680, 710), no terminating zero. `formatName` is the
// format's 18-character banner name. `delta` and `packed` follow the ripper's convention that 0
// means yes: 0 adds "[! smp were DELTA  ]" at 770 or "[! smp were PACKED ]" at 800.
// Leaves the file position at the end of the last text written.
void writeBanner31(const char* formatName, int delta, int packed, std::FILE* file);

// The same first five texts for the 15-sample layout, at 260, 290, 320, 380 and 410.
void writeBanner15(const char* formatName, std::FILE* file);

// Returns 0 when a sample record is plausible and 1 when not. All sizes in bytes: rejects a loop
// start above the length, a loop length above length + 2, a loop end above length + 2, a
// non-zero loop start with a loop length below 3, a volume above 64 or a finetune above 15.
int checkSampleDescriptor(std::int64_t length, std::int64_t loopStart, std::int64_t loopLength,
                          int volume, int finetune);
