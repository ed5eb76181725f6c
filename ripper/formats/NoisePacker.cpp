// The steps of NoisePacker v1 and v3 (NoisePacker.h has their layout) and of Noiserunner
// (Noiserunner.h).
#include "NoisePacker.h"
#include "FormatStepsList.h"
#include "Noiserunner.h"

namespace {
int testNoisePackerV1(RipState& st) {
    return noisePacker::testFixedTracks(st, noisePacker::kV1Records);
}
void ripNoisePackerV1(RipState& st) {
    noisePacker::ripModule(st, "NoisePacker v1 module", 30);
}
void depackNoisePackerV1(RipState& st) {
    noisePacker::depackFixedTracks(st, noisePacker::kV1Records, "  NoisePacker v1  ");
}

void ripNoisePackerV3(RipState& st) {
    noisePacker::ripModule(st, "NoisePacker v3 module", 32);
}
void depackNoisePackerV3(RipState& st) {
    noisePacker::depackSkipTracks(st, "  NoisePacker v3  ");
}
} // namespace

// v1 is found where v2 is: 0xC in the low nibble of the module's second byte (position - 14)
// and a sample count of at most 31, so bits 1-3 of the first byte (position - 15) are clear.
const FormatSteps noisePackerV1Steps = {testNoisePackerV1,
                                        ripNoisePackerV1,
                                        depackNoisePackerV1,
                                        true,
                                        {ScanGate{-14, 0x0F, 0x0C}, ScanGate{-15, 0x0E, 0x00}}};
// v3 is found at position - 9: its first byte is 0 or 1 and its second has 0xC in the low
// nibble.
const FormatSteps noisePackerV3Steps = {noisePacker::testSkipTracks,
                                        ripNoisePackerV3,
                                        depackNoisePackerV3,
                                        true,
                                        {ScanGate{-9, 0xFE, 0x00}, ScanGate{-8, 0x0F, 0x0C}}};
const FormatSteps noiserunnerSteps = {testNoiserunner, ripNoiserunner, depackNoiserunner};
