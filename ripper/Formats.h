#pragma once
// Every packed-module format the scan knows, and the steps of those that are built.
//
// A format is a test step (returns 0 when the bytes at the scan position are that format and
// leaves module start and sizes in RipState; must never read past the input), a rip step (sets
// the output size, calls noteRip and moves the position past the module) and, for formats that
// are converted, a depack step (writes "-1.mod" and prints "done\n"). Formats whose converter
// is not built yet have no steps: the scan reaches them in their place and they reject.
//
// Adding a converter: one file under formats/ defining its FormatSteps, and one line in
// FormatRegistry.cpp.
//
// Threading: the registry is immutable after first use; any thread may read it.

#include "RipState.h"

#include <cstdint>

// A byte condition that a chain test needs before it can accept: the byte at position + offset
// lies inside the input and (byte & mask) == value (mask 0 is always true). The scan uses the
// gates to skip positions in bulk; a test without gates runs at every position whose byte is at
// most 0x40.
struct ScanGate {
    std::int8_t offset = 0;
    std::uint8_t mask = 0;
    std::uint8_t value = 0;
};

struct FormatSteps {
    int (*test)(RipState&) = nullptr; // nullptr: not built, rejects
    void (*rip)(RipState&) = nullptr;
    void (*depack)(RipState&) = nullptr; // nullptr: recognised only, no output
    bool gated = false;                  // chain formats only: both gates must hold
    ScanGate gates[2]{};
};

enum class FormatId : std::uint8_t {
    // Tried for bytes up to 0x40, in the scan's order.
    PowerMusic,
    XannPacker,
    ModuleProtector,
    DigitalIllusion,
    Eureka,
    ThePlayer50A,
    ThePlayer60A,
    ThePlayer60APacked, // recognised, reported, never ripped
    ThePlayer61A,
    ThePlayer61APacked, // recognised, reported, never ripped
    ProPacker10Exe,
    NoisePackerV2,
    NoisePackerV1,
    NoisePackerV3,
    Promizer01,
    ProPacker21,
    ProPacker30,
    StarTrekkerPacker,
    ZenPacker,
    UnicV1ZeroTagByte,
    UnicV1Tagged,
    UnicV2,
    GameMusicCreator,
    Heatseeker,
    SoundTracker,
    TheDarkDemon,
    Newtron,
    NewtronOld,
    TitanicsPlayer,
    // Tried for the tags of bytes above 0x40.
    AmosBank,
    JamCracker,
    TrackerPackerV3,
    DigiBooster17,
    QuadraComposer,
    Fastracker2,
    FcmPacked,
    MultiChannel4,
    FutureComposer14,
    BsiFutureComposer,
    NoiseFromHeaven,
    StoneArtsPlayer,
    Gpmo,
    GnuPlayer,
    HornetPacked,
    IceTracker,
    KrisTracker,
    UnicV1MK,
    Noiserunner,
    Fuzzac,
    TrackerPackerV2,
    TrackerPackerV1,
    KefrensSoundMachine,
    Med,
    ThePlayer30A,
    ThePlayer22A,
    ThePlayer40A,
    ThePlayer40B,
    ThePlayer41A,
    Promizer40,
    PolkaPacker,
    ProRunner2,
    ProRunner1,
    SkytPacked,
    FutureComposer13,
    StimSlamtilt,
    FuchsTracker,
    SoundFx13,
    ModuleProtectorTagged,
    Tmk,
    UnicV1Tag,
    DigitalMugician,
    SoundMonitor,
    WantonPacker,
    Promizer18a,
    Promizer10c,
    Promizer20,
    Ac1d,
    PhaPacker,
    Count
};

// The steps of a format; all nullptr when it is not built.
const FormatSteps& formatSteps(FormatId id);
