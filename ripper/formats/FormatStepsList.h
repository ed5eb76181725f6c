#pragma once
// The steps objects of the built converters, each defined in its own file in this folder.
//
// Threading: constant data; any thread.

#include "../Formats.h"

extern const FormatSteps multiChannel4Steps;       // MultiChannel.cpp
extern const FormatSteps noisePackerV2Steps;       // NoisePackerV2.cpp
extern const FormatSteps ac1dSteps;                // Ac1d.cpp
extern const FormatSteps thePlayer50ASteps;        // ThePlayer6x.cpp
extern const FormatSteps thePlayer60ASteps;        // ThePlayer6x.cpp
extern const FormatSteps thePlayer60APackedSteps;  // ThePlayer6x.cpp
extern const FormatSteps thePlayer61ASteps;        // ThePlayer6x.cpp
extern const FormatSteps thePlayer61APackedSteps;  // ThePlayer6x.cpp
extern const FormatSteps thePlayer22ASteps;        // ThePlayer4x.cpp
extern const FormatSteps thePlayer30ASteps;        // ThePlayer4x.cpp
extern const FormatSteps thePlayer40ASteps;        // ThePlayer4x.cpp
extern const FormatSteps thePlayer40BSteps;        // ThePlayer4x.cpp
extern const FormatSteps thePlayer41ASteps;        // ThePlayer4x.cpp
extern const FormatSteps proRunner1Steps;          // ProRunner1.cpp
extern const FormatSteps proRunner2Steps;          // ProRunner2.cpp
extern const FormatSteps noisePackerV1Steps;       // NoisePacker.cpp
extern const FormatSteps noisePackerV3Steps;       // NoisePacker.cpp
extern const FormatSteps noiserunnerSteps;         // NoisePacker.cpp
extern const FormatSteps proPacker10ExeSteps;      // ProPacker.cpp
extern const FormatSteps proPacker21Steps;         // ProPacker.cpp
extern const FormatSteps proPacker30Steps;         // ProPacker.cpp
extern const FormatSteps trackerPackerV1Steps;     // TrackerPacker1.cpp
extern const FormatSteps trackerPackerV2Steps;     // TrackerPackerTracks.cpp
extern const FormatSteps trackerPackerV3Steps;     // TrackerPackerTracks.cpp
extern const FormatSteps promizer01Steps;          // Promizer.cpp
extern const FormatSteps promizer10cSteps;         // Promizer.cpp
extern const FormatSteps promizer18aSteps;         // Promizer.cpp
extern const FormatSteps promizer20Steps;          // Promizer.cpp
extern const FormatSteps promizer40Steps;          // Promizer.cpp
extern const FormatSteps krisTrackerSteps;         // KrisTracker.cpp
extern const FormatSteps kefrensSoundMachineSteps; // KefrensSoundMachine.cpp
extern const FormatSteps fuzzacSteps;              // Fuzzac.cpp
extern const FormatSteps fcmPackedSteps;           // FcmPacker.cpp
extern const FormatSteps hornetPackedSteps;        // Hornet.cpp
extern const FormatSteps skytPackedSteps;          // Skyt.cpp
extern const FormatSteps stimSteps;                // Stim.cpp
extern const FormatSteps fuchsTrackerSteps;        // FuchsTracker.cpp
extern const FormatSteps soundFx13Steps;           // SoundFx.cpp
extern const FormatSteps soundTrackerSteps;        // RecognisedSoundTracker.cpp
extern const FormatSteps jamCrackerSteps;          // RecognisedJamCracker.cpp
extern const FormatSteps digiBooster17Steps;       // RecognisedDigiBooster.cpp
extern const FormatSteps fastracker2Steps;         // RecognisedFastracker2.cpp
extern const FormatSteps futureComposer13Steps;    // RecognisedFutureComposer.cpp
extern const FormatSteps futureComposer14Steps;    // RecognisedFutureComposer.cpp
extern const FormatSteps bsiFutureComposerSteps;   // RecognisedOnly.cpp
extern const FormatSteps medSteps;                 // RecognisedMed.cpp
extern const FormatSteps digitalMugicianSteps;     // RecognisedDigitalMugician.cpp
extern const FormatSteps soundMonitorSteps;        // RecognisedSoundMonitor.cpp
