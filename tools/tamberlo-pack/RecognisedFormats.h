#pragma once
// Writers of small modules of the formats the ripper recognises but does not convert (it steps
// over them so that their sample data is not taken for packed modules): each holds one sample
// whose data is `samples` (an even number of bytes) and one pattern.
//
// Threading: pure functions; any thread.

#include "ModulePacker.h"

#include <span>

struct RecognisedFormat {
    const char* name;
    Bytes (*write)(const Bytes& samples);
};

// SoundTracker (15 samples), JamCracker, DigiBooster 1.7, Fastracker 2, Future Composer 1.3 and
// 1.4, BSI Future Composer, MED, OctaMED, Digital Mugician and Sound Monitor.
std::span<const RecognisedFormat> recognisedFormats();
