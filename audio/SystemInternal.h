#pragma once
// Internal entry points for the library's own tools and tests (not part of the public API).
//
// Threading: as the System's other calls (the GUI thread).

#include "Audio.h"
#include "Decoder.h"

#include <memory>

namespace audio {

// Creates a Sound from an already opened decoder, with the same modes as createSound
// (OpenMemory is meaningless here). Returns Ok, NotReady before init, OutOfMemory for a sample
// longer than the sample limit.
Result createSoundFromDecoder(System* system, std::unique_ptr<Decoder> decoder, Mode mode,
                              Sound** sound);

} // namespace audio
