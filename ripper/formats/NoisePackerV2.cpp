// NoisePacker v2: the NoisePacker layout (NoisePacker.h) with tracks of 64 three-byte rows and
// loop starts in words.
#include "FormatStepsList.h"
#include "NoisePacker.h"

namespace {
int testNoisePackerV2(RipState& st) {
    return noisePacker::testFixedTracks(st, noisePacker::kV2Records);
}
void ripNoisePackerV2(RipState& st) {
    noisePacker::ripModule(st, "NoisePacker v2 module", 31);
}
void depackNoisePackerV2(RipState& st) {
    noisePacker::depackFixedTracks(st, noisePacker::kV2Records, "  NoisePacker v2  ");
}
} // namespace

// The test needs 0xC in the low nibble of the module's second byte (position - 14) and at most
// 31 samples, so bits 1-3 of the first byte (position - 15) are clear.
const FormatSteps noisePackerV2Steps = {testNoisePackerV2,
                                        ripNoisePackerV2,
                                        depackNoisePackerV2,
                                        true,
                                        {ScanGate{-14, 0x0F, 0x0C}, ScanGate{-15, 0x0E, 0x00}}};
