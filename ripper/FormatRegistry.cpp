// The converters that are built, one line each. Formats not listed here keep their place in
// the scan order (ScanOrder.cpp) and reject.
#include "Formats.h"

#include "formats/FormatStepsList.h"

#include <array>

namespace {
struct Registry {
    std::array<FormatSteps, static_cast<std::size_t>(FormatId::Count)> steps{};

    void add(FormatId id, const FormatSteps& format) {
        steps[static_cast<std::size_t>(id)] = format;
    }

    Registry() {
        add(FormatId::MultiChannel4, multiChannel4Steps);
        add(FormatId::NoisePackerV2, noisePackerV2Steps);
        add(FormatId::Ac1d, ac1dSteps);
        add(FormatId::ThePlayer50A, thePlayer50ASteps);
        add(FormatId::ThePlayer60A, thePlayer60ASteps);
        add(FormatId::ThePlayer60APacked, thePlayer60APackedSteps);
        add(FormatId::ThePlayer61A, thePlayer61ASteps);
        add(FormatId::ThePlayer61APacked, thePlayer61APackedSteps);
        add(FormatId::ThePlayer22A, thePlayer22ASteps);
        add(FormatId::ThePlayer30A, thePlayer30ASteps);
        add(FormatId::ThePlayer40A, thePlayer40ASteps);
        add(FormatId::ThePlayer40B, thePlayer40BSteps);
        add(FormatId::ThePlayer41A, thePlayer41ASteps);
        add(FormatId::ProRunner1, proRunner1Steps);
        add(FormatId::ProRunner2, proRunner2Steps);
        add(FormatId::NoisePackerV1, noisePackerV1Steps);
        add(FormatId::NoisePackerV3, noisePackerV3Steps);
        add(FormatId::Noiserunner, noiserunnerSteps);
        add(FormatId::ProPacker10Exe, proPacker10ExeSteps);
        add(FormatId::ProPacker21, proPacker21Steps);
        add(FormatId::ProPacker30, proPacker30Steps);
        add(FormatId::TrackerPackerV1, trackerPackerV1Steps);
        add(FormatId::TrackerPackerV2, trackerPackerV2Steps);
        add(FormatId::TrackerPackerV3, trackerPackerV3Steps);
        add(FormatId::Promizer01, promizer01Steps);
        add(FormatId::Promizer10c, promizer10cSteps);
        add(FormatId::Promizer18a, promizer18aSteps);
        add(FormatId::Promizer20, promizer20Steps);
        add(FormatId::Promizer40, promizer40Steps);
        add(FormatId::KrisTracker, krisTrackerSteps);
        add(FormatId::KefrensSoundMachine, kefrensSoundMachineSteps);
        add(FormatId::Fuzzac, fuzzacSteps);
        add(FormatId::FcmPacked, fcmPackedSteps);
        add(FormatId::HornetPacked, hornetPackedSteps);
        add(FormatId::SkytPacked, skytPackedSteps);
        add(FormatId::StimSlamtilt, stimSteps);
        add(FormatId::FuchsTracker, fuchsTrackerSteps);
        add(FormatId::SoundFx13, soundFx13Steps);
        add(FormatId::SoundTracker, soundTrackerSteps);
        add(FormatId::JamCracker, jamCrackerSteps);
        add(FormatId::DigiBooster17, digiBooster17Steps);
        add(FormatId::Fastracker2, fastracker2Steps);
        add(FormatId::FutureComposer13, futureComposer13Steps);
        add(FormatId::FutureComposer14, futureComposer14Steps);
        add(FormatId::BsiFutureComposer, bsiFutureComposerSteps);
        add(FormatId::Med, medSteps);
        add(FormatId::DigitalMugician, digitalMugicianSteps);
        add(FormatId::SoundMonitor, soundMonitorSteps);
        add(FormatId::PowerMusic, powerMusicSteps);
        add(FormatId::ModuleProtector, moduleProtectorSteps);
        add(FormatId::ModuleProtectorTagged, moduleProtectorTaggedSteps);
        add(FormatId::WantonPacker, wantonPackerSteps);
        add(FormatId::UnicV1ZeroTagByte, unicV1ZeroTagByteSteps);
        add(FormatId::UnicV1Tagged, unicV1TaggedSteps);
        add(FormatId::UnicV1MK, unicV1MKSteps);
        add(FormatId::UnicV1Tag, unicV1TagSteps);
        add(FormatId::UnicV2, unicV2Steps);
        add(FormatId::DigitalIllusion, digitalIllusionSteps);
        add(FormatId::Eureka, eurekaSteps);
        add(FormatId::ZenPacker, zenPackerSteps);
        add(FormatId::StarTrekkerPacker, starTrekkerPackerSteps);
        add(FormatId::XannPacker, xannPackerSteps);
        add(FormatId::PhaPacker, phaPackerSteps);
        add(FormatId::GameMusicCreator, gameMusicCreatorSteps);
        add(FormatId::TheDarkDemon, theDarkDemonSteps);
        add(FormatId::TitanicsPlayer, titanicsPlayerSteps);
        add(FormatId::Newtron, newtronSteps);
        add(FormatId::NewtronOld, newtronOldSteps);
        add(FormatId::Heatseeker, heatseekerSteps);
        add(FormatId::PolkaPacker, polkaPackerSteps);
        add(FormatId::QuadraComposer, quadraComposerSteps);
        add(FormatId::IceTracker, iceTrackerSteps);
        add(FormatId::Tmk, tmkSteps);
        add(FormatId::NoiseFromHeaven, noiseFromHeavenSteps);
        add(FormatId::StoneArtsPlayer, stoneArtsPlayerSteps);
        add(FormatId::GnuPlayer, gnuPlayerSteps);
        add(FormatId::Gpmo, gpmoSteps);
        add(FormatId::AmosBank, amosBankSteps);
    }
};
} // namespace

const FormatSteps& formatSteps(FormatId id) {
    static const Registry registry;
    return registry.steps[static_cast<std::size_t>(id)];
}
