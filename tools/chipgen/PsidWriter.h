#pragma once
// Writes small C64 SID tunes (PSID or RSID files) whose sound is known: the init routine sets
// voice 1 of the SID to a steady 50% pulse wave at full sustain, with a frequency register
// value chosen per subsong, and returns; the play routine counts its calls. So subsong i sounds
// at psidFrequencyHz(frequencies[i]) on a PAL machine until stopped.
//
// Threading: pure functions, callable from any thread.

#include <cstdint>
#include <string>
#include <vector>

namespace chipgen {

// PAL C64 system clock in Hz (the SID's clock).
inline constexpr double PalClockHz = 985248.0;

// The pitch in Hz of SID frequency register value `registerValue` on a PAL machine.
double psidFrequencyHz(uint16_t registerValue);
// The register value nearest to `hz` (clamped to 1..65535).
uint16_t psidRegisterFor(double hz);

// How a generated tune's code misbehaves, to check that players survive it.
enum class PsidLoop {
    None,           // init and play return
    InitAfterSound, // init sets up the sound and then jumps to itself forever
    InitAtOnce,     // init jumps to itself before touching the SID (silence forever)
    Play,           // play jumps to itself forever
};

struct PsidDescription {
    // One SID frequency register value per subsong: 1..256 entries.
    std::vector<uint16_t> frequencies = {psidRegisterFor(440)};
    int startSong = 1; // 1-based subsong the file names as the default
    int version = 2;   // 1..4 (1 has the short header without flags)
    bool rsid = false; // "RSID" (real C64 environment, no play address) instead of "PSID"
    PsidLoop loop = PsidLoop::None;
    // Address of a second SID chip ($D420..$DFE0, a multiple of $20; version 3 and up), which
    // makes the tune stereo: the first chip, which plays the tone, left. 0 for one chip.
    uint16_t secondSidAddress = 0;
    std::string title = "Tamberlo test tune"; // cut to 32 bytes, as are author and released
    std::string author = "Tamberlo";
    std::string released = "2026 Tamberlo";
};

// The file's bytes: header (0x76 bytes for version 1, 0x7C otherwise) and the tune's code,
// loaded at $1000. An RSID is version 2 or higher whatever `version` says.
std::vector<uint8_t> writePsid(const PsidDescription& description);

} // namespace chipgen
