#pragma once
// A small AMOS music bank ("AmBk" ... "Music"): two instruments, songs that are all the same
// one named "Tune", and no pattern data. The ripper converts only a bank's title and sample
// records, and a bank of several songs not at all (it leaves an empty file and asks for it).
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

Bytes packAmosMusicBank(unsigned songs);
// The unfinished module the ripper writes for a one-song bank: the title and 31 sample records.
Bytes expectedFromAmosMusicBank();
